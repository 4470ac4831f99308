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
  // A first start's restored rectangle: the middle three fifths, measured from the
  // monitor's own corner (here a second monitor to the left).
  EXPECT_EQ(MiddleThreeFifths({-1280, 0, 0, 1024}), (ScreenRect{-1024, 204, -256, 816}));
}

}  // namespace
}  // namespace tessaroven
