#include <algorithm>
#include <unordered_set>

#include <fmt/format.h>

#include "QuarnCore/discovery/ArtifactSizing.h"
#include "QuarnCore/ownership/AppOwnership.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "QuarnPlatform/paths/PathSet.h"
#include "QuarnSystem/UnionSizes.h"
#include "quarn/commands/Choices.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/Finds.h"
#include "quarn/commands/Inspection.h"
#include "quarn/commands/OwnershipMaps.h"
#include "quarn/terminal/Certainty.h"
#include "quarn/terminal/PlainText.h"
#include "quarn/terminal/Table.h"
#include "quarn/terminal/TerminalText.h"
#include "quarn/wire/RecordJSON.h"

namespace quarn {
namespace {

constexpr std::size_t kShownPaths = 10;

CleanupMode modeOf(const Arguments& arguments) {
  return fromRawValue<CleanupMode>(arguments.text("--mode").value_or("removeApp")).value();
}

// The artifacts that --select names, in the order of the inspection; absent without --select.
std::optional<std::vector<Artifact>> selection(const AppInspection& inspection, const Arguments& arguments) {
  if (!arguments.has("--select")) return std::nullopt;
  std::vector<std::string> ids = arguments.texts("--select");
  std::vector<Artifact> selected;
  for (const Artifact& artifact : inspection.artifacts) {
    if (std::erase(ids, artifact.id) > 0) selected.push_back(artifact);
  }
  if (ids.empty()) return selected;
  std::string problem = "no artifact \"" + escapedForTerminal(ids.front()) + "\"; choose from:";
  for (const Artifact& artifact : inspection.artifacts) problem += "\n  " + escapedForTerminal(artifact.id);
  throw CommandError(ExitCode::notFound, problem);
}

// The default selection without items of other apps, and with items that are the app's by strong evidence.
std::optional<std::vector<Artifact>> wholeVolumeSelection(const AppInspection& inspection, CleanupMode mode,
                                                          CommandContext& context) {
  const OwnershipMap map = mapOfVolume(context);
  if (context.isInterrupted()) throw CommandError(ExitCode::interrupted, "interrupted before the plan was made");
  std::vector<Artifact> chosen = chosenArtifacts(inspection, mode, map);
  sizeArtifacts(chosen, context.services().fileSizeCalculator, context.services().files, context.cancellation());
  return chosen;
}

/// What a plan removes, sized: each item, each step and all steps.
class PlanSizes {
 public:
  explicit PlanSizes(CommandContext& context)
      : context_(context), volume_(context.services().files, HiddenItems::include) {}

  [[nodiscard]] std::string text(const FileURL& url) const {
    const bool exists = context_.services().files.facts(url, Links::doNotFollow).has_value();
    return exists ? context_.size(together({url}).size.allocatedBytes) : "–";
  }
  [[nodiscard]] UnionSize together(const std::vector<FileURL>& urls) const {
    return volume_.of(urls, context_.cancellation());
  }
  [[nodiscard]] UnionSize together(const AppRemovalPlanPreview& plan) const {
    std::vector<FileURL> urls;
    for (const RemovalOperationPreview& operation : plan.operations) {
      if (moves(operation)) urls.insert(urls.end(), operation.urls.begin(), operation.urls.end());
    }
    return together(urls);
  }

  [[nodiscard]] static bool moves(const RemovalOperationPreview& operation) {
    return operation.type == RemovalOperationPreview::Type::moveToTrash ||
           operation.type == RemovalOperationPreview::Type::moveToQuarantine;
  }

 private:
  CommandContext& context_;
  UnionSizes volume_;
};

/// The items that are in uncertain finds alone.
class UncertainItems {
 public:
  UncertainItems(const std::vector<Artifact>& selected, const FileManager& files) : files_(files) {
    for (const Artifact& artifact : selected) {
      if (isUncertain(artifact)) continue;
      for (const FileURL& url : artifact.urls) sure_.insert(files.standardizedPath(url));
    }
    for (const Artifact& artifact : selected) {
      if (!isUncertain(artifact)) continue;
      for (const FileURL& url : artifact.urls) uncertain_.insert(files.standardizedPath(url));
    }
  }
  [[nodiscard]] bool holds(const FileURL& url) const {
    const std::string path = files_.standardizedPath(url);
    return uncertain_.contains(path) && !sure_.covers(path);
  }

