#include <algorithm>

#include <fmt/format.h>

#include "QuarnCore/ownership/AppOwnership.h"
#include "QuarnCore/planning/AppRemovalPlanner.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/Inspection.h"
#include "quarn/commands/ListOutput.h"
#include "quarn/commands/OwnershipMaps.h"
#include "quarn/commands/ScanOption.h"
#include "quarn/terminal/CountText.h"
#include "quarn/terminal/OwnerText.h"
#include "quarn/terminal/Table.h"
#include "quarn/terminal/TerminalText.h"
#include "quarn/wire/RecordJSON.h"

namespace quarn {
namespace {

constexpr std::string_view kModeLetters = "cdra";
constexpr std::size_t kShownItems = 5;
constexpr std::string_view kIndent = "    ";

// "c-ra": the modes that select the artifact by default.
std::string modesOf(const Artifact& artifact) {
  std::string letters(kModeLetters.size(), '-');
  for (const CleanupMode mode : selectingModes(artifact)) {
    letters[static_cast<std::size_t>(mode)] = kModeLetters[static_cast<std::size_t>(mode)];
  }
  return letters;
}

std::string headLine(const Artifact& artifact, CommandContext& context) {
  const std::string size = artifact.size ? context.size(artifact.size->allocatedBytes) : "–";
  return fmt::format("{:>11}  {}  {:<8}  {:<14}  {:.2f}  {}\n", size, modesOf(artifact), rawValue(artifact.riskLevel),
                     rawValue(artifact.dataClass), artifact.confidence, escapedForTerminal(artifact.title));
}

std::string explanationLines(const std::string& explanation, const Terminal& terminal) {
  std::string lines;
  std::string_view rest = explanation;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    const std::string line = escapedForTerminal(rest.substr(0, end));
    if (!line.empty()) lines += std::string(kIndent) + terminal.styled(line, Style::dim) + "\n";
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return lines;
}

std::string itemLines(const Artifact& artifact, CommandContext& context) {
  const std::size_t shown = context.isVerbose() ? artifact.urls.size() : std::min(artifact.urls.size(), kShownItems);
  std::string lines;
  for (std::size_t i = 0; i < shown; ++i) {
    lines += std::string(kIndent) + escapedForTerminal(context.displayPath(artifact.urls[i])) + "\n";
  }
  if (shown < artifact.urls.size()) lines += fmt::format("{}and {} more\n", kIndent, artifact.urls.size() - shown);
  return lines;
}

std::string artifactText(const Artifact& artifact, CommandContext& context) {
  std::string text = context.out().styled(headLine(artifact, context), styleOf(artifact.riskLevel));
  text += itemLines(artifact, context);
  if (artifact.explanation) text += explanationLines(*artifact.explanation, context.out());
  return text;
}

std::string uninstallerText(const AppInspection& inspection, CommandContext& context) {
  if (inspection.uninstallers.empty()) return "";
  Table table(
      {{.title = "UNINSTALLER", .isFlexible = true}, {.title = "CONFIDENCE"}, {.title = "PATH", .isFlexible = true}});
  for (const UninstallerCandidate& candidate : inspection.uninstallers) {
    table.addRow({candidate.name, fmt::format("{:.2f}", candidate.confidence), context.displayPath(candidate.url)});
  }
  return table.text(context.out()) + "\n";
}

SizeInfo totalSize(const AppInspection& inspection) {
  SizeInfo total;
  for (const Artifact& artifact : inspection.artifacts) total += artifact.size.value_or(SizeInfo{});
  return total;
}

std::string totalText(const AppInspection& inspection, CommandContext& context) {
  return fmt::format("{}, {}\n", countText(inspection.artifacts.size(), "artifact"),
                     context.size(totalSize(inspection).allocatedBytes));
}

nlohmann::ordered_json document(const AppInspection& inspection) {
  nlohmann::ordered_json json = toJSON(inspection);
  for (const CleanupMode mode : allCases<CleanupMode>()) {
    nlohmann::ordered_json ids = nlohmann::ordered_json::array();
    for (const Artifact& artifact : AppRemovalPlanner::defaultSelectedArtifacts(inspection, mode)) {
      ids.push_back(toJSON(artifact.id));
    }
    json["selectedByMode"][std::string(rawValue(mode))] = std::move(ids);
  }
  return json;
}

std::string ownershipLines(std::string_view title, const std::vector<Ownership>& entries, CommandContext& context) {
  if (entries.empty()) return "";
  std::string text = "\n" + context.out().styled(title, Style::heading) + "\n";
  for (const Ownership& entry : entries) {
    text += std::string(kIndent) + escapedForTerminal(context.displayPath(entry.url)) + "\n";
    const std::string owner =
        fmt::format("{} ({:.2f}): {}", escapedForTerminal(ownerText(entry)), entry.confidence, entry.evidence);
    text += std::string(kIndent) + explanationLines(owner, context.out());
  }
  return text;
}

std::string ownershipText(const AppOwnership& ownership, CommandContext& context) {
  return ownershipLines("Also this app's", ownership.alsoOwned, context) +
         ownershipLines("Shared with other apps", ownership.shared, context) +
         ownershipLines("Fits another app better", ownership.fitsBetter, context);
}

// What the map of the whole volume says of the inspection; absent if interrupted: a partial map names wrong owners. A
// scan has no map.
std::optional<AppOwnership> ownershipOf(const AppInspection& inspection, CommandContext& context) {
  if (context.isInterrupted() || context.arguments().has("--no-owners") || context.scan() != nullptr)
    return std::nullopt;
  AppOwnership ownership = compareWithMap(inspection, mapOfVolume(context));
  return context.isInterrupted() ? std::nullopt : std::optional(std::move(ownership));
}

ExitCode inspectAll(CommandContext& context) {
  const bool isSized = !context.arguments().has("--no-sizes");
  Table table({{.title = "NAME", .isFlexible = true},
               {.title = "FINDS", .align = Table::Align::right},
               {.title = "SIZE", .align = Table::Align::right},
               {.title = "PATH", .isFlexible = true}});
  nlohmann::ordered_json inspections = nlohmann::ordered_json::array();
  inspectAllApps(context, [&](const AppInspection& inspection) {
    if (context.wantsJSON()) {
      inspections.push_back(document(inspection));
    } else if (context.wantsLines()) {
      context.printLines(nlohmann::ordered_json::array({document(inspection)}));
    } else {
      table.addRow({inspection.app.name,
                    std::to_string(inspection.artifacts.size()),
                    isSized ? context.size(totalSize(inspection).allocatedBytes) : "–",
                    {context.displayPath(inspection.app.bundleURL), Style::dim}});
    }
  });
  if (context.wantsJSON()) {
    nlohmann::ordered_json json{{"inspections", std::move(inspections)}};
    if (context.isInterrupted()) json["isComplete"] = false;
    context.printDocument(std::move(json));
  } else if (!context.wantsLines()) {
    showTable(context, table);
  }
  return context.finish();
}

void showInspection(CommandContext& context, const AppInspection& inspection,
                    const std::optional<AppOwnership>& ownership) {
  std::string text = appHeading(inspection.app, context) + "\n" + uninstallerText(inspection, context);
  text += context.out().styled(
      fmt::format("{:>11}  {}  {:<8}  {:<14}  {}  {}\n", "SIZE", "MODE", "RISK", "DATA", "SURE", "WHAT"), Style::dim);
  for (const Artifact& artifact : inspection.artifacts) text += artifactText(artifact, context);
  if (ownership) text += ownershipText(*ownership, context);
  if (context.isInterrupted()) text += "\nIncomplete: interrupted.\n";
  context.print(text + "\n" + totalText(inspection, context));
}

ExitCode runInspect(CommandContext& context) {
  const bool isNamed = !context.arguments().positionals.empty();
  const bool isAll = context.arguments().has("--all");
  if (!isNamed && !isAll) throw UsageError("inspect requires APP (name, bundle identifier or path of an app) or --all");
  if (isAll) return inspectAll(context);
  const AppInspection inspection = inspectNamedApp(context);
  if (context.wantsLines()) {
    context.printLines(toJSON(inspection.artifacts));
    return context.finish();
  }
  const std::optional<AppOwnership> ownership = ownershipOf(inspection, context);
  if (context.wantsJSON()) {
    nlohmann::ordered_json json = document(inspection);
    if (ownership) json["ownership"] = toJSON(*ownership);
    if (context.isInterrupted()) json["isComplete"] = false;
    context.printDocument(std::move(json));
  } else {
    showInspection(context, inspection, ownership);
  }
  return context.finish();
}

constexpr std::array kInspectPositionals{
    PositionalRow{.name = "APP", .help = "Name, bundle identifier or path of an app"}};
constexpr std::array kInspectOptions{
    kScanOption,
    OptionRow{.name = "--all", .help = "Inspect every app, one line per app", .excludes = "APP"},
    OptionRow{.name = "--no-sizes", .help = "Do not size the artifacts"},
    OptionRow{.name = "--no-system", .help = "Skip system-wide folders"},
    OptionRow{.name = "--no-owners", .help = "Do not compare with what other apps own", .excludes = "--all"},
    OptionRow{.name = "--no-heuristics", .help = "Do not search by similar names"},
    OptionRow{.name = "--depth",
              .argument = "N",
              .help = "Search by name at most N levels deep (default 3)",
              .isNumber = true,
              .excludes = "--no-heuristics"},
    OptionRow{.name = "--max-results",
              .argument = "N",
              .help = "Stop a search by name after N results (default 50)",
              .isNumber = true,
              .excludes = "--no-heuristics"},
};
constexpr std::array kInspectExamples{
    ExampleRow{.line = "quarn inspect \"Lumen Notes\"", .meaning = "by name"},
    ExampleRow{.line = "quarn inspect com.lumenworks.notes --json", .meaning = "by bundle identifier, as JSON"},
    ExampleRow{.line = "quarn --volume /mnt/mac --home /Users/ann inspect \"/Applications/Lumen Notes.app\"",
               .meaning = "by path, on a mounted volume"},
    ExampleRow{.line = "quarn inspect --all --no-sizes", .meaning = "the number of artifacts of every app"},
};
constexpr CommandRow kInspectRow{
    .name = "inspect",
    .summary = "Find everything that belongs to an application",
    .description =
        "Explains and sizes every artifact. The column MODE lists the cleanup modes that select an artifact by "
        "default: c cacheOnly, d associatedDataOnly, r removeApp, a aggressive. Then it lists what the whole volume "
        "says: "
        "further items of the app, items that it shares, and items that fit another app better.",
    .positionals = kInspectPositionals,
    .options = kInspectOptions,
    .examples = kInspectExamples,
    .run = runInspect,
    .hasList = true};

}  // namespace

const CommandRow& inspectCommand() { return kInspectRow; }

}  // namespace quarn
