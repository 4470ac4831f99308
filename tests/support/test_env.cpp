#include "support/test_env.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>

#include "base/platform.h"
#include "base/text.h"
#include "support/child_process.h"

namespace tessaroven::test {
namespace {

std::filesystem::path FsPath(const std::u16string& path) { return std::filesystem::path(ToOsString(path)); }

std::map<std::string, ChildMain>& Children() {
  static std::map<std::string, ChildMain> children;
  return children;
}

}  // namespace

ScopedEnv::ScopedEnv(const char* name, const std::u16string& value) : ScopedEnv(name, Utf16ToUtf8(value).c_str()) {}

TempDir::TempDir() {
  static std::atomic<int> counter{0};
  for (;;) {
    path_ = TestRoot() + AsciiToUtf16("t" + std::to_string(counter++)) + kPathSeparator;
    std::error_code error;
    if (std::filesystem::create_directory(FsPath(path_), error)) break;
  }
}

TempDir::~TempDir() {
  std::error_code error;
  std::filesystem::remove_all(FsPath(path_), error);
}

bool WriteBytes(const std::u16string& path, std::string_view bytes) {
  std::ofstream out(FsPath(path), std::ios::binary | std::ios::trunc);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return static_cast<bool>(out);
}

std::string ReadBytes(const std::u16string& path) {
  std::ifstream in(FsPath(path), std::ios::binary);
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

bool FileExists(const std::u16string& path) {
  std::error_code error;
  return std::filesystem::exists(FsPath(path), error);
}

std::vector<std::u16string> ListFolder(const std::u16string& folder) {
  std::vector<std::u16string> names;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(FsPath(folder), error))
    names.push_back(FromOsString(entry.path().filename().native()));
  return names;
}

bool MakeFolder(const std::u16string& path) {
  std::error_code error;
  std::filesystem::create_directories(FsPath(path), error);
  return !error;
}

std::vector<int> RunChildren(const std::string& name, const std::vector<std::vector<std::string>>& argsPerChild) {
  std::vector<std::unique_ptr<ChildProcess>> children;
  for (const auto& args : argsPerChild) children.push_back(std::make_unique<ChildProcess>(name, args));
  std::vector<int> codes;
  for (auto& child : children) codes.push_back(child->Started() ? child->Wait() : -1);
  return codes;
}

void RegisterChild(const std::string& name, ChildMain entry) { Children()[name] = std::move(entry); }

bool RunAsChildIfAsked(int argc, char** argv, int& exitCode) {
  if (argc < 2) return false;
  const std::string_view first = argv[1];
  constexpr std::string_view kFlag = "--child=";
  if (first.substr(0, kFlag.size()) != kFlag) return false;
  const auto found = Children().find(std::string(first.substr(kFlag.size())));
  if (found == Children().end()) {
    exitCode = 125;
    return true;
  }
  exitCode = found->second(std::vector<std::string>(argv + 2, argv + argc));
  return true;
}

}  // namespace tessaroven::test
