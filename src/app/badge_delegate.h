#pragma once

#include <QStyledItemDelegate>

namespace tw::app {

// Draws a row's badges as small rounded pills, each coloured by its tone.
class BadgeDelegate : public QStyledItemDelegate {
  Q_OBJECT

 public:
  using QStyledItemDelegate::QStyledItemDelegate;

  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  [[nodiscard]] QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
};

}  // namespace tw::app
