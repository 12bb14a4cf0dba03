#include "quarn/output/Treemap.h"

#include <algorithm>
#include <numeric>

namespace quarn {
namespace {

struct Area {
  std::size_t index;
  double size;
};

/// The free part of the area, filled row by row along its shorter side.
class Layout {
 public:
  Layout(double width, double height) : width_(width), height_(height) {}

  // How far from square the worst tile of a row would be, 1 at best.
  [[nodiscard]] double worstRatio(double sum, double smallest, double largest) const {
    const double side = std::min(width_, height_);
    const double thickness = sum / side;
    return std::max(thickness * thickness / smallest, largest / (thickness * thickness));
  }

  void place(const std::vector<Area>& row, double sum, std::vector<TreemapTile>& tiles) {
    const bool isColumn = width_ >= height_;
    const double thickness = sum / std::min(width_, height_);
    double offset = 0;
    for (const Area& area : row) {
      const double length = area.size / thickness;
      tiles.push_back(isColumn ? TreemapTile{area.index, x_, y_ + offset, thickness, length}
                               : TreemapTile{area.index, x_ + offset, y_, length, thickness});
      offset += length;
    }
    (isColumn ? x_ : y_) += thickness;
    (isColumn ? width_ : height_) -= thickness;
  }

 private:
  double x_ = 0;
  double y_ = 0;
  double width_;
  double height_;
};

std::vector<Area> areas(const std::vector<double>& weights, double whole) {
  std::vector<Area> result;
  double sum = 0;
  for (const double weight : weights) sum += std::max(weight, 0.0);
  for (std::size_t i = 0; i < weights.size(); ++i) {
    if (weights[i] > 0) result.push_back({i, weights[i] / sum * whole});
  }
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
      layout.place(row, sum, tiles);
      row.clear();
      sum = 0;
    }
    row.push_back(area);
    sum += area.size;
  }
  if (!row.empty()) layout.place(row, sum, tiles);
  return tiles;
}

}  // namespace quarn
