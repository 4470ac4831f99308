#include "ui/window_geometry.h"

#include <algorithm>

namespace tessaroven {

ScreenRect MiddleThreeFifths(const ScreenRect& area) {
  const int fifthX = area.Width() / 5;
  const int fifthY = area.Height() / 5;
  return {area.left + fifthX, area.top + fifthY, area.left + 4 * fifthX, area.top + 4 * fifthY};
}

ScreenRect FitToWorkArea(const ScreenRect& workArea, const ScreenRect& monitor) {
  ScreenRect fitted = workArea;
  if (workArea.right < monitor.right)
    fitted.right -= 1;
  else if (workArea.bottom < monitor.bottom)
    fitted.bottom -= 1;
  else if (workArea.left > monitor.left)
    fitted.left += 1;
  else if (workArea.top > monitor.top)
    fitted.top += 1;
  else
    fitted.bottom -= 1;
  return fitted;
}

int InitialDivider(int saved, int desktopWidth) {
  const int divider = saved != 0 ? saved : desktopWidth / 3;
  return std::max(divider, kMinimumDivider);
}

int DragDivider(int divider, int dx) { return std::max(divider + dx, kMinimumDivider); }

}  // namespace tessaroven
