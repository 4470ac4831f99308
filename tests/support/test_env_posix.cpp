#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "base/text.h"
#include "support/test_env.h"

extern char** environ;

namespace tessaroven::test {
namespace {

std::u16string MakeRoot() {
  const char* base = std::getenv("TMPDIR");
  std::string templ = std::string(base && *base ? base : "/tmp") + "/tessaroven-test-XXXXXX";
  if (!mkdtemp(templ.data())) throw std::runtime_error("cannot create the test root folder");
  const std::string root = templ + "/";
  // Everything the program may touch in the user's home points into the root.
  const struct {
    const char* variable;
    const char* folder;
  } folders[] = {{"HOME", "home"},           {"XDG_CONFIG_HOME", "config"}, {"XDG_DATA_HOME", "data"},
                 {"XDG_CACHE_HOME", "cache"}, {"XDG_RUNTIME_DIR", "run"},   {"TMPDIR", "tmp"}};
  for (const auto& f : folders) {
    const std::string path = root + f.folder;
    mkdir(path.c_str(), 0700);
    setenv(f.variable, path.c_str(), 1);
  }
  return Utf8ToUtf16(root);
}

}  // namespace

const std::u16string& TestRoot() {
  // A child inherits its parent's root through the environment.
  static const std::u16string root = [] {
    if (const char* inherited = std::getenv("TESSAROVEN_TEST_ROOT")) return Utf8ToUtf16(inherited);
    std::u16string made = MakeRoot();
    setenv("TESSAROVEN_TEST_ROOT", Utf16ToUtf8(made).c_str(), 1);
    return made;
  }();
  return root;
}

void RemoveTestRootIfOwner() {
  if (std::getenv("TESSAROVEN_TEST_CHILD")) return;
  std::error_code error;
  std::filesystem::remove_all(Utf16ToUtf8(TestRoot()), error);
}

std::vector<int> RunChildren(const std::string& name, const std::vector<std::vector<std::string>>& argsPerChild) {
  setenv("TESSAROVEN_TEST_CHILD", "1", 1);
  std::vector<pid_t> pids;
  for (const auto& args : argsPerChild) {
    std::vector<std::string> words = {"/proc/self/exe", "--child=" + name};
    words.insert(words.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& w : words) argv.push_back(w.data());
    argv.push_back(nullptr);
    pid_t pid = -1;
    if (posix_spawn(&pid, "/proc/self/exe", nullptr, nullptr, argv.data(), environ) != 0) pid = -1;
    pids.push_back(pid);
  }
  unsetenv("TESSAROVEN_TEST_CHILD");
  std::vector<int> codes;
  for (pid_t pid : pids) {
    int status = 0;
    if (pid < 0 || waitpid(pid, &status, 0) != pid) {
      codes.push_back(-1);
    } else {
      codes.push_back(WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status));
    }
  }
  return codes;
}

}  // namespace tessaroven::test
