#include <algorithm>
#include <array>
#include <chrono>
#include <string>
#include <unordered_set>
#include <utility>

#include "QuarnCore/ownership/Leftovers.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "QuarnPlatform/text/Text.h"
#include "QuarnSystem/AppDiscoveryClient.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/Inspection.h"
#include "quarn/commands/ListOutput.h"
#include "quarn/commands/OwnershipMaps.h"
#include "quarn/commands/ScanOption.h"
#include "quarn/terminal/Table.h"
#include "quarn/wire/RecordJSON.h"

namespace quarn {
namespace {

/// "90d": a count and a unit.
struct AgeUnit {
  char letter;
  int days;
};
constexpr std::array kAgeUnits{AgeUnit{.letter = 'd', .days = 1}, AgeUnit{.letter = 'w', .days = 7},
                               AgeUnit{.letter = 'm', .days = 30}, AgeUnit{.letter = 'y', .days = 365}};

std::chrono::days ageOf(const std::string& text) {
  const std::string digits = text.substr(0, text.empty() ? 0 : text.size() - 1);
  const bool isNumber = !digits.empty() && digits.size() <= 5 &&
                        std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; });
  for (const AgeUnit& unit : kAgeUnits) {
    if (isNumber && text.back() == unit.letter) return std::chrono::days(std::stoi(digits) * unit.days);
  }
  throw UsageError("--older-than: expected a number and d, w, m or y, as in 90d; got \"" + text + "\"");
}

// Every home folder to search; the selected one first.
std::vector<FileURL> homesOf(CommandContext& context) {
  const FileManager& files = context.services().files;
  std::vector<FileURL> homes{files.homeDirectory()};
  if (!context.arguments().has("--all-users")) return homes;
  for (const DirectoryEntry& entry : files.contentsOrNone(FileURL("/Users"), HiddenItems::skip)) {
    const bool isHome = entry.type == FileType::directory && files.isDirectory(entry.url.appending("Library"));
    if (isHome && entry.url.path() != homes.front().path()) homes.push_back(entry.url);
  }
  return homes;
}

// An app in the home folder of one user may have left files in /Library, where all users find them.
std::vector<AppEntity> appsOf(CommandContext& context, const std::vector<FileURL>& homes) {
  const Services& services = context.services();
  std::vector<AppEntity> apps = services.appsService().discoverApps();
  std::unordered_set<std::string> known;
  for (const AppEntity& app : apps) known.insert(app.bundleURL.path());
  for (const FileURL& home : homes) {
    const AppDiscoveryClient client = AppDiscoveryClient::live(services.files.withHome(home));
    for (AppEntity& app : client.discoverApplications()) {
      if (known.insert(app.bundleURL.path()).second) apps.push_back(std::move(app));
    }
  }
  return apps;
}

OwnershipMap mapOfHome(CommandContext& context, const std::vector<AppEntity>& apps, const FileURL& home) {
  const Services& services = context.services();
  const FileManager files = services.files.withHome(home);
  const OwnershipService service(services.vendorProfiles(), services.entitlementsReader, LaunchdScanner::live(files),
                                 services.receiptScanner, files);
  return service.map(
      apps, OwnershipService::kEverything,
      [&](std::string_view place) { context.progress("looking at " + std::string(place)); }, context.cancellation());
}

std::vector<Leftover> leftoversOf(CommandContext& context) {
  const Services& services = context.services();
  const std::vector<FileURL> homes = homesOf(context);
  const std::vector<AppEntity> apps = appsOf(context, homes);
  std::vector<Leftover> all;
  for (std::size_t i = 0; i < homes.size(); ++i) {
    const LeftoverOptions options{.computeSizes = context.arguments().has("--size"), .includeSystem = i == 0};
    addLeftovers(all, findLeftovers(mapOfHome(context, apps, homes[i]), options, services.files.withHome(homes[i]),
                                    services.fileSizeCalculator, context.cancellation()));
  }
  context.endProgress();
  return all;
}

// A scan has the sizes, and so the order of `--size`.
std::vector<Leftover> scannedLeftovers(const Scan& scan, CommandContext& context) {
  refuseWithScan(context, "--all-users", "a scan has the leftovers of one user");
  std::vector<Leftover> leftovers = scan.leftovers();
  if (context.arguments().has("--size")) return leftovers;
  for (Leftover& leftover : leftovers) {
    leftover.size.reset();
    for (LeftoverItem& item : leftover.items) item.size.reset();
  }
  std::stable_sort(leftovers.begin(), leftovers.end(), [](const Leftover& left, const Leftover& right) {
    return Text::localizedCaseInsensitiveCompare(left.owner.name, right.owner.name) < 0;
  });
  return leftovers;
}

// An app whose newest leftover is recent may still be in use, from another volume for example.
void keepOlder(std::vector<Leftover>& leftovers, std::chrono::days age) {
  const Date limit = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()) - age;
  std::erase_if(leftovers, [&](const Leftover& leftover) { return !leftover.modified || *leftover.modified > limit; });
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

ExitCode runLeftovers(CommandContext& context) {
  const auto age = context.arguments().text("--older-than");
  const auto days = age ? std::optional(ageOf(*age)) : std::nullopt;
  const Scan* scan = context.scan();
  std::vector<Leftover> leftovers = scan != nullptr ? scannedLeftovers(*scan, context) : leftoversOf(context);
  if (days) keepOlder(leftovers, *days);
  showList(context, "leftovers", toJSON(leftovers), tableOf(context, leftovers));
  return context.finish();
}

constexpr std::array kLeftoversOptions{
    kScanOption,
    OptionRow{.name = "--size", .help = "Size the leftovers, and list the largest first"},
    OptionRow{.name = "--older-than",
              .argument = "AGE",
              .help = "List only apps whose leftovers did not change for AGE: 90d, 12w, 6m or 2y"},
    OptionRow{.name = "--all-users", .help = "Search the home folders of all users of the volume"},
};
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
