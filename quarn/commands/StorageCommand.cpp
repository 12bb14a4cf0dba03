#include <algorithm>

#include <fmt/format.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/commands/Choices.h"
#include "quarn/commands/CommandContext.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/Filters.h"
#include "quarn/commands/Homes.h"
#include "quarn/commands/ListOutput.h"
#include "quarn/commands/ScanOption.h"
#include "quarn/commands/UserTable.h"
#include "quarn/report/Share.h"
#include "quarn/terminal/Table.h"
#include "quarn/terminal/TerminalText.h"
#include "quarn/wire/RecordJSON.h"

namespace quarn {
namespace {

using Sizes = StorageDashboardService::CategorySizes;

constexpr std::size_t kBarWidth = 24;
constexpr std::size_t kLiveBarWidth = 8;
constexpr std::array kStorageFilters = kFilters<Filter::minSize, Filter::exclude, Filter::sort, Filter::limit>;

std::int64_t allocatedSum(const Sizes& sizes) {
  std::int64_t sum = 0;
  for (const auto& [category, size] : sizes) sum = checkedAdd(sum, size.allocatedBytes);
  return sum;
}

// The bytes of files in the cloud that are not downloaded, and of the holes in sparse files.
std::int64_t notOnDisk(const SizeInfo& size) {
  return std::max<std::int64_t>(size.logicalBytes - size.allocatedBytes, 0);
}

// The progress line of a scan: a short bar per category.
std::string liveLine(const Sizes& sizes, CommandContext& context) {
  const std::int64_t sum = allocatedSum(sizes);
  std::string line = context.size(sum);
  for (const auto& [category, size] : sizes) {
    const double share = shareOf(size.allocatedBytes, sum);
    if (share < 0.01) continue;
    line += fmt::format("  {} {} {:.0f}%", rawValue(category), barText(share, kLiveBarWidth), share * 100);
  }
  return line;
}

using PartitionedRoots = std::vector<StorageDashboardService::PartitionedRoot>;

// One pass over the volume, root by root; with --all-users over all homes.
PartitionedRoots scan(const UsersDashboard& users, CommandContext& context) {
  const auto onUpdate = [&](const Sizes& soFar) { context.progress(liveLine(soFar, context)); };
  const auto onHome = [&](const FileURL& home) { context.progress("looking at " + home.path()); };
  PartitionedRoots roots =
      context.isOfAllUsers()
          ? users.calculatePartitionedRoots(onHome, onUpdate, context.cancellation())
          : context.services().storageDashboard().calculatePartitionedRoots(onUpdate, context.cancellation());
  context.endProgress();
  return roots;
}

/// What the overview shows: the volume and the categories of its bytes.
struct Overview {
  VolumeInfo volume{};
  /// False for a folder that is not a mounted volume. The totals in `volume` are then those of the disk that holds the
  /// folder, and say nothing about it.
  bool hasCapacity = true;
  Sizes sizes{};
  UserParts users{};  ///< with --all-users, what each user has of `sizes`
  bool isComplete = true;

