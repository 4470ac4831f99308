#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>

#include "base/text.h"
#include "selection/folder_enumeration.h"

namespace tessaroven {

CriticalErrorBoxesOff::CriticalErrorBoxesOff() = default;
CriticalErrorBoxesOff::~CriticalErrorBoxesOff() = default;

struct FolderEnumeration::Platform {
  DIR* dir = nullptr;
  int fd = -1;
  const dirent* entry = nullptr;
};

namespace {

std::uint64_t FromStatx(const statx_timestamp& t) { return FileTimeFromUnix(t.tv_sec, t.tv_nsec); }

}  // namespace

FolderEnumeration::FolderEnumeration(const std::u16string& folder) : platform_(std::make_unique<Platform>()) {
  const std::string path = ToOsString(folder);
  int fd;
  do {
    fd = open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  } while (fd < 0 && errno == EINTR);
  if (fd < 0) return;
  platform_->dir = fdopendir(fd);
  if (platform_->dir == nullptr) {
    close(fd);
    return;
  }
  platform_->fd = fd;
}

FolderEnumeration::~FolderEnumeration() {
  if (platform_->dir != nullptr) closedir(platform_->dir);  // closes the descriptor too
}

bool FolderEnumeration::IsOpen() const { return platform_->dir != nullptr; }

FolderIdentity FolderEnumeration::Identity() const {
  struct stat st {};
  if (platform_->fd < 0 || fstat(platform_->fd, &st) != 0) return {};
  return FolderIdentity{static_cast<std::uint64_t>(st.st_dev), static_cast<std::uint64_t>(st.st_ino)};
}

bool FolderEnumeration::Next() {
  if (platform_->dir == nullptr) return false;
  for (;;) {
    // readdir reads the directory in large blocks (getdents64), so this is a system
    // call per few hundred entries, not per entry. An error mid-way ends the folder.
    const dirent* entry = readdir(platform_->dir);
    if (entry == nullptr) return false;
    const char* name = entry->d_name;
    if (name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0))) continue;
    platform_->entry = entry;
    name_ = Utf8ToUtf16(name);  // the lossless conversion: any byte name round-trips
    isHidden_ = name[0] == '.';
    isFolder_ = entry->d_type == DT_DIR;
    isRegular_ = entry->d_type == DT_REG;
    if (entry->d_type == DT_LNK || entry->d_type == DT_UNKNOWN) {
      // Where the link leads (a dangling one leads nowhere: neither).
      struct stat st {};
      const bool found = fstatat(platform_->fd, name, &st, 0) == 0;
      isFolder_ = found && S_ISDIR(st.st_mode);
      isRegular_ = found && S_ISREG(st.st_mode);
    }
    return true;
  }
}

bool FolderEnumeration::Details(EntryDetails& details) const {
  if (platform_->entry == nullptr) return false;
  struct statx info {};
  int result;
  do {
    result = statx(platform_->fd, platform_->entry->d_name, AT_STATX_SYNC_AS_STAT,
                   STATX_SIZE | STATX_MTIME | STATX_CTIME | STATX_ATIME | STATX_BTIME, &info);
  } while (result != 0 && errno == EINTR);
  if (result != 0) return false;
  details.size = info.stx_size;
  details.times.lastWrite = FromStatx(info.stx_mtime);
  details.times.lastAccess = FromStatx(info.stx_atime);
  details.times.creationIsBirthTime = (info.stx_mask & STATX_BTIME) != 0;
  details.times.creation = CreationTimeFrom(
      details.times.creationIsBirthTime ? std::optional<std::uint64_t>(FromStatx(info.stx_btime)) : std::nullopt,
      details.times.lastWrite, FromStatx(info.stx_ctime));
  return true;
}

bool PathTooLongForSystem(std::u16string_view path) {
  // A UTF-16 unit becomes at most three bytes; only long paths need counting.
  if (path.size() * 3 < PATH_MAX) return false;
  return ToOsString(path).size() >= PATH_MAX;
}

}  // namespace tessaroven
