#include "filters/date_filter.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <string>
#include <tuple>

#include "filters/file_times.h"

namespace tessaroven {
namespace {

// --- The "DateFilter" text ---

struct TextCase {
  const char* name;
  std::u16string text;
  std::int32_t mode;
  std::int32_t days;
};

class DateFilterTextParsing : public testing::TestWithParam<TextCase> {};

TEST_P(DateFilterTextParsing, ReadsModeAndDays) {
  const auto& c = GetParam();
  DateFilter filter;
  filter.Set(kDateCreatedOlder, 365);  // anything the text must replace
  filter.SetDateFilterText(c.text);
  EXPECT_EQ(filter.Mode(), c.mode);
  EXPECT_EQ(filter.Days(), c.days);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, DateFilterTextParsing,
    testing::Values(TextCase{"Plain", u"1,30", 1, 30}, TextCase{"LeadingSpaces", u"  2,   7", 2, 7},
                    TextCase{"NegativeDays", u"0,-5", 0, -5},
                    TextCase{"TrailingGarbageKeepsDigits", u"1x,30 days", 1, 30},
                    TextCase{"SignNotFirstStopsTheNumber", u"1,3-0", 1, 3},
                    TextCase{"DoubleSignReadsNothing", u"1,--30", 1, 0}, TextCase{"Empty", u"", 0, 0},
                    TextCase{"NoComma", u"130", 0, 0}, TextCase{"ThreeParts", u"1,30,5", 0, 0},
                    // A mode no dialog entry has turns the filter off instead of guessing.
                    TextCase{"ModeOutOfRange", u"4,30", 0, 0},
                    TextCase{"HugeDaysSaturate", u"0,99999999999", 0, std::numeric_limits<std::int32_t>::max()}),
    [](const auto& p) { return std::string(p.param.name); });

TEST(DateFilterText, WritesModeCommaDaysAndReadsItBack) {
  for (const auto& [mode, days, text] : {std::tuple{1, 30, u"1,30"}, std::tuple{2, -4, u"2,-4"}}) {
    SCOPED_TRACE(mode);
    DateFilter filter;
    filter.Set(mode, days);
    EXPECT_EQ(filter.DateFilterText(), text);
    DateFilter back;
    back.SetDateFilterText(filter.DateFilterText());
    EXPECT_EQ(back, filter);
  }
}

// --- The threshold and the test ---

// 2024-03-01 08:00:00 UTC, plus ticks below a millisecond.
constexpr std::uint64_t kWholeMs = 133537536000000000ull;
constexpr std::uint64_t kNow = kWholeMs + 4321;

TEST(DateFilterThreshold, SubtractsDaysAndDropsSubMilliseconds) {
  EXPECT_EQ(DateFilter::Threshold(kNow, 30), kWholeMs - 30 * kFileTimeTicksPerDay);
  EXPECT_EQ(DateFilter::Threshold(kNow, 1), kWholeMs - 864000000000ull);
  EXPECT_EQ(DateFilter::Threshold(kNow, -2), kWholeMs + 2 * kFileTimeTicksPerDay);
}

TEST(DateFilterThreshold, ClampsInsteadOfWrapping) {
  // A hand-made profile can ask for millions of years: before 1601 is 1601, beyond
  // the calendar is its end, never a wrapped value on the other side.
  EXPECT_EQ(DateFilter::Threshold(kNow, std::numeric_limits<std::int32_t>::max()), 0u);
  const std::uint64_t end = DateFilter::Threshold(kNow, std::numeric_limits<std::int32_t>::min());
  EXPECT_GT(end, kNow);
  EXPECT_LE(end, static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()));
  EXPECT_EQ(end % kFileTimeTicksPerMillisecond, 0u);
}

struct PassCase {
  const char* name;
  std::int32_t mode;
  std::int64_t offset;  // the tested time minus the threshold, in ticks
  bool passes;
};

class DateFilterAtThreshold : public testing::TestWithParam<PassCase> {};

TEST_P(DateFilterAtThreshold, ComparesTheModesTimeTickForTick) {
  const auto& c = GetParam();
  DateFilter filter;
  filter.Set(c.mode, 30);
  const std::uint64_t threshold = DateFilter::Threshold(kNow, 30);
  const std::uint64_t tested = threshold + static_cast<std::uint64_t>(c.offset);
  // The other time lies far on the opposite side, so a mode that tests the wrong
  // time gives the wrong answer.
  const bool byCreation = c.mode >= 2;
  const std::uint64_t decoy = c.passes == (c.mode % 2 == 0) ? 0 : kNow;
  const std::uint64_t lastWrite = byCreation ? decoy : tested;
  const std::uint64_t creation = byCreation ? tested : decoy;
  EXPECT_EQ(filter.PassesDateFilter(lastWrite, creation, kNow), c.passes);
}

INSTANTIATE_TEST_SUITE_P(Modes, DateFilterAtThreshold,
                         testing::Values(PassCase{"ModifiedNewerOneTickBefore", 0, -1, false},
                                         PassCase{"ModifiedNewerAtThreshold", 0, 0, true},
                                         PassCase{"ModifiedNewerOneTickAfter", 0, 1, true},
                                         PassCase{"ModifiedOlderOneTickBefore", 1, -1, true},
                                         PassCase{"ModifiedOlderAtThreshold", 1, 0, false},
                                         PassCase{"ModifiedOlderOneTickAfter", 1, 1, false},
                                         PassCase{"ModifiedOlderOneMillisecondBefore", 1, -10000, true},
                                         PassCase{"CreatedNewerOneTickBefore", 2, -1, false},
                                         PassCase{"CreatedNewerAtThreshold", 2, 0, true},
                                         PassCase{"CreatedOlderOneTickBefore", 3, -1, true},
                                         PassCase{"CreatedOlderAtThreshold", 3, 0, false}),
                         [](const auto& p) { return std::string(p.param.name); });

TEST(DateFilterTest, DaysZeroPassesEveryFileInEveryMode) {
  for (std::int32_t mode = 0; mode < kDateFilterModeCount; ++mode) {
    DateFilter filter;
    filter.Set(mode, 0);
    EXPECT_FALSE(filter.IsOn());
    for (const std::uint64_t time : {std::uint64_t{0}, kNow, ~std::uint64_t{0}}) {
      EXPECT_TRUE(filter.PassesDateFilter(time, time, kNow)) << mode;
      EXPECT_TRUE(filter.PassesDateFilter(time, time)) << mode;
    }
  }
}

TEST(DateFilterTest, UsesTheSystemClockWhenNoTimeIsGiven) {
  const std::uint64_t justNow = CurrentFileTime();
  const std::uint64_t weekAgo = justNow - 7 * kFileTimeTicksPerDay;
  DateFilter newer;
  newer.Set(kDateModifiedNewer, 1);
  EXPECT_TRUE(newer.PassesDateFilter(justNow, 0));
  EXPECT_FALSE(newer.PassesDateFilter(weekAgo, justNow));
  DateFilter older;
  older.Set(kDateCreatedOlder, 1);
  EXPECT_TRUE(older.PassesDateFilter(justNow, weekAgo));
  EXPECT_FALSE(older.PassesDateFilter(weekAgo, justNow));
}

TEST(DateFilterRanges, StoredDaysFindTheirEntryNotTheirPosition) {
  EXPECT_EQ(DateFilterRangeIndex(14), 8u);
  EXPECT_EQ(DateFilterRangeIndex(365), 15u);
  EXPECT_EQ(DateFilterRangeIndex(8), std::nullopt);
}

}  // namespace
}  // namespace tessaroven
