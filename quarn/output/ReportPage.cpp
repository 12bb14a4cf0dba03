#include "quarn/output/ReportPage.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "quarn/output/Html.h"
#include "quarn/output/Treemap.h"

namespace quarn {
namespace {

constexpr double kMapWidth = 960;
constexpr double kMapHeight = 360;
constexpr double kBarHeight = 36;

constexpr std::string_view kStyle = R"(
:root{color-scheme:light dark;--ink:#1d1d1f;--dim:#62626a;--paper:#fff;--line:#d8d8de;--soft:#f4f4f7;--safe:#1b7f3b;--caution:#8a5a00;--danger:#b3261e}
@media(prefers-color-scheme:dark){:root{--ink:#f2f2f4;--dim:#a5a5ae;--paper:#17171a;--line:#3a3a40;--soft:#222226;--safe:#6fd08c;--caution:#f0b64a;--danger:#ff8a80}}
body{margin:0 auto;max-width:1000px;padding:2rem 1.25rem;background:var(--paper);color:var(--ink);font:16px/1.5 -apple-system,system-ui,"Segoe UI",Roboto,sans-serif}
h1{font-size:1.7rem;margin:0 0 .25rem}h2{font-size:1.2rem;margin:2.25rem 0 .75rem}p{margin:.25rem 0}
.dim{color:var(--dim)}table{border-collapse:collapse;width:100%;font-size:.93rem}caption{text-align:left;color:var(--dim);padding:.25rem 0}
th,td{text-align:left;padding:.4rem .6rem .4rem 0;border-bottom:1px solid var(--line);vertical-align:top}
th{font-weight:600}td.n,th.n{text-align:right;white-space:nowrap;font-variant-numeric:tabular-nums}
td.path{word-break:break-all}svg{display:block;width:100%;height:auto;border-radius:8px}svg text{font:600 14px system-ui,sans-serif;fill:#fff}
.key{display:inline-block;width:.8em;height:.8em;border-radius:3px;margin-right:.5em}
.safe{color:var(--safe)}.caution{color:var(--caution)}.danger{color:var(--danger)}
details{border:1px solid var(--line);border-radius:8px;padding:.6rem 1rem;margin:.6rem 0;background:var(--soft)}
summary{cursor:pointer;font-weight:600}summary:focus-visible{outline:3px solid #3b82f6;outline-offset:3px}
ol,ul{padding-left:1.3rem}li{margin:.2rem 0}.note{border-left:4px solid var(--caution);padding-left:.75rem}
@media print{details{break-inside:avoid}}
)";

// One colour a category, each readable under white text in light and dark.
// clang-format off
constexpr std::array<std::string_view, 9> kColors{
    "#2f6fdb", "#8a4fd0", "#c2417c", "#0b7f86", "#a85a00", "#3f7d20", "#5b6470", "#7a5c44", "#9aa0a6"};
// clang-format on

std::string page(std::string_view title, const std::string& body) {
  return fmt::format(
      "<!doctype html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width,initial-scale=1\">\n"
      "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'unsafe-inline'\">\n"
      "<title>{}</title>\n<style>{}</style>\n</head>\n<body>\n<main>\n{}</main>\n</body>\n</html>\n",
      html(title), kStyle, body);
}

std::string unreadableLine(std::uint64_t count) {
  if (count == 0) return "";
  return fmt::format("<p class=\"note\">{} {} could not be read; what is in there is missing here.</p>\n", count,
                     count == 1 ? "item" : "items");
}

std::int64_t sum(const std::vector<StorageCategory>& categories) {
  std::int64_t total = 0;
  for (const StorageCategory& category : categories) total = checkedAdd(total, category.size.allocatedBytes);
  return total;
}

double share(std::int64_t part, std::int64_t whole) {
  return whole > 0 ? static_cast<double>(part) / static_cast<double>(whole) : 0;
}

std::string_view colorOf(StorageCategoryID category) { return kColors[static_cast<std::size_t>(category)]; }

std::string categoryBar(const std::vector<StorageCategory>& categories, SizeUnits units) {
  const std::int64_t total = sum(categories);
  std::string svg = fmt::format(
      "<svg viewBox=\"0 0 {} {}\" role=\"img\" aria-label=\"Share of each category; the table below has the "
      "numbers\">\n",
      kMapWidth, kBarHeight);
  double x = 0;
  for (const StorageCategory& category : categories) {
    const double width = share(category.size.allocatedBytes, total) * kMapWidth;
    if (width <= 0) continue;
    svg += fmt::format(
        "<rect x=\"{:.2f}\" y=\"0\" width=\"{:.2f}\" height=\"{}\" fill=\"{}\"><title>{}: {}</title></rect>\n", x,
        width, kBarHeight, colorOf(category.id), rawValue(category.id), sizeText(category.size.allocatedBytes, units));
    x += width;
  }
  return svg + "</svg>\n";
}

std::string categoryMap(const std::vector<StorageCategory>& categories, SizeUnits units) {
  std::vector<double> weights;
  weights.reserve(categories.size());
  for (const StorageCategory& category : categories) {
    weights.push_back(static_cast<double>(category.size.allocatedBytes));
  }
  std::string svg = fmt::format(
      "<svg viewBox=\"0 0 {} {}\" role=\"img\" aria-label=\"Treemap of the categories; the table above has the "
      "numbers\">\n",
      kMapWidth, kMapHeight);
  for (const TreemapTile& tile : treemapTiles(weights, kMapWidth, kMapHeight)) {
    const StorageCategory& category = categories[tile.index];
    const std::string size = sizeText(category.size.allocatedBytes, units);
    svg += fmt::format(
        "<g><title>{}: {}</title><rect x=\"{:.2f}\" y=\"{:.2f}\" width=\"{:.2f}\" height=\"{:.2f}\" fill=\"{}\" "
        "stroke=\"#fff\" stroke-opacity=\".6\"/>",
        rawValue(category.id), size, tile.x, tile.y, tile.width, tile.height, colorOf(category.id));
    if (tile.width > 110 && tile.height > 46) {
      svg += fmt::format(
          "<text x=\"{:.2f}\" y=\"{:.2f}\">{}</text><text x=\"{:.2f}\" y=\"{:.2f}\" opacity=\".85\">{}</text>",
          tile.x + 10, tile.y + 22, rawValue(category.id), tile.x + 10, tile.y + 40, size);
    }
    svg += "</g>\n";
  }
  return svg + "</svg>\n";
}

std::string categoryTable(const std::vector<StorageCategory>& categories, SizeUnits units) {
  const std::int64_t total = sum(categories);
  std::string rows;
  for (const StorageCategory& category : categories) {
    const std::int64_t cloudOnly = std::max<std::int64_t>(category.size.logicalBytes - category.size.allocatedBytes, 0);
    rows += fmt::format(
        "<tr><th scope=\"row\"><span class=\"key\" style=\"background:{}\"></span>{}</th><td class=\"n\">{}</td>"
        "<td class=\"n\">{:.1f} %</td><td class=\"n\">{}</td></tr>\n",
        colorOf(category.id), rawValue(category.id), sizeText(category.size.allocatedBytes, units),
        share(category.size.allocatedBytes, total) * 100, sizeText(cloudOnly, units));
  }
  return "<table><caption>Every byte counts to at most one category</caption>\n<thead><tr><th "
         "scope=\"col\">Category</th>"
         "<th scope=\"col\" class=\"n\">On disk</th><th scope=\"col\" class=\"n\">Share</th>"
         "<th scope=\"col\" class=\"n\">Length beyond the disk</th></tr></thead>\n<tbody>\n" +
         rows + "</tbody></table>\n";
}

std::string itemTable(const std::vector<TopItem>& items, SizeUnits units) {
  std::string rows;
  for (const TopItem& item : items) {
    rows += fmt::format("<tr><td class=\"n\">{}</td><td class=\"n\">{}</td><td class=\"path\">{}</td></tr>\n",
                        sizeText(item.size.allocatedBytes, units), sizeText(item.size.logicalBytes, units),
                        htmlName(item.url.path()));
  }
  return "<table><thead><tr><th scope=\"col\" class=\"n\">On disk</th><th scope=\"col\" class=\"n\">Length</th>"
         "<th scope=\"col\">Item</th></tr></thead>\n<tbody>\n" +
         rows + "</tbody></table>\n";
}

std::string artifactRow(const Artifact& artifact, SizeUnits units) {
  std::string paths;
  for (const FileURL& url : artifact.urls) paths += htmlName(url.path()) + "<br>";
  const std::string_view risk = rawValue(artifact.riskLevel);
  return fmt::format(
      "<tr><td class=\"n\">{}</td><td class=\"{}\">{}</td><td><strong>{}</strong>{}<div class=\"dim "
      "path\">{}</div></td>"
      "<td class=\"n\">{:.2f}</td></tr>\n",
      artifact.size ? sizeText(artifact.size->allocatedBytes, units) : "–", risk, risk, htmlName(artifact.title),
      artifact.explanation ? "<p>" + html(*artifact.explanation) + "</p>" : "", paths, artifact.confidence);
}

// The artifacts of one data class, the riskiest first.
std::string artifactGroup(ArtifactDataClass dataClass, const std::vector<Artifact>& artifacts, SizeUnits units) {
  std::vector<Artifact> group;
  std::copy_if(artifacts.begin(), artifacts.end(), std::back_inserter(group),
               [&](const Artifact& artifact) { return artifact.dataClass == dataClass; });
  if (group.empty()) return "";
  std::stable_sort(group.begin(), group.end(),
                   [](const Artifact& left, const Artifact& right) { return left.riskLevel > right.riskLevel; });
  std::string rows;
  SizeInfo total;
  for (const Artifact& artifact : group) {
    rows += artifactRow(artifact, units);
    total += artifact.size.value_or(SizeInfo{});
  }
  return fmt::format(
      "<h2>{} <span class=\"dim\">{} · {}</span></h2>\n<table><thead><tr><th scope=\"col\" class=\"n\">Size</th>"
      "<th scope=\"col\">Risk</th><th scope=\"col\">What</th><th scope=\"col\" class=\"n\">Sure</th></tr></thead>\n"
      "<tbody>\n{}</tbody></table>\n",
      rawValue(dataClass), group.size(), sizeText(total.allocatedBytes, units), rows);
}

std::string planSection(const AppRemovalPlanPreview& plan, SizeUnits units) {
  std::string steps;
  for (const RemovalOperationPreview& operation : plan.operations) {
    std::string paths;
    for (const FileURL& url : operation.urls) paths += "<li class=\"path\">" + htmlName(url.path()) + "</li>";
    steps += fmt::format("<li><strong>{}</strong>{}{}<p>{}</p><ul class=\"dim\">{}</ul></li>\n",
                         rawValue(operation.type), operation.reversible ? " · can be undone" : "",
                         operation.requiresAdmin ? " · may need administrator rights" : "",
                         html(operation.explanation.value_or("")), paths);
  }
  std::string notes;
  for (const std::string& note : plan.notes) notes += "<li>" + html(note) + "</li>\n";
  return fmt::format("<details><summary>{} · {}</summary>\n<ul>\n{}</ul>\n<ol>\n{}</ol>\n</details>\n",
                     rawValue(plan.mode), sizeText(plan.estimatedBytes, units), notes, steps);
}

}  // namespace

std::string reportPage(const VolumeReport& report, SizeUnits units) {
  const VolumeInfo& volume = report.volume;
  std::string body = fmt::format("<h1>{}</h1>\n<p class=\"dim\">{} of {} used, {} free</p>\n", htmlName(volume.name),
                                 sizeText(std::max<std::int64_t>(volume.totalBytes - volume.freeBytes, 0), units),
                                 sizeText(volume.totalBytes, units), sizeText(volume.freeBytes, units));
  if (!report.isComplete) body += "<p class=\"note\">Incomplete: the scan was interrupted.</p>\n";
  body += unreadableLine(report.unreadable);
  body += "<h2>Where the space goes</h2>\n" + categoryBar(report.categories, units) +
          categoryTable(report.categories, units) + categoryMap(report.categories, units);
  body += "<h2>The largest items</h2>\n" + itemTable(report.largest, units);
  return page("Storage of " + volume.name, body);
}

std::string reportPage(const AppReport& report, SizeUnits units) {
  const AppEntity& app = report.inspection.app;
  std::string body =
      fmt::format("<h1>{}</h1>\n<p class=\"dim\">{} · {}</p>\n", htmlName(app.name),
                  htmlName(app.bundleIdentifier.value_or("no bundle identifier")), htmlName(app.bundleURL.path()));
  body += unreadableLine(report.unreadable);
  for (const ArtifactDataClass dataClass : allCases<ArtifactDataClass>()) {
    body += artifactGroup(dataClass, report.inspection.artifacts, units);
  }
  body += "<h2>Removal, as a preview</h2>\n<p class=\"dim\">Nothing is carried out.</p>\n";
  for (const AppRemovalPlanPreview& plan : report.plans) body += planSection(plan, units);
  return page("What belongs to " + app.name, body);
}

}  // namespace quarn
