// A real network file system for the end-to-end tests: a folder served over SSH by
// a private sshd on 127.0.0.1 (its own keys and configuration, on a free port)
// and mounted with sshfs, as a user mounts a share of another computer.
#pragma once

#include <filesystem>
#include <string>
#include <sys/types.h>

namespace tessaroven::test {

class LoopbackSshfs {
 public:
  LoopbackSshfs() = default;
  // Unmounts and stops the server.
  ~LoopbackSshfs();
  LoopbackSshfs(const LoopbackSshfs&) = delete;
  LoopbackSshfs& operator=(const LoopbackSshfs&) = delete;

  // Serves `served` and mounts it at `work`/mnt; keys and the server's files go to
  // `work`. Empty when the share is mounted, else why it cannot be (FUSE, sshd or
  // sshfs missing), for the test to skip with.
  std::string Start(const std::filesystem::path& work, const std::filesystem::path& served);
  const std::filesystem::path& MountPoint() const { return mountPoint_; }
  // Stops (or resumes) the sshfs process serving the mount: every read of the share
  // then waits, as on a server that stopped answering.
  bool Freeze(bool frozen);

 private:
  pid_t server_ = -1;
  std::filesystem::path mountPoint_;
  bool mounted_ = false;
};

}  // namespace tessaroven::test
