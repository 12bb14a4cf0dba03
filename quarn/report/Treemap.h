#pragma once

#include <cstddef>
#include <vector>

namespace quarn {

/// A place in a treemap, in the units of its area.
struct TreemapTile {
  std::size_t index = 0;  ///< of the weight it stands for
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
};

/// Divides an area among weights so that each tile's area is its share and tiles are as square as can be (the
/// squarified layout), without gaps or overlaps. Weights that are not above zero, or not finite, get no tile; one that
/// is nothing beside the others may get a tile without an area. Tiles come largest first. A pure function.
std::vector<TreemapTile> treemapTiles(const std::vector<double>& weights, double width, double height);

}  // namespace quarn
