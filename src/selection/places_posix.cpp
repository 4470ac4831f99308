#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <sstream>

#include "base/text.h"
#include "selection/mount_table_posix.h"
#include "selection/places.h"

namespace tessaroven {
namespace {

constexpr char kMountInfo[] = "/proc/self/mountinfo";

std::string ReadWholeFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  if (file) content << file.rdbuf();
  return content.str();
}

bool RemovableFlagSet(const std::string& path) { return ReadWholeFile(path).substr(0, 1) == "1"; }

// The kernel keeps the flag with the whole disk; a partition's folder lies inside
// its disk's, so the parent folder is asked when the device has no flag of its own.
bool IsRemovableBlockDevice(unsigned major, unsigned minor) {
  const std::string device = "/sys/dev/block/" + std::to_string(major) + ":" + std::to_string(minor);
  struct stat info {};
  if (::stat((device + "/removable").c_str(), &info) == 0) return RemovableFlagSet(device + "/removable");
  return RemovableFlagSet(device + "/../removable");
}

std::u16string UserRuntimeFolder() {
  const std::string folder = "/run/user/" + std::to_string(::getuid()) + "/";
  return FromOsString(folder);
}

// A local mount of a single file (containers bind files such as /etc/hosts) is no
// drive. Network mounts are not asked: a stat on a share whose server is gone can
// hang for minutes.
bool IsFolderOrRemote(const Place& drive) {
  if (drive.driveType == kDriveRemote) return true;
  struct stat info {};
  return ::stat(ToOsString(drive.path).c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

}  // namespace

std::vector<Place> ListDrives() {
  MountContext context;
  context.isRemovableDevice = IsRemovableBlockDevice;
  context.userRuntimeFolder = UserRuntimeFolder();
  std::vector<Place> drives = DrivesFromMounts(ReadMountTable(), context);
  drives.erase(std::remove_if(drives.begin(), drives.end(), [](const Place& d) { return !IsFolderOrRemote(d); }),
               drives.end());
  return drives;
}

struct DriveChangeWatcher::Impl {
  int fd = -1;
};

DriveChangeWatcher::DriveChangeWatcher() : impl_(std::make_unique<Impl>()) {
  // Opening the file takes the current table as the one changes are measured from.
  impl_->fd = ::open(kMountInfo, O_RDONLY | O_CLOEXEC);
}

DriveChangeWatcher::~DriveChangeWatcher() {
  if (impl_->fd >= 0) ::close(impl_->fd);
}

bool DriveChangeWatcher::WaitForChange(std::chrono::milliseconds timeout) {
  if (impl_->fd < 0) return false;
  pollfd entry{impl_->fd, POLLPRI, 0};
  const int waitMs = static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(timeout.count(), 0, 1 << 30));
  int ready;
  do {
    // The kernel marks the descriptor with POLLPRI | POLLERR once per change of the
    // table and clears the mark as it reports it, so no read is needed to re-arm.
    ready = ::poll(&entry, 1, waitMs);
  } while (ready < 0 && errno == EINTR);
  return ready > 0 && (entry.revents & (POLLPRI | POLLERR)) != 0;
}

int DriveChangeWatcher::PollDescriptor() const { return impl_->fd; }

}  // namespace tessaroven
