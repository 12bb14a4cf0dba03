#include <limits>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "quarn/commands/CommandContext.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/HostFile.h"
#include "quarn/commands/Inspection.h"
#include "quarn/output/ReportPage.h"
#include "quarn/output/TerminalText.h"

namespace quarn {
namespace {

constexpr long kLargestItems = 50;

VolumeReport volumeReport(CommandContext& context) {
  const Services& services = context.services();
  const StorageDashboardService& dashboard = services.storageDashboard();
  VolumeReport report{.volume = dashboard.initialOverview().volume};
  context.progress("scanning the volume");
  const auto sizes = dashboard.calculatePartitionedCategorySizes(nullptr, context.cancellation());
  for (const auto& [category, size] : sizes) report.categories.push_back({category, size});
  context.progress("looking for the largest items");
  report.largest = services.topItems().topFilesRecursively({services.files.homeDirectory(), FileURL("/Applications")},
                                                           {.limit = kLargestItems,
                                                            .maxDepth = std::numeric_limits<long>::max(),
                                                            .maxVisited = std::numeric_limits<long>::max(),
                                                            .allowSlowForPackages = true,
                                                            .includeHidden = true},
                                                           context.cancellation());
  context.endProgress();
  report.unreadable = context.readReport().count();
  report.isComplete = !context.cancellation().isCancelled();
  return report;
}

AppReport appReport(CommandContext& context) {
  AppReport report{.inspection = inspectNamedApp(context)};
  for (const CleanupMode mode : allCases<CleanupMode>()) {
    report.plans.push_back(context.services().appRemovalPlanner.buildPreview(report.inspection, mode));
  }
  report.unreadable = context.readReport().count();
  return report;
}

}  // namespace

ExitCode runReport(CommandContext& context) {
  const std::optional<std::string> file = context.arguments().text("--output");
  if (!file) throw UsageError("report takes --output FILE: the page to write");
  const std::string& volume = context.services().files.hostFolder();
  if (volume != "/" && liesInHostFolder(*file, volume)) {
    throw CommandError(ExitCode::usage, "--output: " + escapedForTerminal(*file) + " lies on the inspected volume");
  }
  const bool isOfApp = !context.arguments().positionals.empty();
  const std::string page =
      isOfApp ? reportPage(appReport(context), context.units()) : reportPage(volumeReport(context), context.units());
  writeHostFile(*file, page);
  if (context.wantsJSON()) {
    context.printDocument({{"file", *file}, {"bytes", page.size()}});
  } else {
    context.print("Wrote " + escapedForTerminal(*file) + "\n");
  }
  return context.finish();
}

}  // namespace quarn