  [[nodiscard]] std::int64_t attributedBytes() const { return allocatedSum(sizes); }
  [[nodiscard]] std::int64_t usedBytes() const {
    return hasCapacity ? std::max<std::int64_t>(volume.totalBytes - volume.freeBytes, 0) : attributedBytes();
  }
  [[nodiscard]] std::int64_t unattributedBytes() const {
    return std::max<std::int64_t>(usedBytes() - attributedBytes(), 0);
  }
};

std::string headline(const Overview& overview, CommandContext& context) {
  const std::string name = escapedForTerminal(overview.volume.name);
  if (!overview.hasCapacity) {
    return fmt::format("{}  {} in a folder, not a mounted volume\n\n", name, context.size(overview.usedBytes()));
  }
  return fmt::format("{}  {} of {} used, {} free\n\n", name, context.size(overview.usedBytes()),
                     context.size(overview.volume.totalBytes), context.size(overview.volume.freeBytes));
}

std::string overviewText(const Overview& overview, CommandContext& context) {
  const std::int64_t whole = std::max(overview.usedBytes(), overview.attributedBytes());
  std::string text = headline(overview, context);
  Table table({{.title = "CATEGORY"},
               {.title = "ON DISK", .align = Table::Align::right},
               {.title = "SHARE", .align = Table::Align::right},
               {.title = "", .barWidth = kBarWidth},
               {.title = "NOT ON DISK", .align = Table::Align::right}});
  for (const auto& [category, size] : overview.sizes) {
    const double share = shareOf(size.allocatedBytes, whole);
    table.addRow({std::string(rawValue(category)), context.size(size.allocatedBytes),
                  fmt::format("{:.1f} %", share * 100), share, context.size(notOnDisk(size))});
  }
  if (overview.hasCapacity) {
    const std::int64_t rest = overview.unattributedBytes();
    const double restShare = shareOf(rest, whole);
    table.addRow({{"unattributed", Style::dim},
                  {context.size(rest), Style::dim},
                  {fmt::format("{:.1f} %", restShare * 100), Style::dim},
                  {restShare, Style::dim}});
  }
  text += table.text(context.out()) + usersText(overview.users, whole, context);
  if (!overview.isComplete) text += "\nIncomplete: the scan was interrupted; these are the totals so far.\n";
  return text;
}

nlohmann::ordered_json overviewJSON(const Overview& overview) {
  nlohmann::ordered_json volume = toJSON(overview.volume);
  nlohmann::ordered_json unattributed;
  if (overview.hasCapacity) {
    unattributed = overview.unattributedBytes();
  } else {
    volume["totalBytes"] = volume["freeBytes"] = nullptr;
  }
  nlohmann::ordered_json document{{"volume", std::move(volume)}, {"categories", toJSON(overview.sizes)}};
  if (!overview.users.empty()) document["users"] = usersJSON(overview.users);
  document["unattributedBytes"] = std::move(unattributed);
  document["isComplete"] = overview.isComplete;
  return document;
}

Overview overviewOf(CommandContext& context) {
  Overview overview{.volume = context.services().storageDashboard().initialOverview().volume,
                    .hasCapacity = context.services().files.mount().isMountPoint};
  const UsersDashboard users = usersDashboard(context);
  UserParts parts = users.parts(scan(users, context));
  for (const UsersDashboard::Part& part : parts) {
    for (const auto& [category, size] : part.sizes) overview.sizes[category] += size;
  }
  if (context.isOfAllUsers()) overview.users = std::move(parts);
  return overview;
}

Overview scannedOverview(const Scan& scan) {
  Overview overview{.volume = scan.facts().volume, .hasCapacity = scan.facts().hasCapacity};
  for (const StorageCategory& category : scan.categories()) overview.sizes[category.id] = category.size;
  overview.users = partsOf(scan);
  return overview;
}

ExitCode showOverview(CommandContext& context) {
  const Scan* kept = context.scan();
  Overview overview = kept != nullptr ? scannedOverview(*kept) : overviewOf(context);
  overview.isComplete = !context.isInterrupted();
  if (context.wantsJSON()) {
    context.printDocument(overviewJSON(overview));
  } else if (context.wantsLines()) {
    for (const auto& [category, size] : overview.sizes) {
      nlohmann::ordered_json row{{"id", rawValue(category)}, {"size", toJSON(size)}};
      context.printLines(nlohmann::ordered_json::array({std::move(row)}));
    }
    context.printLines(usersJSON(overview.users));
  } else {
    context.print(overviewText(overview, context));
  }
  return context.finish();
}

struct SizedRoot {
  FileURL url{};
  std::optional<SizeInfo> size{};
  std::optional<VendorPathHint> hint{};
  std::string user{};  ///< with --all-users; empty for what no user has
};

// Largest first, items without a size last.
void sortBySize(std::vector<SizedRoot>& rows) {
  const auto onDisk = [](const SizedRoot& row) { return row.size ? row.size->allocatedBytes : -1; };
  std::stable_sort(rows.begin(), rows.end(),
                   [&](const SizedRoot& left, const SizedRoot& right) { return onDisk(left) > onDisk(right); });
}

// Of the overview, or of `--roots`.
std::vector<SizedRoot> scannedRoots(StorageCategoryID category, const Scan& scan, bool areListed) {
  std::vector<SizedRoot> rows;
  for (const ScannedRoot& root : scan.roots()) {
    if (root.category != category || root.isListed != areListed) continue;
    rows.push_back({.url = root.url, .size = root.size, .hint = root.hint});
    if (root.user) rows.back().user = userOf(scan.users()[*root.user].home);
  }
  return rows;
}

// The part of the category in each root of the whole volume's scan, so that the sum is the overview's total.
std::vector<SizedRoot> partitionedRoots(StorageCategoryID category, CommandContext& context) {
  const UsersDashboard users = usersDashboard(context);
  PartitionedRoots roots = scan(users, context);
  std::erase_if(roots, [&](const auto& root) { return root.sizes.at(category) == SizeInfo{}; });
  const std::vector<std::optional<VendorPathHint>> hints = users.hints(roots, category);
  std::vector<SizedRoot> rows;
  for (std::size_t i = 0; i < roots.size(); ++i) {
    const auto& [url, sizes, home] = roots[i];
    rows.push_back({.url = url,
                    .size = sizes.at(category),
                    .hint = hints[i],
                    .user = home ? userOf(users.homes().urls()[*home]) : ""});
  }
  return rows;
}

// The folders that the category lists, each with all that is in it, whatever its category.
std::vector<SizedRoot> listedRoots(StorageCategoryID category, CommandContext& context) {
  const StorageDashboardService& dashboard = context.services().storageDashboard();
  std::vector<SizedRoot> rows;
  for (const FileURL& root : dashboard.preciseRoots(category, context.cancellation())) {
    if (context.cancellation().isCancelled()) break;
    context.progress("sizing " + root.path());
    SizedRoot row{.url = root, .hint = dashboard.vendorHint(root, category)};
    try {
      row.size = dashboard.preciseSize(root, category, context.cancellation());
    } catch (const FileError& error) {
      context.noteUnread(error);
    }
    if (context.isInterrupted()) break;
    rows.push_back(std::move(row));
  }
  context.endProgress();
  return rows;
}

Table categoryTable(const std::vector<SizedRoot>& rows, const SizeInfo& total, CommandContext& context) {
  std::vector<Table::Column> columns{{.title = "ON DISK", .align = Table::Align::right},
                                     {.title = "LENGTH", .align = Table::Align::right},
                                     {.title = "", .barWidth = kBarWidth},
                                     {.title = "FOLDER", .isFlexible = true},
                                     {.title = "KNOWN AS", .isFlexible = true}};
  if (context.isOfAllUsers()) columns.insert(columns.begin(), kUserColumn);
  Table table(std::move(columns));
  for (const SizedRoot& row : rows) {
    const SizeInfo size = row.size.value_or(SizeInfo{});
    std::vector<Table::Cell> cells{row.size ? context.size(size.allocatedBytes) : "–",
                                   row.size ? context.size(size.logicalBytes) : "–",
                                   shareOf(size.allocatedBytes, total.allocatedBytes), context.displayPath(row.url),
                                   row.hint ? row.hint->vendorName + ": " + row.hint->artifactTitle : ""};
    if (context.isOfAllUsers()) cells.insert(cells.begin(), userCell(row.user));
    table.addRow(std::move(cells));
  }
  return table;
}

ExitCode showCategory(StorageCategoryID category, ListFilters& filters, CommandContext& context) {
  const Scan* kept = context.scan();
  const bool areListed = context.arguments().has("--roots");
  std::vector<SizedRoot> rows = kept != nullptr ? scannedRoots(category, *kept, areListed)
                                : areListed     ? listedRoots(category, context)
                                                : partitionedRoots(category, context);
  sortBySize(rows);
  SizeInfo total;
  for (const SizedRoot& row : rows) total += row.size.value_or(SizeInfo{});
  filters.apply(rows, [](const SizedRoot& row) {
    return RowFacts{.name = row.url.path(),
                    .bytes = row.size ? std::optional(row.size->allocatedBytes) : std::nullopt,
                    .urls = {row.url}};
  });
  const Table table = categoryTable(rows, total, context);
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const SizedRoot& row : rows) {
    list.push_back({{"url", toJSON(row.url)}, {"size", toJSON(row.size)}, {"hint", toJSON(row.hint)}});
    if (context.isOfAllUsers()) list.back()["user"] = userJSON(row.user);
  }
  const bool isComplete = !context.isInterrupted();
  if (context.wantsJSON()) {
    context.printDocument({{"category", rawValue(category)},
                           {"size", rows.empty() ? nlohmann::ordered_json() : toJSON(total)},
                           {"roots", std::move(list)},
                           {"leftOut", leftOutJSON(filters)},
                           {"isComplete", isComplete}});
  } else if (context.wantsLines()) {
    context.printLines(list);
  } else {
    context.print(fmt::format("{}  {} on disk, {} long\n\n", rawValue(category), context.size(total.allocatedBytes),
                              context.size(total.logicalBytes)));
    showTable(context, table, &filters);
  }
  return context.finish();
}

// The overview always has all categories.
void refuseFilters(const Arguments& arguments) {
  for (const OptionRow& filter : kStorageFilters) {
    if (arguments.has(filter.name)) throw UsageError(std::string(filter.name) + " requires a CATEGORY");
  }
}

ExitCode runStorage(CommandContext& context) {
  const std::vector<std::string>& words = context.arguments().positionals;
  if (words.empty() && context.arguments().has("--roots")) throw UsageError("--roots requires a CATEGORY");
  ListFilters filters(context);
  if (words.empty()) refuseFilters(context.arguments());
  if (words.empty()) return showOverview(context);
  return showCategory(fromRawValue<StorageCategoryID>(words.front()).value(), filters, context);
}

constexpr std::array kStoragePositionals{
    PositionalRow{.name = "CATEGORY",
                  .help = kChoiceList<StorageCategoryID, StorageCategoryID::other>,
                  .choices = kChoices<StorageCategoryID, StorageCategoryID::other>}};
constexpr std::array kStorageOptions =
    std::array{
        OptionRow{.name = "--roots",
                  .help = "Size the folders that CATEGORY lists, whatever category their items have",
                  .excludes = "--all-users"},
        kAllUsersOption,
        kScanOption,
    } +
    kStorageFilters;
constexpr std::array kStorageExamples{
    ExampleRow{.line = "quarn storage", .meaning = "every category"},
    ExampleRow{.line = "quarn storage development", .meaning = "one category, folder by folder"},
    ExampleRow{.line = "quarn storage --all-users", .meaning = "every category, and what each user has"},
};
constexpr CommandRow kStorageRow{
    .name = "storage",
    .summary = "Show where the disk's space goes",
    .description = "Every byte counts for at most one category. Ctrl-C stops the scan and prints the totals so far.",
    .positionals = kStoragePositionals,
    .options = kStorageOptions,
    .examples = kStorageExamples,
    .run = runStorage,
    .hasList = true};

}  // namespace

const CommandRow& storageCommand() { return kStorageRow; }

}  // namespace quarn
