#pragma once

#include <cstddef>
#include <vector>

namespace quarn {

/// A tile of a treemap, in the units of the area.
struct TreemapTile {
  std::size_t index = 0;  ///< index of its weight
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
};

/// Divides an area into tiles with areas in proportion to the weights, as square as possible (squarified layout),
/// without gaps or overlaps. Weights that are not positive and finite get no tile; a very small weight may get a tile
/// of area 0. Returns the tiles largest first. Pure function.
std::vector<TreemapTile> treemapTiles(const std::vector<double>& weights, double width, double height);

}  // namespace quarn
