#include "quarn/report/Treemap.h"

#include <algorithm>
#include <cmath>

namespace quarn {
namespace {

struct Area {
  std::size_t index;
  double size;
};

/// The free part of the area. Rows fill it along its shorter side.
class Layout {
 public:
  Layout(double width, double height) : width_(width), height_(height) {}

  // The aspect ratio of the worst tile in a row; 1 is a square.
  [[nodiscard]] double worstRatio(double sum, double smallest, double largest) const {
    const double thickness = sum / std::min(width_, height_);
    return std::max(thickness * thickness / smallest, largest / (thickness * thickness));
  }

  /// Cuts a strip off the free part for a row. The last row takes the remaining area and the last tile of each row
  /// the remaining length, so rounding leaves no gaps and no overlaps.
  void place(const std::vector<Area>& row, double sum, bool isLastRow, std::vector<TreemapTile>& tiles) {
    const bool isColumn = width_ >= height_;
    double& free = isColumn ? width_ : height_;
    const double side = isColumn ? height_ : width_;
    const double thickness = isLastRow ? free : std::min(side > 0 ? sum / side : 0, free);
    double offset = 0;
    for (const Area& area : row) {
      const bool isLastTile = &area == &row.back();
      const double length = isLastTile ? side - offset : std::min(side * (area.size / sum), side - offset);
      tiles.push_back(isColumn ? TreemapTile{area.index, x_, y_ + offset, thickness, length}
                               : TreemapTile{area.index, x_ + offset, y_, length, thickness});
      offset += length;
    }
    (isColumn ? x_ : y_) += thickness;
    free -= thickness;
  }

 private:
  double x_ = 0;
  double y_ = 0;
  double width_;
  double height_;
};

// The area of each weight, largest first. Divides by the largest weight before summing, because the sum of the
// weights may overflow a double. Weights that underflow would be invisible anyway.
std::vector<Area> areas(const std::vector<double>& weights, double whole) {
  std::vector<Area> result;
  double largest = 0;
  for (const double weight : weights) {
    if (std::isfinite(weight)) largest = std::max(largest, weight);
  }
  double sum = 0;
  for (std::size_t i = 0; i < weights.size(); ++i) {
    const double size = std::isfinite(weights[i]) && weights[i] > 0 ? weights[i] / largest : 0;
    if (size > 0) result.push_back({i, size});
    sum += size;
  }
  for (Area& area : result) area.size *= whole / sum;
  std::stable_sort(result.begin(), result.end(),
                   [](const Area& left, const Area& right) { return left.size > right.size; });
  return result;
}

}  // namespace

std::vector<TreemapTile> treemapTiles(const std::vector<double>& weights, double width, double height) {
  std::vector<TreemapTile> tiles;
  Layout layout(width, height);
  std::vector<Area> row;
  double sum = 0;
  for (const Area& area : areas(weights, width * height)) {
    const bool isWorse = !row.empty() && layout.worstRatio(sum + area.size, area.size, row.front().size) >
                                             layout.worstRatio(sum, row.back().size, row.front().size);
    if (isWorse) {
      layout.place(row, sum, /*isLastRow=*/false, tiles);
      row.clear();
      sum = 0;
    }
    row.push_back(area);
    sum += area.size;
  }
  if (!row.empty()) layout.place(row, sum, /*isLastRow=*/true, tiles);
  return tiles;
}

}  // namespace quarn
