#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

#include "lens/treemap.h"

namespace tw {
namespace {

double areaOf(const Rect& rect) { return rect.width * rect.height; }

// Each value gets its share of the rectangle's area (so the tiles fill it), and the tiles stay
// inside it without overlapping.
void expectLayout(const std::vector<double>& values, const Rect& area, const std::vector<Rect>& rects) {
  ASSERT_EQ(rects.size(), values.size());
  const double total = std::accumulate(values.begin(), values.end(), 0.0);
  double covered = 0;
  for (std::size_t i = 0; i < rects.size(); ++i) {
    const Rect& a = rects[i];
    EXPECT_TRUE(std::isfinite(a.x + a.y + a.width + a.height)) << "tile " << i;
    EXPECT_NEAR(areaOf(a), values[i] / total * areaOf(area), 1e-6) << "tile " << i;
    EXPECT_TRUE(a.x >= area.x - 1e-9 && a.y >= area.y - 1e-9 && a.x + a.width <= area.x + area.width + 1e-9 &&
                a.y + a.height <= area.y + area.height + 1e-9)
        << "tile " << i << " leaves the rectangle";
    for (std::size_t j = i + 1; j < rects.size(); ++j) {
      const Rect& b = rects[j];
      const double overlapX = std::min(a.x + a.width, b.x + b.width) - std::max(a.x, b.x);
      const double overlapY = std::min(a.y + a.height, b.y + b.height) - std::max(a.y, b.y);
      EXPECT_FALSE(overlapX > 1e-9 && overlapY > 1e-9) << "tiles " << i << " and " << j << " overlap";
    }
    covered += areaOf(a);
  }
  EXPECT_NEAR(covered, areaOf(area), 1e-6);
}

TEST(Squarify, LaysOutTheClassicExample) {
  const Rect area{0, 0, 6, 4};
  const std::vector<double> values{6, 6, 4, 3, 2, 2, 1};
  const auto rects = squarify(values, area);
  // The two 6s stand as a column on the left, 3 wide and 2 high each; the remaining 3x4 is
  // taller than wide, so 4 and 3 share a strip along its top; then 2, 2 and 1 each get a
  // column of the last 3 x 5/3 band.
  const std::vector<Rect> expected{{0, 0, 3, 2},
                                   {0, 2, 3, 2},
                                   {3, 0, 12.0 / 7, 7.0 / 3},
                                   {3 + 12.0 / 7, 0, 9.0 / 7, 7.0 / 3},
                                   {3, 7.0 / 3, 1.2, 5.0 / 3},
                                   {4.2, 7.0 / 3, 1.2, 5.0 / 3},
                                   {5.4, 7.0 / 3, 0.6, 5.0 / 3}};
  ASSERT_EQ(rects.size(), expected.size());
  for (std::size_t i = 0; i < rects.size(); ++i) {
    EXPECT_NEAR(rects[i].x, expected[i].x, 1e-9) << "tile " << i;
    EXPECT_NEAR(rects[i].y, expected[i].y, 1e-9) << "tile " << i;
    EXPECT_NEAR(rects[i].width, expected[i].width, 1e-9) << "tile " << i;
    EXPECT_NEAR(rects[i].height, expected[i].height, 1e-9) << "tile " << i;
  }
  expectLayout(values, area, rects);
}

TEST(Squarify, TilesShareOutTheWholeRectangleWithoutOverlapping) {
  std::vector<double> many;
  for (int i = 0; i < 60; ++i) many.push_back(1000.0 / (i + 1) + (i % 7));
  const std::vector<std::pair<std::vector<double>, Rect>> cases{
      {{42}, {10, 20, 300, 200}},       // one value fills the rectangle
      {{5, 0, 3, 0}, {0, 0, 100, 50}},  // zero values keep their slot with no area
      {many, {5, 7, 800, 450}},
  };
  for (const auto& [values, area] : cases) {
    SCOPED_TRACE(::testing::Message() << values.size() << " values");
    expectLayout(values, area, squarify(values, area));
  }
}

TEST(Squarify, DegenerateInputsGiveOneZeroRectanglePerValue) {
  EXPECT_TRUE(squarify({}, {0, 0, 100, 100}).empty());
  EXPECT_EQ(squarify({0, 0}, {0, 0, 100, 100}), std::vector<Rect>(2));
  EXPECT_EQ(squarify({5, 3, 1}, {0, 0, 0, 100}), std::vector<Rect>(3));
  EXPECT_EQ(squarify({5, 3}, {0, 0, 100, -1}), std::vector<Rect>(2));
  EXPECT_EQ(squarify({-4, 2}, {0, 0, 10, 10}), std::vector<Rect>(2)) << "a total below zero";
}

TEST(TreemapTiles, OnlyTheFirstSixtyChildrenGetATile) {
  FSNode folder("/data", true, nullptr);
  for (int i = 0; i < 75; ++i) {
    auto& child = folder.children.emplace_back(std::make_unique<FSNode>("c" + std::to_string(i), false, &folder));
    child->size = 1000 - i;
    child->freeable = i % 2 == 0 ? 1000 - i : 0;
  }
  const Rect area{0, 0, 640, 480};
  const auto bySize = treemapTiles(
      folder.children, [](const FSNode& node) { return node.size; }, area);
  ASSERT_EQ(bySize.size(), 60u);
  std::vector<double> sizes;
  std::vector<Rect> rects;
  for (std::size_t i = 0; i < bySize.size(); ++i) {
    EXPECT_EQ(bySize[i].node, folder.children[i].get());
    sizes.push_back(static_cast<double>(folder.children[i]->size));
    rects.push_back(bySize[i].rect);
  }
  expectLayout(sizes, area, rects);

  const auto byFreeable = treemapTiles(
      folder.children, [](const FSNode& node) { return node.freeable; }, area);
  ASSERT_EQ(byFreeable.size(), 60u);
  EXPECT_EQ(areaOf(byFreeable[1].rect), 0) << "nothing freeable, no area";

  folder.children.resize(3);
  EXPECT_EQ(treemapTiles(
                folder.children, [](const FSNode& node) { return node.size; }, area)
                .size(),
            3u);
}

}  // namespace
}  // namespace tw
