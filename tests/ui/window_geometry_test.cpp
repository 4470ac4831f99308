#include "ui/window_geometry.h"

#include <gtest/gtest.h>

namespace tessaroven {
namespace {

struct FitCase {
  const char* bar;
  ScreenRect workArea;
  ScreenRect expected;
};

// A 1920x1080 monitor with a 40-pixel bar on each side in turn: the fitted window
// gives up exactly one pixel towards the bar, so a bar that hides itself can still
// be reached.
class FitToWorkAreaTest : public ::testing::TestWithParam<FitCase> {};

TEST_P(FitToWorkAreaTest, GivesUpOnePixelOnTheBarsSide) {
  const ScreenRect monitor{0, 0, 1920, 1080};
  EXPECT_EQ(FitToWorkArea(GetParam().workArea, monitor), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Bars, FitToWorkAreaTest,
    ::testing::Values(FitCase{"bottom", {0, 0, 1920, 1040}, {0, 0, 1920, 1039}},
                      FitCase{"top", {0, 40, 1920, 1080}, {0, 41, 1920, 1080}},
                      FitCase{"left", {40, 0, 1920, 1080}, {41, 0, 1920, 1080}},
                      FitCase{"right", {0, 0, 1880, 1080}, {0, 0, 1879, 1080}},
                      FitCase{"hidden", {0, 0, 1920, 1080}, {0, 0, 1920, 1079}}),
    [](const auto& param) { return std::string(param.param.bar); });

TEST(WindowGeometryTest, FirstStartTakesTheMiddleThreeFifths) {
  EXPECT_EQ(MiddleThreeFifths({0, 0, 1920, 1080}), (ScreenRect{384, 216, 1536, 864}));
  // A second monitor to the left: the fifths are measured from its own corner.
  EXPECT_EQ(MiddleThreeFifths({-1280, 0, 0, 1024}), (ScreenRect{-1024, 204, -256, 816}));
}

struct DividerCase {
  int saved;
  int desktopWidth;
  int expected;
};

class InitialDividerTest : public ::testing::TestWithParam<DividerCase> {};

TEST_P(InitialDividerTest, IsTheSavedValueOrAThirdAndNeverBelow100) {
  EXPECT_EQ(InitialDivider(GetParam().saved, GetParam().desktopWidth), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Values, InitialDividerTest,
                         ::testing::Values(DividerCase{0, 1920, 640}, DividerCase{0, 240, 100},
                                           DividerCase{50, 1920, 100}, DividerCase{420, 1920, 420},
                                           DividerCase{-7, 1920, 100}));

TEST(WindowGeometryTest, DraggingLeftStopsAt100) {
  EXPECT_EQ(DragDivider(300, -150), 150);
  EXPECT_EQ(DragDivider(300, -250), 100);
  EXPECT_EQ(DragDivider(100, -1), 100);
}

}  // namespace
}  // namespace tessaroven
