#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/browse/BrowseFrame.h"

namespace quarn {

/// The columns of the list, from left to right.
enum class BrowseColumn : std::uint8_t { mark, bar, share, size, files, owner, category, risk, name };

/// A column on a screen.
struct PlacedColumn {
  BrowseColumn column = BrowseColumn::name;
  std::size_t at = 0;  ///< first screen column
  std::size_t width = 0;
  friend bool operator==(const PlacedColumn&, const PlacedColumn&) = default;
};

/// The columns that fit the width, from left to right. As the width shrinks, columns go away in this order: risk,
/// category, owner, files, share, bar, mark. Size and name stay.
std::vector<PlacedColumn> placedColumns(std::size_t width, SizeUnits units);

/// The heading of a column.
std::string_view columnTitle(BrowseColumn column);

/// The text of a cell, as wide as the column.
ScreenSpan columnCell(const PlacedColumn& column, const BrowseRow& row, const BrowseFrame& frame);

/// Escapes a name for the terminal; without UTF-8 all bytes beyond ASCII too.
std::string screenText(std::string_view text, bool isUTF8);

/// A text in `width` columns, filled with blanks on the right or on the left.
std::string inWidth(std::string_view text, std::size_t width, bool isUTF8, bool alignsRight = false);

}  // namespace quarn
