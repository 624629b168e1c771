#pragma once

#include <cstdint>
#include <set>
#include <vector>

#include <QWidget>

class QPainter;

#include "lens/disk_scanner.h"
#include "lens/treemap.h"

namespace tw::app {

// One tile of a folder's map: a child, or (without a node) the folder's small entries
// folded together.
struct LensTile {
  const FSNode* node = nullptr;
  std::int64_t bytes = 0;
  Rect rect;
};

// The tiles of a folder within `area`: its biggest children and, when it has any, its folded
// small entries as one tile in the place their size gives them; no more than the tile limit.
[[nodiscard]] std::vector<LensTile> lensTiles(const FSNode& folder, const Rect& area);

// A folder's children as a squarified map of rounded tiles: folders stronger than files,
// a name and size where a tile has room. Clicking a folder opens it, clicking a file selects
// it, Ctrl+click adds to the selection; hovering tells the path and sizes.
class TreemapWidget : public QWidget {
  Q_OBJECT

 public:
  explicit TreemapWidget(QWidget* parent = nullptr);

  void setFolder(const FSNode* folder);
  void setSelection(const std::set<const FSNode*>& selection);
  [[nodiscard]] const std::vector<LensTile>& tiles() const { return tiles_; }
  // The tile under a point of the widget, if any.
  [[nodiscard]] const LensTile* tileAt(const QPointF& point) const;

 signals:
  void openRequested(const tw::FSNode* folder);
  // The user picked tiles: `node` alone, or added to (or taken from) the selection.
  void picked(const tw::FSNode* node, bool adding);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  bool event(QEvent* event) override;

 private:
  void layOut();
  void paintTile(QPainter& painter, const LensTile& tile, std::size_t index) const;

  const FSNode* folder_ = nullptr;
  std::vector<LensTile> tiles_;
  std::set<const FSNode*> selection_;
};

}  // namespace tw::app
