#include <algorithm>
#include <limits>

#include <fmt/format.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/commands/Choices.h"
#include "quarn/commands/CommandContext.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/ListOutput.h"
#include "quarn/commands/PathArgument.h"
#include "quarn/commands/ScanOption.h"
#include "quarn/report/Share.h"
#include "quarn/terminal/Table.h"
#include "quarn/terminal/TerminalText.h"
#include "quarn/wire/RecordJSON.h"

namespace quarn {
namespace {

constexpr long kUsualLimit = 20;
constexpr long kNoLimit = std::numeric_limits<long>::max();
constexpr std::size_t kFolderBarWidth = 16;

std::vector<FileURL> namedFolders(CommandContext& context) {
  std::vector<FileURL> folders;
  for (const std::string& text : context.arguments().positionals) folders.push_back(folderArgument(text, context));
  return folders;
}

std::vector<FileURL> foldersToRank(CommandContext& context) {
  if (const std::optional<std::string> name = context.arguments().text("--category")) {
    const StorageCategoryID category = fromRawValue<StorageCategoryID>(*name).value();
    return context.services().storageDashboard().topItemRoots(category, /*includeDiscovered=*/true,
                                                              context.cancellation());
  }
  std::vector<FileURL> folders = namedFolders(context);
  if (folders.empty()) folders.push_back(context.services().files.homeDirectory());
  return folders;
}

// Folders of a category may be missing. A folder that the user names must exist.
std::vector<FileURL> existing(std::vector<FileURL> folders, const FileManager& files) {
  std::erase_if(folders, [&](const FileURL& url) { return !files.isDirectory(url); });
  return folders;
}

enum class Rank : std::uint8_t { disk, length };

Rank rankOf(const Arguments& arguments) { return arguments.text("--by") == "length" ? Rank::length : Rank::disk; }

std::int64_t rankedBytes(const TopItem& item, Rank rank) {
  return rank == Rank::disk ? item.size.allocatedBytes : std::max(item.size.allocatedBytes, item.size.logicalBytes);
}

// The services rank lists of one level by the larger of the two counts, so get the whole list and rank it here.
std::vector<TopItem> largest(std::vector<TopItem> items, Rank rank, long limit) {
  std::stable_sort(items.begin(), items.end(), [&](const TopItem& left, const TopItem& right) {
    return rankedBytes(left, rank) > rankedBytes(right, rank);
  });
  if (static_cast<long>(items.size()) > limit) items.resize(static_cast<std::size_t>(limit));
  return items;
}

std::vector<FileURL> scannedFolders(const Scan& scan, CommandContext& context) {
  if (const std::optional<std::string> name = context.arguments().text("--category")) {
    return scannedRoots(scan, fromRawValue<StorageCategoryID>(*name).value());
  }
  std::vector<FileURL> folders;
  for (const std::string& text : context.arguments().positionals) folders.push_back(scannedFolder(text, scan));
  if (folders.empty()) folders.push_back(scan.facts().home);
  return folders;
}

std::vector<TopItem> scannedItems(const Scan& scan, CommandContext& context) {
  refuseWithScan(context, "--visits", "a scan has seen everything");
  const Arguments& arguments = context.arguments();
  const ScannedItems items(scan);
  const bool hidden = !arguments.has("--no-hidden");
  const bool byDisk = rankOf(arguments) == Rank::disk;
  const long limit = arguments.number("--limit", kUsualLimit);
  const std::vector<FileURL> folders = scannedFolders(scan, context);
  if (arguments.has("--children")) return heldItems(items.topChildren(folders, limit, hidden, byDisk), scan, context);
  if (arguments.has("--files")) return heldItems(items.topFiles(folders, limit, hidden, byDisk), scan, context);
  const TopItemsService::SearchOptions options{.limit = limit,
                                               .maxDepth = arguments.number("--depth", kNoLimit),
                                               .maxVisited = kNoLimit,
                                               .allowSlowForPackages = true,
                                               .includeHidden = hidden,
                                               .preferAllocatedSize = byDisk,
                                               .keepsZeroAllocation = true};
  return heldItems(items.topFilesRecursively(folders, options), scan, context);
}

std::vector<TopItem> rankedItems(CommandContext& context) {
  if (const Scan* scan = context.scan()) return scannedItems(*scan, context);
  const Arguments& arguments = context.arguments();
  const TopItemsService& service = context.services().topItems();
  const Cancellation& cancellation = context.cancellation();
  const bool hidden = !arguments.has("--no-hidden");
  const Rank rank = rankOf(arguments);
  const long limit = arguments.number("--limit", kUsualLimit);
  std::vector<FileURL> folders = foldersToRank(context);
  if (arguments.has("--category")) folders = existing(std::move(folders), context.services().files);
  if (arguments.has("--children")) {
    return largest(service.children(folders, /*allowSlow=*/true, hidden, cancellation), rank, limit);
  }
  if (arguments.has("--files")) return largest(service.topFiles(folders, kNoLimit, hidden, cancellation), rank, limit);
  return service.topFilesRecursively(folders,
                                     {.limit = limit,
                                      .maxDepth = arguments.number("--depth", kNoLimit),
                                      .maxVisited = arguments.number("--visits", kNoLimit),
                                      .allowSlowForPackages = true,
                                      .includeHidden = hidden,
                                      .preferAllocatedSize = rank == Rank::disk,
                                      .keepsZeroAllocation = true},
                                     cancellation);
}

std::vector<FileURL> cloudFolders(CommandContext& context) {
  std::vector<FileURL> folders = namedFolders(context);
  if (!folders.empty()) return folders;
  const StorageDashboardService& dashboard = context.services().storageDashboard();
  for (const FileURL& root :
       dashboard.categoryRoots(StorageCategoryID::documents, /*includeDiscovered=*/false, context.cancellation())) {
    if (dashboard.isCloudRoot(root) && context.services().files.isDirectory(root)) folders.push_back(root);
  }
  return folders;
}

ExitCode runTop(CommandContext& context) {
  const std::vector<TopItem> items = rankedItems(context);
  const Rank rank = rankOf(context.arguments());
  const std::int64_t most = items.empty() ? 0 : rankedBytes(items.front(), rank);
  Table table({{.title = "ON DISK", .align = Table::Align::right},
               {.title = "LENGTH", .align = Table::Align::right},
               {.title = "", .barWidth = kFolderBarWidth},
               {.title = "ITEM", .isFlexible = true}});
  for (const TopItem& item : items) {
    table.addRow({context.size(item.size.allocatedBytes), context.size(item.size.logicalBytes),
                  shareOf(rankedBytes(item, rank), most), context.displayPath(item.url)});
  }
  showList(context, "items", toJSON(items), table);
  return context.finish();
}

ExitCode runCloud(CommandContext& context) {
  const TopItemsService& service = context.services().topItems();
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  Table table({{.title = "LOCAL", .align = Table::Align::right},
               {.title = "ONLY IN CLOUD", .align = Table::Align::right},
               {.title = "ALL", .align = Table::Align::right},
               {.title = "LOCAL SHARE", .barWidth = kFolderBarWidth},
               {.title = "FOLDER", .isFlexible = true}});
  for (const FileURL& folder : cloudFolders(context)) {
    const CloudStorageSummary summary =
        service.cloudSummary({folder}, kNoLimit, kNoLimit, /*allowSlowForPackages=*/true, context.cancellation());
    // The figures of an interrupted folder would be too small, so drop it.
    if (context.isInterrupted()) break;
    nlohmann::ordered_json row{{"url", toJSON(folder)}};
    row.update(toJSON(summary));
    list.push_back(std::move(row));
    table.addRow({context.size(summary.localBytes), context.size(summary.cloudOnlyBytes),
                  context.size(checkedAdd(summary.localBytes, summary.cloudOnlyBytes)),
                  shareOf(summary.localBytes, checkedAdd(summary.localBytes, summary.cloudOnlyBytes)),
                  context.displayPath(folder)});
  }
  showList(context, "folders", list, table);
  return context.finish();
}

constexpr std::array kPaths{PositionalRow{.name = "PATH", .help = "Folder, a path on the Mac", .isRepeatable = true}};
constexpr std::array kTopOptions{
    kScanOption,
    OptionRow{.name = "--category",
              .argument = "C",
              .help = "Search the folders of a storage category",
              .choices = kChoices<StorageCategoryID, StorageCategoryID::other>,
              .excludes = "PATH"},
    OptionRow{.name = "--files", .help = "List files and packages directly in the folders"},
    OptionRow{
        .name = "--children", .help = "List direct children of the folders, including folders", .excludes = "--files"},
    OptionRow{.name = "--limit", .argument = "N", .help = "List at most N items (default 20)", .isNumber = true},
    OptionRow{.name = "--depth",
              .argument = "N",
              .help = "Search at most N levels deep (default no limit)",
              .isNumber = true,
              .excludes = "--files|--children"},
    OptionRow{.name = "--visits",
              .argument = "N",
              .help = "Visit at most N items (default no limit)",
              .isNumber = true,
              .excludes = "--files|--children"},
    OptionRow{.name = "--no-hidden", .help = "Leave out hidden items"},
    OptionRow{.name = "--by",
              .argument = "SIZE",
              .help = "disk: rank by space on disk (default); length: by the larger of space and length",
              .choices = "disk|length"},
};
constexpr std::array kTopExamples{
    ExampleRow{.line = "quarn top ~", .meaning = "the largest files of the home folder"},
    ExampleRow{.line = "quarn top --category documents --limit 50",
               .meaning = "the largest files of a storage category"},
    ExampleRow{.line = "quarn top / --children", .meaning = "the sizes of the top-level folders"},
};
constexpr CommandRow kTopRow{.name = "top",
                             .summary = "List the largest items",
                             .positionals = kPaths,
                             .options = kTopOptions,
                             .examples = kTopExamples,
                             .run = runTop,
                             .hasList = true};

constexpr std::array kCloudExamples{
    ExampleRow{.line = "quarn cloud", .meaning = "the cloud folders of the home folder"},
};
constexpr CommandRow kCloudRow{.name = "cloud",
                               .summary = "Show local and cloud-only bytes",
                               .description = "Without PATH, inspects the cloud folders of the user.",
                               .positionals = kPaths,
                               .examples = kCloudExamples,
                               .run = runCloud,
                               .hasList = true};

}  // namespace

const CommandRow& topCommand() { return kTopRow; }
const CommandRow& cloudCommand() { return kCloudRow; }

}  // namespace quarn
