// The column header's context menu of the file lists: shows the column catalogue
// with the current set checked and returns what the user picked. What the pick does
// to the set is ApplyColumnChoice's business (column_set.h).
//
// Main thread only. Building is apart from showing so that tests can look at the
// menu without a modal loop.
#pragma once

#include <QMenu>
#include <QPoint>
#include <memory>
#include <optional>

#include "ui/column_set.h"

class QAction;
class QWidget;

namespace tessaroven {

// The sub-menus' titles, which are their accessible names too, and the reset item.
inline constexpr char kTagsMenuTitle[] = "Tags";
inline constexpr char kExtendedMenuTitle[] = "Extended Properties";
inline constexpr char kDefaultColumnsText[] = "Default Columns";

// The menu, top to bottom: the file and property columns, a separator, "Tags", a
// separator, "Extended Properties", the columns of the "missing" group, a separator,
// "Default Columns". Every column item is checkable and its text is the column name.
std::unique_ptr<QMenu> BuildColumnMenu(const ColumnMenuContent& content, QWidget* parent);

// The choice an action of that menu stands for; nothing for an action that is not
// one of its items (a separator, a sub-menu's own action).
std::optional<ColumnMenuChoice> ColumnMenuChoiceOf(const QAction* action);

// Shows the menu at `globalPos` and waits for the pick; nothing when the user
// dismissed it.
std::optional<ColumnMenuChoice> ShowColumnMenu(QWidget* parent, QPoint globalPos, const ColumnMenuContent& content);
// The same for the set a list shows now, with the extended properties the plug-ins
// report at this moment (so a plug-in added while the program runs is offered).
std::optional<ColumnMenuChoice> ShowColumnMenu(QWidget* parent, QPoint globalPos, const ColumnSet& current);

}  // namespace tessaroven
