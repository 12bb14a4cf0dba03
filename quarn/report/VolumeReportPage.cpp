#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "quarn/report/ChangesSection.h"
#include "quarn/report/Html.h"
#include "quarn/report/ReportParts.h"
#include "quarn/report/Share.h"
#include "quarn/terminal/PathText.h"
#include "quarn/terminal/PlainText.h"

namespace quarn {
namespace {

using namespace reportParts;

// clang-format off
constexpr std::array<std::string_view, 9> kCategoryTitles{
    "Apps", "Documents", "Photos", "Communication", "Games", "Development", "System data", "Other", "Free"};
// clang-format on

constexpr std::size_t kShownLeftoverItems = 12;

std::string_view titleOf(StorageCategoryID category) { return kCategoryTitles[static_cast<std::size_t>(category)]; }

std::string colorOf(StorageCategoryID category) { return "c" + std::to_string(static_cast<std::size_t>(category)); }

std::int64_t elsewhere(const SizeInfo& size) {
  return std::max<std::int64_t>(size.logicalBytes - size.allocatedBytes, 0);
}

SizeInfo sum(const std::vector<StorageCategory>& categories) {
  SizeInfo total;
  for (const StorageCategory& category : categories) total += category.size;
  return total;
}

std::vector<Tile> categoryTiles(const VolumeReport& report) {
  std::vector<Tile> tiles;
  for (const StorageCategory& category : report.categories) {
    tiles.push_back({std::string(titleOf(category.id)), category.size.allocatedBytes, colorOf(category.id),
                     "category-" + std::string(rawValue(category.id))});
  }
  return tiles;
}

std::string categoryTable(const VolumeReport& report) {
  const SizeUnits units = report.frame.units;
  const std::int64_t total = sum(report.categories).allocatedBytes;
  std::string rows;
  for (const StorageCategory& category : report.categories) {
    const double part = shareOf(category.size.allocatedBytes, total);
    rows += fmt::format(
        "<tr id=\"category-{}\"><th scope=\"row\"><span class=\"key {}\"></span>{}</th><td class=\"n\">{}</td>"
        "<td class=\"n\">{:.1f} %</td><td class=\"meter wide\" aria-hidden=\"true\">{}</td><td "
        "class=\"n\">{}</td></tr>\n",
        rawValue(category.id), colorOf(category.id), titleOf(category.id),
        sizeText(category.size.allocatedBytes, units), part * 100, meter(part, colorOf(category.id)),
        sizeText(elsewhere(category.size), units));
  }
  return "<table>\n<caption>Every byte counts for at most one category. Bytes not on this disk are in the cloud or in "
         "the holes of sparse files.</caption>\n<thead><tr><th scope=\"col\">"
         "Category</th><th scope=\"col\" class=\"n\">On disk</th><th scope=\"col\" class=\"n\">Share</th>"
         "<td class=\"wide\" aria-hidden=\"true\"></td><th scope=\"col\" class=\"n\">Not on this disk</th></tr></thead>"
         "\n<tbody>\n" +
         rows + "</tbody>\n</table>\n";
}

std::string userRow(const UsersDashboard::Part& part, std::int64_t total, SizeUnits units) {
  const std::int64_t bytes = part.size().allocatedBytes;
  const bool isKnown = part.isRead || bytes > 0;
  const double share = shareOf(bytes, total);
  return fmt::format(
      "<tr><th scope=\"row\">{}</th><td class=\"n\">{}</td><td class=\"n\">{}</td><td class=\"meter wide\" "
      "aria-hidden=\"true\">{}</td></tr>\n",
      part.home ? htmlName(part.home->lastPathComponent()) : "shared by all users",
      isKnown ? sizeText(bytes, units) : "not readable", isKnown ? fmt::format("{:.1f} %", share * 100) : "–",
      meter(share, colorOf(StorageCategoryID::documents)));
}

std::string usersSection(const VolumeReport& report) {
  if (report.users.empty()) return "";
  const std::int64_t total = sum(report.categories).allocatedBytes;
  std::string rows;
  for (const UsersDashboard::Part& part : report.users) rows += userRow(part, total, report.frame.units);
  return "<section aria-labelledby=\"users\">\n<h2 id=\"users\">Users</h2>\n<table>\n<caption>What the home folder of "
         "each user holds. Every byte counts once.</caption>\n<thead><tr><th scope=\"col\">User</th><th scope=\"col\" "
         "class=\"n\">On disk</th><th scope=\"col\" class=\"n\">Share</th><td class=\"wide\" aria-hidden=\"true\"></td>"
         "</tr></thead>\n<tbody>\n" +
         rows + "</tbody>\n</table>\n</section>\n";
}

std::string hintText(const std::optional<VendorPathHint>& hint) {
  if (!hint) return "";
  return fmt::format("<div class=\"dim\">{}: {}{}</div>", html(hint->vendorName), html(hint->artifactTitle),
                     hint->explanation ? ". " + html(plainText(*hint->explanation)) : "");
}

/// A table of items: its id, caption and rows.
struct ItemTable {
  std::string_view id;  ///< "item" for the table "item-table" with the rows "item-1"…
  std::string_view caption;
  const std::vector<VolumeReport::Item>& items;
};

std::string itemRow(const ItemTable& table, std::size_t index, const ReportFrame& frame) {
  const auto& [item, hint] = table.items[index];
  return fmt::format(
      "<tr id=\"{}-{}\"><td class=\"n\">{}</td><td class=\"n\">{}</td><td class=\"path\">{}{}</td></tr>\n", table.id,
      index + 1, sizeText(item.size.allocatedBytes, frame.units), sizeText(item.size.logicalBytes, frame.units),
      htmlName(pathText(item.url, frame.home)), hintText(hint));
}

std::string itemTable(const ItemTable& table, const ReportFrame& frame) {
  std::string rows;
  for (std::size_t i = 0; i < table.items.size(); ++i) rows += itemRow(table, i, frame);
  return fmt::format(
      "<table id=\"{}-table\">\n<caption>{}</caption>\n<thead><tr><th scope=\"col\" class=\"n\">On disk</th><th "
      "scope=\"col\" class=\"n\">Length</th><th scope=\"col\">Item</th></tr></thead>\n<tbody>\n{}</tbody>\n</table>\n",
      table.id, table.caption, rows);
}

// The app says more than "com.example.notes"; the name of a bundle is the app's.
std::string tileName(const TopItem& item, const std::string& app) {
  return app.empty() || item.url.pathExtension() == "app" ? item.name : app;
}

// The categories, their folders and apps, and the items in these. Each tile has the colour of its category.
std::vector<Tile> nestedTiles(const VolumeReport& report) {
  std::vector<Tile> tiles = categoryTiles(report);
  for (std::size_t i = 0; i < report.places.size(); ++i) {
    const VolumeReport::Place& place = report.places[i];
    const auto category = std::find_if(report.categories.begin(), report.categories.end(),
                                       [&](const StorageCategory& any) { return any.id == place.category; });
    if (category == report.categories.end()) continue;
    Tile tile{tileName(place.item, place.app), place.item.size.allocatedBytes, colorOf(place.category),
              "place-" + std::to_string(i + 1)};
    for (const auto& [item, app] : place.items) {
      tile.tiles.push_back({tileName(item, app), item.size.allocatedBytes, tile.colorClass, tile.target});
    }
    tiles[static_cast<std::size_t>(category - report.categories.begin())].tiles.push_back(std::move(tile));
  }
  return tiles;
}

std::string placeItems(const VolumeReport::Place& place, SizeUnits units) {
  std::string items;
  for (const auto& [item, app] : place.items) {
    items += fmt::format("{}{} {}", items.empty() ? "" : " · ", htmlName(item.name),
                         sizeText(item.size.allocatedBytes, units));
  }
  return items.empty() ? "" : "<div class=\"dim path\">" + items + "</div>";
}

std::string placeRow(const VolumeReport& report, std::size_t index) {
  const VolumeReport::Place& place = report.places[index];
  return fmt::format(
      "<tr id=\"place-{}\"><td class=\"w wide\">{}</td><td class=\"n\">{}</td><td class=\"path\"><span "
      "class=\"key {}\"></span>{}{}{}</td></tr>\n",
      index + 1, titleOf(place.category), sizeText(place.item.size.allocatedBytes, report.frame.units),
      colorOf(place.category), htmlName(pathText(place.item.url, report.frame.home)),
      place.app.empty() ? "" : "<div>" + htmlName(place.app) + "</div>", placeItems(place, report.frame.units));
}

std::string placeTable(const VolumeReport& report) {
  if (report.places.empty()) return "";
  std::string rows;
  for (std::size_t i = 0; i < report.places.size(); ++i) rows += placeRow(report, i);
  return "<table id=\"place-table\">\n<caption>The largest folders and apps of each category, whose they are, and the "
         "largest items in them</caption>\n<thead><tr><th scope=\"col\" class=\"w wide\">Category</th><th "
         "scope=\"col\" "
         "class=\"n\">On disk</th><th scope=\"col\">Folder or app</th></tr></thead>\n<tbody>\n" +
         rows + "</tbody>\n</table>\n";
}

std::string spaceSection(const VolumeReport& report) {
  const std::string map = reportParts::map(
      nestedTiles(report), "Map of the categories, their folders and apps, and the items in these", report.frame.units);
  std::string text = "<section aria-labelledby=\"space\">\n<h2 id=\"space\">Where the space goes</h2>\n" +
                     bar(categoryTiles(report)) + categoryTable(report);
  if (map.empty()) return text + "</section>\n";
  text +=
      "<h3 id=\"map\">Map of the space on this disk</h3>\n<p class=\"dim\">Each category has its colour. In it are its "
      "largest folders and apps, and in these their largest items. The empty rest of a tile is everything smaller. A "
      "tile leads "
      "to its row.</p>\n";
  if (!report.places.empty()) text += "<a class=\"skip\" href=\"#place-table\">Skip the map</a>\n";
  return text + map + placeTable(report) + "</section>\n";
}

std::vector<Fact> facts(const VolumeReport& report) {
  const VolumeInfo& volume = report.volume;
  const SizeUnits units = report.frame.units;
  const std::int64_t used = std::max<std::int64_t>(volume.totalBytes - volume.freeBytes, 0);
  const SizeInfo counted = sum(report.categories);
  const std::int64_t rest = std::max<std::int64_t>(used - counted.allocatedBytes, 0);
  const Fact inCategories{"In categories", sizeText(counted.allocatedBytes, units), "on disk"};
  const Fact notHere{"Not on this disk", sizeText(elsewhere(counted), units), "in the cloud or in sparse files"};
  if (!report.hasCapacity) return {inCategories, notHere};
  return {{"In use", sizeText(used, units), "of " + sizeText(volume.totalBytes, units)},
          {"Free", sizeText(volume.freeBytes, units), ""},
          inCategories,
          {"In no category", sizeText(rest, units), "of the used space"},
          notHere};
}

std::string largestSection(const VolumeReport& report) {
  const ItemTable table{
      .id = "item",
      .caption = "Files and packages (such as apps and libraries) on the whole volume, by space on this disk",
      .items = report.largest};
  return "<section aria-labelledby=\"largest\">\n<h2 id=\"largest\">The largest items</h2>\n" +
         itemTable(table, report.frame) + "</section>\n";
}

std::string elsewhereSection(const VolumeReport& report) {
  if (report.elsewhere.empty()) return "";
  const ItemTable table{.id = "elsewhere-item",
                        .caption =
                            "Files with content in the cloud, and sparse files. Removing them frees only "
                            "their space on this disk.",
                        .items = report.elsewhere};
  return "<section aria-labelledby=\"elsewhere\">\n<h2 id=\"elsewhere\">Large files with little space on this "
         "disk</h2>\n" +
         itemTable(table, report.frame) + "</section>\n";
}

std::string leftoverItems(const Leftover& leftover, const ReportFrame& frame) {
  std::string lines;
  for (std::size_t i = 0; i < std::min(leftover.items.size(), kShownLeftoverItems); ++i) {
    const LeftoverItem& item = leftover.items[i];
    lines += fmt::format("<div class=\"path\">{}</div><div class=\"dim\">{}</div>",
                         htmlName(pathText(item.url, frame.home)), html(item.evidence));
  }
  const std::size_t rest = leftover.items.size() - std::min(leftover.items.size(), kShownLeftoverItems);
  return rest > 0 ? lines + fmt::format("<div class=\"dim\">and {} more</div>", rest) : lines;
}

std::string leftoverRow(const VolumeReport& report, std::size_t index) {
  const Leftover& leftover = report.leftovers[index];
  return fmt::format(
      "<tr id=\"leftover-{}\"><th scope=\"row\">{}</th><td class=\"n\">{}</td><td class=\"n wide\">{}</td><td>{}</td>"
      "</tr>\n",
      index + 1, htmlName(leftover.owner.name),
      leftover.size ? sizeText(leftover.size->allocatedBytes, report.frame.units) : "–",
      leftover.modified ? toISO8601(*leftover.modified).substr(0, 10) : "–", leftoverItems(leftover, report.frame));
}

std::string leftoversSection(const VolumeReport& report) {
  if (report.leftovers.empty()) return "";
  const std::size_t shown = std::min(report.leftovers.size(), kReportedLeftovers);
  std::string rows;
  for (std::size_t i = 0; i < shown; ++i) rows += leftoverRow(report, i);
  const std::size_t rest = report.leftovers.size() - shown + report.moreLeftovers;
  return "<section aria-labelledby=\"leftovers\">\n<h2 id=\"leftovers\">Leftovers of apps that are not "
         "installed</h2>\n<table>\n<caption>Check before you remove anything: an app may be on another "
         "volume.</caption>\n<thead><tr><th scope=\"col\">Former app</th><th scope=\"col\" class=\"n\">On disk</th>"
         "<th scope=\"col\" class=\"n wide\">Changed</th><th scope=\"col\">Items</th></tr></thead>\n<tbody>\n" +
         rows + "</tbody>\n</table>\n" + (rest > 0 ? fmt::format("<p class=\"dim\">and {} more</p>\n", rest) : "") +
         "</section>\n";
}

}  // namespace

std::string reportPage(const VolumeReport& report) {
  std::vector<Section> sections{{"space", "Where the space goes"}};
  if (!report.users.empty()) sections.push_back({"users", "Users"});
  if (report.changes) sections.push_back({"changes", "What changed"});
  sections.push_back({"largest", "The largest items"});
  if (!report.elsewhere.empty()) sections.push_back({"elsewhere", "Large files with little space on this disk"});
  if (!report.leftovers.empty()) sections.push_back({"leftovers", "Leftovers"});
  if (report.frame.unread.count() > 0) sections.push_back({"unread", "Unread items"});
  std::string body = heading(report.volume.name, "Where the space of this volume goes", facts(report), sections);
  body += "<main>\n";
  if (!report.isComplete) {
    body += "<p class=\"note\"><strong>Incomplete.</strong> The scan was interrupted; the totals are partial.</p>\n";
  }
  body += unreadNote(report.frame.unread) + spaceSection(report) + usersSection(report);
  if (report.changes) body += changesSection(*report.changes, report.frame);
  body += largestSection(report) + elsewhereSection(report) + leftoversSection(report);
  body += unreadSection(report.frame) + "</main>\n" + footer(report.frame);
  return page("Storage of " + report.volume.name, body);
}

}  // namespace quarn
