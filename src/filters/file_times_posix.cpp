#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>

#include <cerrno>
#include <string>

#include "base/text.h"
#include "filters/file_times.h"

namespace tessaroven {

namespace {

std::uint64_t FromStatx(const struct statx_timestamp& t) { return FileTimeFromUnix(t.tv_sec, t.tv_nsec); }

}  // namespace

std::uint64_t CurrentFileTime() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  const std::uint64_t ticks = FileTimeFromUnix(now.tv_sec, now.tv_nsec);
  return ticks - ticks % kFileTimeTicksPerMillisecond;
}

bool ReadFileTimes(std::u16string_view path, FileTimes& times) {
  const std::string osPath = ToOsString(path);
  struct statx info {};
  int result;
  do {
    result = statx(AT_FDCWD, osPath.c_str(), AT_STATX_SYNC_AS_STAT,
                   STATX_MTIME | STATX_CTIME | STATX_ATIME | STATX_BTIME, &info);
  } while (result != 0 && errno == EINTR);
  if (result != 0) return false;

  times.lastWrite = FromStatx(info.stx_mtime);
  times.lastAccess = FromStatx(info.stx_atime);
  times.creationIsBirthTime = (info.stx_mask & STATX_BTIME) != 0;
  times.creation = CreationTimeFrom(
      times.creationIsBirthTime ? std::optional<std::uint64_t>(FromStatx(info.stx_btime)) : std::nullopt,
      times.lastWrite, FromStatx(info.stx_ctime));
  return true;
}

}  // namespace tessaroven
