#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "base/path.h"
#include "base/temp_file.h"
#include "base/text.h"

namespace tessaroven {
namespace {

// Enough tries that only a folder we cannot write to, not bad luck, ends the loop.
constexpr int kCreateAttempts = 100;

std::u16string UniquePart() {
  char hex[9];
  std::snprintf(hex, sizeof(hex), "%08X", static_cast<unsigned>(SharedRandomNumber(0xFFFFFFFFu)));
  return AsciiToUtf16(hex);
}

}  // namespace

std::u16string TempFolder() {
  const char* folder = std::getenv("TMPDIR");
  return WithTrailingSeparator(FromOsString(folder && *folder ? folder : "/tmp"));
}

bool CreateTempFile(std::u16string& path, std::u16string_view prefix) {
  if (!path.empty()) ::unlink(ToOsString(path).c_str());
  const std::u16string folder = TempFolder();
  const std::u16string stem = folder + std::u16string(prefix.empty() ? u"TMP" : prefix);
  bool folderMade = false;
  for (int attempt = 0; attempt < kCreateAttempts; ++attempt) {
    path = stem + UniquePart() + u".tmp";
    // O_EXCL makes the name ours or fails: no window in which another process
    // could slip in a file (or a link) under the name we picked.
    const int fd = ::open(ToOsString(path).c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOCTTY, 0600);
    if (fd >= 0) {
      ::close(fd);
      return true;
    }
    if (errno == EEXIST || errno == EINTR) continue;
    if (errno == ENOENT && !folderMade) {
      folderMade = true;
      std::error_code error;
      std::filesystem::create_directories(ToOsString(folder), error);
      continue;
    }
    return false;
  }
  return false;
}

}  // namespace tessaroven
