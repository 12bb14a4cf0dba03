#include "quarn/output/Table.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "quarn/output/TerminalText.h"

namespace quarn {
namespace {

constexpr std::size_t kGap = 2;
constexpr std::size_t kNarrowestFlexible = 12;

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

std::vector<std::size_t> Table::widths(const Terminal& terminal) const {
  std::vector<std::size_t> result;
  std::size_t sum = 0;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    std::size_t width = displayWidth(columns_[i].title);
    for (const auto& row : rows_) width = std::max(width, displayWidth(row[i].text));
    result.push_back(width);
    sum += width + (i == 0 ? 0 : kGap);
  }
  if (terminal.isInteractive) narrow(result, sum > terminal.width ? sum - terminal.width : 0);
  return result;
}

// Takes from the widest of the flexible columns, a column of the terminal at a time.
void Table::narrow(std::vector<std::size_t>& columnWidths, std::size_t excess) const {
  for (; excess > 0; --excess) {
    std::size_t* widest = nullptr;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      if (!columns_[i].isFlexible || columnWidths[i] <= kNarrowestFlexible) continue;
      if (widest == nullptr || columnWidths[i] >= *widest) widest = &columnWidths[i];
    }
    if (widest == nullptr) return;
    --*widest;
  }
}

std::string Table::text(const Terminal& terminal) const {
  const std::vector<std::size_t> columnWidths = widths(terminal);
  std::string result;
  std::string heading;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    heading += std::string(i == 0 ? 0 : kGap, ' ') +
               padded(fittedToWidth(columns_[i].title, columnWidths[i]), columnWidths[i], columns_[i].align);
  }
  result += terminal.styled(withoutTrailingBlanks(heading), Style::dim) + "\n";
  for (const auto& row : rows_) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) {
      const std::string cell = padded(fittedToWidth(row[i].text, columnWidths[i]), columnWidths[i], columns_[i].align);
      line += std::string(i == 0 ? 0 : kGap, ' ') + terminal.styled(cell, row[i].style);
    }
    result += withoutTrailingBlanks(std::move(line)) + "\n";
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
