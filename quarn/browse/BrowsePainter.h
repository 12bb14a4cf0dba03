#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "quarn/browse/BrowseFrame.h"

namespace quarn {

/// How the lines of a screen are used.
struct BrowseLayout {
  std::size_t rows = 1;     ///< of the list
  std::size_t details = 0;  ///< lines of the details
};
BrowseLayout browseLayout(std::size_t height, bool showsDetails);

/// The picture of a frame: at most `height` lines that are at most `width` columns wide, at any size. Names are
/// escaped.
std::vector<ScreenLine> paintFrame(const BrowseFrame& frame);

/// The text of a line, for tests and for reading aloud.
std::string textOf(const ScreenLine& line);

}  // namespace quarn
