#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "QuarnCore/ownership/Leftovers.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "QuarnPlatform/text/Text.h"
#include "QuarnSystem/UnionSizes.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/Filters.h"
#include "quarn/commands/Finds.h"
#include "quarn/commands/Homes.h"
#include "quarn/commands/Inspection.h"
#include "quarn/commands/ListOutput.h"
#include "quarn/commands/OwnershipMaps.h"
#include "quarn/commands/ScanOption.h"
#include "quarn/terminal/Table.h"
#include "quarn/wire/RecordJSON.h"

namespace quarn {
namespace {

bool wantsSizes(const CommandContext& context) {
  const Arguments& arguments = context.arguments();
  return arguments.has("--size") || arguments.has("--min-size") ||
         arguments.text("--sort") == rawValue(ListOrder::size);
}

std::vector<Leftover> liveLeftovers(const FindSizes& sizes, CommandContext& context) {
  const bool hasSizes = wantsSizes(context);
  return findLeftovers(mapOfUsers(context), {.computeSizes = hasSizes}, context.services().files,
                       hasSizes ? sizes.calculator() : context.services().fileSizeCalculator, context.cancellation());
}

// A scan has the sizes, and so the order of `--size`.
std::vector<Leftover> scannedLeftovers(const Scan& scan, CommandContext& context) {
  std::vector<Leftover> leftovers = scan.leftovers();
  if (wantsSizes(context)) return leftovers;
  for (Leftover& leftover : leftovers) {
    leftover.size.reset();
    for (LeftoverItem& item : leftover.items) item.size.reset();
  }
  std::stable_sort(leftovers.begin(), leftovers.end(), [](const Leftover& left, const Leftover& right) {
    return Text::localizedCaseInsensitiveCompare(left.owner.name, right.owner.name) < 0;
  });
  return leftovers;
}

// By the newest file: an app whose leftovers changed lately may still be in use, from another volume for example.
RowFacts factsOf(const Leftover& leftover) {
  RowFacts facts{.name = leftover.owner.name, .modified = leftover.modified, .owners = {leftover.owner.name}};
  if (leftover.size) facts.bytes = leftover.size->allocatedBytes;
  if (leftover.owner.bundleIdentifier) facts.owners.push_back(*leftover.owner.bundleIdentifier);
  return facts;
}

// What is left of an app without the excluded items; nothing if all are.
void exclude(std::vector<Leftover>& leftovers, ListFilters& filters) {
  if (!filters.has(Filter::exclude)) return;
  for (Leftover& leftover : leftovers) {
    std::erase_if(leftover.items, [&](const LeftoverItem& item) {
      const bool isExcluded = filters.excludes(item.url);
      if (!isExcluded) return false;
      std::optional<std::int64_t> bytes;
      if (item.size) {
        bytes = item.size->allocatedBytes;
        leftover.size->allocatedBytes -= item.size->allocatedBytes;
        leftover.size->logicalBytes -= item.size->logicalBytes;
      }
      filters.leaveOut({.rows = 1, .bytes = bytes});
      return true;
    });
    leftover.modified.reset();
    for (const LeftoverItem& item : leftover.items) leftover.modified = std::max(leftover.modified, item.modified);
  }
  std::erase_if(leftovers, [](const Leftover& leftover) { return leftover.items.empty(); });
}

std::string dayOf(const std::optional<Date>& date) { return date ? toISO8601(*date).substr(0, 10) : "–"; }

Table tableOf(CommandContext& context, const std::vector<Leftover>& leftovers) {
  Table table({{.title = "FORMER APP", .isFlexible = true},
               {.title = "SIZE", .align = Table::Align::right},
               {.title = "CHANGED"},
               {.title = "RISK"},
               {.title = "PATH", .isFlexible = true}});
  for (const Leftover& leftover : leftovers) {
    for (const LeftoverItem& item : leftover.items) {
      table.addRow({leftover.owner.name,
                    item.size ? context.size(item.size->allocatedBytes) : "–",
                    dayOf(item.modified),
                    {std::string(rawValue(item.riskLevel)), styleOf(item.riskLevel)},
                    {context.displayPath(item.url), Style::dim}});
    }
  }
  return table;
}

ListForms formsOf(const std::vector<Leftover>& leftovers, CommandContext& context) {
  return {.json = [&] { return toJSON(leftovers); }, .table = [&] { return tableOf(context, leftovers); }};
}

UnionSize sumOf(const std::vector<Leftover>& leftovers, const FindSizes& sizes) {
  std::vector<FileURL> urls;
  for (const Leftover& leftover : leftovers) {
    for (const LeftoverItem& item : leftover.items) urls.push_back(item.url);
  }
  return sizes.together(urls);
}

// The sizes are known already. Looking each item up again would list the files of its folder for each of them.
UnionSize scannedSumOf(const std::vector<Leftover>& leftovers) {
  std::vector<std::string> paths;
  std::unordered_map<std::string, std::optional<SizeInfo>> sizes;
  for (const Leftover& leftover : leftovers) {
    for (const LeftoverItem& item : leftover.items) {
      paths.push_back(item.url.path());
      sizes.emplace(item.url.path(), item.size);
    }
  }
  return unionSize(std::move(paths), [&](const std::string& path) -> std::optional<SizedItem> {
    const std::optional<SizeInfo>& size = sizes.at(path);
    return size ? std::optional(SizedItem{.size = *size}) : std::nullopt;
  });
}

// With the sum of what is listed: space that other names hold stays when the leftovers go.
void showSized(CommandContext& context, const std::vector<Leftover>& leftovers, const ListFilters& filters,
               const FindSizes& sizes) {
  const UnionSize sum = context.scan() != nullptr ? scannedSumOf(leftovers) : sumOf(leftovers, sizes);
  // A scan does not know the other names of a file.
  const HiddenItems counted = context.scan() != nullptr ? HiddenItems::skip : HiddenItems::include;
  const nlohmann::ordered_json more{{"together", unionJSON(sum, counted)}};
  showList(context, "leftovers", formsOf(leftovers, context), &filters, &more);
  if (context.wantsJSON() || context.wantsLines() || leftovers.empty()) return;
  context.print("\nTogether: " + context.size(sum.size.allocatedBytes) + " on disk.\n" +
                unionNotes(sum, counted, context));
}

ExitCode runLeftovers(CommandContext& context) {
  ListFilters filters(context);
  const Scan* scan = context.scan();
  const FindSizes sizes(context, HiddenItems::include);
  std::vector<Leftover> leftovers = scan != nullptr ? scannedLeftovers(*scan, context) : liveLeftovers(sizes, context);
  exclude(leftovers, filters);
  filters.apply(leftovers, factsOf);
  if (wantsSizes(context)) {
    showSized(context, leftovers, filters, sizes);
  } else {
    showList(context, "leftovers", formsOf(leftovers, context), &filters);
  }
  return context.finish();
}

constexpr std::array kLeftoversOptions =
    std::array{
        kScanOption,
        OptionRow{.name = "--size", .help = "Size the leftovers, and list the largest first"},
        kAllUsersOption,
    } +
    kFilters<Filter::minSize, Filter::olderThan, Filter::newerThan, Filter::exclude, Filter::owner, Filter::sort,
             Filter::limit>;
constexpr std::array kLeftoversExamples{
    ExampleRow{.line = "quarn leftovers", .meaning = "the files of apps that are not installed"},
    ExampleRow{.line = "quarn leftovers --size --older-than 90d", .meaning = "only old leftovers, the largest first"},
};
constexpr CommandRow kLeftoversRow{
    .name = "leftovers",
    .summary = "List the files of apps that are not installed",
    .description =
        "Groups them by former owner. Never lists items of macOS, items that several apps share, and items with an "
        "unknown owner.",
    .positionals = {},
    .options = kLeftoversOptions,
    .examples = kLeftoversExamples,
    .run = runLeftovers,
    .hasList = true};

}  // namespace

const CommandRow& leftoversCommand() { return kLeftoversRow; }

}  // namespace quarn
