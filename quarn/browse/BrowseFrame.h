#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "quarn/browse/BrowseState.h"
#include "quarn/browse/ItemKnowledge.h"
#include "quarn/terminal/SizeText.h"
#include "quarn/terminal/Terminal.h"

namespace quarn {

/// A row of the list.
struct BrowseRow {
  BrowseTree::Item item{};
  KnownColumns known{};
  bool isMarked = false;
  bool isCovered = false;  ///< in a marked folder
  bool isSelected = false;
};

/// The details of the selected item.
struct BrowseDetails {
  std::string path{};
  std::vector<DetailLine> lines{};
};

/// Everything that one picture of the browser shows. A plain value: a painter makes the same picture of equal frames.
struct BrowseFrame {
  std::size_t width = 80;
  std::size_t height = 24;
  SizeUnits units = SizeUnits::decimal;
  bool isUTF8 = true;  ///< false: the terminal shows ASCII only

  std::string path{};  ///< of the shown folder, or a title
  BrowseTree::Item folder{};
  ListingRequest request{};
  std::vector<BrowseRow> rows{};
  std::int64_t largest = 0;  ///< the largest size in the folder
  std::size_t shown = 0;     ///< number of items that pass the filter
  std::size_t all = 0;       ///< number of items of the folder
  bool isListed = false;     ///< false while the folder is being sorted

  std::optional<BrowseDetails> details{};
  bool showsHelp = false;
  bool isTyping = false;
  std::string message{};
  std::size_t marks = 0;
  BrowseTree::Union marked{};
  std::vector<std::string> activities{};  ///< what is still going on, and what the tree does not hold
};

/// A piece of a line.
struct ScreenSpan {
  std::size_t column = 0;
  std::string text{};  ///< UTF-8 without control characters
  Style style = Style::plain;
  friend bool operator==(const ScreenSpan&, const ScreenSpan&) = default;
};
struct ScreenLine {
  std::vector<ScreenSpan> spans{};
  bool isSelected = false;  ///< shown in reverse
  friend bool operator==(const ScreenLine&, const ScreenLine&) = default;
};

}  // namespace quarn
