#include "filters/date_filter.h"

#include <algorithm>
#include <limits>

#include "base/text.h"
#include "filters/file_times.h"

namespace tessaroven {

namespace {

// FileTimeToSystemTime takes nothing above the largest signed value, so no threshold
// may lie beyond it.
constexpr std::uint64_t kLastCalendarTick = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());

}  // namespace

std::optional<std::size_t> DateFilterRangeIndex(std::int32_t days) {
  for (std::size_t i = 0; i < kDateFilterRanges.size(); ++i) {
    if (kDateFilterRanges[i].days == days) return i;
  }
  return std::nullopt;
}

std::int32_t ParseLeadingInt32(std::u16string_view text) {
  std::size_t i = 0;
  while (i < text.size() && text[i] == u' ') ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == u'-' || text[i] == u'+')) negative = text[i++] == u'-';
  // One past the largest magnitude, so that "-2147483648" still fits.
  constexpr std::int64_t kLimit = std::int64_t{std::numeric_limits<std::int32_t>::max()} + 1;
  std::int64_t value = 0;
  for (; i < text.size() && text[i] >= u'0' && text[i] <= u'9'; ++i) {
    value = value * 10 + (text[i] - u'0');
    if (value >= kLimit) {
      value = kLimit;
      break;
    }
  }
  if (negative) return static_cast<std::int32_t>(-value);
  return static_cast<std::int32_t>(value >= kLimit ? kLimit - 1 : value);
}

void DateFilter::Set(std::int32_t mode, std::int32_t days) {
  if (mode < 0 || mode >= kDateFilterModeCount) mode = days = 0;
  mode_ = mode;
  days_ = days;
}

std::u16string DateFilter::DateFilterText() const {
  return AsciiToUtf16(std::to_string(mode_) + "," + std::to_string(days_));
}

void DateFilter::SetDateFilterText(std::u16string_view text) {
  const std::size_t comma = text.find(u',');
  if (comma == std::u16string_view::npos || text.find(u',', comma + 1) != std::u16string_view::npos) {
    Set(0, 0);
    return;
  }
  Set(ParseLeadingInt32(text.substr(0, comma)), ParseLeadingInt32(text.substr(comma + 1)));
}

std::uint64_t DateFilter::Threshold(std::uint64_t now, std::int32_t days) {
  std::uint64_t threshold;
  if (days >= 0) {
    const auto span = static_cast<std::uint64_t>(days);
    threshold = span > now / kFileTimeTicksPerDay ? 0 : now - span * kFileTimeTicksPerDay;
  } else {
    const auto span = static_cast<std::uint64_t>(-static_cast<std::int64_t>(days));
    threshold = (now > kLastCalendarTick || span > (kLastCalendarTick - now) / kFileTimeTicksPerDay)
                    ? kLastCalendarTick
                    : now + span * kFileTimeTicksPerDay;
  }
  threshold = std::min(threshold, kLastCalendarTick);
  // The round trip through a calendar time keeps whole milliseconds only.
  return threshold - threshold % kFileTimeTicksPerMillisecond;
}

bool DateFilter::PassesDateFilter(std::uint64_t lastWrite, std::uint64_t creation, std::uint64_t now) const {
  if (days_ == 0) return true;
  const std::uint64_t threshold = Threshold(now, days_);
  const bool byCreation = mode_ == kDateCreatedNewer || mode_ == kDateCreatedOlder;
  const int order = CompareFileTime(byCreation ? creation : lastWrite, threshold);
  const bool wantsNewer = mode_ == kDateModifiedNewer || mode_ == kDateCreatedNewer;
  return wantsNewer ? order >= 0 : order < 0;
}

bool DateFilter::PassesDateFilter(std::uint64_t lastWrite, std::uint64_t creation) const {
  if (days_ == 0) return true;  // spares the clock for every file while the filter is off
  return PassesDateFilter(lastWrite, creation, CurrentFileTime());
}

}  // namespace tessaroven
