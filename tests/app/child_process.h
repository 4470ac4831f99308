// A child process of this test executable that runs in the background: started in
// a role registered with TESSAROVEN_TEST_CHILD, waited for or killed later. (The
// support library's RunChildren waits for its children at once.)
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
