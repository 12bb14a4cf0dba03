#include "quarn/browse/BrowsePainter.h"

#include <algorithm>
#include <array>
#include <utility>

#include <fmt/format.h>

#include "quarn/browse/BrowseColumns.h"
#include "quarn/terminal/CountText.h"
#include "quarn/terminal/TerminalText.h"

namespace quarn {
namespace {

constexpr std::size_t kFixedLines = 4;  // path, headings, status, keys
constexpr std::size_t kMostDetails = 12;
constexpr std::size_t kDetailName = 10;

struct KeyHelp {
  std::string_view keys;
  std::string_view meaning;
};
constexpr std::array kKeyHelp{
    KeyHelp{"up, k   down, j", "move"},
    KeyHelp{"PageUp  PageDown", "move by a page"},
    KeyHelp{"Home    End", "the first, the last item"},
    KeyHelp{"right, l, Enter", "into the folder"},
    KeyHelp{"left, h, Backspace", "out of the folder"},
    KeyHelp{"s", "sort by size, files, age, owner, name in turn"},
    KeyHelp{"a", "space on disk or length of the content"},
    KeyHelp{"/", "filter by a part of the name; Enter keeps it, Esc clears it"},
    KeyHelp{"space", "mark the item, or take the mark away"},
    KeyHelp{"i, Tab", "details of the item"},
    KeyHelp{"w", "write the marked paths to the file of --output"},
    KeyHelp{"p", "leave, and print the marked items"},
    KeyHelp{"q", "leave"},
    KeyHelp{"?", "this help; nothing is ever deleted"},
};

std::string_view sizeName(ShownSize size) { return size == ShownSize::allocated ? "on disk" : "length"; }

/// Makes the lines of one frame.
class FramePainter {
 public:
  explicit FramePainter(const BrowseFrame& frame) : frame_(frame) {}

  std::vector<ScreenLine> paint() {
    paintHeader();
    const BrowseLayout layout = browseLayout(frame_.height, frame_.details.has_value());
    if (frame_.showsHelp) {
      paintHelp(layout);
    } else {
      paintRows(layout);
      paintDetails(layout);
    }
    paintStatus();
    add(inWidth(frame_.isTyping ? "Enter keeps the filter  Esc clears it"
                                : "space marks  / filters  s sorts  i details  ? keys  q leaves",
                frame_.width, frame_.isUTF8),
        Style::dim);
    if (lines_.size() > frame_.height) lines_.resize(frame_.height);
    return std::move(lines_);
  }

 private:
  void add(std::string text, Style style = Style::plain) {
    lines_.push_back({.spans = {{.column = 0, .text = std::move(text), .style = style}}});
  }

  // The path on the left, the sums on the right. A narrow screen has the path only.
  void paintHeader() {
    const std::string sums =
        fmt::format("{} {}, {}, by {}", sizeText(shownBytes(frame_.folder.sizes, frame_.request.size), frame_.units),
                    sizeName(frame_.request.size),
                    countText(static_cast<std::uint64_t>(std::max<std::int64_t>(frame_.folder.files, 0)), "file"),
                    rawValue(frame_.request.sort));
    const std::string path = screenText(frame_.path, frame_.isUTF8);
    const bool hasSums = frame_.width >= 2 * sums.size();
    const std::size_t pathWidth = hasSums ? frame_.width - sums.size() - 2 : frame_.width;
    add(inWidth(path, pathWidth, frame_.isUTF8), Style::heading);
    if (hasSums) lines_.back().spans.push_back({.column = pathWidth + 2, .text = sums});
  }

  void paintRows(const BrowseLayout& layout) {
    const std::vector<PlacedColumn> columns = placedColumns(frame_.width, frame_.units);
    ScreenLine& heading = lines_.emplace_back();
    for (const PlacedColumn& column : columns) {
      const bool alignsRight = column.column == BrowseColumn::share || column.column == BrowseColumn::size ||
                               column.column == BrowseColumn::files;
      heading.spans.push_back({.column = column.at,
                               .text = inWidth(columnTitle(column.column), column.width, frame_.isUTF8, alignsRight),
                               .style = Style::dim});
    }
    const std::size_t end = lines_.size() + layout.rows;
    if (frame_.rows.empty()) add(inWidth(emptyText(), frame_.width, frame_.isUTF8), Style::dim);
    for (const BrowseRow& row : frame_.rows) {
      if (lines_.size() == end) break;
      ScreenLine& line = lines_.emplace_back();
      line.isSelected = row.isSelected;
      for (const PlacedColumn& column : columns) line.spans.push_back(columnCell(column, row, frame_));
    }
    lines_.resize(end);
  }

