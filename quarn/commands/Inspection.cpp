#include "quarn/commands/Inspection.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "QuarnCore/planning/AppRemovalPlanner.h"
#include "quarn/commands/AppSelection.h"
#include "quarn/commands/ScanOption.h"
#include "quarn/terminal/TerminalText.h"
#include "quarn/wire/UsualOptions.h"

namespace quarn {
namespace {

// What a phase looks at.
std::string_view wordFor(AppInspectionService::Phase phase) {
  using Phase = AppInspectionService::Phase;
  switch (phase) {
    case Phase::artifacts: return "folders and names";
    case Phase::launchd: return "launchd jobs";
    case Phase::deepInspector: return "vendor profiles";
    case Phase::kernelExtensions: return "kernel extensions";
    case Phase::finalize: return "sizes";
    default: return rawValue(phase);
  }
}

AppInspectionService::Options optionsOf(const Arguments& arguments) {
  AppInspectionService::Options options = usualInspectionOptions();
  if (arguments.has("--no-heuristics")) {
    options.includeHeuristicSearch = options.includeDocumentsHeuristicSearch = false;
    options.includeSystemHeuristicSearch = false;
  }
  if (arguments.has("--no-system")) options.includeSystemArtifacts = options.includeSystemHeuristicSearch = false;
  if (arguments.has("--depth")) {
    options.heuristicMaxDepth = arguments.number("--depth", options.heuristicMaxDepth);
    options.documentsHeuristicMaxDepth = options.heuristicMaxDepth;
  }
  options.heuristicMaxResults = arguments.number("--max-results", options.heuristicMaxResults);
  options.documentsHeuristicMaxResults = options.heuristicMaxResults;
  options.computeArtifactSizes = !arguments.has("--no-sizes");
  return options;
}

// The inspections of a scan have one set of options.
std::vector<AppInspection> scannedInspections(const Scan& scan, CommandContext& context) {
  for (const std::string_view option : {"--no-sizes", "--no-system", "--no-heuristics", "--depth", "--max-results"}) {
    refuseWithScan(context, option, "a scan has the inspections with all searches and sizes");
  }
  std::vector<AppInspection> inspections;
  for (ScannedApp& app : scan.apps(/*withInspections=*/true)) inspections.push_back(std::move(app.inspection));
  return inspections;
}

AppInspection scannedInspection(const Scan& scan, CommandContext& context) {
  const AppEntity app = selectApp(context, context.arguments().positionals.front());
  std::vector<AppInspection> inspections = scannedInspections(scan, context);
  const auto found = std::find_if(inspections.begin(), inspections.end(),
                                  [&](const AppInspection& inspection) { return inspection.app == app; });
  return std::move(*found);
}

}  // namespace

AppInspection inspectNamedApp(CommandContext& context, const FindSizes* sizes) {
  if (const Scan* scan = context.scan()) return scannedInspection(*scan, context);
  const AppInspectionService::Options options = optionsOf(context.arguments());
  const AppEntity app = selectApp(context, context.arguments().positionals.front());
  const auto phases = AppInspectionService::phaseSequence(options);
  std::size_t begun = 0;
  const auto showPhase = [&](AppInspectionService::Phase phase) {
    context.progress("inspecting " + app.name + ": " + std::string(wordFor(phase)) + " (" + std::to_string(++begun) +
                     "/" + std::to_string(phases.size()) + ")");
  };
  const Cancellation& cancellation = context.cancellation();
  const Services& services = context.services();
  AppInspection inspection =
      services.appInspection(sizes != nullptr ? sizes->calculator() : services.fileSizeCalculator, cancellation)
          .inspect(app, options, showPhase, cancellation);
  context.endProgress();
  return inspection;
}

void inspectAllApps(CommandContext& context, const FindSizes& sizes,
                    const std::function<void(const AppInspection&)>& consume) {
  if (const Scan* scan = context.scan()) {
    for (const AppInspection& inspection : scannedInspections(*scan, context)) consume(inspection);
    return;
  }
  const AppInspectionService::Options options = optionsOf(context.arguments());
  const std::vector<AppEntity> apps = context.services().appsService().discoverApps();
  const Cancellation& cancellation = context.cancellation();
  std::size_t done = 0;
  context.progress("inspecting " + std::to_string(apps.size()) + " apps");
  context.services()
      .appInspection(sizes.calculator(), cancellation)
      .inspectAll(
          apps, options,
          [&](const AppInspection& inspection) {
            context.progress("inspecting " + inspection.app.name + " (" + std::to_string(++done) + "/" +
                             std::to_string(apps.size()) + ")");
            consume(inspection);
          },
          cancellation);
  context.endProgress();
}

std::string appHeading(const AppEntity& app, CommandContext& context) {
  const std::string name = escapedForTerminal(app.name + (app.version ? " " + *app.version : ""));
  const std::string identifier = escapedForTerminal(app.bundleIdentifier.value_or("no bundle identifier"));
  return context.out().styled(name, Style::heading) + "  " + identifier + "\n" +
         context.out().styled(escapedForTerminal(context.displayPath(app.bundleURL)), Style::dim) + "\n";
}

Style styleOf(RiskLevel risk) {
  switch (risk) {
    case RiskLevel::safe: return Style::good;
    case RiskLevel::caution: return Style::warning;
    case RiskLevel::danger: return Style::danger;
  }
  return Style::plain;
}

std::vector<CleanupMode> selectingModes(const Artifact& artifact) {
  const AppInspection alone{.artifacts = {artifact}};
  std::vector<CleanupMode> modes;
  for (const CleanupMode mode : allCases<CleanupMode>()) {
    if (!AppRemovalPlanner::defaultSelectedArtifacts(alone, mode).empty()) modes.push_back(mode);
  }
  return modes;
}

}  // namespace quarn
