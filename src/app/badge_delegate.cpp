#include "app/badge_delegate.h"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>

#include "app/pane_item_model.h"
#include "core/dev_item.h"

namespace tw::app {
namespace {

constexpr int padding = 6;
constexpr int gap = 4;

QColor toneColor(int tone) {
  switch (static_cast<Badge::Tone>(tone)) {
    case Badge::Tone::ok:
      return {52, 168, 83};
    case Badge::Tone::warn:
      return {230, 145, 25};
    case Badge::Tone::danger:
      return {220, 53, 69};
    case Badge::Tone::info:
      break;
  }
  return {66, 133, 244};
}

QVariantList badgesOf(const QModelIndex& index) { return index.data(PaneItemModel::badgesRole).toList(); }

QFont badgeFont(const QFont& base) {
  QFont font = base;
  font.setPointSizeF(base.pointSizeF() * 0.85);
  return font;
}

}  // namespace

void BadgeDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
  // The row's background and selection, as every other cell of the row draws them.
  QStyleOptionViewItem background = option;
  initStyleOption(&background, index);
  background.text.clear();
  const QWidget* widget = option.widget;
  QStyle* style = widget ? widget->style() : QApplication::style();
  style->drawControl(QStyle::CE_ItemViewItem, &background, painter, widget);
  const QVariantList badges = badgesOf(index);
  if (badges.isEmpty()) return;
  painter->save();
  painter->setRenderHint(QPainter::Antialiasing);
  const QFont font = badgeFont(option.font);
  painter->setFont(font);
  const QFontMetrics metrics(font);
  const int height = metrics.height() + 2;
  int x = option.rect.left() + gap;
  const int y = option.rect.center().y() - height / 2;
  for (const QVariant& value : badges) {
    const QVariantMap badge = value.toMap();
    const QString text = badge.value(QStringLiteral("text")).toString();
    const QColor tone = toneColor(badge.value(QStringLiteral("tone")).toInt());
    const QRect pill(x, y, metrics.horizontalAdvance(text) + 2 * padding, height);
    QColor fill = tone;
    fill.setAlpha(48);
    QPainterPath path;
    path.addRoundedRect(QRectF(pill).adjusted(0.5, 0.5, -0.5, -0.5), height / 2.0, height / 2.0);
    painter->fillPath(path, fill);
    painter->setPen(tone);
    painter->drawPath(path);
    painter->setPen(option.palette.color(QPalette::Text));
    painter->drawText(pill, Qt::AlignCenter, text);
    x = pill.right() + gap;
  }
  painter->restore();
}

QSize BadgeDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
  const QFontMetrics metrics(badgeFont(option.font));
  int width = gap;
  for (const QVariant& value : badgesOf(index)) {
    width += metrics.horizontalAdvance(value.toMap().value(QStringLiteral("text")).toString()) + 2 * padding + gap;
  }
  return {width, metrics.height() + 4};
}

}  // namespace tw::app
