// Test environment: isolated folders, temporary folders, child processes.
//
// Every test executable starts through the main() of this library. On Linux it
// points HOME, the XDG folders and TMPDIR at a fresh folder of its own, so no test
// ever reads or writes the user's settings; the folder is removed at the end.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessaroven::test {

// The run's private root folder, ending in the separator.
const std::u16string& TestRoot();
// Removes the root at the end of the run (children leave it to their parent).
void RemoveTestRootIfOwner();

// A fresh empty folder below the test root, removed with everything in it when the
// object goes away.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  // The folder, ending in the separator.
  const std::u16string& Path() const { return path_; }
  // Path() + name.
  std::u16string operator/(std::u16string_view name) const { return path_ + std::u16string(name); }

 private:
  std::u16string path_;
};

// Sets an environment variable, or removes it when `value` is null, until the object
// goes away; then the variable is as it was.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const char* value);
  ScopedEnv(const char* name, const std::u16string& value);
  ~ScopedEnv();
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  std::string name_;
  std::optional<std::string> old_;
};

// Whole-file helpers that bypass the code under test.
bool WriteBytes(const std::u16string& path, std::string_view bytes);
std::string ReadBytes(const std::u16string& path);
bool FileExists(const std::u16string& path);
std::vector<std::u16string> ListFolder(const std::u16string& folder);  // names, unsorted
bool MakeFolder(const std::u16string& path);

// Child processes: a test registers an entry point by name and starts this same
// executable again in that role. The child inherits the environment.
using ChildMain = std::function<int(const std::vector<std::string>& args)>;
void RegisterChild(const std::string& name, ChildMain entry);
// Starts the children and waits for all of them; returns their exit codes.
std::vector<int> RunChildren(const std::string& name, const std::vector<std::vector<std::string>>& argsPerChild);

// Dispatches `--child=NAME args...`; returns true (with the exit code) when this
// process is a child.
bool RunAsChildIfAsked(int argc, char** argv, int& exitCode);

}  // namespace tessaroven::test

// Registers a child entry point at static-initialisation time.
#define TESSAROVEN_TEST_CHILD(name)                                                         \
  static int name##_child_main(const std::vector<std::string>& args);                       \
  static const bool name##_child_registered = [] {                                          \
    ::tessaroven::test::RegisterChild(#name, name##_child_main);                            \
    return true;                                                                            \
  }();                                                                                      \
  static int name##_child_main([[maybe_unused]] const std::vector<std::string>& args)
