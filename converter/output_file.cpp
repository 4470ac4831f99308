#include "converter/output_file.h"

#include <atomic>
#include <filesystem>

#include "base/path.h"
#include "base/platform.h"
#include "base/text.h"

namespace kovantrix {
namespace {

namespace fs = std::filesystem;

fs::path FsPath(const std::u16string& path) { return fs::path(tessaroven::ToOsString(path)); }

std::u16string StemOf(std::u16string_view name) {
  const std::u16string_view extension = tessaroven::ExtensionOf(name);
  // A name that is all extension (".flac") keeps it as its stem.
  return std::u16string(extension.size() == name.size() ? name : name.substr(0, name.size() - extension.size()));
}

}  // namespace

std::u16string TargetPathFor(std::u16string_view source, std::u16string_view outputFolder,
                             std::u16string_view extension) {
  std::u16string target = tessaroven::WithTrailingSeparator(outputFolder);
  std::u16string_view folder = tessaroven::FolderOf(source);
  while (!folder.empty() && tessaroven::IsPathSeparator(folder.back())) folder.remove_suffix(1);
  const std::u16string_view folderName = tessaroven::FileNameOf(folder);
  // A file at a root ("/x.wav", "C:\x.wav") has no folder name to keep.
  if (!folderName.empty() && !(folderName.size() == 2 && folderName[1] == u':')) {
    target += folderName;
    target += tessaroven::kPathSeparator;
  }
  target += StemOf(tessaroven::FileNameOf(source));
  target += extension;
  return target;
}

bool PathExists(const std::u16string& path) {
  std::error_code error;
  return fs::exists(fs::symlink_status(FsPath(path), error));
}

bool SameExistingFile(const std::u16string& a, const std::u16string& b) {
  std::error_code error;
  return fs::equivalent(FsPath(a), FsPath(b), error) && !error;
}

bool MakeFolders(const std::u16string& folder, std::u16string& error) {
  std::error_code code;
  fs::create_directories(FsPath(folder), code);
  if (!code && fs::is_directory(FsPath(folder), code)) return true;
  error = u"The output folder '" + folder + u"' cannot be made: " +
          tessaroven::Utf8ToUtf16(code ? code.message() : std::string("a file has its name"));
  return false;
}

TemporaryOutput::~TemporaryOutput() { Discard(); }

bool TemporaryOutput::Create(const std::u16string& target, std::u16string& error) {
  static std::atomic<unsigned> counter{0};
  Discard();
  target_ = target;
  const std::u16string folder(tessaroven::FolderOf(target));
  const std::u16string name(tessaroven::FileNameOf(target));
  // Hidden (a leading dot), so file managers and the selector's own walk skip a
  // file that is still being written.
  for (int attempt = 0; attempt < 100; ++attempt) {
    const std::string unique =
        "." + std::to_string(CurrentProcessId()) + "-" + std::to_string(counter.fetch_add(1)) + ".part";
    std::u16string candidate = folder + u"." + name + tessaroven::AsciiToUtf16(unique);
    if (CreateExclusive(candidate, error)) {
      path_ = std::move(candidate);
      return true;
    }
    if (PathExists(candidate)) continue;
    return false;
  }
  error = u"No temporary file could be made beside '" + target + u"'.";
  return false;
}

PublishResult TemporaryOutput::Publish(bool overwrite, std::u16string& error) {
  if (path_.empty()) {
    error = u"There is no converted file to publish.";
    return PublishResult::kFailed;
  }
  const PublishResult result = MoveIntoPlace(path_, target_, overwrite, error);
  if (result == PublishResult::kPublished) path_.clear();
  else Discard();
  return result;
}

void TemporaryOutput::Discard() {
  if (path_.empty()) return;
  RemoveFile(path_);
  path_.clear();
}

}  // namespace kovantrix
