#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "quarn/terminal/Terminal.h"

namespace quarn {

/// Rows of cells in aligned columns, measured in terminal columns. Escapes all cells. If the table is wider than the
/// terminal, cuts flexible columns, the widest first, then shortens bars. Other columns keep their width. If that is
/// not enough, the last flexible columns go on lines of their own below each row, where that makes the rest fit.
class Table {
 public:
  enum class Align : std::uint8_t { left, right };
  struct Column {
    std::string_view title;  ///< must outlive the table
    Align align = Align::left;
    bool isFlexible = false;
    std::size_t barWidth = 0;  ///< width of a full bar; 0 for a column of text
  };
  struct Cell {
    Cell(std::string cellText, Style cellStyle = Style::plain)
        : text(std::move(cellText)), style(cellStyle) {}                                          // NOLINT
    Cell(double barShare, Style cellStyle = Style::plain) : style(cellStyle), share(barShare) {}  // NOLINT
    std::string text;
    Style style;
    double share = 0;  ///< for a bar: 0 to 1
  };

  explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

  void addRow(std::vector<Cell> cells);
  [[nodiscard]] bool isEmpty() const { return rows_.empty(); }
  /// The table as text, with a heading line. Output that is not a terminal gets uncut cells.
  [[nodiscard]] std::string text(const Terminal& terminal) const;

 private:
  [[nodiscard]] std::vector<std::size_t> widths(const Terminal& terminal, std::size_t columns) const;
  [[nodiscard]] std::size_t columnsBesideEachOther(const Terminal& terminal) const;
  [[nodiscard]] std::size_t leastWidth(std::size_t column) const;
  [[nodiscard]] std::string content(const Cell& cell, std::size_t column, std::size_t width) const;
  [[nodiscard]] std::size_t naturalWidth(std::size_t column) const;
  [[nodiscard]] std::string linesBelow(const std::vector<Cell>& cells, std::size_t from,
                                       const Terminal& terminal) const;
  [[nodiscard]] std::vector<std::size_t> fullBarsIn(const std::vector<std::size_t>& columnWidths) const;
  [[nodiscard]] std::size_t* widestToNarrow(std::vector<std::size_t>& columnWidths, bool bars) const;
  void narrow(std::vector<std::size_t>& columnWidths, std::size_t excess) const;

  std::vector<Column> columns_;
  std::vector<std::vector<Cell>> rows_;
};

/// A bar of which `share` (0 to 1) is filled, in steps of an eighth of a column. `width` is the full width in
/// columns.
std::string barText(double share, std::size_t width);

}  // namespace quarn
