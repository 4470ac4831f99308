#include <windows.h>

#include "base/format.h"

namespace tessaroven {

bool LocalTimeOf(std::uint64_t fileTime, SystemTime& local) {
  FILETIME utc{static_cast<DWORD>(fileTime), static_cast<DWORD>(fileTime >> 32)};
  FILETIME here{};
  SYSTEMTIME parts{};
  if (!FileTimeToLocalFileTime(&utc, &here) || !FileTimeToSystemTime(&here, &parts)) return false;
  local.year = parts.wYear;
  local.month = parts.wMonth;
  local.dayOfWeek = parts.wDayOfWeek;
  local.day = parts.wDay;
  local.hour = parts.wHour;
  local.minute = parts.wMinute;
  local.second = parts.wSecond;
  local.milliseconds = parts.wMilliseconds;
  return true;
}

}  // namespace tessaroven
