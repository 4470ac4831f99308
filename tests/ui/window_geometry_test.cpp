#include "ui/window_geometry.h"

#include <gtest/gtest.h>

namespace tessaroven {
namespace {

// A 1920x1080 monitor with a 40-pixel bar on each side in turn: the fitted window
// gives up exactly one pixel towards the bar, so a bar that hides itself can still
// be reached.
TEST(WindowGeometryTest, FittingGivesUpOnePixelOnTheBarsSide) {
  const ScreenRect monitor{0, 0, 1920, 1080};
  const std::pair<ScreenRect, ScreenRect> cases[] = {
      {{0, 0, 1920, 1040}, {0, 0, 1920, 1039}},    // bottom
      {{0, 40, 1920, 1080}, {0, 41, 1920, 1080}},  // top
      {{40, 0, 1920, 1080}, {41, 0, 1920, 1080}},  // left
      {{0, 0, 1880, 1080}, {0, 0, 1879, 1080}},    // right
      {{0, 0, 1920, 1080}, {0, 0, 1920, 1079}},    // hidden
  };
  for (const auto& [workArea, expected] : cases) EXPECT_EQ(FitToWorkArea(workArea, monitor), expected);
}

TEST(WindowGeometryTest, FirstStartTakesTheMiddleThreeFifths) {
  EXPECT_EQ(MiddleThreeFifths({0, 0, 1920, 1080}), (ScreenRect{384, 216, 1536, 864}));
  // A second monitor to the left: the fifths are measured from its own corner.
  EXPECT_EQ(MiddleThreeFifths({-1280, 0, 0, 1024}), (ScreenRect{-1024, 204, -256, 816}));
}

// The saved divider, or a third of the desktop when none was saved; never below 100.
TEST(WindowGeometryTest, InitialDividerIsTheSavedValueOrAThird) {
  const struct {
    int saved, desktopWidth, expected;
  } cases[] = {{0, 1920, 640}, {0, 240, 100}, {50, 1920, 100}, {420, 1920, 420}, {-7, 1920, 100}};
  for (const auto& c : cases) EXPECT_EQ(InitialDivider(c.saved, c.desktopWidth), c.expected) << c.saved;
}

}  // namespace
}  // namespace tessaroven
