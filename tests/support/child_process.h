// A child process of this test executable that runs in the background: started in
// a role registered with TESSAROVEN_TEST_CHILD (test_env.h), waited for or killed
// later. It inherits the environment, the test root included.
#pragma once

#include <memory>
#include <string>
#include <vector>

namespace tessaroven::test {

class ChildProcess {
 public:
  ChildProcess(const std::string& role, const std::vector<std::string>& args);
  // A child still running is killed, so a failing test leaves no process behind.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  bool Started() const;
  // The exit code; on Linux 128 + the signal for a child ended by one.
  int Wait();
  // Ends the child at once, without any clean-up of its own (SIGKILL on Linux).
  void Kill();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tessaroven::test
