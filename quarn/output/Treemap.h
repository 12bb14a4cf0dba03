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
/// squarified layout). Weights that are not above zero get no tile; tiles come largest first. A pure function.
std::vector<TreemapTile> treemapTiles(const std::vector<double>& weights, double width, double height);

}  // namespace quarn
