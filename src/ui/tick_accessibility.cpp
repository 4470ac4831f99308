#include "ui/tick_accessibility.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QTreeView>
#include <QVariant>
#include <unordered_map>

namespace tessaroven {

namespace {

constexpr char kTicksProperty[] = "tessaroven.ticks";

using Relations = QList<QPair<QAccessibleInterface*, QAccessible::Relation>>;

class TickView;

// One cell: Qt's own cell, except that its toggle action changes the tick.
class TickCell : public QAccessibleInterface, public QAccessibleActionInterface, public QAccessibleTableCellInterface {
 public:
  TickCell(QAccessibleInterface* inner, TickView* view) : inner_(inner), view_(view) {}

  bool isValid() const override { return inner_->isValid(); }
  QObject* object() const override { return inner_->object(); }
  QWindow* window() const override { return inner_->window(); }
  Relations relations(QAccessible::Relation match) const override { return inner_->relations(match); }
  QAccessibleInterface* focusChild() const override { return nullptr; }
  QAccessibleInterface* childAt(int, int) const override { return nullptr; }
  QAccessibleInterface* parent() const override;
  QAccessibleInterface* child(int) const override { return nullptr; }
  int childCount() const override { return 0; }
  int indexOfChild(const QAccessibleInterface*) const override { return -1; }
  QString text(QAccessible::Text t) const override { return inner_->text(t); }
  void setText(QAccessible::Text t, const QString& text) override { inner_->setText(t, text); }
  QRect rect() const override { return inner_->rect(); }
  QAccessible::Role role() const override { return inner_->role(); }
  QAccessible::State state() const override {
    QAccessible::State state = inner_->state();
    const QModelIndex index = Index();
    if (index.flags() & Qt::ItemIsUserCheckable) {
      state.checkable = true;
      const auto check = static_cast<Qt::CheckState>(index.data(Qt::CheckStateRole).toInt());
      state.checked = check == Qt::Checked;
      state.checkStateMixed = check == Qt::PartiallyChecked;
    }
    return state;
  }
  void* interface_cast(QAccessible::InterfaceType type) override {
    if (type == QAccessible::ActionInterface) return static_cast<QAccessibleActionInterface*>(this);
    if (type == QAccessible::TableCellInterface)
      return inner_->tableCellInterface() ? static_cast<QAccessibleTableCellInterface*>(this) : nullptr;
    return inner_->interface_cast(type);
  }

  QStringList actionNames() const override {
    QStringList names;
    if (inner_->actionInterface()) names = inner_->actionInterface()->actionNames();
    if (!names.contains(toggleAction())) names << toggleAction();
    return names;
  }
  void doAction(const QString& name) override {
    const QModelIndex index = Index();
    if (name == toggleAction() && (index.flags() & Qt::ItemIsUserCheckable)) {
      // The model decides what a toggle means (the tree's three-way cycle).
      const auto check = static_cast<Qt::CheckState>(index.data(Qt::CheckStateRole).toInt());
      const_cast<QAbstractItemModel*>(index.model())
          ->setData(index, check == Qt::Checked ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
      return;
    }
    if (inner_->actionInterface()) inner_->actionInterface()->doAction(name);
  }
  QStringList keyBindingsForAction(const QString& name) const override {
    if (name == toggleAction()) return {QStringLiteral("Space")};
    return inner_->actionInterface() ? inner_->actionInterface()->keyBindingsForAction(name) : QStringList();
  }

  bool isSelected() const override { return Cell()->isSelected(); }
  QList<QAccessibleInterface*> columnHeaderCells() const override { return Cell()->columnHeaderCells(); }
  QList<QAccessibleInterface*> rowHeaderCells() const override { return Cell()->rowHeaderCells(); }
  int columnIndex() const override { return Cell()->columnIndex(); }
  int rowIndex() const override { return Cell()->rowIndex(); }
  int columnExtent() const override { return Cell()->columnExtent(); }
  int rowExtent() const override { return Cell()->rowExtent(); }
  QAccessibleInterface* table() const override;

  QAccessibleInterface* Inner() const { return inner_; }

 private:
  QAccessibleTableCellInterface* Cell() const { return inner_->tableCellInterface(); }
  QModelIndex Index() const;

  QAccessibleInterface* inner_;  // owned by Qt's view interface
  TickView* view_;
};

// The view: Qt's own table or tree interface, handing out TickCells for its cells.
class TickView : public QAccessibleInterface, public QAccessibleTableInterface {
 public:
  TickView(QAbstractItemView* view, QAccessibleInterface* inner)
      : view_(view), inner_(inner), innerId_(QAccessible::uniqueId(inner)) {}
  ~TickView() override {
    DropCells();
    QAccessible::deleteAccessibleInterface(innerId_);
  }

  QAbstractItemView* View() const { return view_; }

