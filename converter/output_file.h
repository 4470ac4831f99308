// Where a converted file goes, and how it gets there without ever leaving a torn
// file or replacing one the user did not want replaced.
//
// The target keeps the source's folder name and base name below the output
// folder: "/music/Album/01 Song.wav" becomes "<output>/Album/01 Song.flac". The
// encoder writes a hidden temporary file beside the target, created exclusively so
// that two converters never share one, and only a complete file is published under
// the target's name. Publishing without overwrite refuses atomically when the
// target exists by then (another converter, or the user, put one there meanwhile),
// so nothing is replaced behind the check made before converting.
#pragma once

#include <string>
#include <string_view>

namespace kovantrix {

std::u16string TargetPathFor(std::u16string_view source, std::u16string_view outputFolder,
                             std::u16string_view extension);

// Whether anything (a file, a folder, a dangling link) has the name.
bool PathExists(const std::u16string& path);

// Whether the two paths name the same existing file (also through another
// spelling or a link), so a conversion never writes over its own source.
bool SameExistingFile(const std::u16string& a, const std::u16string& b);

// Creates the folder and its parents; `error` says why it could not.
bool MakeFolders(const std::u16string& folder, std::u16string& error);

enum class PublishResult { kPublished, kTargetExists, kFailed };

class TemporaryOutput {
 public:
  TemporaryOutput() = default;
  // Removes a temporary file that was never published.
  ~TemporaryOutput();
  TemporaryOutput(const TemporaryOutput&) = delete;
  TemporaryOutput& operator=(const TemporaryOutput&) = delete;

  // Creates an empty temporary file beside `target` (whose folder must exist).
  bool Create(const std::u16string& target, std::u16string& error);
  const std::u16string& Path() const { return path_; }

  // Moves the temporary file to the target's name. Without `overwrite` an
  // existing target is kept and the temporary file removed.
  PublishResult Publish(bool overwrite, std::u16string& error);
  // Removes the temporary file now.
  void Discard();

 private:
  std::u16string target_;
  std::u16string path_;
};

// Platform parts.
// Creates `path` exclusively; false when it exists or cannot be made.
bool CreateExclusive(const std::u16string& path, std::u16string& error);
// Renames; without `replace` fails with kTargetExists when `to` exists, atomically.
PublishResult MoveIntoPlace(const std::u16string& from, const std::u16string& to, bool replace, std::u16string& error);
bool RemoveFile(const std::u16string& path);
// A number that differs between processes running at the same time.
unsigned long CurrentProcessId();

}  // namespace kovantrix
