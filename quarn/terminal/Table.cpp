#include "quarn/terminal/Table.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "quarn/terminal/TerminalText.h"

namespace quarn {
namespace {

constexpr std::size_t kGap = 2;
constexpr std::size_t kNarrowestFlexible = 12;
constexpr std::size_t kNarrowestBar = 4;
constexpr std::size_t kIndentBelow = 4;

std::string padded(const std::string& text, std::size_t width, Table::Align align) {
  const std::size_t taken = displayWidth(text);
  const std::string blanks(width > taken ? width - taken : 0, ' ');
  return align == Table::Align::right ? blanks + text : text + blanks;
}

std::string withoutTrailingBlanks(std::string line) {
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

}  // namespace

void Table::addRow(std::vector<Cell> cells) {
  for (Cell& cell : cells) cell.text = escapedForTerminal(cell.text);
  cells.resize(columns_.size(), Cell(""));
  rows_.push_back(std::move(cells));
}

// The widths of the first `columns` columns.
std::vector<std::size_t> Table::widths(const Terminal& terminal, std::size_t columns) const {
  std::vector<std::size_t> result;
  std::size_t sum = 0;
  for (std::size_t i = 0; i < columns; ++i) {
    result.push_back(naturalWidth(i));
    sum += result.back() + (i == 0 ? 0 : kGap);
  }
  if (terminal.isInteractive) narrow(result, sum > terminal.width ? sum - terminal.width : 0);
  return result;
}

std::size_t Table::leastWidth(std::size_t column) const {
  const std::size_t natural = naturalWidth(column);
  if (columns_[column].isFlexible) return std::min(natural, kNarrowestFlexible);
  return columns_[column].barWidth > 0 ? std::min(natural, kNarrowestBar) : natural;
}

// All columns, unless they do not fit and the table fits without its last flexible columns.
std::size_t Table::columnsBesideEachOther(const Terminal& terminal) const {
  if (!terminal.isInteractive) return columns_.size();
  std::size_t sum = 0;
  std::size_t fitting = 0;
  for (; fitting < columns_.size(); ++fitting) {
    sum += leastWidth(fitting) + (fitting == 0 ? 0 : kGap);
    if (sum > terminal.width) break;
  }
  const auto isFlexible = [](const Column& column) { return column.isFlexible; };
  const bool mayMove =
      fitting > 0 && std::all_of(columns_.begin() + static_cast<std::ptrdiff_t>(fitting), columns_.end(), isFlexible);
  return mayMove ? fitting : columns_.size();
}

std::string Table::linesBelow(const std::vector<Cell>& cells, std::size_t from, const Terminal& terminal) const {
  std::string lines;
  for (std::size_t i = from; i < cells.size(); ++i) {
    const std::size_t width = terminal.width > kIndentBelow ? terminal.width - kIndentBelow : 1;
    lines +=
        std::string(kIndentBelow, ' ') + terminal.styled(fittedToWidth(cells[i].text, width), cells[i].style) + "\n";
  }
  return lines;
}

std::size_t Table::naturalWidth(std::size_t column) const {
  std::size_t width = displayWidth(columns_[column].title);
  for (const auto& row : rows_) {
    width = std::max(width, displayWidth(content(row[column], column, columns_[column].barWidth)));
  }
  return width;
}

// The text of a cell before it is cut; `width` is that of a full bar.
std::string Table::content(const Cell& cell, std::size_t column, std::size_t width) const {
  return columns_[column].barWidth > 0 ? barText(cell.share, width) : cell.text;
}

// The widest flexible column (or bar column) that can still shrink; null if there is none.
std::size_t* Table::widestToNarrow(std::vector<std::size_t>& columnWidths, bool bars) const {
  std::size_t* widest = nullptr;
  for (std::size_t i = 0; i < columnWidths.size(); ++i) {
    const bool isMeant = bars ? columns_[i].barWidth > 0 : columns_[i].isFlexible;
    if (!isMeant || columnWidths[i] <= (bars ? kNarrowestBar : kNarrowestFlexible)) continue;
    if (widest == nullptr || columnWidths[i] >= *widest) widest = &columnWidths[i];
  }
  return widest;
}

// Shrinks the widest column by one, `excess` times.
void Table::narrow(std::vector<std::size_t>& columnWidths, std::size_t excess) const {
  for (; excess > 0; --excess) {
    std::size_t* widest = widestToNarrow(columnWidths, /*bars=*/false);
    if (widest == nullptr) widest = widestToNarrow(columnWidths, /*bars=*/true);
    if (widest == nullptr) return;
    --*widest;
  }
}

// The width of a full bar in each shrunk column; 0 for columns of text.
std::vector<std::size_t> Table::fullBarsIn(const std::vector<std::size_t>& columnWidths) const {
  std::vector<std::size_t> result(columnWidths.size(), 0);
  for (std::size_t i = 0; i < columnWidths.size(); ++i) {
    if (columns_[i].barWidth == 0) continue;
    result[i] = columns_[i].barWidth * columnWidths[i] / std::max<std::size_t>(naturalWidth(i), 1);
  }
  return result;
}

std::string Table::text(const Terminal& terminal) const {
  const std::size_t beside = columnsBesideEachOther(terminal);
  const std::vector<std::size_t> columnWidths = widths(terminal, beside);
  std::string result;
  std::string heading;
  std::vector<Cell> titles;
  for (const Column& column : columns_) titles.emplace_back(std::string(column.title), Style::dim);
  for (std::size_t i = 0; i < beside; ++i) {
    heading += std::string(i == 0 ? 0 : kGap, ' ') +
               padded(fittedToWidth(columns_[i].title, columnWidths[i]), columnWidths[i], columns_[i].align);
  }
  result += terminal.styled(withoutTrailingBlanks(heading), Style::dim) + "\n";
  result += linesBelow(titles, beside, terminal);
  const std::vector<std::size_t> fullBars = fullBarsIn(columnWidths);
  for (const auto& row : rows_) {
    std::string line;
    for (std::size_t i = 0; i < beside; ++i) {
      const std::string cell =
          padded(fittedToWidth(content(row[i], i, fullBars[i]), columnWidths[i]), columnWidths[i], columns_[i].align);
      line += std::string(i == 0 ? 0 : kGap, ' ') + terminal.styled(cell, row[i].style);
    }
    result += withoutTrailingBlanks(std::move(line)) + "\n" + linesBelow(row, beside, terminal);
  }
  return result;
}

std::string barText(double share, std::size_t width) {
  static constexpr std::array<std::string_view, 8> kEighths{"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};
  const double clamped = std::isfinite(share) ? std::clamp(share, 0.0, 1.0) : 0.0;
  const auto eighths = static_cast<std::size_t>(std::lround(clamped * static_cast<double>(width) * 8));
  std::string bar;
  for (std::size_t i = 0; i < eighths / 8; ++i) bar += "█";
  bar += kEighths[eighths % 8];
  return bar;
}

}  // namespace quarn
