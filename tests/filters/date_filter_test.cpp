#include "filters/date_filter.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <string>
#include <tuple>

#include "base/text.h"
#include "filters/file_times.h"

namespace tessaroven {
namespace {

constexpr std::int32_t kMaxDays = std::numeric_limits<std::int32_t>::max();

TEST(DateFilterText, ReadsModeAndDaysAndWritesThemBack) {
  for (const auto& [text, mode, days] :
       {std::tuple{u"  2,   7", 2, 7}, std::tuple{u"0,-5", 0, -5}, std::tuple{u"1x,30 days", 1, 30},
        std::tuple{u"1,--30", 1, 0}, std::tuple{u"130", 0, 0}, std::tuple{u"1,30,5", 0, 0},
        // A mode no dialog entry has turns the filter off instead of guessing.
        std::tuple{u"4,30", 0, 0}, std::tuple{u"0,99999999999", 0, kMaxDays}}) {
    DateFilter filter;
    filter.Set(kDateCreatedOlder, 365);  // anything the text must replace
    filter.SetDateFilterText(text);
    EXPECT_EQ(filter.Mode(), mode) << Utf16ToUtf8(text);
    EXPECT_EQ(filter.Days(), days) << Utf16ToUtf8(text);
  }
  DateFilter filter;
  filter.Set(2, -4);
  EXPECT_EQ(filter.DateFilterText(), u"2,-4");
  DateFilter back;
  back.SetDateFilterText(filter.DateFilterText());
  EXPECT_EQ(back, filter);
}

// 2024-03-01 08:00:00 UTC, plus ticks below a millisecond.
constexpr std::uint64_t kWholeMs = 133537536000000000ull;
constexpr std::uint64_t kNow = kWholeMs + 4321;

TEST(DateFilterThreshold, SubtractsDaysDropsSubMillisecondsAndClampsInsteadOfWrapping) {
  EXPECT_EQ(DateFilter::Threshold(kNow, 30), kWholeMs - 30 * kFileTimeTicksPerDay);
  EXPECT_EQ(DateFilter::Threshold(kNow, -2), kWholeMs + 2 * kFileTimeTicksPerDay);
  // A hand-made profile can ask for millions of years: before 1601 is 1601, beyond
  // the calendar is its end, never a wrapped value on the other side.
  EXPECT_EQ(DateFilter::Threshold(kNow, kMaxDays), 0u);
  const std::uint64_t end = DateFilter::Threshold(kNow, std::numeric_limits<std::int32_t>::min());
  EXPECT_GT(end, kNow);
  EXPECT_LE(end, static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()));
  EXPECT_EQ(end % kFileTimeTicksPerMillisecond, 0u);
}

TEST(DateFilterTest, ComparesTheModesTimeTickForTick) {
  // mode, the tested time minus the threshold in ticks, passes
  for (const auto& [mode, offset, passes] :
       {std::tuple{kDateModifiedNewer, -1, false}, std::tuple{kDateModifiedNewer, 0, true},
        std::tuple{kDateModifiedOlder, -1, true}, std::tuple{kDateModifiedOlder, 0, false},
        std::tuple{kDateCreatedNewer, -1, false}, std::tuple{kDateCreatedNewer, 0, true},
        std::tuple{kDateCreatedOlder, -1, true}, std::tuple{kDateCreatedOlder, 0, false}}) {
    DateFilter filter;
    filter.Set(mode, 30);
    const std::uint64_t tested = DateFilter::Threshold(kNow, 30) + static_cast<std::uint64_t>(offset);
    // The other time lies far on the opposite side, so a mode that tests the wrong
    // time gives the wrong answer.
    const bool byCreation = mode >= 2;
    const std::uint64_t decoy = passes == (mode % 2 == 0) ? 0 : kNow;
    EXPECT_EQ(filter.PassesDateFilter(byCreation ? decoy : tested, byCreation ? tested : decoy, kNow), passes)
        << mode << " " << offset;
  }
  // No days: the filter is off and every file passes.
  DateFilter off;
  off.Set(kDateCreatedOlder, 0);
  EXPECT_FALSE(off.IsOn());
  EXPECT_TRUE(off.PassesDateFilter(0, 0, kNow));
  // Without a time given, the system clock is now.
  DateFilter newer;
  newer.Set(kDateModifiedNewer, 1);
  EXPECT_TRUE(newer.PassesDateFilter(CurrentFileTime(), 0));
  EXPECT_FALSE(newer.PassesDateFilter(CurrentFileTime() - 7 * kFileTimeTicksPerDay, CurrentFileTime()));
}

TEST(DateFilterRanges, StoredDaysFindTheirEntryNotTheirPosition) {
  EXPECT_EQ(DateFilterRangeIndex(14), 8u);
  EXPECT_EQ(DateFilterRangeIndex(365), 15u);
  EXPECT_EQ(DateFilterRangeIndex(8), std::nullopt);
}

}  // namespace
}  // namespace tessaroven