  bool isValid() const override { return inner_->isValid(); }
  QObject* object() const override { return inner_->object(); }
  QWindow* window() const override { return inner_->window(); }
  Relations relations(QAccessible::Relation match) const override { return inner_->relations(match); }
  QAccessibleInterface* focusChild() const override { return Wrap(inner_->focusChild()); }
  QAccessibleInterface* childAt(int x, int y) const override { return Wrap(inner_->childAt(x, y)); }
  QAccessibleInterface* parent() const override { return inner_->parent(); }
  QAccessibleInterface* child(int index) const override { return Wrap(inner_->child(index)); }
  int childCount() const override { return inner_->childCount(); }
  int indexOfChild(const QAccessibleInterface* child) const override { return inner_->indexOfChild(Unwrap(child)); }
  QString text(QAccessible::Text t) const override { return inner_->text(t); }
  void setText(QAccessible::Text t, const QString& text) override { inner_->setText(t, text); }
  QRect rect() const override { return inner_->rect(); }
  QAccessible::Role role() const override { return inner_->role(); }
  QAccessible::State state() const override { return inner_->state(); }
  void* interface_cast(QAccessible::InterfaceType type) override {
    if (type == QAccessible::TableInterface)
      return inner_->tableInterface() ? static_cast<QAccessibleTableInterface*>(this) : nullptr;
    return inner_->interface_cast(type);
  }

  QAccessibleInterface* caption() const override { return Table()->caption(); }
  QAccessibleInterface* summary() const override { return Table()->summary(); }
  QAccessibleInterface* cellAt(int row, int column) const override { return Wrap(Table()->cellAt(row, column)); }
  int selectedCellCount() const override { return Table()->selectedCellCount(); }
  QList<QAccessibleInterface*> selectedCells() const override {
    QList<QAccessibleInterface*> cells = Table()->selectedCells();
    for (QAccessibleInterface*& cell : cells) cell = Wrap(cell);
    return cells;
  }
  QString columnDescription(int column) const override { return Table()->columnDescription(column); }
  QString rowDescription(int row) const override { return Table()->rowDescription(row); }
  int selectedColumnCount() const override { return Table()->selectedColumnCount(); }
  int selectedRowCount() const override { return Table()->selectedRowCount(); }
  int columnCount() const override { return Table()->columnCount(); }
  int rowCount() const override { return Table()->rowCount(); }
  QList<int> selectedColumns() const override { return Table()->selectedColumns(); }
  QList<int> selectedRows() const override { return Table()->selectedRows(); }
  bool isColumnSelected(int column) const override { return Table()->isColumnSelected(column); }
  bool isRowSelected(int row) const override { return Table()->isRowSelected(row); }
  bool selectRow(int row) override { return Table()->selectRow(row); }
  bool selectColumn(int column) override { return Table()->selectColumn(column); }
  bool unselectRow(int row) override { return Table()->unselectRow(row); }
  bool unselectColumn(int column) override { return Table()->unselectColumn(column); }
  void modelChange(QAccessibleTableModelChangeEvent* event) override {
    // Qt's interface drops cells it no longer trusts; ours go with them.
    DropCells();
    Table()->modelChange(event);
  }

 private:
  QAccessibleTableInterface* Table() const { return inner_->tableInterface(); }

  QAccessibleInterface* Wrap(QAccessibleInterface* cell) const {
    // Headers and anything that is not a cell stay Qt's own.
    if (!cell || !cell->tableCellInterface()) return cell;
    const auto found = cells_.find(cell);
    if (found != cells_.end()) return QAccessible::accessibleInterface(found->second);
    auto* wrapper = new TickCell(cell, const_cast<TickView*>(this));
    cells_.emplace(cell, QAccessible::registerAccessibleInterface(wrapper));
    return wrapper;
  }
  static const QAccessibleInterface* Unwrap(const QAccessibleInterface* child) {
    const auto* cell = dynamic_cast<const TickCell*>(child);
    return cell ? cell->Inner() : child;
  }
  void DropCells() {
    for (const auto& [inner, id] : cells_) QAccessible::deleteAccessibleInterface(id);
    cells_.clear();
  }

  QAbstractItemView* view_;
  QAccessibleInterface* inner_;
  QAccessible::Id innerId_;
  mutable std::unordered_map<const QAccessibleInterface*, QAccessible::Id> cells_;
};

QAccessibleInterface* TickCell::parent() const { return view_; }
QAccessibleInterface* TickCell::table() const { return view_; }

QModelIndex TickCell::Index() const {
  const QAbstractItemView* view = view_->View();
  if (!view || !view->model() || !Cell()) return {};
  const int row = Cell()->rowIndex();
  const int column = Cell()->columnIndex();
  if (const auto* tree = qobject_cast<const QTreeView*>(view)) {
    // A tree's cells count the rows as shown, expanded branches included.
    QModelIndex index = tree->model()->index(0, 0, tree->rootIndex());
    for (int i = 0; i < row && index.isValid(); ++i) index = tree->indexBelow(index);
    return index.isValid() ? index.siblingAtColumn(column) : QModelIndex();
  }
  return view->model()->index(row, column, view->rootIndex());
}

bool g_building = false;

QAccessibleInterface* TickViewFactory(const QString&, QObject* object) {
  auto* view = qobject_cast<QAbstractItemView*>(object);
  if (g_building || !view || !view->property(kTicksProperty).toBool()) return nullptr;
  // Qt's own interface for the view, made by Qt's factory while ours steps aside.
  g_building = true;
  QAccessibleInterface* inner = QAccessible::queryAccessibleInterface(object);
  g_building = false;
  return inner ? new TickView(view, inner) : nullptr;
}

}  // namespace

void InstallTickAccessibility() {
  static const bool installed = [] {
    QAccessible::installFactory(TickViewFactory);
    return true;
  }();
  (void)installed;
}

void MarkTicksAccessible(QAbstractItemView* view) {
  InstallTickAccessibility();
  view->setProperty(kTicksProperty, true);
}

}  // namespace tessaroven
