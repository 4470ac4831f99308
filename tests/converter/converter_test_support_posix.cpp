#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <fstream>
#include <sstream>

#include "converter_test_support.h"
#include "support/test_env.h"
#include "base/text.h"

extern char** environ;

namespace kovantrix::test {
namespace {

std::string Slurp(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream content;
  content << in.rdbuf();
  return content.str();
}

}  // namespace

struct Process::Impl {
  pid_t pid = -1;
  int code = -1;
  std::string out;
  std::string err;
};

Process::Process(const std::string& program, const std::vector<std::string>& args) : impl_(std::make_unique<Impl>()) {
  static std::atomic<int> counter{0};
  const std::string base = tessaroven::Utf16ToUtf8(tessaroven::test::TestRoot()) + "process-" +
                           std::to_string(getpid()) + "-" + std::to_string(counter++);
  impl_->out = base + ".out";
  impl_->err = base + ".err";
  std::vector<std::string> words{program};
  words.insert(words.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (auto& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  // No display, so kovantrix takes the terminal face whatever desktop runs the tests.
  std::vector<char*> environment;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    if (std::strncmp(*entry, "DISPLAY=", 8) != 0 && std::strncmp(*entry, "WAYLAND_DISPLAY=", 16) != 0)
      environment.push_back(*entry);
  }
  environment.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, impl_->out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  posix_spawn_file_actions_addopen(&actions, 2, impl_->err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (posix_spawn(&impl_->pid, argv[0], &actions, nullptr, argv.data(), environment.data()) != 0) impl_->pid = -1;
  posix_spawn_file_actions_destroy(&actions);
}

Process::~Process() {
  if (impl_->pid > 0) {
    kill(impl_->pid, SIGKILL);
    Wait();
  }
}

void Process::Interrupt() {
  if (impl_->pid > 0) kill(impl_->pid, SIGINT);
}

int Process::Wait() {
  if (impl_->pid <= 0) return impl_->code;
  int status = 0;
  if (waitpid(impl_->pid, &status, 0) == impl_->pid)
    impl_->code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  impl_->pid = -1;
  return impl_->code;
}

std::string Process::Err() const { return Slurp(impl_->err); }
std::string Process::Out() const { return Slurp(impl_->out); }

}  // namespace kovantrix::test
