#include <algorithm>
#include <chrono>
#include <limits>
#include <memory>

#include <fmt/format.h>

#include "QuarnPlatform/files/HostFile.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "QuarnPlatform/text/Text.h"
#include "quarn/commands/BranchFacts.h"
#include "quarn/commands/CommandContext.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/Finds.h"
#include "quarn/commands/Homes.h"
#include "quarn/commands/HostOutput.h"
#include "quarn/commands/Inspection.h"
#include "quarn/commands/OwnershipMaps.h"
#include "quarn/commands/ReportPlaces.h"
#include "quarn/commands/ScanOption.h"
#include "quarn/commands/ScannedReport.h"
#include "quarn/report/ReportPage.h"
#include "quarn/terminal/TerminalText.h"

namespace quarn {
namespace {

// The service ranks by the larger of space and length; the report ranks by each of them.
constexpr long kCandidates = 20'000;

std::int64_t elsewhere(const TopItem& item) { return item.size.logicalBytes - item.size.allocatedBytes; }

std::vector<TopItem> candidates(CommandContext& context) {
  const Services& services = context.services();
  return services.topItems().topFilesRecursively({FileURL("/")},
                                                 {.limit = kCandidates,
                                                  .maxDepth = std::numeric_limits<long>::max(),
                                                  .maxVisited = std::numeric_limits<long>::max(),
                                                  .allowSlowForPackages = true,
                                                  .includeHidden = true},
                                                 context.cancellation());
}

// The items with the highest positive rank, as many as a report lists.
std::vector<VolumeReport::Item> ranked(std::vector<TopItem> items, std::int64_t (*rank)(const TopItem&),
                                       const UsersDashboard& users) {
  std::erase_if(items, [&](const TopItem& item) { return rank(item) <= 0; });
  std::stable_sort(items.begin(), items.end(),
                   [&](const TopItem& left, const TopItem& right) { return rank(left) > rank(right); });
  items.resize(std::min(items.size(), kReportedItems));
  std::vector<FileURL> urls;
  urls.reserve(items.size());
  for (const TopItem& item : items) urls.push_back(item.url);
  const std::vector<std::optional<VendorPathHint>> hints = users.hints(urls);
  std::vector<VolumeReport::Item> result;
  for (std::size_t i = 0; i < items.size(); ++i) result.push_back({items[i], hints[i]});
  return result;
}

// Call this last: only then are all unread items known.
ReportFrame frame(CommandContext& context, Date madeAt) {
  return {.units = context.units(),
          .home = context.isOfAllUsers() ? FileURL("/") : context.services().files.homeDirectory(),
          .madeAt = madeAt,
          .unread = context.unread()};
}

// The categories, and what fills them, from one pass over the volume.
void readCategories(VolumeReport& report, const UsersDashboard& users, const BranchFacts& facts,
                    CommandContext& context) {
  const StorageDashboardService& dashboard = context.services().storageDashboard();
  context.progress("scanning the volume");
  const auto folders = std::make_shared<RecordedFolders>();
  const auto counted = context.isOfAllUsers()
                           ? users.calculatePartitionedRoots(nullptr, nullptr, context.cancellation(), folders.get())
                           : dashboard.calculatePartitionedRoots(nullptr, context.cancellation(), folders.get());
  folders->finish();
  if (context.isOfAllUsers()) report.users = users.parts(counted);
  report.categories = dashboard.initialOverview().categories;
  std::vector<ScannedRoot> roots;
  for (StorageCategory& category : report.categories) {
    for (const auto& root : counted) {
      category.size += root.sizes.at(category.id);
      roots.push_back({.category = category.id, .url = root.url, .size = root.sizes.at(category.id)});
    }
  }
  report.places = reportPlaces(roots, recordedTree(folders), [&](const FileURL& url) { return facts.app(url); });
}

VolumeReport volumeReport(CommandContext& context) {
  const StorageDashboardService& dashboard = context.services().storageDashboard();
  VolumeReport report{.volume = dashboard.initialOverview().volume,
                      .hasCapacity = context.services().files.mount().isMountPoint};
  const UsersDashboard users = usersDashboard(context);
  const BranchFacts facts(context, /*wantsOwners=*/true);
  readCategories(report, users, facts, context);
  context.progress("looking for the largest items");
  const std::vector<TopItem> items = candidates(context);
  report.largest = ranked(
      items, [](const TopItem& item) { return item.size.allocatedBytes; }, users);
  report.elsewhere = ranked(items, elsewhere, users);
  context.progress("looking for leftovers");
  const FileSizeCalculator& calculator = context.services().fileSizeCalculator;
  if (facts.map()) {
    report.leftovers = findLeftovers(*facts.map(), {.computeSizes = true}, context.services().files, calculator,
                                     context.cancellation());
  }
  context.endProgress();
  report.isComplete = !context.isInterrupted();
  report.frame = frame(context, std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()));
  return report;
}

AppReport appReport(CommandContext& context) {
  const FindSizes sizes(context, HiddenItems::skip);
  AppReport report{.inspection = inspectNamedApp(context, &sizes)};
  report.together = sizes.together(report.inspection.artifacts).size;
  for (const Artifact& artifact : report.inspection.artifacts) report.selectedBy.push_back(selectingModes(artifact));
  for (const CleanupMode mode : allCases<CleanupMode>()) {
    report.plans.push_back(context.services().appRemovalPlanner.buildPreview(report.inspection, mode));
  }
  if (!context.isInterrupted()) report.ownership = compareWithMap(report.inspection, mapOfVolume(context));
  report.isComplete = !context.isInterrupted();
  report.frame = frame(context, report.inspection.inspectedAt);
  return report;
}

// The scans are open before the process confines itself.
VolumeReport reportOfScan(const std::optional<Scan>& since, CommandContext& context) {
  const ScannedSentences sentences(*context.arguments().text("--scan"));
  const Scan& scan = *context.scan();
  VolumeReport report = scannedVolumeReport(scan, sentences, context);
  if (since) warnIfUsersDiffer(*since, scan, context);
  if (since) report.changes = compareScans(*since, scan, kUsualSmallestChange, context.cancellation());
  return report;
}

// Checked before anything is read.
std::optional<Scan> scanToCompare(const Arguments& arguments) {
  const bool isOfApp = !arguments.positionals.empty();
  if (isOfApp && arguments.has("--scan")) {
    throw UsageError("report APP cannot be combined with --scan: a scan has no removal plans");
  }
  const std::optional<std::string> file = arguments.text("--since");
  if (!file) return std::nullopt;
  if (!arguments.has("--scan")) throw UsageError("--since requires --scan FILE: the later of the two scans");
  return Scan::open(*file);
}

std::string pageOf(CommandContext& context) {
  const std::optional<Scan> since = scanToCompare(context.arguments());
  if (context.arguments().has("--scan")) return reportPage(reportOfScan(since, context));
  const bool isOfApp = !context.arguments().positionals.empty();
  return isOfApp ? reportPage(appReport(context)) : reportPage(volumeReport(context));
}

ExitCode finishPage(CommandContext& context) {
  if (context.isInterrupted()) context.warn("interrupted: the report is incomplete, and says so");
  return context.finish();
}

ExitCode writeToStandardOutput(CommandContext& context) {
  if (context.wantsJSON())
    throw UsageError("--output: \"-\" cannot be combined with --json: both write to standard output");
  context.print(pageOf(context));
  return finishPage(context);
}

// Check this first: reading the volume may take minutes.
void refuseBadPlace(const std::string& file, const std::string& volumeFolder) {
  refuseOnVolume("--output", file, volumeFolder);
  checkHostFile(file);
}

ExitCode runReport(CommandContext& context) {
  const std::optional<std::string> file = context.arguments().text("--output");
  if (!file || file->empty()) throw UsageError("report requires --output FILE: the HTML file to write");
  if (*file == "-") return writeToStandardOutput(context);
  if (context.arguments().has("--scan")) {
    checkHostFile(*file);
  } else {
    refuseBadPlace(*file, context.services().files.hostFolder());
  }
  const std::string page = pageOf(context);
  writeHostFile(*file, page);
  if (context.wantsJSON()) {
    context.printDocument({{"file", Text::validUTF8(*file)}, {"bytes", page.size()}});
  } else {
    context.print("Wrote " + escapedForTerminal(*file) + "\n");
  }
  return finishPage(context);
}

constexpr std::array kReportPositionals{PositionalRow{.name = "APP", .help = "Report on this app, not on the volume"}};
constexpr std::array kReportOptions{
    kScanOption,
    OptionRow{.name = kAllUsersOption.name,
              .help = "Report on the home folders of all users of the volume",
              .excludes = "--home|APP"},
    OptionRow{.name = "--since",
              .argument = "OLD",
              .help = "With --scan: also report what changed since the scan OLD",
              .isHostPath = true},
    OptionRow{.name = "--output",
              .argument = "FILE",
              .help = "Write to FILE, which must not be on the inspected volume; - is standard output",
              .shortName = "-o",
              .isHostPath = true},
};
constexpr std::array kReportExamples{
    ExampleRow{.line = "quarn report -o storage.html", .meaning = "a report on the space of the volume"},
    ExampleRow{.line = "quarn report \"Lumen Notes\" -o notes.html",
               .meaning = "a report on an app and its cleanup plans"},
    ExampleRow{.line = "quarn scan -o monday.quarn", .meaning = "keep a scan"},
    ExampleRow{.line = "quarn scan -o friday.quarn", .meaning = "keep another one later"},
    ExampleRow{.line = "quarn report --scan friday.quarn --since monday.quarn -o week.html",
               .meaning = "a report from a scan, with what changed since another one"},
};
constexpr CommandRow kReportRow{
    .name = "report",
    .summary = "Write an HTML report",
    .description = "The report is one self-contained HTML file in English, without scripts. It uses no network.",
    .positionals = kReportPositionals,
    .options = kReportOptions,
    .examples = kReportExamples,
    .run = runReport,
    .isInEnglish = true};

}  // namespace

const CommandRow& reportCommand() { return kReportRow; }

}  // namespace quarn
