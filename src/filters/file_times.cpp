#include "filters/file_times.h"

#include <algorithm>
#include <limits>

namespace tessaroven {

std::uint64_t FileTimeFromUnix(std::int64_t seconds, std::int64_t nanoseconds) {
  constexpr auto kEpochSeconds = static_cast<std::int64_t>(kUnixEpochAsFileTime / kFileTimeTicksPerSecond);
  constexpr std::uint64_t kMax = std::numeric_limits<std::uint64_t>::max();
  // The scale holds about 58 000 years; range checks come first so that no step
  // below can overflow.
  constexpr auto kLastSecond = static_cast<std::int64_t>(kMax / kFileTimeTicksPerSecond) - kEpochSeconds - 1;
  if (seconds < -kEpochSeconds) return 0;
  if (seconds > kLastSecond) return kMax;
  const auto since1601 = static_cast<std::uint64_t>(seconds + kEpochSeconds);
  const std::int64_t subTicks = std::clamp<std::int64_t>(nanoseconds, 0, 999999999) / 100;
  return since1601 * kFileTimeTicksPerSecond + static_cast<std::uint64_t>(subTicks);
}

std::uint64_t CreationTimeFrom(std::optional<std::uint64_t> birth, std::uint64_t lastWrite,
                               std::uint64_t statusChange) {
  if (birth) return *birth;
  return std::min(lastWrite, statusChange);
}

}  // namespace tessaroven
