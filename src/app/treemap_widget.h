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
  std::int64_t bytes = 0;  // by the map's measure
  Rect rect;
};

// What the tiles' areas stand for: the space taken, or what deleting would give back.
enum class LensMeasure { size, real };

[[nodiscard]] std::int64_t measureOf(const FSNode& node, LensMeasure measure);
// The folded small entries' share of a folder: what its children do not account for.
[[nodiscard]] std::int64_t foldedMeasure(const FSNode& folder, LensMeasure measure);

// The tiles of a folder within `area`: its biggest children and, when it has any, its folded
// small entries as one tile in the place their measure gives them; no more than the tile limit.
[[nodiscard]] std::vector<LensTile> lensTiles(const FSNode& folder, const Rect& area,
                                              LensMeasure measure = LensMeasure::size);

// A folder's children as a squarified map of rounded tiles: folders stronger than files,
// a name and size where a tile has room. Clicking a folder opens it, clicking a file selects
// it, Ctrl+click adds to the selection; hovering tells the path and sizes.
class TreemapWidget : public QWidget {
  Q_OBJECT

 public:
  explicit TreemapWidget(QWidget* parent = nullptr);

  void setFolder(const FSNode* folder);
  void setSelection(const std::set<const FSNode*>& selection);
  void setMeasure(LensMeasure measure);
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
  LensMeasure measure_ = LensMeasure::size;
  std::vector<LensTile> tiles_;
  std::set<const FSNode*> selection_;
};

}  // namespace tw::app
