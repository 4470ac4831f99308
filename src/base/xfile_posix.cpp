#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "base/text.h"
#include "base/xfile.h"

namespace tessaroven {
namespace {

int Fd(NativeFileHandle handle) { return static_cast<int>(handle); }

}  // namespace

NativeFileHandle XFile::OsOpen(const std::u16string& osPath, std::uint32_t access, std::uint32_t disposition) {
  const bool reading = (access & GENERIC_READ) != 0;
  const bool writing = (access & GENERIC_WRITE) != 0;
  // O_NONBLOCK only for the open itself: a FIFO that happens to carry a file's
  // name must not hang the caller until some writer appears.
  int flags = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  flags |= writing ? (reading ? O_RDWR : O_WRONLY) : O_RDONLY;
  switch (disposition) {
    case CREATE_NEW:
      flags |= O_CREAT | O_EXCL;
      break;
    case CREATE_ALWAYS:
      flags |= O_CREAT | O_TRUNC;
      break;
    case OPEN_EXISTING:
      break;
    case OPEN_ALWAYS:
      flags |= O_CREAT;
      break;
    case TRUNCATE_EXISTING:
      flags |= O_TRUNC;
      break;
    default:
      return kInvalidFileHandle;
  }

  const std::string path = ToOsString(osPath);
  int fd;
  do {
    fd = ::open(path.c_str(), flags, 0666);
  } while (fd < 0 && errno == EINTR);
  if (fd < 0) return kInvalidFileHandle;

  // Linux opens a folder for reading; Windows does not open it as a file, and
  // nothing in the program can read one as a file either.
  struct stat info {};
  if (::fstat(fd, &info) != 0 || S_ISDIR(info.st_mode)) {
    ::close(fd);
    errno = EISDIR;
    return kInvalidFileHandle;
  }
  if (!S_ISREG(info.st_mode)) {
    const int status = ::fcntl(fd, F_GETFL);
    if (status != -1) ::fcntl(fd, F_SETFL, status & ~O_NONBLOCK);
  }
  return fd;
}

bool XFile::OsRead(std::uint8_t* buffer, std::uint32_t count, std::uint32_t& done) {
  done = 0;
  while (done < count) {
    const ssize_t got = ::read(Fd(handle_), buffer + done, count - done);
    if (got > 0) {
      done += static_cast<std::uint32_t>(got);
    } else if (got == 0) {
      return true;  // end of file
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

bool XFile::OsWrite(const std::uint8_t* buffer, std::uint32_t count, std::uint32_t& done) {
  done = 0;
  while (done < count) {
    const ssize_t put = ::write(Fd(handle_), buffer + done, count - done);
    if (put > 0) {
      done += static_cast<std::uint32_t>(put);
    } else if (put == 0 || errno != EINTR) {
      return false;  // no progress (a full disk) or a real error
    }
  }
  return true;
}

bool XFile::OsSeek(std::int64_t offset, bool fromCurrent) {
  return ::lseek(Fd(handle_), static_cast<off_t>(offset), fromCurrent ? SEEK_CUR : SEEK_SET) != -1;
}

std::uint64_t XFile::OsSize() const {
  struct stat info {};
  if (::fstat(Fd(handle_), &info) != 0 || info.st_size < 0) return 0;
  return static_cast<std::uint64_t>(info.st_size);
}

void XFile::OsClose() {
  // Never retried on EINTR: Linux has released the descriptor either way, and a
  // second close could hit a descriptor another thread just opened.
  ::close(Fd(handle_));
}

}  // namespace tessaroven
