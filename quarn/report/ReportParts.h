#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/report/ReportPage.h"

namespace quarn::reportParts {

/// A number at the head of a page.
struct Fact {
  std::string_view title;
  std::string value;
  std::string detail;                ///< a short text below the value; may be empty
  std::string_view colorClass = "";  ///< colour of the key before the title, or empty
};

/// A part of a bar or a map.
struct Tile {
  std::string name;           ///< unescaped
  std::int64_t bytes = 0;     ///< tiles of 0 bytes are not drawn
  std::string colorClass;     ///< a class of the style sheet
  std::string target;         ///< id of the table row
  std::vector<Tile> tiles{};  ///< in a map: what divides it; the bytes that none of them has stay empty
};

/// An entry in the table of contents.
struct Section {
  std::string_view id;
  std::string_view title;
};

/// The complete page around a body.
std::string page(std::string_view title, const std::string& body);
/// The head of the body: a title, a subtitle (HTML), facts, and links to the sections.
std::string heading(const std::string& title, const std::string& subtitle, const std::vector<Fact>& facts,
                    const std::vector<Section>& sections);
std::string footer(const ReportFrame& frame);

/// A stacked bar of the tiles. Hidden from screen readers, because the table below it has the same data.
std::string bar(const std::vector<Tile>& tiles);
/// A treemap, or a treemap of treemaps: a list of links to the rows of the tiles. A tile with tiles inside shows
/// its name in a strip above them. The Tab key skips the tiles of the third level, because they link to the same rows
/// as their parents.
std::string map(const std::vector<Tile>& tiles, std::string_view label, SizeUnits units);
/// The bar of a share in the cell of a table.
std::string meter(double share, std::string_view colorClass);

/// A warning at the head of the page if the result is incomplete; else empty.
std::string unreadNote(const UnreadSummary& unread);
/// The section "unread": the number of items per cause, and the items. Empty if everything was read.
std::string unreadSection(const ReportFrame& frame);

}  // namespace quarn::reportParts
