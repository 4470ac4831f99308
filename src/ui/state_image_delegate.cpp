#include "ui/state_image_delegate.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>

namespace tessaroven {

namespace {
constexpr int kImageGap = 3;
}

StateImageDelegate::StateImageDelegate(std::vector<QIcon> images, int imageSize, int minimumHeight, QObject* parent)
    : QStyledItemDelegate(parent), images_(std::move(images)), imageSize_(imageSize), minimumHeight_(minimumHeight) {}

bool StateImageDelegate::HasImage(const QModelIndex& index) { return index.data(kStateImageRole).isValid(); }

QRect StateImageDelegate::ImageRect(const QRect& itemRect) const {
  return QRect(itemRect.left() + kImageGap, itemRect.top() + (itemRect.height() - imageSize_) / 2, imageSize_,
               imageSize_);
}

void StateImageDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const {
  QStyledItemDelegate::initStyleOption(option, index);
  // The check state is there for assistive technology; the image stands in for it.
  option->features &= ~QStyleOptionViewItem::HasCheckIndicator;
}

void StateImageDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
  if (!HasImage(index)) {
    QStyledItemDelegate::paint(painter, option, index);
    return;
  }
  const int image = index.data(kStateImageRole).toInt();
  QStyleOptionViewItem rest = option;
  rest.rect.setLeft(option.rect.left() + imageSize_ + 2 * kImageGap);
  QStyledItemDelegate::paint(painter, rest, index);
  if (image >= 0 && static_cast<std::size_t>(image) < images_.size()) {
    const QRect target = ImageRect(option.rect);
    // The icon engine renders the SVG at the painter's device pixel ratio, so the
    // image stays sharp on scaled screens.
    images_[static_cast<std::size_t>(image)].paint(painter, target);
  }
}

QSize StateImageDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
  QSize size = QStyledItemDelegate::sizeHint(option, index);
  if (HasImage(index)) size.rwidth() += imageSize_ + 2 * kImageGap;
  size.setHeight(std::max(size.height(), minimumHeight_));
  return size;
}

bool StateImageDelegate::editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                                     const QModelIndex& index) {
  if (!HasImage(index) || !(index.flags() & Qt::ItemIsUserCheckable)) return false;
  bool toggle = false;
  switch (event->type()) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonDblClick: {
      // A press on the image is the tick's; the view would otherwise start a drag or,
      // for a double click, expand the folder as well.
      const auto* mouse = static_cast<QMouseEvent*>(event);
      return mouse->button() == Qt::LeftButton && ImageRect(option.rect).contains(mouse->position().toPoint()) &&
             event->type() == QEvent::MouseButtonDblClick;
    }
    case QEvent::MouseButtonRelease: {
      const auto* mouse = static_cast<QMouseEvent*>(event);
      toggle = mouse->button() == Qt::LeftButton && ImageRect(option.rect).contains(mouse->position().toPoint());
      break;
    }
    case QEvent::KeyPress: {
      const int key = static_cast<QKeyEvent*>(event)->key();
      toggle = key == Qt::Key_Space || key == Qt::Key_Select;
      break;
    }
    default:
      break;
  }
  if (!toggle) return false;
  // The model decides what a toggle means (the tree's three-way cycle); the value
  // only says "the user toggled".
  const auto current = static_cast<Qt::CheckState>(index.data(Qt::CheckStateRole).toInt());
  model->setData(index, current == Qt::Checked ? Qt::Unchecked : Qt::Checked, Qt::CheckStateRole);
  return true;
}

}  // namespace tessaroven
