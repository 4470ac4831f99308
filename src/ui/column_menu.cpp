#include "ui/column_menu.h"

#include <QAction>
#include <QString>
#include <QVariant>
#include <QWidget>

namespace tessaroven {

namespace {

// Marks the reset item; its text alone cannot, since a stored column may have any name.
constexpr char kDefaultColumnsObjectName[] = "defaultColumns";

QString ToQString(std::u16string_view text) {
  return QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size()));
}

void AddItems(QMenu& menu, const std::vector<ColumnMenuItem>& items) {
  for (const ColumnMenuItem& item : items) {
    const QString name = ToQString(item.name);
    QAction* action = menu.addAction(name);
    // The pick is read from the data: a style may put mnemonic markers into the text.
    action->setData(name);
    action->setCheckable(true);
    action->setChecked(item.checked);
  }
}

void AddSubMenu(QMenu& menu, const char* title, const std::vector<ColumnMenuItem>& items) {
  QMenu* sub = menu.addMenu(QString::fromLatin1(title));
  sub->setAccessibleName(QString::fromLatin1(title));
  AddItems(*sub, items);
}

}  // namespace

std::unique_ptr<QMenu> BuildColumnMenu(const ColumnMenuContent& content, QWidget* parent) {
  auto menu = std::make_unique<QMenu>(parent);
  AddItems(*menu, content.top);
  menu->addSeparator();
  AddSubMenu(*menu, kTagsMenuTitle, content.tags);
  menu->addSeparator();
  AddSubMenu(*menu, kExtendedMenuTitle, content.extended);
  AddItems(*menu, content.missing);
  menu->addSeparator();
  QAction* reset = menu->addAction(QString::fromLatin1(kDefaultColumnsText));
  reset->setObjectName(QString::fromLatin1(kDefaultColumnsObjectName));
  return menu;
}

std::optional<ColumnMenuChoice> ColumnMenuChoiceOf(const QAction* action) {
  if (action == nullptr) return std::nullopt;
  if (action->objectName() == QLatin1String(kDefaultColumnsObjectName)) return ColumnMenuChoice{true, {}};
  const QVariant data = action->data();
  if (data.typeId() != QMetaType::QString) return std::nullopt;
  return ColumnMenuChoice{false, data.toString().toStdU16String()};
}

std::optional<ColumnMenuChoice> ShowColumnMenu(QWidget* parent, QPoint globalPos, const ColumnMenuContent& content) {
  const std::unique_ptr<QMenu> menu = BuildColumnMenu(content, parent);
  return ColumnMenuChoiceOf(menu->exec(globalPos));
}

std::optional<ColumnMenuChoice> ShowColumnMenu(QWidget* parent, QPoint globalPos, const ColumnSet& current) {
  return ShowColumnMenu(parent, globalPos, BuildColumnMenuContent(current, ExtendedPropertyNames()));
}

}  // namespace tessaroven
