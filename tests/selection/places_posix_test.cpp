#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "selection/places.h"
#include "support/test_env.h"

namespace tessaroven {
namespace {

using std::chrono::milliseconds;

// Exit codes of the child below.
constexpr int kChildSkipped = 77;

bool WriteSmallFile(const char* path, const std::string& text) {
  const int fd = ::open(path, O_WRONLY | O_CLOEXEC);
  if (fd < 0) return false;
  const bool ok = ::write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size());
  ::close(fd);
  return ok;
}

// A private mount namespace, so the child can mount without touching the machine:
// directly when privileged, else through a user namespace of its own.
bool EnterPrivateMountNamespace() {
  if (::unshare(CLONE_NEWNS) != 0) {
    const uid_t uid = ::getuid();
    const gid_t gid = ::getgid();
    if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
    WriteSmallFile("/proc/self/setgroups", "deny");
    if (!WriteSmallFile("/proc/self/uid_map", "0 " + std::to_string(uid) + " 1") ||
        !WriteSmallFile("/proc/self/gid_map", "0 " + std::to_string(gid) + " 1"))
      return false;
  }
  // Nothing done in here may reach the machine's own table.
  return ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

std::optional<Place> FindDrive(std::u16string_view path) {
  for (Place& drive : ListDrives())
    if (drive.path == path) return std::move(drive);
  return std::nullopt;
}

TESSAROVEN_TEST_CHILD(mount_in_private_namespace) {
  struct stat info {};
  if (::stat("/mnt", &info) != 0 || !S_ISDIR(info.st_mode)) return kChildSkipped;
  if (!EnterPrivateMountNamespace()) return kChildSkipped;
  DriveChangeWatcher watcher;
  if (watcher.PollDescriptor() < 0) return 1;
  if (watcher.WaitForChange(milliseconds(0))) return 2;  // nothing happened yet
  if (FindDrive(u"/mnt/")) return kChildSkipped;         // /mnt is a drive already

  if (::mount("tessaroven", "/mnt", "tmpfs", 0, "size=64k") != 0) return kChildSkipped;
  if (!watcher.WaitForChange(milliseconds(5000))) return 3;
  if (watcher.WaitForChange(milliseconds(0))) return 4;  // one change, reported once
  const std::optional<Place> ram = FindDrive(u"/mnt/");
  if (!ram || ram->driveType != kDriveRamDisk || ram->label != u"RAM Disk (/mnt)") return 5;

  if (::umount("/mnt") != 0) return 6;
  if (!watcher.WaitForChange(milliseconds(5000))) return 7;
  if (FindDrive(u"/mnt/")) return 8;
  return 0;
}

TEST(PlacesPosix, WatcherReportsAMountAndItsRemovalAndTheDrivesFollow) {
  const std::vector<int> codes = test::RunChildren("mount_in_private_namespace", {{}});
  ASSERT_EQ(codes.size(), 1u);
  if (codes[0] == kChildSkipped) GTEST_SKIP() << "no private mount namespace here";
  EXPECT_EQ(codes[0], 0) << "the child's failing step";
}

}  // namespace
}  // namespace tessaroven
