#include <algorithm>
#include <array>
#include <numeric>

#include <fmt/format.h>

#include "quarn/report/Html.h"
#include "quarn/report/ReportParts.h"
#include "quarn/terminal/Certainty.h"
#include "quarn/terminal/CountText.h"
#include "quarn/terminal/PathText.h"
#include "quarn/terminal/PlainText.h"

namespace quarn {
namespace {

using namespace reportParts;

constexpr std::size_t kPathsInReport = 12;
constexpr std::size_t kShownOwnerships = 100;

/// The text for one case of an enumeration.
struct Words {
  std::string_view title;
  std::string_view meaning = "";  ///< for a mode: the title of its column
};

// clang-format off
constexpr std::array<Words, 7> kDataClasses{
    Words{.title = "The app itself", .meaning = "The installed app. A new installation restores it."},
    Words{.title = "Rebuildable data", .meaning = "Caches and similar data. The app recreates them."},
    Words{.title = "Data that a sync restores", .meaning = "A server restores it while the account exists."},
    Words{.title = "Configuration", .meaning = "Settings. Without them the app starts with its defaults."},
    Words{.title = "User data", .meaning = "May contain documents. Check before you remove anything."},
    Words{.title = "Shared data", .meaning = "Other apps may use it too."},
    Words{.title = "Unknown data", .meaning = "The purpose is unknown."},
};
constexpr std::array<Words, 3> kRisks{
    Words{.title = "Safe", .meaning = "usually harmless to remove"},
    Words{.title = "Caution", .meaning = "check first"},
    Words{.title = "Danger", .meaning = "may destroy data permanently"},
};
constexpr std::array<Words, 4> kModes{
    Words{.title = "Only caches", .meaning = "Caches"},
    Words{.title = "Data without the app", .meaning = "Data"},
    Words{.title = "The app and its caches", .meaning = "App"},
    Words{.title = "Everything", .meaning = "All"},
};
// clang-format on

template <class Case, std::size_t count>
const Words& wordsOf(const std::array<Words, count>& table, Case value) {
  static_assert(RawValues<Case>::kStrings.size() == count);
  return table[static_cast<std::size_t>(value)];
}

std::string_view colorOf(RiskLevel risk) {
  static constexpr std::array<std::string_view, 3> kColors{"risk-safe", "risk-caution", "risk-danger"};
  return kColors[static_cast<std::size_t>(risk)];
}

std::int64_t onDisk(const Artifact& artifact) { return artifact.size ? artifact.size->allocatedBytes : 0; }

std::string sizeOf(const Artifact& artifact, SizeUnits units) {
  return artifact.size ? sizeText(artifact.size->allocatedBytes, units) : "–";
}

std::string rowID(std::size_t index) { return "artifact-" + std::to_string(index + 1); }

std::string riskBadge(RiskLevel risk) {
  return fmt::format("<span class=\"badge {}\">{}</span>", rawValue(risk), wordsOf(kRisks, risk).title);
}

template <class Predicate>
std::int64_t sumOf(const AppReport& report, Predicate predicate) {
  std::int64_t total = 0;
  for (const Artifact& artifact : report.inspection.artifacts) {
    if (predicate(artifact)) total = checkedAdd(total, onDisk(artifact));
  }
  return total;
}

std::vector<Fact> facts(const AppReport& report) {
  const SizeUnits units = report.frame.units;
  std::vector<Fact> result{{"On disk", sizeText(report.together.allocatedBytes, units),
                            countText(report.inspection.artifacts.size(), "artifact")}};
  for (const RiskLevel risk : allCases<RiskLevel>()) {
    const std::int64_t part = sumOf(report, [&](const Artifact& artifact) { return artifact.riskLevel == risk; });
    result.push_back({wordsOf(kRisks, risk).title, sizeText(part, units), std::string(wordsOf(kRisks, risk).meaning),
                      colorOf(risk)});
  }
  return result;
}

std::vector<Tile> tiles(const AppReport& report) {
  std::vector<Tile> result;
  for (std::size_t i = 0; i < report.inspection.artifacts.size(); ++i) {
    const Artifact& artifact = report.inspection.artifacts[i];
    result.push_back({artifact.title, onDisk(artifact), std::string(colorOf(artifact.riskLevel)), rowID(i)});
  }
  return result;
}

std::vector<Tile> riskTiles(const AppReport& report) {
  std::vector<Tile> result;
  for (const RiskLevel risk : allCases<RiskLevel>()) {
    result.push_back({std::string(wordsOf(kRisks, risk).title),
                      sumOf(report, [&](const Artifact& artifact) { return artifact.riskLevel == risk; }),
                      std::string(colorOf(risk)), ""});
  }
  return result;
}

// ---- the artifacts

// A receipt may list tens of thousands of files: show the first ones, fold the rest.
std::string pathList(const std::vector<FileURL>& urls, const FileURL& home) {
  std::string lines;
  for (std::size_t i = 0; i < urls.size(); ++i) {
    if (i == kPathsInReport) lines += fmt::format("<details><summary>{} more</summary>", urls.size() - kPathsInReport);
    lines += "<div>" + htmlName(pathText(urls[i], home)) + "</div>";
  }
  if (urls.size() > kPathsInReport) lines += "</details>";
  return "<div class=\"dim path\">" + lines + "</div>";
}

std::string modeHeads() {
  std::string cells;
  for (const CleanupMode mode : allCases<CleanupMode>()) {
    cells += fmt::format("<th scope=\"col\" class=\"c wide\"><abbr title=\"{}\">{}</abbr></th>", rawValue(mode),
                         wordsOf(kModes, mode).meaning);
  }
  return cells;
}

std::string modeCells(const std::vector<CleanupMode>& modes) {
  std::string cells;
  for (const CleanupMode mode : allCases<CleanupMode>()) {
    const bool isSelected = std::find(modes.begin(), modes.end(), mode) != modes.end();
    cells += isSelected ? "<td class=\"c wide\">✓</td>" : "<td class=\"c wide dim\">–</td>";
  }
  return cells;
}

std::string artifactRow(const AppReport& report, std::size_t index) {
  const Artifact& artifact = report.inspection.artifacts[index];
  return fmt::format(
      "<tr id=\"{}\"><td class=\"n\">{}</td><td class=\"w\">{}</td><td><strong>{}</strong>{}{}{}</td>{}<td class=\"n "
      "wide\">{:.0f} %</td></tr>\n",
      rowID(index), sizeOf(artifact, report.frame.units), riskBadge(artifact.riskLevel), htmlName(artifact.title),
      isUncertain(artifact) ? " <span class=\"badge caution wraps\">merely resembles the app</span>" : "",
      htmlParagraphs(plainText(artifact.explanation.value_or(""))), pathList(artifact.urls, report.frame.home),
      modeCells(report.selectedBy[index]), artifact.confidence * 100);
}

// Highest risk first, then largest.
std::vector<std::size_t> groupOf(const AppReport& report, ArtifactDataClass dataClass) {
  const std::vector<Artifact>& artifacts = report.inspection.artifacts;
  std::vector<std::size_t> group;
  for (std::size_t i = 0; i < artifacts.size(); ++i) {
    if (artifacts[i].dataClass == dataClass) group.push_back(i);
  }
  std::stable_sort(group.begin(), group.end(), [&](std::size_t left, std::size_t right) {
    if (artifacts[left].riskLevel != artifacts[right].riskLevel) {
      return artifacts[left].riskLevel > artifacts[right].riskLevel;
    }
    return onDisk(artifacts[left]) > onDisk(artifacts[right]);
  });
  return group;
}

std::string artifactGroup(const AppReport& report, ArtifactDataClass dataClass) {
  const std::vector<std::size_t> group = groupOf(report, dataClass);
  if (group.empty()) return "";
  std::string rows;
  for (const std::size_t index : group) rows += artifactRow(report, index);
  const std::int64_t total = sumOf(report, [&](const Artifact& artifact) { return artifact.dataClass == dataClass; });
  const Words& words = wordsOf(kDataClasses, dataClass);
  return fmt::format(
      "<h3 id=\"class-{}\">{} <span class=\"dim\">· {}</span></h3>\n<table>\n<caption>{}</caption>\n<thead><tr>"
      "<th scope=\"col\" class=\"n\">On disk</th><th scope=\"col\" class=\"w\">Risk</th><th scope=\"col\">Artifact "
      "and location</th>{}<th scope=\"col\" class=\"n wide\">Certain"
      "</th></tr></thead>\n<tbody>\n{}</tbody>\n</table>\n",
      rawValue(dataClass), words.title, sizeText(total, report.frame.units), words.meaning, modeHeads(), rows);
}

std::string uninstallers(const AppReport& report) {
  std::string rows;
  for (const UninstallerCandidate& candidate : report.inspection.uninstallers) {
    rows += fmt::format("<li><strong>{}</strong> <span class=\"dim path\">{}</span></li>\n", htmlName(candidate.name),
                        htmlName(pathText(candidate.url, report.frame.home)));
  }
  return rows.empty() ? "" : "<h3>The app has an uninstaller</h3>\n<ul class=\"plain\">\n" + rows + "</ul>\n";
}

// ---- what the whole volume says

std::string ownersOf(const Ownership& entry) {
  std::string names;
  for (const OwnershipClaim& owner : entry.owners) names += (names.empty() ? "" : ", ") + htmlName(owner.appName);
  return entry.ownersLeftOut > 0 ? names + fmt::format(" and {} more", entry.ownersLeftOut) : names;
}

std::string ownershipTable(std::string_view title, std::string_view ownersTitle, const std::vector<Ownership>& entries,
                           const FileURL& home) {
  if (entries.empty()) return "";
  std::string rows;
  for (std::size_t i = 0; i < std::min(entries.size(), kShownOwnerships); ++i) {
    rows += fmt::format("<tr><td class=\"path\">{}</td><td>{}<div class=\"dim\">{}</div></td></tr>\n",
                        htmlName(pathText(entries[i].url, home)), ownersOf(entries[i]), html(entries[i].evidence));
  }
  const std::size_t rest = entries.size() - std::min(entries.size(), kShownOwnerships);
  return fmt::format(
             "<h3>{}</h3>\n<table>\n<thead><tr><th scope=\"col\">Item</th><th scope=\"col\">{}</th></tr></thead>\n"
             "<tbody>\n{}</tbody>\n</table>\n",
             title, ownersTitle, rows) +
         (rest > 0 ? fmt::format("<p class=\"dim\">and {} more</p>\n", rest) : "");
}

bool hasOwnership(const AppOwnership& ownership) {
  return !ownership.alsoOwned.empty() || !ownership.shared.empty() || !ownership.fitsBetter.empty();
}

std::string ownershipSection(const AppReport& report) {
  const AppOwnership& ownership = report.ownership;
  if (!hasOwnership(ownership)) return "";
  const FileURL& home = report.frame.home;
  return "<section aria-labelledby=\"owners\">\n<h2 id=\"owners\">What other apps own</h2>\n" +
         ownershipTable("Fits another app better", "Owner", ownership.fitsBetter, home) +
         ownershipTable("Shared with other apps", "Shared by", ownership.shared, home) +
         ownershipTable("Also this app's", "Owner", ownership.alsoOwned, home) + "</section>\n";
}

// ---- the plans

std::size_t countIn(const AppRemovalPlanPreview& plan) {
  std::size_t count = 0;
  for (const RemovalOperationPreview& operation : plan.operations) {
    const bool moves = operation.type == RemovalOperationPreview::Type::moveToTrash ||
                       operation.type == RemovalOperationPreview::Type::moveToQuarantine;
    if (moves) count += operation.urls.size();
  }
  return count;
}

std::string planTable(const AppReport& report) {
  std::string rows;
  for (const AppRemovalPlanPreview& plan : report.plans) {
    const bool needsAdmin = std::any_of(plan.operations.begin(), plan.operations.end(),
                                        [](const RemovalOperationPreview& step) { return step.requiresAdmin; });
    rows += fmt::format(
        "<tr><th scope=\"row\">{}<div class=\"dim\"><code>{}</code></div></th><td class=\"n\">{}</td><td class=\"n\">"
        "{}</td><td class=\"n\">{}</td><td class=\"wide\">{}</td></tr>\n",
        wordsOf(kModes, plan.mode).title, rawValue(plan.mode), sizeText(plan.estimatedBytes, report.frame.units),
        countIn(plan), plan.operations.size(), needsAdmin ? "may be needed" : "not needed");
  }
  return "<table>\n<caption>Preview of each cleanup mode; quarn never executes a plan.</caption>\n<thead><tr><th "
         "scope=\"col\">Mode</th><th scope=\"col\" class=\"n\">Would free</th><th scope=\"col\" class=\"n\">Items moved"
         "</th><th scope=\"col\" class=\"n\">Steps</th><th scope=\"col\" class=\"wide\">Administrator rights</th></tr>"
         "</thead>\n<tbody>\n" +
         rows + "</tbody>\n</table>\n";
}

std::string stepItem(const RemovalOperationPreview& step, const FileURL& home) {
  return fmt::format("<li><strong>{}</strong><span class=\"dim\">{}{}</span>{}{}</li>\n", stepTitle(step.type),
                     step.reversible ? " · can be undone" : "",
                     step.requiresAdmin ? " · may need administrator rights" : "",
                     htmlParagraphs(plainText(step.explanation.value_or(""))), pathList(step.urls, home));
}

std::string planDetails(const AppRemovalPlanPreview& plan, const ReportFrame& frame) {
  std::string notes;
  for (const std::string& note : plan.notes) notes += "<li>" + html(plainText(note)) + "</li>\n";
  std::string steps;
  for (const RemovalOperationPreview& step : plan.operations) steps += stepItem(step, frame.home);
  return fmt::format(
      "<details>\n<summary>{} <code>{}</code> · {}</summary>\n<ul class=\"plain\">\n{}</ul>\n<ol>\n{}</ol>\n"
      "</details>\n",
      wordsOf(kModes, plan.mode).title, rawValue(plan.mode), sizeText(plan.estimatedBytes, frame.units), notes, steps);
}

std::string subtitle(const AppReport& report) {
  const AppEntity& app = report.inspection.app;
  return fmt::format("{}{} · {}", app.version ? "Version " + htmlName(*app.version) + " · " : "",
                     htmlName(app.bundleIdentifier.value_or("no bundle identifier")),
                     htmlName(pathText(app.bundleURL, report.frame.home)));
}

}  // namespace

std::string reportPage(const AppReport& report) {
  const std::string& name = report.inspection.app.name;
  std::vector<Section> sections{{"finds", "What belongs to it"}, {"plans", "Removal plans"}};
  if (hasOwnership(report.ownership)) sections.push_back({"owners", "What other apps own"});
  if (report.frame.unread.count() > 0) sections.push_back({"unread", "Unread items"});
  std::string body = heading(name, subtitle(report), facts(report), sections);
  body += "<main>\n";
  if (!report.isComplete) {
    body +=
        "<p class=\"note\"><strong>Incomplete.</strong> The inspection was interrupted. The app may have more "
        "artifacts "
        "than this page lists, and some have no size.</p>\n";
  }
  body += unreadNote(report.frame.unread);
  body += "<section aria-labelledby=\"finds\">\n<h2 id=\"finds\">What belongs to it</h2>\n" + bar(riskTiles(report)) +
          "<a class=\"skip\" href=\"#plans\">Skip the map</a>\n" +
          map(tiles(report), "Map of the artifacts", report.frame.units) +
          "<p class=\"dim wide\">A ✓ marks the cleanup modes that select an artifact by default. Other artifacts are "
          "removed "
          "only if a user selects them.</p>\n" +
          uninstallers(report);
  for (const ArtifactDataClass dataClass : allCases<ArtifactDataClass>()) body += artifactGroup(report, dataClass);
  body += "</section>\n<section aria-labelledby=\"plans\">\n<h2 id=\"plans\">Removal plans</h2>\n" + planTable(report);
  for (const AppRemovalPlanPreview& plan : report.plans) body += planDetails(plan, report.frame);
  body += "</section>\n" + ownershipSection(report) + unreadSection(report.frame) + "</main>\n" + footer(report.frame);
  return page("What belongs to " + name, body);
}

}  // namespace quarn
