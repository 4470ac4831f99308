#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cstdlib>

#include "support/child_process.h"

extern char** environ;

namespace tessaroven::test {

struct ChildProcess::Impl {
  pid_t pid = -1;
  int code = -1;
};

ChildProcess::ChildProcess(const std::string& role, const std::vector<std::string>& args)
    : impl_(std::make_unique<Impl>()) {
  std::vector<std::string> words = {"/proc/self/exe", "--child=" + role};
  words.insert(words.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (auto& w : words) argv.push_back(w.data());
  argv.push_back(nullptr);
  setenv("TESSAROVEN_TEST_CHILD", "1", 1);
  if (posix_spawn(&impl_->pid, "/proc/self/exe", nullptr, nullptr, argv.data(), environ) != 0) impl_->pid = -1;
  unsetenv("TESSAROVEN_TEST_CHILD");
}

ChildProcess::~ChildProcess() {
  if (impl_->pid > 0) {
    Kill();
    Wait();
  }
}

bool ChildProcess::Started() const { return impl_->pid > 0 || impl_->code != -1; }

int ChildProcess::Wait() {
  if (impl_->pid <= 0) return impl_->code;
  int status = 0;
  if (waitpid(impl_->pid, &status, 0) == impl_->pid)
    impl_->code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  impl_->pid = -1;
  return impl_->code;
}

void ChildProcess::Kill() {
  if (impl_->pid > 0) kill(impl_->pid, SIGKILL);
}

}  // namespace tessaroven::test
