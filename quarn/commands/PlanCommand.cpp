#include <algorithm>

#include <fmt/format.h>

#include "QuarnCore/discovery/ArtifactSizing.h"
#include "QuarnCore/ownership/AppOwnership.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/commands/Choices.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/Inspection.h"
#include "quarn/commands/OwnershipMaps.h"
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

/// The size of each item of a step. An inspection sizes whole artifacts, not their items.
class ItemSizes {
 public:
  explicit ItemSizes(CommandContext& context) : calculator_(context.services().fileSizeCalculator) {}

  [[nodiscard]] std::optional<SizeInfo> of(const FileURL& url) const {
    try {
      return calculator_.itemSize(url, /*allowSlow=*/true, /*includeHidden=*/false);
    } catch (const FileError&) {
      return std::nullopt;
    }
  }

 private:
  const FileSizeCalculator& calculator_;
};

std::string operationText(const RemovalOperationPreview& operation, std::size_t number, CommandContext& context) {
  std::string text =
      fmt::format("{}. {}{}{}\n", number, rawValue(operation.type), operation.reversible ? ", can be undone" : "",
                  operation.requiresAdmin ? ", may need administrator rights" : "");
  text = context.out().styled(text, Style::heading);
  if (operation.explanation) text += "   " + escapedForTerminal(*operation.explanation) + "\n";
  const ItemSizes sizes(context);
  const std::size_t shown = context.isVerbose() ? operation.urls.size() : std::min(operation.urls.size(), kShownPaths);
  for (std::size_t i = 0; i < shown; ++i) {
    const std::optional<SizeInfo> size = sizes.of(operation.urls[i]);
    text += fmt::format("   {:>11}  {}\n", size ? context.size(size->allocatedBytes) : "–",
                        escapedForTerminal(context.displayPath(operation.urls[i])));
  }
  if (shown < operation.urls.size()) text += fmt::format("   and {} more\n", operation.urls.size() - shown);
  return text;
}

std::string planText(const AppRemovalPlanPreview& plan, CommandContext& context) {
  std::string text = appHeading(plan.app, context) + "\n";
  text += fmt::format("Plan: {}. This is a preview; quarn never executes a plan.\n\n", rawValue(plan.mode));
  std::size_t number = 0;
  for (const RemovalOperationPreview& operation : plan.operations) {
    text += operationText(operation, ++number, context);
  }
  if (plan.operations.empty()) text += "Nothing to do.\n";
  text += "\nNotes:\n";
  for (std::size_t i = 0; i < plan.notes.size(); ++i) {
    const std::string line = fmt::format("  {} {}\n", i == 0 ? " " : "!", escapedForTerminal(plan.notes[i]));
    text += context.out().styled(line, i == 0 ? Style::plain : Style::warning);
  }
  return text + fmt::format("\nEstimated: {}\n", context.size(plan.estimatedBytes));
}

ExitCode runPlan(CommandContext& context) {
  const CleanupMode mode = modeOf(context.arguments());
  const AppInspection inspection = inspectNamedApp(context);
  // A plan for a partial inspection would look complete.
  if (context.isInterrupted()) throw CommandError(ExitCode::interrupted, "interrupted before the plan was made");
  const auto selected = context.arguments().has("--whole-volume") ? wholeVolumeSelection(inspection, mode, context)
                                                                  : selection(inspection, context.arguments());
  const AppRemovalPlanPreview plan = context.services().appRemovalPlanner.buildPreview(inspection, mode, selected);
  if (context.wantsJSON()) {
    nlohmann::ordered_json document = toJSON(plan);
    document["selectedArtifacts"] =
        toJSON(selected ? *selected : AppRemovalPlanner::defaultSelectedArtifacts(inspection, mode));
    document["isCarriedOut"] = false;
    context.printDocument(std::move(document));
  } else if (context.wantsLines()) {
    context.printLines(toJSON(plan)["operations"]);
  } else {
    context.print(planText(plan, context));
  }
  return context.finish();
}

constexpr FixedText kModeHelp = kChoiceList<CleanupMode> + FixedText(" (default removeApp)");
constexpr std::array kPlanPositionals{
    PositionalRow{.name = "APP", .help = "Name, bundle identifier or path of an app", .isRequired = true}};
constexpr std::array kPlanOptions{
    OptionRow{.name = "--mode", .argument = "MODE", .help = kModeHelp, .choices = kChoices<CleanupMode>},
    OptionRow{.name = "--select",
              .argument = "ID",
              .help = "Plan only for this artifact; may be repeated",
              .isRepeatable = true},
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
