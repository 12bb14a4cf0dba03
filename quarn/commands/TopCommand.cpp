#include <algorithm>
#include <iterator>
#include <limits>

#include <fmt/format.h>

#include "QuarnCore/folders/LargestItems.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/commands/BranchFacts.h"
#include "quarn/commands/Choices.h"
#include "quarn/commands/CommandContext.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/Filters.h"
#include "quarn/commands/Homes.h"
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
constexpr std::size_t kItemBarWidth = 16;

std::vector<FileURL> foldersToRank(CommandContext& context) {
  if (const std::optional<std::string> name = context.arguments().text("--category")) {
    const StorageCategoryID category = fromRawValue<StorageCategoryID>(*name).value();
    if (context.isOfAllUsers()) {
      return usersDashboard(context).topItemRoots(category, /*includeDiscovered=*/true, context.cancellation());
    }
    return context.services().storageDashboard().topItemRoots(category, /*includeDiscovered=*/true,
                                                              context.cancellation());
  }
  std::vector<FileURL> folders = folderArguments(context);
  return folders.empty() ? HomeFolders(homesOf(context), context.services().files).outermost() : folders;
}

// Folders of a category may be missing. A folder that the user names must exist.
std::vector<FileURL> existing(std::vector<FileURL> folders, const FileManager& files) {
  std::erase_if(folders, [&](const FileURL& url) { return !files.isDirectory(url); });
  return folders;
}

/// The filters of `top`, and what they ask of an item.
class TopFilters {
 public:
  explicit TopFilters(CommandContext& context) : filters(context, kUsualLimit), context_(context) {}

  RowFacts factsOf(const TopItem& item) {
    RowFacts facts{.name = item.name,
                   .bytes = item.size.allocatedBytes,
                   .urls = {item.url},
                   .modified = filters.modifiedAt(item.url),
                   .category = filters.category()};  // the folders that are searched are those of the category
    if (!filters.has(Filter::owner)) return facts;
    if (!branches_) branches_.emplace(context_, /*wantsOwners=*/true);
    facts.owners = branches_->owners(item.url);
    return facts;
  }
  [[nodiscard]] long limit() const { return filters.limit().value_or(kUsualLimit); }
  void apply(std::vector<TopItem>& items) {
    filters.apply(items, [this](const TopItem& item) { return factsOf(item); });
  }

  ListFilters filters;

 private:
  CommandContext& context_;
  std::optional<BranchFacts> branches_;
};

enum class Rank : std::uint8_t { disk, length };

Rank rankOf(const Arguments& arguments) { return arguments.text("--by") == "length" ? Rank::length : Rank::disk; }

std::int64_t rankedBytes(const TopItem& item, Rank rank) {
  return rank == Rank::disk ? item.size.allocatedBytes : largerCount(item.size);
}

// The services rank lists of one level by the larger of the two counts, so get the whole list and rank it here.
std::vector<TopItem> largestFirst(std::vector<TopItem> items, Rank rank) {
  std::stable_sort(items.begin(), items.end(), [&](const TopItem& left, const TopItem& right) {
    return rankedBytes(left, rank) > rankedBytes(right, rank);
  });
  return items;
}

std::vector<FileURL> scannedFolders(const Scan& scan, CommandContext& context) {
  if (const std::optional<std::string> name = context.arguments().text("--category")) {
    return scannedRoots(scan, fromRawValue<StorageCategoryID>(*name).value());
  }
  std::vector<FileURL> folders;
  for (const std::string& text : context.arguments().positionals) folders.push_back(scannedFolder(text, scan));
  return folders.empty() ? scannedHomes(scan) : folders;
}

// Counts the items that the folders have and the list does not.
void leaveOutTheRest(TopItemsService::Met met, const std::vector<TopItem>& items, ListFilters& filters) {
  for (const TopItem& item : items) {
    --met.items;
    met.size.allocatedBytes -= item.size.allocatedBytes;
  }
  filters.leaveOut({.rows = met.items, .bytes = met.size.allocatedBytes});
}

