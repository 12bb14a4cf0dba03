#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/report/ReportPage.h"

namespace quarn::reportParts {

/// One number at the head of a page.
struct Fact {
  std::string_view title;
  std::string value;
  std::string detail;                ///< a few words below it; may be empty
  std::string_view colorClass = "";  ///< of the key before the title; empty for none
};

/// One part of a bar or a map.
struct Tile {
  std::string name;        ///< as it is; escaped here
  std::int64_t bytes = 0;  ///< its share; tiles of none are left out
  std::string colorClass;  ///< of the style sheet
  std::string target;      ///< id of the row that tells of it
};

/// An entry of the page's contents.
struct Section {
  std::string_view id;
  std::string_view title;
};

/// The whole page around a body.
std::string page(std::string_view title, const std::string& body);
/// The head of the body: a heading, a line below it (HTML), facts, and links to the sections.
std::string heading(const std::string& title, const std::string& subtitle, const std::vector<Fact>& facts,
                    const std::vector<Section>& sections);
std::string footer(const ReportFrame& frame);

/// A bar of the tiles' shares. For the eye alone: the table below it says the same.
std::string bar(const std::vector<Tile>& tiles);
/// A treemap: a list of links, each to its tile's row.
std::string map(const std::vector<Tile>& tiles, std::string_view label, SizeUnits units);
/// The bar of one share in a table's cell.
std::string meter(double share, std::string_view colorClass);

/// A warning at the head of the page when the result is not whole; else empty.
std::string unreadNote(const UnreadSummary& unread);
/// The section "unread": how many items a cause, and which; empty when everything was read.
std::string unreadSection(const ReportFrame& frame);

}  // namespace quarn::reportParts
