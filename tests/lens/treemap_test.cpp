#include <gtest/gtest.h>

#include <cmath>
#include <numeric>

#include "lens/treemap.h"

namespace tw {
namespace {

double areaOf(const std::vector<Rect>& rects) {
  return std::accumulate(rects.begin(), rects.end(), 0.0,
                         [](double sum, const Rect& r) { return sum + r.width * r.height; });
}

void expectRect(const Rect& actual, const Rect& expected) {
  EXPECT_NEAR(actual.x, expected.x, 1e-9);
  EXPECT_NEAR(actual.y, expected.y, 1e-9);
  EXPECT_NEAR(actual.width, expected.width, 1e-9);
  EXPECT_NEAR(actual.height, expected.height, 1e-9);
}

// Tiles must not overlap and must stay inside the rectangle.
void expectTiling(const std::vector<Rect>& rects, const Rect& area) {
  for (std::size_t i = 0; i < rects.size(); ++i) {
    const Rect& a = rects[i];
    EXPECT_GE(a.x, area.x - 1e-9);
    EXPECT_GE(a.y, area.y - 1e-9);
    EXPECT_LE(a.x + a.width, area.x + area.width + 1e-9);
    EXPECT_LE(a.y + a.height, area.y + area.height + 1e-9);
    for (std::size_t j = i + 1; j < rects.size(); ++j) {
      const Rect& b = rects[j];
      const double overlapX = std::min(a.x + a.width, b.x + b.width) - std::max(a.x, b.x);
      const double overlapY = std::min(a.y + a.height, b.y + b.height) - std::max(a.y, b.y);
      EXPECT_FALSE(overlapX > 1e-9 && overlapY > 1e-9) << "tiles " << i << " and " << j << " overlap";
    }
  }
}

TEST(Squarify, LaysOutTheClassicExample) {
  const Rect area{0, 0, 6, 4};
  const std::vector<double> values{6, 6, 4, 3, 2, 2, 1};
  const auto rects = squarify(values, area);
  ASSERT_EQ(rects.size(), 7u);
  // The two 6s stand as a column on the left, 3 wide and 2 high each.
  expectRect(rects[0], {0, 0, 3, 2});
  expectRect(rects[1], {0, 2, 3, 2});
  // The remaining 3x4 is taller than wide: 4 and 3 share a strip along its top.
  expectRect(rects[2], {3, 0, 12.0 / 7, 7.0 / 3});
  expectRect(rects[3], {3 + 12.0 / 7, 0, 9.0 / 7, 7.0 / 3});
  // Then 2, 2 and 1 each get a column of the last 3 x 5/3 band.
  expectRect(rects[4], {3, 7.0 / 3, 1.2, 5.0 / 3});
  expectRect(rects[5], {4.2, 7.0 / 3, 1.2, 5.0 / 3});
  expectRect(rects[6], {5.4, 7.0 / 3, 0.6, 5.0 / 3});
  EXPECT_NEAR(areaOf(rects), 24, 1e-9);
  expectTiling(rects, area);
  for (std::size_t i = 0; i < rects.size(); ++i) {
    EXPECT_NEAR(rects[i].width * rects[i].height, values[i], 1e-9);
  }
}

TEST(Squarify, DegenerateInputsGiveOneZeroRectanglePerValue) {
  EXPECT_TRUE(squarify({}, {0, 0, 100, 100}).empty());
  EXPECT_EQ(squarify({0, 0}, {0, 0, 100, 100}), std::vector<Rect>(2));
  EXPECT_EQ(squarify({5, 3, 1}, {0, 0, 0, 100}), std::vector<Rect>(3));
  EXPECT_EQ(squarify({5, 3}, {0, 0, 100, -1}), std::vector<Rect>(2));
  EXPECT_EQ(squarify({-4, 2}, {0, 0, 10, 10}), std::vector<Rect>(2)) << "a total below zero";
}

TEST(Squarify, ASingleValueFillsTheRectangle) {
  const auto rects = squarify({42}, {10, 20, 300, 200});
  ASSERT_EQ(rects.size(), 1u);
  expectRect(rects[0], {10, 20, 300, 200});
}

TEST(Squarify, ZeroValuesKeepTheirSlotWithNoArea) {
  const Rect area{0, 0, 100, 50};
  const auto rects = squarify({5, 0, 3, 0}, area);
  ASSERT_EQ(rects.size(), 4u);
  EXPECT_EQ(rects[1].width * rects[1].height, 0);
  EXPECT_EQ(rects[3].width * rects[3].height, 0);
  for (const auto& rect : rects) EXPECT_TRUE(std::isfinite(rect.x) && std::isfinite(rect.width));
  EXPECT_NEAR(areaOf(rects), 5000, 1e-6);
  EXPECT_NEAR(rects[0].width * rects[0].height, 5000 * 5.0 / 8, 1e-6);
}

TEST(Squarify, AreasAddUpAndTilesStayApartForManyValues) {
  std::vector<double> values;
  for (int i = 0; i < 60; ++i) values.push_back(1000.0 / (i + 1) + (i % 7));
  const Rect area{5, 7, 800, 450};
  const auto rects = squarify(values, area);
  ASSERT_EQ(rects.size(), values.size());
  EXPECT_NEAR(areaOf(rects), 800 * 450, 1e-6);
  expectTiling(rects, area);
  const double total = std::accumulate(values.begin(), values.end(), 0.0);
  for (std::size_t i = 0; i < values.size(); ++i) {
    EXPECT_NEAR(rects[i].width * rects[i].height, values[i] / total * 800 * 450, 1e-6);
  }
}

TEST(TreemapTiles, OnlyTheFirstSixtyChildrenGetATile) {
  FSNode folder("/data", true, nullptr);
  for (int i = 0; i < 75; ++i) {
    auto child = std::make_unique<FSNode>("c" + std::to_string(i), false, &folder);
    child->size = 1000 - i;
    child->freeable = i % 2 == 0 ? 1000 - i : 0;
    folder.children.push_back(std::move(child));
  }
  const Rect area{0, 0, 640, 480};
  const auto bySize = treemapTiles(
      folder.children, [](const FSNode& node) { return node.size; }, area);
  ASSERT_EQ(bySize.size(), 60u);
  for (std::size_t i = 0; i < bySize.size(); ++i) EXPECT_EQ(bySize[i].node, folder.children[i].get());
  double covered = 0;
  for (const auto& tile : bySize) covered += tile.rect.width * tile.rect.height;
  EXPECT_NEAR(covered, 640 * 480, 1e-6);

  const auto byFreeable = treemapTiles(
      folder.children, [](const FSNode& node) { return node.freeable; }, area);
  ASSERT_EQ(byFreeable.size(), 60u);
  EXPECT_EQ(byFreeable[1].rect.width * byFreeable[1].rect.height, 0) << "nothing freeable, no area";

  folder.children.resize(3);
  EXPECT_EQ(treemapTiles(
                folder.children, [](const FSNode& node) { return node.size; }, area)
                .size(),
            3u);
}

}  // namespace
}  // namespace tw
