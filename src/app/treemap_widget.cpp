#include "app/treemap_widget.h"

#include <algorithm>
#include <array>

#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QToolTip>

#include "core/format.h"

namespace tw::app {
namespace {

constexpr std::array<QRgb, 10> tileColours{0x3d7fd6, 0x36a86b, 0xe0892b, 0x8e5bd0, 0xd2495a,
                                           0x2aa3b8, 0xb59a1f, 0xc9579f, 0x5b6fd4, 0x6f9a3a};
constexpr double folderOpacity = 0.85;
constexpr double fileOpacity = 0.5;
constexpr double labelMinWidth = 60;
constexpr double labelMinHeight = 34;
constexpr double cornerRadius = 4;

QString qstring(const std::string& text) { return QString::fromStdString(text); }

QString tileName(const LensTile& tile, const FSNode& folder) {
  if (tile.node) return qstring(tile.node->name);
  return TreemapWidget::tr("%n small items", nullptr, static_cast<int>(folder.smallCount));
}

}  // namespace

std::int64_t measureOf(const FSNode& node, LensMeasure measure) {
  return measure == LensMeasure::size ? node.size : node.freeable;
}

std::int64_t foldedMeasure(const FSNode& folder, LensMeasure measure) {
  if (measure == LensMeasure::size) return folder.smallBytes;
  std::int64_t counted = 0;
  for (const auto& child : folder.children) counted += child->freeable;
  return std::max<std::int64_t>(0, folder.freeable - counted);
}

std::vector<LensTile> lensTiles(const FSNode& folder, const Rect& area, LensMeasure measure) {
  std::vector<LensTile> tiles;
  const std::int64_t folded = folder.smallCount > 0 ? foldedMeasure(folder, measure) : 0;
  const bool folds = folded > 0;
  const std::size_t shown = std::min(folder.children.size(), kTreemapTileLimit - (folds ? 1 : 0));
  for (std::size_t index = 0; index < shown; ++index) {
    const FSNode* child = folder.children[index].get();
    tiles.push_back({child, measureOf(*child, measure), {}});
  }
  if (folds) {
    const auto place =
        std::find_if(tiles.begin(), tiles.end(), [&](const LensTile& tile) { return tile.bytes < folded; });
    tiles.insert(place, LensTile{nullptr, folded, {}});
  }
  std::vector<double> values;
  values.reserve(tiles.size());
  for (const auto& tile : tiles) values.push_back(static_cast<double>(tile.bytes));
  const auto rects = squarify(values, area);
  for (std::size_t index = 0; index < tiles.size(); ++index) tiles[index].rect = rects[index];
  return tiles;
}

TreemapWidget::TreemapWidget(QWidget* parent) : QWidget(parent) {
  setObjectName(QStringLiteral("treemap"));
  setAccessibleName(tr("Map of the folder"));
  setMouseTracking(true);
  setMinimumSize(200, 160);
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void TreemapWidget::setFolder(const FSNode* folder) {
  folder_ = folder;
  layOut();
  update();
}

void TreemapWidget::setMeasure(LensMeasure measure) {
  measure_ = measure;
  layOut();
  update();
}

void TreemapWidget::setSelection(const std::set<const FSNode*>& selection) {
  selection_ = selection;
  update();
}

void TreemapWidget::layOut() {
  tiles_.clear();
  if (folder_)
    tiles_ = lensTiles(*folder_, {0, 0, static_cast<double>(width()), static_cast<double>(height())}, measure_);
}

const LensTile* TreemapWidget::tileAt(const QPointF& point) const {
  for (const auto& tile : tiles_) {
    const QRectF rect(tile.rect.x, tile.rect.y, tile.rect.width, tile.rect.height);
    if (rect.contains(point)) return &tile;
  }
  return nullptr;
}

void TreemapWidget::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  layOut();
}

void TreemapWidget::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  for (std::size_t index = 0; index < tiles_.size(); ++index) paintTile(painter, tiles_[index], index);
}

void TreemapWidget::paintTile(QPainter& painter, const LensTile& tile, std::size_t index) const {
  const Rect& r = tile.rect;
  const QRectF inset(r.x + 1, r.y + 1, std::max(0.0, r.width - 2), std::max(0.0, r.height - 2));
  const bool folder = tile.node && tile.node->isDir;
  QColor colour = tile.node ? QColor(tileColours[index % tileColours.size()]) : palette().color(QPalette::Mid);
  colour.setAlphaF(folder ? folderOpacity : fileOpacity);
  const bool selected = tile.node && selection_.contains(tile.node);
  painter.setPen(selected ? QPen(palette().color(QPalette::Highlight), 3) : QPen(Qt::NoPen));
  painter.setBrush(colour);
  painter.drawRoundedRect(inset, cornerRadius, cornerRadius);
  if (r.width <= labelMinWidth || r.height <= labelMinHeight) return;
  painter.setPen(Qt::white);
  const QFontMetricsF metrics(painter.font());
  const QRectF text = inset.adjusted(5, 4, -5, -4);
  const QString name = metrics.elidedText(tileName(tile, *folder_), Qt::ElideMiddle, text.width());
  painter.drawText(QPointF(text.left(), text.top() + metrics.ascent()), name);
  painter.drawText(QPointF(text.left(), text.top() + metrics.height() + 1 + metrics.ascent()),
                   qstring(byteFormatter(tile.bytes)));
}

void TreemapWidget::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return QWidget::mousePressEvent(event);
  const LensTile* tile = tileAt(event->position());
  if (tile == nullptr || tile->node == nullptr) return;
  const bool adding = event->modifiers() & (Qt::ControlModifier | Qt::ShiftModifier);
  if (!adding && tile->node->isDir) {
    emit openRequested(tile->node);
  } else {
    emit picked(tile->node, adding);
  }
}

// Hovering names the tile's path and sizes.
bool TreemapWidget::event(QEvent* event) {
  if (event->type() != QEvent::ToolTip) return QWidget::event(event);
  const auto* help = static_cast<QHelpEvent*>(event);
  const LensTile* tile = tileAt(help->pos());
  if (tile == nullptr || folder_ == nullptr) {
    QToolTip::hideText();
    event->ignore();
    return true;
  }
  const QString where = tile->node ? qstring(tile->node->path()) : qstring(folder_->path());
  const std::int64_t size = tile->node ? tile->node->size : foldedMeasure(*folder_, LensMeasure::size);
  const std::int64_t real = tile->node ? tile->node->freeable : foldedMeasure(*folder_, LensMeasure::real);
  QToolTip::showText(
      help->globalPos(),
      tr("%1\n%2\nSize %3 · real %4")
          .arg(where, tileName(*tile, *folder_), qstring(byteFormatter(size)), qstring(byteFormatter(real))),
      this);
  return true;
}

}  // namespace tw::app
