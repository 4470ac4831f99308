#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include "base/text.h"
#include "support/test_env.h"

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

ScopedEnv::ScopedEnv(const char* name, const char* value) : name_(name) {
  if (const char* old = std::getenv(name)) old_ = old;
  if (value)
    setenv(name, value, 1);
  else
    unsetenv(name);
}

ScopedEnv::~ScopedEnv() {
  if (old_)
    setenv(name_.c_str(), old_->c_str(), 1);
  else
    unsetenv(name_.c_str());
}

}  // namespace tessaroven::test
