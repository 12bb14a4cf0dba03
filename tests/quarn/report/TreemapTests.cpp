#include <cmath>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include "quarn/report/Treemap.h"

namespace quarn::treemap_tests {
namespace {

constexpr double kWidth = 12;
constexpr double kHeight = 5;
constexpr double kRounding = 1e-6;

double areaOf(const TreemapTile& tile) { return tile.width * tile.height; }

double overlapOf(const TreemapTile& left, const TreemapTile& right) {
  const double width = std::min(left.x + left.width, right.x + right.width) - std::max(left.x, right.x);
  const double height = std::min(left.y + left.height, right.y + right.height) - std::max(left.y, right.y);
  return width > 0 && height > 0 ? width * height : 0;
}

/// The invariants of every layout: areas are in proportion to the weights, tiles are inside the area, do not overlap
/// and fill it.
void expectLayout(const std::vector<double>& weights) {
  double sum = 0;
  std::size_t positive = 0;
  for (const double weight : weights) {
    sum += std::max(weight, 0.0);
    positive += weight > 0 ? 1U : 0U;
  }
  const std::vector<TreemapTile> tiles = treemapTiles(weights, kWidth, kHeight);
  ASSERT_EQ(tiles.size(), positive);
  double covered = 0;
  for (std::size_t i = 0; i < tiles.size(); ++i) {
    const TreemapTile& tile = tiles[i];
    EXPECT_NEAR(areaOf(tile), weights[tile.index] / sum * kWidth * kHeight, kRounding);
    EXPECT_GE(tile.x, 0);
    EXPECT_GE(tile.y, 0);
    EXPECT_GE(tile.width, 0);
    EXPECT_GE(tile.height, 0);
    EXPECT_LE(tile.x + tile.width, kWidth + kRounding);
    EXPECT_LE(tile.y + tile.height, kHeight + kRounding);
    for (std::size_t j = 0; j < i; ++j) EXPECT_NEAR(overlapOf(tile, tiles[j]), 0, kRounding);
    covered += areaOf(tile);
  }
  EXPECT_NEAR(covered, positive > 0 ? kWidth * kHeight : 0, kRounding);
}

TEST(Treemap, NoWeightsGiveNoTiles) {
  EXPECT_TRUE(treemapTiles({}, kWidth, kHeight).empty());
  EXPECT_TRUE(treemapTiles({0, -1, 0}, kWidth, kHeight).empty());
}

TEST(Treemap, OneWeightTakesTheWholeArea) {
  const auto tiles = treemapTiles({0, 7}, kWidth, kHeight);
  ASSERT_EQ(tiles.size(), 1U);
  EXPECT_EQ(tiles[0].index, 1U);
  EXPECT_EQ(tiles[0].x, 0);
  EXPECT_EQ(tiles[0].y, 0);
  EXPECT_EQ(tiles[0].width, kWidth);
  EXPECT_EQ(tiles[0].height, kHeight);
}

TEST(Treemap, TilesAreSortedLargestFirstAndEqualOnesKeepTheirOrder) {
  std::vector<std::size_t> order;
  for (const TreemapTile& tile : treemapTiles({1, 5, 3, 5, 1}, kWidth, kHeight)) order.push_back(tile.index);
  EXPECT_EQ(order, (std::vector<std::size_t>{1, 3, 2, 0, 4}));
}

TEST(Treemap, AreasEqualTheSharesWithoutGapsOrOverlaps) {
  expectLayout({6, 6, 4, 3, 2, 2, 1});
  expectLayout({1, 1, 1, 1});
  expectLayout({100, 1, 0, -3, 1, 1e-3});
  expectLayout(std::vector<double>(200, 1));
}

TEST(Treemap, AnyWeightsAreLaidOut) {
  std::mt19937 random(7);
  std::lognormal_distribution<double> sizes(10, 4);
  for (int round = 0; round < 200; ++round) {
    std::vector<double> weights(static_cast<std::size_t>(round % 61));
    for (double& weight : weights) weight = sizes(random);
    expectLayout(weights);
  }
}

TEST(Treemap, TilesAreNearlySquare) {
  for (const TreemapTile& tile : treemapTiles(std::vector<double>(12, 1), kWidth, kHeight)) {
    EXPECT_LT(std::max(tile.width / tile.height, tile.height / tile.width), 2.0);
  }
}

TEST(Treemap, EnormousAndTinyWeightsStayFiniteAndInside) {
  const double largest = std::numeric_limits<double>::max();
  const double smallest = std::numeric_limits<double>::denorm_min();
  const double none = std::numeric_limits<double>::quiet_NaN();
  const double infinite = std::numeric_limits<double>::infinity();
  for (const auto& weights : std::vector<std::vector<double>>{{largest, largest, largest},
                                                              {largest, 1, smallest},
                                                              {1, 1e-17, 1e-18, 1e-19, 1e-300},
                                                              {smallest, smallest},
                                                              {9.2e18, 1, 1, 1},
                                                              {none, 2, infinite, 1}}) {
    const auto tiles = treemapTiles(weights, kWidth, kHeight);
    double covered = 0;
    for (const TreemapTile& tile : tiles) {
      ASSERT_TRUE(std::isfinite(tile.x + tile.y + tile.width + tile.height));
      EXPECT_GE(tile.width, 0);
      EXPECT_GE(tile.height, 0);
      EXPECT_LE(tile.x + tile.width, kWidth + kRounding);
      EXPECT_LE(tile.y + tile.height, kHeight + kRounding);
      covered += areaOf(tile);
    }
    EXPECT_NEAR(covered, kWidth * kHeight, kRounding);
  }
  EXPECT_EQ(treemapTiles({none, 2, infinite, 1}, kWidth, kHeight).size(), 2U);
}

}  // namespace
}  // namespace quarn::treemap_tests
