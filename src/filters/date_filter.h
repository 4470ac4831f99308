// The date filter: keeps files by their last-write or creation time against a
// threshold of N days before now.
//
// The mode says which time is tested and in which direction; days 0 switches the
// filter off. The "DateFilter" text of profiles is "mode,days" in decimal. The
// threshold is taken from the clock at every test, so "newer than 1 day" always
// means the day before the moment the file is looked at, even in a long collection.
//
// A plain value object: copy it freely. Not locked; see filters/filter_state.h for
// who may use the process-wide instance from which thread.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tessaroven {

enum DateFilterMode : std::int32_t {
  kDateModifiedNewer = 0,  // last write not older than the threshold
  kDateModifiedOlder = 1,  // last write strictly older than the threshold
  kDateCreatedNewer = 2,   // creation not older than the threshold
  kDateCreatedOlder = 3,   // creation strictly older than the threshold
};
inline constexpr std::int32_t kDateFilterModeCount = 4;

// The filter dialog's mode labels, by mode. The spelling "modifed" and the differing
// capitals are the dialog's own and are kept on purpose.
inline constexpr std::array<std::u16string_view, kDateFilterModeCount> kDateFilterModeLabels = {
    u"Last modifed, include newer than:",
    u"Last Modifed, include older than:",
    u"Creation Date, include newer than:",
    u"Creation Date, include older than:",
};

// The dialog's range entries in the order shown. The stored value is the day count,
// never the entry's position.
struct DateFilterRange {
  std::u16string_view label;
  std::int32_t days;
};
inline constexpr std::array<DateFilterRange, 16> kDateFilterRanges = {{
    {u"[date not checked, all files included]", 0},
    {u"1 Day (24 hours)", 1},
    {u"2 Days", 2},
    {u"3 Days", 3},
    {u"4 Days", 4},
    {u"5 Days", 5},
    {u"6 Days", 6},
    {u"7 Days (1 week)", 7},
    {u"14 Days (2 weeks)", 14},
    {u"21 Days (3 weeks)", 21},
    {u"30 Days (1 month)", 30},
    {u"60 Days (2 months)", 60},
    {u"91 Days (1/4 year)", 91},
    {u"182 Days (1/2 year)", 182},
    {u"273 Days (3/4 year)", 273},
    {u"365 Days (1 year)", 365},
}};

// The position of the range entry for `days`, for the dialog to show a stored day
// count; nullopt for a count no entry offers (a hand-made profile).
std::optional<std::size_t> DateFilterRangeIndex(std::int32_t days);

// The leading whole number of `text`: leading spaces skipped, then an optional "-" or
// "+", then decimal digits up to the first other character. No digits gives 0; a
// number beyond 32 bits saturates at the nearest limit instead of wrapping.
std::int32_t ParseLeadingInt32(std::u16string_view text);

class DateFilter {
 public:
  std::int32_t Mode() const { return mode_; }
  std::int32_t Days() const { return days_; }
  // A mode outside 0..3 cannot come from the dialog; it switches the filter off
  // (mode and days 0) rather than guessing what was meant.
  void Set(std::int32_t mode, std::int32_t days);
  // Days 0 is off whatever the mode. Negative days (only a hand-made profile has
  // them) put the threshold in the future and are tested like any other.
  bool IsOn() const { return days_ != 0; }

  // "mode,days", e.g. "1,30".
  std::u16string DateFilterText() const;
  // Reads "mode,days". Anything but exactly two comma-separated parts turns the
  // filter off; each part keeps the digits read before any trailing garbage.
  void SetDateFilterText(std::u16string_view text);

  // The instant a file's time is compared with: `now` (a file time) less `days`
  // days, cut to whole milliseconds. Results before 1601 become 0; results beyond
  // the calendar's range become its last representable tick.
  static std::uint64_t Threshold(std::uint64_t now, std::int32_t days);

  // Whether a file with these times passes, with the threshold taken from `now`.
  bool PassesDateFilter(std::uint64_t lastWrite, std::uint64_t creation, std::uint64_t now) const;
  // The same against the current system time.
  bool PassesDateFilter(std::uint64_t lastWrite, std::uint64_t creation) const;

  bool operator==(const DateFilter&) const = default;

 private:
  std::int32_t mode_ = 0;
  std::int32_t days_ = 0;
};

}  // namespace tessaroven
