#include <windows.h>

#include "base/path.h"
#include "base/text.h"
#include "filters/file_times.h"

namespace tessaroven {

namespace {

std::uint64_t FromFiletime(const FILETIME& t) {
  return (static_cast<std::uint64_t>(t.dwHighDateTime) << 32) | t.dwLowDateTime;
}

}  // namespace

std::uint64_t CurrentFileTime() {
  SYSTEMTIME now{};
  GetSystemTime(&now);
  FILETIME ticks{};
  if (!SystemTimeToFileTime(&now, &ticks)) return 0;
  return FromFiletime(ticks);
}

bool ReadFileTimes(std::u16string_view path, FileTimes& times) {
  const std::wstring osPath = ToOsString(MakeLongPath(path));
  WIN32_FILE_ATTRIBUTE_DATA data{};
  if (!GetFileAttributesExW(osPath.c_str(), GetFileExInfoStandard, &data)) return false;
  times.lastWrite = FromFiletime(data.ftLastWriteTime);
  times.creation = FromFiletime(data.ftCreationTime);
  times.lastAccess = FromFiletime(data.ftLastAccessTime);
  times.creationIsBirthTime = true;
  return true;
}

}  // namespace tessaroven