ScannedItems::Answer answerOf(const Scan& scan, long limit, TopItemsService::Met& met, CommandContext& context) {
  const Arguments& arguments = context.arguments();
  const ScannedItems items(scan);
  const bool hidden = !arguments.has("--no-hidden");
  const bool byDisk = rankOf(arguments) == Rank::disk;
  const std::vector<FileURL> folders = scannedFolders(scan, context);
  if (arguments.has("--children")) return items.topChildren(folders, limit, hidden, byDisk, &met);
  if (arguments.has("--files")) return items.topFiles(folders, limit, hidden, byDisk, &met);
  const TopItemsService::SearchOptions options{.limit = limit,
                                               .maxDepth = arguments.number("--depth", kNoLimit),
                                               .maxVisited = kNoLimit,
                                               .allowSlowForPackages = true,
                                               .includeHidden = hidden,
                                               .preferAllocatedSize = byDisk,
                                               .keepsZeroAllocation = true,
                                               .meetsItemsOnce = !arguments.positionals.empty(),
                                               .met = &met};
  return items.topFilesRecursively(arguments.has("--category") ? outermostOf(folders) : folders, options);
}

std::vector<TopItem> scannedItems(const Scan& scan, TopFilters& filters, CommandContext& context) {
  refuseWithScan(context, "--visits", "a scan has seen everything");
  refuseAgesWithScan(context, "when a package or folder itself changed");
  // A filter may leave out the largest ones.
  const long limit = filters.filters.chooses() ? kNoLimit : filters.limit();
  TopItemsService::Met met;
  std::vector<TopItem> items = heldItems(answerOf(scan, limit, met, context), scan, context);
  // A list that is not full ends because the scan has no further items.
  if (static_cast<long>(items.size()) >= limit) leaveOutTheRest(met, items, filters.filters);
  filters.filters.leaveOut({.isExact = scan.facts().keptAbove < 0});
  return items;
}

// Searches whole trees, keeps as many as are listed, and counts the rest.
std::vector<TopItem> itemsInTrees(const std::vector<FileURL>& folders, bool hidden, TopFilters& filters,
                                  CommandContext& context) {
  const Arguments& arguments = context.arguments();
  TopItemsService::Met met;
  std::vector<TopItem> items = context.services().topItems().topFilesRecursively(
      folders,
      {.limit = filters.limit(),
       .maxDepth = arguments.number("--depth", kNoLimit),
       .maxVisited = arguments.number("--visits", kNoLimit),
       .allowSlowForPackages = true,
       .includeHidden = hidden,
       .preferAllocatedSize = rankOf(arguments) == Rank::disk,
       .keepsZeroAllocation = true,
       .meetsItemsOnce = !arguments.positionals.empty(),
       .accepts = [&](const TopItem& item) { return filters.filters.accepts(filters.factsOf(item)); },
       .met = &met},
      context.cancellation());
  leaveOutTheRest(met, items, filters.filters);
  return items;
}

// A home folder that cannot be listed does not stop the lists of the other users. A folder that the user names
// must be readable.
template <class List>
std::vector<TopItem> eachReadable(const std::vector<FileURL>& folders, CommandContext& context, const List& list) {
  if (!context.isOfAllUsers() || !context.arguments().positionals.empty()) return list(folders);
  std::vector<TopItem> items;
  for (const FileURL& folder : folders) {
    try {
      std::vector<TopItem> inFolder = list({folder});
      std::move(inFolder.begin(), inFolder.end(), std::back_inserter(items));
    } catch (const FileError& error) {
      context.noteUnread(error);
    }
  }
  return items;
}

std::vector<TopItem> rankedItems(TopFilters& filters, CommandContext& context) {
  if (const Scan* scan = context.scan()) return scannedItems(*scan, filters, context);
  const Arguments& arguments = context.arguments();
  const TopItemsService& service = context.services().topItems();
  const Cancellation& cancellation = context.cancellation();
  const bool hidden = !arguments.has("--no-hidden");
  const Rank rank = rankOf(arguments);
  std::vector<FileURL> folders = foldersToRank(context);
  if (arguments.has("--category")) folders = existing(std::move(folders), context.services().files);
  if (arguments.has("--children")) {
    return largestFirst(eachReadable(folders, context,
                                     [&](const std::vector<FileURL>& in) {
                                       return service.children(in, /*allowSlow=*/true, hidden, cancellation);
                                     }),
                        rank);
  }
  if (arguments.has("--files")) {
    return largestFirst(eachReadable(folders, context,
                                     [&](const std::vector<FileURL>& in) {
                                       return service.topFiles(in, kNoLimit, hidden, cancellation);
                                     }),
                        rank);
  }
  // Folders that the user names are all searched: the search of an outer one may not reach the inner one, for example
  // in a package.
  if (arguments.has("--category")) folders = HomeFolders(folders, context.services().files).outermost();
  return itemsInTrees(folders, hidden, filters, context);
}