 private:
  const FileManager& files_;
  PathSet sure_;
  std::unordered_set<std::string> uncertain_;
};

std::string itemsText(const std::vector<FileURL>& urls, const PlanSizes& sizes, CommandContext& context) {
  const std::size_t shown = context.isVerbose() ? urls.size() : std::min(urls.size(), kShownPaths);
  std::string text;
  for (std::size_t i = 0; i < shown; ++i) {
    text += fmt::format("   {:>11}  {}\n", sizes.text(urls[i]), escapedForTerminal(context.displayPath(urls[i])));
  }
  if (shown < urls.size()) text += fmt::format("   and {} more\n", urls.size() - shown);
  return text;
}

std::string operationText(const RemovalOperationPreview& operation, const UncertainItems& uncertain,
                          const PlanSizes& sizes, CommandContext& context) {
  std::string title(stepTitle(operation.type));
  if (PlanSizes::moves(operation)) title += ", " + context.size(sizes.together(operation.urls).size.allocatedBytes);
  if (operation.reversible) title += ", can be undone";
  if (operation.requiresAdmin) title += ", may need administrator rights";
  std::string text = context.out().styled(title + "\n", Style::heading);
  if (operation.explanation) text += "   " + escapedForTerminal(plainText(*operation.explanation)) + "\n";
  std::vector<FileURL> sure;
  std::vector<FileURL> doubtful;
  for (const FileURL& url : operation.urls) {
    (PlanSizes::moves(operation) && uncertain.holds(url) ? doubtful : sure).push_back(url);
  }
  text += itemsText(sure, sizes, context);
  if (doubtful.empty()) return text;
  text +=
      context.out().styled("   ! These merely resemble the app. Check each before you remove it:\n", Style::warning);
  return text + itemsText(doubtful, sizes, context);
}

std::string planText(const AppRemovalPlanPreview& plan, const std::vector<Artifact>& selected, const PlanSizes& sizes,
                     CommandContext& context) {
  std::string text = appHeading(plan.app, context) + "\n";
  text += fmt::format("Plan: {}. This is a preview; quarn never executes a plan.\n\n", rawValue(plan.mode));
  const UncertainItems uncertain(selected, context.services().files);
  std::size_t number = 0;
  for (const RemovalOperationPreview& operation : plan.operations) {
    text += fmt::format("{}. {}", ++number, operationText(operation, uncertain, sizes, context));
  }
  if (plan.operations.empty()) text += "Nothing to do.\n";
  text += "\nNotes:\n";
  for (std::size_t i = 0; i < plan.notes.size(); ++i) {
    const std::string line = fmt::format("  {} {}\n", i == 0 ? " " : "!", escapedForTerminal(plainText(plan.notes[i])));
    text += context.out().styled(line, i == 0 ? Style::plain : Style::warning);
  }
  const UnionSize together = sizes.together(plan);
  return text + fmt::format("\nEstimated: {}\n", context.size(together.size.allocatedBytes)) +
         unionNotes(together, HiddenItems::include, context);
}

nlohmann::ordered_json planDocument(const AppRemovalPlanPreview& plan, const std::vector<Artifact>& selected,
                                    const PlanSizes& sizes) {
  nlohmann::ordered_json document = toJSON(plan);
  for (std::size_t i = 0; i < plan.operations.size(); ++i) {
    document["operations"][i]["together"] = unionJSON(sizes.together(plan.operations[i].urls), HiddenItems::include);
  }
  document["together"] = unionJSON(sizes.together(plan), HiddenItems::include);
  document["selectedArtifacts"] = toJSON(selected);
  document["uncertainArtifacts"] = nlohmann::ordered_json::array();
  for (const Artifact& artifact : selected) {
    if (isUncertain(artifact)) document["uncertainArtifacts"].push_back(toJSON(artifact.id));
  }
  document["isCarriedOut"] = false;
  return document;
}

ExitCode runPlan(CommandContext& context) {
  const CleanupMode mode = modeOf(context.arguments());
  const AppInspection inspection = inspectNamedApp(context);
  // A plan for a partial inspection would look complete.
  if (context.isInterrupted()) throw CommandError(ExitCode::interrupted, "interrupted before the plan was made");
  const auto chosen = context.arguments().has("--whole-volume") ? wholeVolumeSelection(inspection, mode, context)
                                                                : selection(inspection, context.arguments());
  const std::vector<Artifact> selected =
      chosen ? *chosen : AppRemovalPlanner::defaultSelectedArtifacts(inspection, mode);
  const AppRemovalPlanPreview plan = context.services().appRemovalPlanner.buildPreview(inspection, mode, selected);
  const PlanSizes sizes(context);
  if (context.wantsJSON()) {
    context.printDocument(planDocument(plan, selected, sizes));
  } else if (context.wantsLines()) {
    context.printLines(planDocument(plan, selected, sizes)["operations"]);
  } else {
    context.print(planText(plan, selected, sizes, context));
  }
  return context.finish();
}

constexpr FixedText kModeHelp = kChoiceList<CleanupMode> + FixedText(" (default removeApp)");
constexpr std::array kPlanPositionals{
    PositionalRow{.name = "APP", .help = "Name, bundle identifier or path of an app", .isRequired = true}};
constexpr std::array kPlanOptions{
    OptionRow{.name = "--mode", .argument = "MODE", .help = kModeHelp, .choices = kChoices<CleanupMode>},
    OptionRow{.name = "--select", .argument = "ID", .help = "Plan only for this artifact", .isRepeatable = true},
    OptionRow{.name = "--whole-volume",
              .help = "Leave out items of other apps, and add items with strong evidence for this app",
              .excludes = "--select"},
};
constexpr std::array kPlanExamples{
    ExampleRow{.line = "quarn plan \"Lumen Notes\" --mode cacheOnly", .meaning = "what a cache cleanup would remove"},
    ExampleRow{.line = "quarn plan com.lumenworks.notes --mode aggressive --json",
               .meaning = "a complete plan as JSON"},
    ExampleRow{.line = "quarn plan \"Lumen Notes\" --whole-volume",
               .meaning = "a plan that considers what other apps own"},
};
constexpr CommandRow kPlanRow{.name = "plan",
                              .summary = "Preview the removal of an application",
                              .description = "Shows the steps of a removal. quarn never executes a plan.",
                              .positionals = kPlanPositionals,
                              .options = kPlanOptions,
                              .examples = kPlanExamples,
                              .run = runPlan,
                              .hasList = true};

}  // namespace

const CommandRow& planCommand() { return kPlanRow; }

}  // namespace quarn
