#include <algorithm>

#include <fmt/format.h>

#include "QuarnCore/ownership/AppOwnership.h"
#include "QuarnCore/planning/AppRemovalPlanner.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "QuarnPlatform/text/Text.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/Finds.h"
#include "quarn/commands/Inspection.h"
#include "quarn/commands/ListOutput.h"
#include "quarn/commands/OwnershipMaps.h"
#include "quarn/commands/ScanOption.h"
#include "quarn/terminal/Certainty.h"
#include "quarn/terminal/CountText.h"
#include "quarn/terminal/OwnerText.h"
#include "quarn/terminal/PlainText.h"
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

// What merely resembles the app has a question mark and never the colour of a safe find.
std::string headLine(const Artifact& artifact, std::size_t depth, CommandContext& context) {
  const std::string size = artifact.size ? context.size(artifact.size->allocatedBytes) : "–";
  const std::string nesting = depth == 0 ? "" : std::string(2 * (depth - 1), ' ') + "└ ";
  const std::string line = fmt::format("{:>11}  {}  {:<8}  {:<14}  {:.2f}{} {}{}\n", size, modesOf(artifact),
                                       rawValue(artifact.riskLevel), rawValue(artifact.dataClass), artifact.confidence,
                                       isUncertain(artifact) ? "?" : " ", nesting, escapedForTerminal(artifact.title));
  const bool isSureAndSafe = !isUncertain(artifact) || artifact.riskLevel != RiskLevel::safe;
  return context.out().styled(line, isSureAndSafe ? styleOf(artifact.riskLevel) : Style::warning);
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

std::string artifactText(const Artifact& artifact, std::size_t depth, CommandContext& context) {
  std::string text = headLine(artifact, depth, context);
  text += itemLines(artifact, context);
  if (artifact.explanation) text += explanationLines(plainText(*artifact.explanation), context.out());
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

/// An inspection, and what the command finds out about all of it: which finds are in which, and their size together.
struct Nested {
  const AppInspection& inspection;
  std::vector<std::optional<std::size_t>> holders{};
  std::optional<UnionSize> together{};  ///< absent without sizes
};

Nested nested(const AppInspection& inspection, const FindSizes& sizes, CommandContext& context) {
  Nested result{.inspection = inspection, .holders = sizes.holders(inspection.artifacts)};
  if (!context.arguments().has("--no-sizes")) result.together = sizes.together(inspection.artifacts);
  return result;
}

// The artifacts in order, each followed by those that are in it.
std::string artifactsText(const Nested& finds, std::optional<std::size_t> holder, std::size_t depth,
                          CommandContext& context) {
  std::string text;
  for (std::size_t i = 0; i < finds.holders.size(); ++i) {
    if (finds.holders[i] != holder) continue;
    text += artifactText(finds.inspection.artifacts[i], depth, context);
    text += artifactsText(finds, i, depth + 1, context);
  }
  return text;
}

std::string totalText(const Nested& finds, CommandContext& context) {
  const std::vector<Artifact>& artifacts = finds.inspection.artifacts;
  std::string text = countText(artifacts.size(), "artifact");
  const auto held = std::count_if(finds.holders.begin(), finds.holders.end(), [](const auto& one) { return one; });
  if (held > 0) text += fmt::format(" ({} inside others)", held);
  if (finds.together) text += ", " + context.size(finds.together->size.allocatedBytes);
  text += "\n";
  if (finds.together) text += unionNotes(*finds.together, HiddenItems::skip, context);
  if (std::any_of(artifacts.begin(), artifacts.end(), isUncertain)) {
    text += "? marks what merely resembles the app: check it before you remove it.\n";
  }
  return text;
}

nlohmann::ordered_json document(const Nested& finds) {
  const AppInspection& inspection = finds.inspection;
  nlohmann::ordered_json json = toJSON(inspection);
  json["together"] = finds.together ? unionJSON(*finds.together, HiddenItems::skip) : nlohmann::ordered_json();
  json["insideOf"] = nlohmann::ordered_json::object();
  for (std::size_t i = 0; i < finds.holders.size(); ++i) {
    if (finds.holders[i]) {
      json["insideOf"][Text::validUTF8(inspection.artifacts[i].id)] =
          toJSON(inspection.artifacts[*finds.holders[i]].id);
    }
  }
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

bool lacksOwnership(CommandContext& context) {
  return context.scan() != nullptr && !context.arguments().has("--no-owners");
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
  Table table({{.title = "NAME", .isFlexible = true},
               {.title = "FINDS", .align = Table::Align::right},
               {.title = "SIZE", .align = Table::Align::right},
               {.title = "PATH", .isFlexible = true}});
  nlohmann::ordered_json inspections = nlohmann::ordered_json::array();
  const FindSizes sizes(context, HiddenItems::skip);
  inspectAllApps(context, sizes, [&](const AppInspection& inspection) {
    const Nested finds = nested(inspection, sizes, context);
    if (context.wantsJSON()) {
      inspections.push_back(document(finds));
    } else if (context.wantsLines()) {
      context.printLines(nlohmann::ordered_json::array({document(finds)}));
    } else {
      table.addRow({inspection.app.name,
                    std::to_string(inspection.artifacts.size()),
                    finds.together ? context.size(finds.together->size.allocatedBytes) : "–",
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

void showInspection(CommandContext& context, const Nested& finds, const std::optional<AppOwnership>& ownership) {
  const AppInspection& inspection = finds.inspection;
  std::string text = appHeading(inspection.app, context) + "\n" + uninstallerText(inspection, context);
  text += context.out().styled(
      fmt::format("{:>11}  {}  {:<8}  {:<14}  {}  {}\n", "SIZE", "MODE", "RISK", "DATA", "SURE", "WHAT"), Style::dim);
  text += artifactsText(finds, std::nullopt, 0, context);
  if (ownership) text += ownershipText(*ownership, context);
  if (lacksOwnership(context)) {
    text += "\nThe scan does not have what else is this app's, is shared, or fits another app better.\n";
  }
  if (context.isInterrupted()) text += "\nIncomplete: interrupted.\n";
  context.print(text + "\n" + totalText(finds, context));
}

ExitCode runInspect(CommandContext& context) {
  const bool isNamed = !context.arguments().positionals.empty();
  const bool isAll = context.arguments().has("--all");
  if (!isNamed && !isAll) throw UsageError("inspect requires APP (name, bundle identifier or path of an app) or --all");
  if (isAll) return inspectAll(context);
  const FindSizes sizes(context, HiddenItems::skip);
  const AppInspection inspection = inspectNamedApp(context, &sizes);
  if (context.wantsLines()) {
    context.printLines(toJSON(inspection.artifacts));
    return context.finish();
  }
  const std::optional<AppOwnership> ownership = ownershipOf(inspection, context);
  const Nested finds = nested(inspection, sizes, context);
  if (context.wantsJSON()) {
    nlohmann::ordered_json json = document(finds);
    if (ownership) json["ownership"] = toJSON(*ownership);
    if (context.isInterrupted()) json["isComplete"] = false;
    context.printDocument(std::move(json));
  } else {
    showInspection(context, finds, ownership);
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
    ExampleRow{.line = "quarn inspect \"/Applications/Lumen Notes.app\"", .meaning = "by path"},
    ExampleRow{.line = "quarn inspect --all --no-sizes", .meaning = "the number of artifacts of every app"},
};
constexpr CommandRow kInspectRow{
    .name = "inspect",
    .summary = "Find everything that belongs to an application",
    .description =
        "Explains and sizes every artifact. The column MODE lists the cleanup modes that select an artifact by "
        "default: c cacheOnly, d associatedDataOnly, r removeApp, a aggressive.",
    .details =
        "Then it lists what the whole volume says: further items of the app, items that it shares, and items that fit "
        "another app better.",
    .positionals = kInspectPositionals,
    .options = kInspectOptions,
    .examples = kInspectExamples,
    .run = runInspect,
    .hasList = true};

}  // namespace

const CommandRow& inspectCommand() { return kInspectRow; }

}  // namespace quarn
