#include "lens/treemap.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace tw {
namespace {

double share(double part, double whole) { return whole > 0 ? part / whole : 0; }

// The worst aspect ratio of a row laid along a side of this length; infinite when the row
// cannot be measured.
double worst(const std::vector<double>& row, double side) {
  const double sum = std::accumulate(row.begin(), row.end(), 0.0);
  const auto [smallest, largest] = std::minmax_element(row.begin(), row.end());
  if (*smallest <= 0 || sum <= 0) return std::numeric_limits<double>::infinity();
  const double sideSquared = side * side;
  return std::max(sideSquared * *largest / (sum * sum), (sum * sum) / (sideSquared * *smallest));
}

// Places the row against the free rectangle's left edge when it is at least as wide as tall
// (so ties go to a column), else along its top edge, and shrinks the free rectangle.
void layOut(const std::vector<double>& row, Rect& free, std::vector<Rect>& out) {
  const double sum = std::accumulate(row.begin(), row.end(), 0.0);
  if (free.height <= free.width) {
    const double thickness = share(sum, free.height);
    double y = free.y;
    for (const double area : row) {
      const double length = share(area, thickness);
      out.push_back({free.x, y, thickness, length});
      y += length;
    }
    free = {free.x + thickness, free.y, free.width - thickness, free.height};
  } else {
    const double thickness = share(sum, free.width);
    double x = free.x;
    for (const double area : row) {
      const double length = share(area, thickness);
      out.push_back({x, free.y, length, thickness});
      x += length;
    }
    free = {free.x, free.y + thickness, free.width, free.height - thickness};
  }
}

}  // namespace

std::vector<Rect> squarify(const std::vector<double>& values, const Rect& rect) {
  if (values.empty()) return {};
  const double total = std::accumulate(values.begin(), values.end(), 0.0);
  if (!(total > 0) || rect.width <= 0 || rect.height <= 0) return std::vector<Rect>(values.size());

  const double scale = rect.width * rect.height / total;
  std::vector<Rect> out;
  out.reserve(values.size());
  std::vector<double> row;
  Rect free = rect;
  for (std::size_t i = 0; i < values.size();) {
    const double area = values[i] * scale;
    if (row.empty()) {
      row.push_back(area);
      ++i;
      continue;
    }
    const double side = std::min(free.width, free.height);
    const double before = worst(row, side);
    row.push_back(area);
    // Not-a-number compares false, which lays the row out.
    if (worst(row, side) <= before) {
      ++i;
      continue;
    }
    row.pop_back();
    layOut(row, free, out);
    row.clear();
  }
  if (!row.empty()) layOut(row, free, out);
  return out;
}

std::vector<TreemapTile> treemapTiles(const std::vector<std::unique_ptr<FSNode>>& children, const TreemapMetric& metric,
                                      const Rect& area) {
  const std::size_t count = std::min(children.size(), kTreemapTileLimit);
  std::vector<double> values;
  values.reserve(count);
  for (std::size_t i = 0; i < count; ++i) values.push_back(static_cast<double>(metric(*children[i])));
  const auto rects = squarify(values, area);
  std::vector<TreemapTile> tiles;
  tiles.reserve(count);
  for (std::size_t i = 0; i < count; ++i) tiles.push_back({children[i].get(), rects[i]});
  return tiles;
}

}  // namespace tw
