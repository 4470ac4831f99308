#include "converter/terminal_face.h"

#include <gtest/gtest.h>

#include "base/text.h"

namespace kovantrix {
namespace {

using std::chrono::seconds;

struct ClockCase {
  long long seconds;
  const char16_t* text;
};

TEST(ClockTest, MinutesAndHours) {
  for (const ClockCase& c : {ClockCase{0, u"0:00"}, ClockCase{42, u"0:42"}, ClockCase{725, u"12:05"},
                             ClockCase{3725, u"1:02:05"}, ClockCase{-5, u"0:00"}})
    EXPECT_EQ(ClockText(seconds(c.seconds)), c.text) << c.seconds;
}

TEST(TimeLeftTest, JudgedOnlyOnceEnoughIsDone) {
  EXPECT_FALSE(TimeLeft(0.5, seconds(0)).has_value());   // too early
  EXPECT_FALSE(TimeLeft(0.01, seconds(30)).has_value()); // too little done
  EXPECT_EQ(TimeLeft(0.25, seconds(10)), seconds(30));
  EXPECT_EQ(TimeLeft(1.0, seconds(10)), seconds(0));
}

struct BarCase {
  const char* name;
  double fraction;
  std::size_t finished;
  std::optional<seconds> left;
  int width;
  std::u16string text;
};

// The bar takes the columns the numbers leave (10 to 40), and the line stays
// shorter than the terminal so that it never wraps.
TEST(BarTest, FitsTheTerminal) {
  for (const BarCase& c : {
        BarCase{"Start", 0.0, 0, std::nullopt, 50, u"[>" + std::u16string(31, u' ') + u"] 0%  0/40 files"},
        BarCase{"Half", 0.5, 20, seconds(12), 60, u"[" + std::u16string(14, u'=') + u">" + std::u16string(14, u' ') + u"] 50%  20/40 files  0:12 left"},
        BarCase{"Full", 1.0, 40, seconds(0), 60, u"[" + std::u16string(28, u'=') + u"] 100%  40/40 files  0:00 left"},
        BarCase{"NarrowIsCut", 0.5, 20, seconds(12), 30, u"[=====>    ] 50%  20/40 files"}}) {
    const std::u16string bar = ProgressBarText(c.fraction, c.finished, 40, c.left, c.width);
    EXPECT_EQ(bar, c.text) << c.name;
    EXPECT_LT(bar.size(), static_cast<std::size_t>(c.width)) << c.name;
  }
}

TEST(SummaryTest, CountsWhatWentWrong) {
  Tally tally;
  tally.total = 40;
  tally.done = 37;
  tally.failed = 1;
  tally.skipped = 2;
  EXPECT_EQ(SummaryText(tally, u"/out/", seconds(12), false),
            u"Converted 37 of 40 files into /out/ in 12.0 s; 1 failed, 2 skipped.\n");
  Tally one;
  one.total = one.done = 1;
  EXPECT_EQ(SummaryText(one, u"/o/", std::chrono::milliseconds(250), false), u"Converted 1 of 1 file into /o/ in 0.2 s.\n");
  Tally cancelled;
  cancelled.total = 3;
  cancelled.cancelled = 3;
  EXPECT_EQ(SummaryText(cancelled, u"/o/", seconds(1), true),
            u"Cancelled. Converted 0 of 3 files into /o/ in 1.0 s; 3 cancelled.\n");
}

}  // namespace
}  // namespace kovantrix
