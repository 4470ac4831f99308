#include <windows.h>

#include "base/text.h"
#include "base/xfile.h"

namespace tessaroven {
namespace {

HANDLE AsHandle(NativeFileHandle handle) { return reinterpret_cast<HANDLE>(handle); }

}  // namespace

NativeFileHandle XFile::OsOpen(const std::u16string& osPath, std::uint32_t access, std::uint32_t disposition) {
  const std::wstring path = ToOsString(osPath);
  const HANDLE handle = CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, disposition,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
  static_assert(sizeof(NativeFileHandle) == sizeof(HANDLE));
  // INVALID_HANDLE_VALUE has all bits set, which is kInvalidFileHandle.
  return reinterpret_cast<NativeFileHandle>(handle);
}

bool XFile::OsRead(std::uint8_t* buffer, std::uint32_t count, std::uint32_t& done) {
  done = 0;
  while (done < count) {
    DWORD got = 0;
    if (!ReadFile(AsHandle(handle_), buffer + done, count - done, &got, nullptr)) {
      done += got;
      const DWORD error = GetLastError();
      // End of file; a pipe whose writer has gone ends the same way.
      return error == NO_ERROR || error == ERROR_HANDLE_EOF || error == ERROR_BROKEN_PIPE;
    }
    if (got == 0) return true;
    done += got;
  }
  return true;
}

bool XFile::OsWrite(const std::uint8_t* buffer, std::uint32_t count, std::uint32_t& done) {
  done = 0;
  while (done < count) {
    DWORD put = 0;
    const BOOL ok = WriteFile(AsHandle(handle_), buffer + done, count - done, &put, nullptr);
    done += put;
    if (!ok || put == 0) return false;
  }
  return true;
}

bool XFile::OsSeek(std::int64_t offset, bool fromCurrent) {
  LONG high = static_cast<LONG>(offset >> 32);
  // INVALID_SET_FILE_POINTER is also a valid low half of a large position; only
  // the last error tells them apart, so clear it first.
  SetLastError(NO_ERROR);
  const DWORD low = SetFilePointer(AsHandle(handle_), static_cast<LONG>(offset & 0xFFFFFFFF), &high,
                                   fromCurrent ? FILE_CURRENT : FILE_BEGIN);
  return low != INVALID_SET_FILE_POINTER || GetLastError() == NO_ERROR;
}

std::uint64_t XFile::OsSize() const {
  LARGE_INTEGER size{};
  if (!GetFileSizeEx(AsHandle(handle_), &size) || size.QuadPart < 0) return 0;
  return static_cast<std::uint64_t>(size.QuadPart);
}

void XFile::OsClose() { CloseHandle(AsHandle(handle_)); }

}  // namespace tessaroven
