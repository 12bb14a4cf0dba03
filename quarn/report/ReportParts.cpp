#include "quarn/report/ReportParts.h"

#include <algorithm>

#include <fmt/format.h>

#include "quarn/report/Html.h"
#include "quarn/report/ReportStyle.h"
#include "quarn/report/Share.h"
#include "quarn/report/Treemap.h"
#include "quarn/services/Version.h"
#include "quarn/terminal/CountText.h"
#include "quarn/terminal/PathText.h"

namespace quarn::reportParts {
namespace {

// The aspect ratio of a map in the style sheet on a wide screen.
constexpr double kMapWidth = 12;
constexpr double kMapHeight = 6;

// The tiles below the second level are too many to step through, and lead where their parents lead.
constexpr int kTabStopDepth = 2;

// More would be too long to read; the command's --verbose prints the complete list.
constexpr std::size_t kListedUnread = 200;

std::int64_t sum(const std::vector<Tile>& tiles) {
  std::int64_t total = 0;
  for (const Tile& tile : tiles) total = checkedAdd(total, tile.bytes);
  return total;
}

std::string factsList(const std::vector<Fact>& facts) {
  std::string rows;
  for (const Fact& fact : facts) {
    const std::string key =
        fact.colorClass.empty() ? "" : fmt::format("<span class=\"key {}\"></span>", fact.colorClass);
    rows += fmt::format("<div><dt>{}{}</dt><dd>{}{}</dd></div>\n", key, fact.title, html(fact.value),
                        fact.detail.empty() ? "" : "<small>" + html(fact.detail) + "</small>");
  }
  return "<dl class=\"facts\">\n" + rows + "</dl>\n";
}

std::string contents(const std::vector<Section>& sections) {
  std::string rows;
  for (const Section& section : sections) {
    rows += fmt::format("<li><a href=\"#{}\">{}</a></li>\n", section.id, section.title);
  }
  return "<nav aria-label=\"Contents\"><ul>\n" + rows + "</ul></nav>\n";
}

/// A part of a map: its sides, in any unit, and how many tiles are around it.
struct MapArea {
  double width = kMapWidth;
  double height = kMapHeight;
  int depth = 0;
};

std::string mapTiles(const std::vector<Tile>& tiles, std::int64_t whole, const MapArea& area, SizeUnits units);

std::string mapTile(const TreemapTile& place, const MapArea& area, const Tile& tile, SizeUnits units) {
  const MapArea own{.width = place.width, .height = place.height, .depth = area.depth + 1};
  const std::string inside = mapTiles(tile.tiles, tile.bytes, own, units);
  const std::string name = html(tile.name);
  const std::string size = sizeText(tile.bytes, units);
  return fmt::format(
      "<li style=\"--x:{:.3f}%;--y:{:.3f}%;--w:{:.3f}%;--h:{:.3f}%\"><a class=\"{}{}\" href=\"#{}\"{} "
      "aria-label=\"{}, {}\" title=\"{}, {}\"><b><bdi>{}</bdi></b><span>{}</span></a>{}</li>\n",
      place.x / area.width * 100, place.y / area.height * 100, place.width / area.width * 100,
      place.height / area.height * 100, inside.empty() ? "" : "head ", tile.colorClass, tile.target,
      area.depth >= kTabStopDepth ? " tabindex=\"-1\"" : "", name, size, name, size, name, size,
      inside.empty() ? "" : fmt::format("<ul class=\"{}\">\n{}</ul>", tile.colorClass, inside));
}

// The tiles that divide an area of `whole` bytes. The bytes that no tile has leave a strip at its end empty.
std::string mapTiles(const std::vector<Tile>& tiles, std::int64_t whole, const MapArea& area, SizeUnits units) {
  std::vector<double> weights;
  weights.reserve(tiles.size());
  for (const Tile& tile : tiles) weights.push_back(static_cast<double>(tile.bytes));
  const double filled = std::min(shareOf(sum(tiles), whole), 1.0);
  const bool isWide = area.width >= area.height;
  std::string places;
  for (const TreemapTile& place :
       treemapTiles(weights, area.width * (isWide ? filled : 1), area.height * (isWide ? 1 : filled))) {
    places += mapTile(place, area, tiles[place.index], units);
  }
  return places;
}

}  // namespace

std::string page(std::string_view title, const std::string& body) {
  return fmt::format(
      "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width,initial-scale=1\">\n"
      "<meta name=\"color-scheme\" content=\"light dark\">\n<meta name=\"referrer\" content=\"no-referrer\">\n"
      "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'unsafe-inline'; base-uri "
      "'none'; form-action 'none'\">\n"
      "<title>{}</title>\n<style>{}</style>\n</head>\n<body>\n{}</body>\n</html>\n",
      html(title), reportStyle(), body);
}

std::string heading(const std::string& title, const std::string& subtitle, const std::vector<Fact>& facts,
                    const std::vector<Section>& sections) {
  return fmt::format("<header>\n<h1>{}</h1>\n<p class=\"dim path\">{}</p>\n{}{}</header>\n", htmlName(title), subtitle,
                     factsList(facts), contents(sections));
}

std::string footer(const ReportFrame& frame) {
  return fmt::format(
      "<footer>\n<p>Created by quarn {} on <time>{}</time>. quarn only reads the volume.</p>\n</footer>\n", kVersion,
      toISO8601(frame.madeAt));
}

std::string bar(const std::vector<Tile>& tiles) {
  const std::int64_t total = sum(tiles);
  std::string parts;
  for (const Tile& tile : tiles) {
    const double width = shareOf(tile.bytes, total) * 100;
    if (width <= 0) continue;
    parts += fmt::format("<span class=\"{}\" style=\"width:{:.3f}%\" title=\"{}\"></span>\n", tile.colorClass, width,
                         html(tile.name));
  }
  return parts.empty() ? "" : "<div class=\"bar\" aria-hidden=\"true\">\n" + parts + "</div>\n";
}

std::string map(const std::vector<Tile>& tiles, std::string_view label, SizeUnits units) {
  const std::string places = mapTiles(tiles, sum(tiles), {}, units);
  return places.empty() ? "" : fmt::format("<ul class=\"map\" aria-label=\"{}\">\n{}</ul>\n", label, places);
}

std::string meter(double share, std::string_view colorClass) {
  return fmt::format("<span class=\"share {}\" style=\"width:{:.2f}%\"></span>", colorClass, share * 100);
}

std::string unreadNote(const UnreadSummary& unread) {
  if (!unread.isIncomplete()) return "";
  return fmt::format(
      "<p class=\"note\"><strong>Incomplete.</strong> {} could not be read. "
      "<a href=\"#unread\">List of unread items</a></p>\n",
      countText(unread.count(), "item"));
}

std::string unreadSection(const ReportFrame& frame) {
  const UnreadSummary& unread = frame.unread;
  if (unread.count() == 0) return "";
  std::string causes;
  for (const UnreadSummary::Cause& cause : unread.causes) {
    if (cause.count > 0) causes += "<li>" + noteLine(frame.unread, cause, /*areListed=*/true) + "</li>\n";
  }
  std::string rows;
  const std::size_t listed = std::min(unread.items.size(), kListedUnread);
  for (std::size_t i = 0; i < listed; ++i) {
    const UnreadableItem& item = unread.items[i];
    rows += fmt::format("<tr><td class=\"w\">{}</td><td class=\"path\">{}</td></tr>\n", causeID(item.cause),
                        htmlName(pathText(FileURL(item.path), frame.home)));
  }
  const std::string rest =
      unread.count() > listed ? fmt::format("<p class=\"dim\">and {} more</p>\n", unread.count() - listed) : "";
  return fmt::format(
      "<section aria-labelledby=\"unread\">\n<h2 id=\"unread\">Unread items</h2>\n<ul class=\"plain\">\n{}</ul>\n"
      "<table><thead><tr><th scope=\"col\">Cause</th><th scope=\"col\">Item</th></tr></thead>\n<tbody>\n{}</tbody>"
      "</table>\n{}</section>\n",
      causes, rows, rest);
}

}  // namespace quarn::reportParts
