#include "quarn/browse/BrowseColumns.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <fmt/format.h>

#include "QuarnModels/RawValue.h"
#include "quarn/terminal/CountText.h"
#include "quarn/terminal/Table.h"
#include "quarn/terminal/TerminalText.h"

namespace quarn {
namespace {

constexpr std::size_t kNameWidth = 20;  // that other columns leave to the name
constexpr std::size_t kSizeWidth = 10;
constexpr std::size_t kByteCountWidth = 19;
constexpr std::int64_t kMostPlainFiles = 9'999'999;

struct ColumnRule {
  BrowseColumn column;
  std::string_view title;
  std::size_t width;
  std::size_t more;  ///< columns that it also takes where there is room
  int rank;          ///< columns with a higher rank go away first
};
constexpr std::array kColumnRules{
    ColumnRule{.column = BrowseColumn::mark, .title = "", .width = 1, .more = 0, .rank = 1},
    ColumnRule{.column = BrowseColumn::bar, .title = "", .width = 8, .more = 12, .rank = 2},
    ColumnRule{.column = BrowseColumn::share, .title = "SHARE", .width = 6, .more = 0, .rank = 3},
    ColumnRule{.column = BrowseColumn::size, .title = "SIZE", .width = kSizeWidth, .more = 0, .rank = 0},
    ColumnRule{.column = BrowseColumn::files, .title = "FILES", .width = 7, .more = 0, .rank = 4},
    ColumnRule{.column = BrowseColumn::owner, .title = "OWNER", .width = 16, .more = 14, .rank = 5},
    ColumnRule{.column = BrowseColumn::category, .title = "CATEGORY", .width = 13, .more = 0, .rank = 6},
    ColumnRule{.column = BrowseColumn::risk, .title = "RISK", .width = 7, .more = 0, .rank = 7},
};

const ColumnRule& ruleOf(BrowseColumn column) { return kColumnRules[static_cast<std::size_t>(column)]; }

std::size_t narrowest(const ColumnRule& rule, SizeUnits units) {
  return rule.column == BrowseColumn::size && units == SizeUnits::bytes ? kByteCountWidth : rule.width;
}

double shareOfFolder(const BrowseRow& row, const BrowseFrame& frame, std::int64_t whole) {
  if (whole <= 0) return 0;
  return static_cast<double>(shownBytes(row.item.sizes, frame.request.size)) / static_cast<double>(whole);
}

std::string bar(const BrowseRow& row, const BrowseFrame& frame, std::size_t width) {
  const double share = std::clamp(shareOfFolder(row, frame, frame.largest), 0.0, 1.0);
  if (frame.isUTF8) return barText(share, width);
  return std::string(static_cast<std::size_t>(std::lround(share * static_cast<double>(width))), '#');
}

std::string filesText(const BrowseTree::Item& item) {
  if (item.kind == BrowseTree::Kind::file) return "";
  if (item.files <= kMostPlainFiles) return std::to_string(item.files);
  return std::to_string(item.files / 1'000'000) + "M";
}

std::string markText(const BrowseRow& row) {
  if (row.isMarked) return "*";
  return row.isCovered ? "+" : "";
}

std::string nameText(const BrowseTree::Item& item) {
  if (item.kind == BrowseTree::Kind::rest) {
    return "(" + countText(static_cast<std::uint64_t>(item.files), "smaller file") + ")";
  }
  std::string text(item.name);
  if (item.kind == BrowseTree::Kind::folder) text += text.ends_with('/') ? "" : "/";
  if (!item.isRead) text += " (not read)";
  if (item.links > 1) text += fmt::format(" ({} names)", item.links);
  return text;
}

Style riskStyle(RiskLevel risk) {
  switch (risk) {
    case RiskLevel::safe: return Style::good;
    case RiskLevel::caution: return Style::warning;
    case RiskLevel::danger: break;
  }
  return Style::danger;
}

}  // namespace

std::string screenText(std::string_view text, bool isUTF8) {
  std::string escaped = escapedForTerminal(text);
  if (isUTF8) return escaped;
  std::string result;
  for (const char character : escaped) {
    const auto byte = static_cast<unsigned char>(character);
    result += byte < 0x80 ? std::string(1, character) : fmt::format("\\x{:02X}", byte);
  }
  return result;
}

std::string inWidth(std::string_view text, std::size_t width, bool isUTF8, bool alignsRight) {
  std::string fitted = isUTF8 ? fittedToWidth(text, width) : std::string(text.substr(0, width));
  const std::size_t taken = displayWidth(fitted);
  const std::string blanks(width > taken ? width - taken : 0, ' ');
  return alignsRight ? blanks + fitted : fitted + blanks;
}

std::vector<PlacedColumn> placedColumns(std::size_t width, SizeUnits units) {
  std::array<std::size_t, kColumnRules.size()> widths{};
  const std::size_t size = narrowest(ruleOf(BrowseColumn::size), units);
  std::size_t left = width > size + 1 + kNameWidth ? width - size - 1 - kNameWidth : 0;
  widths[static_cast<std::size_t>(BrowseColumn::size)] = size;
  for (int rank = 1; rank < static_cast<int>(kColumnRules.size()); ++rank) {
    const auto rule = std::find_if(kColumnRules.begin(), kColumnRules.end(),
                                   [rank](const ColumnRule& other) { return other.rank == rank; });
    if (rule->width + 1 > left) break;
    widths[static_cast<std::size_t>(rule->column)] = rule->width;
    left -= rule->width + 1;
    // Where all columns fit, half of what is left goes to the columns that can use it.
    if (rank + 1 < static_cast<int>(kColumnRules.size())) continue;
    for (const ColumnRule& wide : kColumnRules)
      widths[static_cast<std::size_t>(wide.column)] += std::min(wide.more, left / 4);
  }
  std::vector<PlacedColumn> columns;
  std::size_t at = 0;
  for (const ColumnRule& rule : kColumnRules) {
    const std::size_t columnWidth = widths[static_cast<std::size_t>(rule.column)];
    if (columnWidth == 0) continue;
    columns.push_back({.column = rule.column, .at = at, .width = std::min(columnWidth, width)});
    at += columnWidth + 1;
  }
  if (at < width) columns.push_back({.column = BrowseColumn::name, .at = at, .width = width - at});
  return columns;
}

std::string_view columnTitle(BrowseColumn column) {
  return column == BrowseColumn::name ? "NAME" : ruleOf(column).title;
}

ScreenSpan columnCell(const PlacedColumn& column, const BrowseRow& row, const BrowseFrame& frame) {
  std::string text;
  bool alignsRight = false;
  Style style = Style::plain;
  switch (column.column) {
    case BrowseColumn::mark: text = markText(row); break;
    case BrowseColumn::bar: text = bar(row, frame, column.width); break;
    case BrowseColumn::share:
      text =
          fmt::format("{:.1f}%", 100 * shareOfFolder(row, frame, shownBytes(frame.folder.sizes, frame.request.size)));
      alignsRight = true;
      break;
    case BrowseColumn::size:
      text = sizeText(shownBytes(row.item.sizes, frame.request.size), frame.units);
      alignsRight = true;
      break;
    case BrowseColumn::files:
      text = filesText(row.item);
      alignsRight = true;
      break;
    case BrowseColumn::owner: text = screenText(row.known.owner, frame.isUTF8); break;
    case BrowseColumn::category: text = row.known.category; break;
    case BrowseColumn::risk:
      if (row.known.risk) text = rawValue(*row.known.risk), style = riskStyle(*row.known.risk);
      break;
    case BrowseColumn::name:
      text = screenText(nameText(row.item), frame.isUTF8);
      if (!row.item.isRead) style = Style::warning;
      if (row.item.kind == BrowseTree::Kind::rest) style = Style::dim;
      break;
  }
  return {.column = column.at, .text = inWidth(text, column.width, frame.isUTF8, alignsRight), .style = style};
}

}  // namespace quarn
