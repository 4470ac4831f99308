#include <time.h>

#include "base/format.h"
#include "filters/file_times.h"

namespace tessaroven {

bool LocalTimeOf(std::uint64_t fileTime, SystemTime& local) {
  if (fileTime < kUnixEpochAsFileTime) return false;
  const time_t seconds = static_cast<time_t>((fileTime - kUnixEpochAsFileTime) / kFileTimeTicksPerSecond);
  tm parts{};
  if (localtime_r(&seconds, &parts) == nullptr) return false;
  local.year = static_cast<std::uint16_t>(parts.tm_year + 1900);
  local.month = static_cast<std::uint16_t>(parts.tm_mon + 1);
  local.dayOfWeek = static_cast<std::uint16_t>(parts.tm_wday);
  local.day = static_cast<std::uint16_t>(parts.tm_mday);
  local.hour = static_cast<std::uint16_t>(parts.tm_hour);
  local.minute = static_cast<std::uint16_t>(parts.tm_min);
  local.second = static_cast<std::uint16_t>(parts.tm_sec);
  local.milliseconds = 0;
  return true;
}

}  // namespace tessaroven
