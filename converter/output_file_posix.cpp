// Linux: exclusive creation with O_EXCL, and a publish that cannot replace a file
// that appeared after the check (renameat2 with RENAME_NOREPLACE; link + unlink on
// file systems that lack it).

#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "base/text.h"
#include "converter/output_file.h"

namespace kovantrix {
namespace {

std::u16string Reason(int error) { return tessaroven::Utf8ToUtf16(std::strerror(error)); }

}  // namespace

bool CreateExclusive(const std::u16string& path, std::u16string& error) {
  const int fd = ::open(tessaroven::ToOsString(path).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (fd < 0) {
    error = u"'" + path + u"' cannot be created: " + Reason(errno);
    return false;
  }
  ::close(fd);
  return true;
}

PublishResult MoveIntoPlace(const std::u16string& from, const std::u16string& to, bool replace, std::u16string& error) {
  const std::string source = tessaroven::ToOsString(from);
  const std::string target = tessaroven::ToOsString(to);
  if (replace) {
    if (::rename(source.c_str(), target.c_str()) == 0) return PublishResult::kPublished;
    error = u"'" + to + u"' cannot be written: " + Reason(errno);
    return PublishResult::kFailed;
  }
  if (::renameat2(AT_FDCWD, source.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0)
    return PublishResult::kPublished;
  int code = errno;
  if (code == EINVAL || code == ENOSYS || code == ENOTSUP) {
    if (::link(source.c_str(), target.c_str()) == 0) {
      ::unlink(source.c_str());
      return PublishResult::kPublished;
    }
    code = errno;
  }
  if (code == EEXIST) {
    error = u"'" + to + u"' appeared while converting (another converter?); it was kept as it is.";
    return PublishResult::kTargetExists;
  }
  error = u"'" + to + u"' cannot be written: " + Reason(code);
  return PublishResult::kFailed;
}

bool RemoveFile(const std::u16string& path) { return ::unlink(tessaroven::ToOsString(path).c_str()) == 0; }

unsigned long CurrentProcessId() { return static_cast<unsigned long>(::getpid()); }

}  // namespace kovantrix
