#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "quarn/terminal/Terminal.h"

namespace quarn {

/// Rows of cells in aligned columns, by the columns that characters really take. Cells are escaped for the terminal;
/// when the rows are wider than the terminal, flexible columns are cut, the widest first, and then bars are drawn
/// shorter; the others never are. Made for one output.
class Table {
 public:
  enum class Align : std::uint8_t { left, right };
  struct Column {
    std::string_view title;
    Align align = Align::left;
    bool isFlexible = false;
    std::size_t barWidth = 0;  ///< of a column of bars: that of a full one; 0 for a column of texts
  };
  struct Cell {
    Cell(std::string cellText, Style cellStyle = Style::plain)
        : text(std::move(cellText)), style(cellStyle) {}                                          // NOLINT
    Cell(double barShare, Style cellStyle = Style::plain) : style(cellStyle), share(barShare) {}  // NOLINT
    std::string text;
    Style style;
    double share = 0;  ///< of a bar
  };

  explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

  void addRow(std::vector<Cell> cells);
  [[nodiscard]] bool isEmpty() const { return rows_.empty(); }
  /// The table's lines, each with a line break; a heading line first. Pipes get every cell uncut.
  [[nodiscard]] std::string text(const Terminal& terminal) const;

 private:
  [[nodiscard]] std::vector<std::size_t> widths(const Terminal& terminal) const;
  [[nodiscard]] std::string content(const Cell& cell, std::size_t column, std::size_t width) const;
  [[nodiscard]] std::size_t naturalWidth(std::size_t column) const;
  [[nodiscard]] std::vector<std::size_t> fullBarsIn(const std::vector<std::size_t>& columnWidths) const;
  [[nodiscard]] std::size_t* widestToNarrow(std::vector<std::size_t>& columnWidths, bool bars) const;
  void narrow(std::vector<std::size_t>& columnWidths, std::size_t excess) const;

  std::vector<Column> columns_;
  std::vector<std::vector<Cell>> rows_;
};

/// A bar of `width` columns of which `share` (0...1) is filled, in eighths of a column.
std::string barText(double share, std::size_t width);

}  // namespace quarn