Table itemTable(const std::vector<TopItem>& items, const std::vector<std::string>& users, CommandContext& context) {
  const Rank rank = rankOf(context.arguments());
  std::int64_t most = 0;
  for (const TopItem& item : items) most = std::max(most, rankedBytes(item, rank));
  std::vector<Table::Column> columns{{.title = "ON DISK", .align = Table::Align::right},
                                     {.title = "LENGTH", .align = Table::Align::right},
                                     {.title = "", .barWidth = kItemBarWidth},
                                     {.title = "ITEM", .isFlexible = true}};
  if (!users.empty()) columns.insert(columns.begin(), kUserColumn);
  Table table(std::move(columns));
  for (std::size_t i = 0; i < items.size(); ++i) {
    const TopItem& item = items[i];
    std::vector<Table::Cell> cells{context.size(item.size.allocatedBytes), context.size(item.size.logicalBytes),
                                   shareOf(rankedBytes(item, rank), most), context.displayPath(item.url)};
    if (!users.empty()) cells.insert(cells.begin(), userCell(users[i]));
    table.addRow(std::move(cells));
  }
  return table;
}

// For all users, the user of each item.
std::vector<std::string> usersOf(const std::vector<TopItem>& items, CommandContext& context) {
  std::vector<std::string> users;
  if (!context.isOfAllUsers()) return users;
  const Scan* scan = context.scan();
  const HomeFolders homes = scan != nullptr ? scan->homes() : HomeFolders(homesOf(context), context.services().files);
  for (const TopItem& item : items) users.push_back(userOf(item.url, homes));
  return users;
}

ExitCode runTop(CommandContext& context) {
  TopFilters filters(context);
  std::vector<TopItem> items = rankedItems(filters, context);
  filters.apply(items);
  const std::vector<std::string> users = usersOf(items, context);
  nlohmann::ordered_json list = toJSON(items);
  for (std::size_t i = 0; i < users.size(); ++i) list[i]["user"] = userJSON(users[i]);
  showList(context, "items", list, itemTable(items, users, context), &filters.filters);
  return context.finish();
}

constexpr std::array kTopOptions =
    std::array{
        kScanOption,
        kAllUsersOption,
        OptionRow{.name = "--category",
                  .argument = "C",
                  .help = "Search the folders of a storage category",
                  .choices = kChoices<StorageCategoryID, StorageCategoryID::other>,
                  .excludes = "PATH"},
        OptionRow{.name = "--files", .help = "List files and packages directly in the folders"},
        OptionRow{.name = "--children",
                  .help = "List direct children of the folders, including folders",
                  .excludes = "--files"},
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
                  .help = "disk: space (default); length: the larger of both sizes",
                  .choices = "disk|length"},
        OptionRow{.name = "--limit", .argument = "N", .help = "List at most N items (default 20)", .isNumber = true},
    } +
    kFilters<Filter::minSize, Filter::olderThan, Filter::newerThan, Filter::exclude, Filter::owner, Filter::sort>;
constexpr std::array kTopExamples{
    ExampleRow{.line = "quarn top --category documents --limit 50", .meaning = "the largest of a storage category"},
    ExampleRow{.line = "quarn top --all-users", .meaning = "of all home folders, and whose they are"},
};
constexpr CommandRow kTopRow{.name = "top",
                             .summary = "List the largest items",
                             .positionals = kFolderPaths,
                             .options = kTopOptions,
                             .examples = kTopExamples,
                             .run = runTop,
                             .hasList = true};

}  // namespace

const CommandRow& topCommand() { return kTopRow; }

}  // namespace quarn