  [[nodiscard]] std::string_view emptyText() const {
    if (!frame_.isListed) return "sorting";
    return frame_.all == 0 ? "nothing here yet, or an empty folder" : "no name matches the filter";
  }

  void paintDetails(const BrowseLayout& layout) {
    if (layout.details == 0) return;
    const std::size_t end = lines_.size() + layout.details;
    add(inWidth(screenText(frame_.details->path, frame_.isUTF8), frame_.width, frame_.isUTF8), Style::heading);
    for (const DetailLine& line : frame_.details->lines) {
      paintDetail(line);
      if (lines_.size() >= end) break;
    }
    lines_.resize(end);
  }

  // A long text takes several lines.
  void paintDetail(const DetailLine& line) {
    // A narrow screen has no room for the names.
    const std::size_t at = frame_.width > 2 * kDetailName ? kDetailName + 1 : 0;
    const std::size_t width = frame_.width - at;
    std::string rest = screenText(line.text, frame_.isUTF8);
    std::string_view name = line.name;
    do {
      const std::string piece = takePiece(rest, width);
      ScreenLine& shown = lines_.emplace_back();
      if (at > 0) shown.spans.push_back({.text = inWidth(name, kDetailName, frame_.isUTF8), .style = Style::dim});
      shown.spans.push_back({.column = at, .text = inWidth(piece, width, frame_.isUTF8)});
      name = "";
    } while (!rest.empty());
  }

  // The words that fit; one that is too long alone is cut.
  static std::string takePiece(std::string& rest, std::size_t width) {
    if (displayWidth(rest) <= width) return std::exchange(rest, "");
    std::size_t end = 0;
    for (std::size_t blank = rest.find(' '); blank != std::string::npos; blank = rest.find(' ', blank + 1)) {
      if (displayWidth(std::string_view(rest).substr(0, blank)) > width) break;
      end = blank;
    }
    if (end == 0) return std::exchange(rest, "");
    std::string piece = rest.substr(0, end);
    rest.erase(0, end + 1);
    return piece;
  }

  void paintHelp(const BrowseLayout& layout) {
    const std::size_t end = lines_.size() + 1 + layout.rows + layout.details;
    add(inWidth("KEYS", frame_.width, frame_.isUTF8), Style::dim);
    for (const KeyHelp& help : kKeyHelp) {
      if (lines_.size() == end) break;
      add(inWidth(fmt::format("{:<20}{}", help.keys, help.meaning), frame_.width, frame_.isUTF8));
    }
    lines_.resize(end);
  }

  void paintStatus() {
    const bool isWarning = !frame_.message.empty();
    add(inWidth(screenText(isWarning ? frame_.message : statusText(), frame_.isUTF8), frame_.width, frame_.isUTF8),
        isWarning ? Style::warning : Style::plain);
  }

  [[nodiscard]] std::string statusText() const {
    std::string text;
    const auto append = [&](const std::string& part) { text += (text.empty() ? "" : "; ") + part; };
    if (frame_.isTyping || !frame_.request.filter.empty()) {
      append(fmt::format("filter: {}{} ({} of {})", frame_.request.filter, frame_.isTyping ? "_" : "", frame_.shown,
                         frame_.all));
    }
    if (frame_.marks > 0) append(marksText());
    for (const std::string& activity : frame_.activities) append(activity);
    return text;
  }

  [[nodiscard]] std::string marksText() const {
    std::string text = fmt::format("{} marked: {}", frame_.marks,
                                   sizeText(shownBytes(frame_.marked.sizes, frame_.request.size), frame_.units));
    if (frame_.marked.heldElsewhere > 0) {
      text += fmt::format(", {} stay under other names", sizeText(frame_.marked.heldElsewhere, frame_.units));
    }
    return text;
  }

  const BrowseFrame& frame_;
  std::vector<ScreenLine> lines_;
};

}  // namespace

BrowseLayout browseLayout(std::size_t height, bool showsDetails) {
  const std::size_t room = height > kFixedLines ? height - kFixedLines : 1;
  const std::size_t details = showsDetails ? std::min(room / 2, kMostDetails) : 0;
  return {.rows = std::max<std::size_t>(room - details, 1), .details = details};
}

std::vector<ScreenLine> paintFrame(const BrowseFrame& frame) { return FramePainter(frame).paint(); }

std::string textOf(const ScreenLine& line) {
  std::string text;
  for (const ScreenSpan& span : line.spans) {
    const std::size_t width = displayWidth(text);
    if (width < span.column) text.append(span.column - width, ' ');
    text += span.text;
  }
  return text.erase(text.find_last_not_of(' ') + 1);
}

}  // namespace quarn
