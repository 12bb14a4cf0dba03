#include "quarn/report/ChangesSection.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include <fmt/format.h>

#include "quarn/report/Html.h"
#include "quarn/terminal/CountText.h"
#include "quarn/terminal/PathText.h"

namespace quarn {
namespace {

constexpr std::size_t kShownChanges = 100;

std::string changeText(const std::optional<SizeInfo>& before, const std::optional<SizeInfo>& after, SizeUnits units) {
  const std::int64_t change = (after ? after->allocatedBytes : 0) - (before ? before->allocatedBytes : 0);
  return (change < 0 ? "−" : "+") + sizeText(change < 0 ? -change : change, units);
}

std::string changeRow(const std::optional<SizeInfo>& before, const std::optional<SizeInfo>& after,
                      const std::string& name, SizeUnits units) {
  const auto cell = [&](const std::optional<SizeInfo>& size) {
    return size ? sizeText(size->allocatedBytes, units) : std::string("–");
  };
  return fmt::format(
      "<tr><td class=\"n\">{}</td><td class=\"n wide\">{}</td><td class=\"n wide\">{}</td><td class=\"path\">{}</td>"
      "</tr>\n",
      changeText(before, after, units), cell(before), cell(after), name);
}

/// A table of changes, with a row for each of the first ones. `nameOf` is HTML.
template <class Changes, class NameOf>
std::string changeTable(std::string_view title, const Changes& changes, const NameOf& nameOf, SizeUnits units) {
  if (changes.empty()) return "";
  const std::size_t shown = std::min(changes.size(), kShownChanges);
  std::string rows;
  for (std::size_t i = 0; i < shown; ++i) {
    rows += changeRow(changes[i].before, changes[i].after, nameOf(changes[i]), units);
  }
  const std::size_t rest = changes.size() - shown;
  return fmt::format(
      "<table>\n<thead><tr><th scope=\"col\" class=\"n\">Change</th><th scope=\"col\" class=\"n wide\">Before</th>"
      "<th scope=\"col\" class=\"n wide\">After</th><th scope=\"col\">{}</th></tr></thead>\n<tbody>\n{}</tbody>\n"
      "</table>\n{}",
      title, rows, rest > 0 ? fmt::format("<p class=\"dim\">and {} more</p>\n", rest) : "");
}

std::string appName(const AppEntity& app) { return htmlName(app.name + (app.version ? " " + *app.version : "")); }

std::string changedApp(const AppChange& change) {
  if (change.versionBefore == change.app.version) return appName(change.app);
  return appName(change.app) + " <span class=\"dim\">was " +
         htmlName(change.versionBefore.value_or("without version")) + "</span>";
}

/// A list of what is new or gone. `textOf` is HTML.
template <class Records, class TextOf>
std::string newsList(std::string_view title, const Records& records, const TextOf& textOf) {
  if (records.empty()) return "";
  std::string rows;
  for (std::size_t i = 0; i < std::min(records.size(), kShownChanges); ++i) {
    rows += "<li>" + textOf(records[i]) + "</li>\n";
  }
  if (records.size() > kShownChanges) rows += fmt::format("<li>and {} more</li>\n", records.size() - kShownChanges);
  return fmt::format("<h3>{}</h3>\n<ul class=\"plain\">\n{}</ul>\n", title, rows);
}

std::string leftoverText(const NewLeftover& leftover) {
  return htmlName(leftover.name) + ", " + countText(static_cast<std::size_t>(leftover.items), "item");
}

}  // namespace

std::string changesSection(const ScanDifference& difference, const ReportFrame& frame) {
  const SizeUnits units = frame.units;
  const auto path = [&](const FileURL& url) { return htmlName(pathText(url, frame.home)); };
  std::string body = fmt::format("<p class=\"dim\">Since <time>{}</time>. Sizes are those on disk.</p>\n",
                                 toISO8601(difference.before));
  if (difference.isEmpty()) body += "<p>No difference.</p>\n";
  body += changeTable(
      "Category", difference.categories, [](const CategoryChange& change) { return std::string(rawValue(change.id)); },
      units);
  body += changeTable(
      "Folder", difference.folders, [&](const FolderChange& change) { return path(change.url); }, units);
  body += changeTable("App", difference.changedApps, changedApp, units);
  body += newsList("New apps", difference.newApps, appName) + newsList("Gone apps", difference.goneApps, appName);
  body += newsList("New leftovers", difference.newLeftovers, leftoverText);
  body += newsList("New launchd jobs", difference.newJobs, [&](const LaunchdEntry& job) {
    return htmlName(job.label) + " <span class=\"dim path\">" + path(job.url) + "</span>";
  });
  body += newsList("New kernel extensions", difference.newExtensions, [&](const KernelExtensionInfo& extension) {
    return htmlName(extension.name) + " <span class=\"dim path\">" + path(extension.url) + "</span>";
  });
  return "<section aria-labelledby=\"changes\">\n<h2 id=\"changes\">What changed</h2>\n" + body + "</section>\n";
}

}  // namespace quarn
