// Lets assistive technology change a tick, not only read it.
//
// Qt's item views tell assistive technology whether an item is checked, partly
// checked or not, but their cells' one action ("toggle") selects or deselects the
// cell. For the folder tree and the file lists the tick is the point, so for a view
// marked with MarkTicksAccessible the toggle action of a checkable cell changes its
// tick through the model (Qt::CheckStateRole), exactly as a click on the image or
// Space does; everything else is still Qt's own accessibility, passed through.
//
// Main thread only (as all of Qt's accessibility).
#pragma once

class QAbstractItemView;

namespace tessaroven {

// Installs the factory once per process; call before the first view is marked.
void InstallTickAccessibility();
// Marks `view` so that its checkable cells toggle their tick. Mark it before
// anything asks for its accessible interface (before it is shown).
void MarkTicksAccessible(QAbstractItemView* view);

}  // namespace tessaroven
