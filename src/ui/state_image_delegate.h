// Draws an item's check image (one of the tree's five tick states, or a list row's
// two) in front of the item, and turns a click on the image, or Space on the
// focused item, into a change of the item's tick.
//
// The models give the image number in kStateImageRole and take a change through
// setData with Qt::CheckStateRole, which is also how assistive technology reads and
// toggles the tick; the style's own check box is never drawn. Main thread only.
#pragma once

#include <QIcon>
#include <QStyledItemDelegate>
#include <vector>

namespace tessaroven {

inline constexpr int kStateImageRole = Qt::UserRole + 1;

class StateImageDelegate : public QStyledItemDelegate {
 public:
  // `images[n]` is drawn for image number n; `imageSize` and `minimumHeight` (of a
  // row) are in device-independent pixels, already scaled for the screen.
  StateImageDelegate(std::vector<QIcon> images, int imageSize, int minimumHeight, QObject* parent = nullptr);

  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

  // Where the image of an item drawn in `itemRect` sits; the hit-test area.
  QRect ImageRect(const QRect& itemRect) const;

 protected:
  void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;
  bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;

 private:
  static bool HasImage(const QModelIndex& index);
  std::vector<QIcon> images_;
  int imageSize_;
  int minimumHeight_;
};

}  // namespace tessaroven
