#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "lens/disk_scanner.h"

namespace tw {

// A rectangle in points, y growing downwards.
struct Rect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
  friend bool operator==(const Rect&, const Rect&) = default;
};

// Squarified layout: one rectangle per value, in the same order, with areas proportional to
// the values and rows grown while that keeps their tiles close to square. A total of 0 or
// less, or an empty rectangle, gives zero rectangles.
[[nodiscard]] std::vector<Rect> squarify(const std::vector<double>& values, const Rect& rect);

// No more tiles than this are laid out or drawn per folder.
inline constexpr std::size_t kTreemapTileLimit = 60;

struct TreemapTile {
  const FSNode* node = nullptr;
  Rect rect;
};

using TreemapMetric = std::function<std::int64_t(const FSNode&)>;

// The tiles of a folder's children (already sorted largest first): the first 60 only,
// sized by `metric` (size or freeable) within `area`.
[[nodiscard]] std::vector<TreemapTile> treemapTiles(const std::vector<std::unique_ptr<FSNode>>& children,
                                                    const TreemapMetric& metric, const Rect& area);

}  // namespace tw
