// Where the main window goes: the first-start rectangle, fitting it to the monitor
// (the window's own "maximised" state, which keeps a one-pixel gap on the task bar's
// side), and the divider between the tree and the list.
//
// Rectangles are screen pixels with the right and bottom edges exclusive, the way
// the saved "qRV-FileSelector-l/t/r/b" values hold them. Pure functions: the window
// asks the screens and hands the numbers in.
#pragma once

#include <QRect>

namespace tessaroven {

struct ScreenRect {
  int left = 0, top = 0, right = 0, bottom = 0;

  int Width() const { return right - left; }
  int Height() const { return bottom - top; }
  bool IsNull() const { return left == 0 && top == 0 && right == 0 && bottom == 0; }
  QRect ToQRect() const { return QRect(left, top, Width(), Height()); }
  static ScreenRect FromQRect(const QRect& r) { return {r.left(), r.top(), r.left() + r.width(), r.top() + r.height()}; }
  friend bool operator==(const ScreenRect&, const ScreenRect&) = default;
};

inline constexpr int kMinimumDivider = 100;

// The middle three fifths of `area` (a first start, or a window found off its monitor).
ScreenRect MiddleThreeFifths(const ScreenRect& area);

// The rectangle of the fitted window: the monitor's work area less one pixel on the
// side of the task bar, so that a bar that hides itself can still be reached with
// the mouse. The bar's side is where the work area stops short of the monitor; a
// monitor without a reserved bar is taken to have a hidden one at the bottom, the
// place most desktops put it.
ScreenRect FitToWorkArea(const ScreenRect& workArea, const ScreenRect& monitor);

// The divider at start: the saved value, or a third of the desktop's width when
// none was saved; never below kMinimumDivider.
int InitialDivider(int saved, int desktopWidth);

// The divider after a drag by `dx`, kept at kMinimumDivider or more.
int DragDivider(int divider, int dx);

}  // namespace tessaroven
