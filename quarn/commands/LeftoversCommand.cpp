#include <algorithm>
#include <chrono>

#include "QuarnCore/ownership/Leftovers.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/ListOutput.h"
#include "quarn/commands/OwnershipMaps.h"
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
  throw UsageError("--older-than takes a number and d, w, m or y, as in 90d; got \"" + text + "\"");
}

// The homes that hold what apps leave; the volume's own first.
std::vector<FileURL> homes(CommandContext& context) {
  const FileManager& files = context.services().files;
  std::vector<FileURL> result{files.homeDirectory()};
  if (!context.arguments().has("--all-users")) return result;
  for (const DirectoryEntry& entry : files.contentsOrNone(FileURL("/Users"), HiddenItems::skip)) {
    const bool isHome = entry.type == FileType::directory && files.isDirectory(entry.url.appending("Library"));
    if (isHome && entry.url.path() != "/Users/Shared" && entry.url != result.front()) result.push_back(entry.url);
  }
  return result;
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
  const std::vector<AppEntity> apps = services.appsService().discoverApps();
  std::vector<Leftover> all;
  for (const FileURL& home : homes(context)) {
    const LeftoverOptions options{.computeSizes = context.arguments().has("--size"), .includeSystem = all.empty()};
    auto found = findLeftovers(mapOfHome(context, apps, home), options, services.files.withHome(home),
                               services.fileSizeCalculator, context.cancellation());
    std::move(found.begin(), found.end(), std::back_inserter(all));
  }
  context.endProgress();
  return all;
}

void keepOlder(std::vector<Leftover>& leftovers, const std::string& age) {
  const Date limit = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()) - ageOf(age);
  std::erase_if(leftovers, [&](const Leftover& leftover) { return !leftover.modified || *leftover.modified > limit; });
}

std::string dayOf(const std::optional<Date>& date) { return date ? toISO8601(*date).substr(0, 10) : "–"; }

}  // namespace

ExitCode runLeftovers(CommandContext& context) {
  const auto age = context.arguments().text("--older-than");
  if (age) (void)ageOf(*age);
  std::vector<Leftover> leftovers = leftoversOf(context);
  if (age) keepOlder(leftovers, *age);
  const bool isSized = context.arguments().has("--size");
  Table table({{.title = "FORMER APP", .isFlexible = true},
               {.title = "SIZE", .align = Table::Align::right},
               {.title = "CHANGED"},
               {.title = "RISK"},
               {.title = "PATH", .isFlexible = true}});
  for (const Leftover& leftover : leftovers) {
    for (const LeftoverItem& item : leftover.items) {
      table.addRow({leftover.owner.name,
                    isSized && item.size ? context.size(item.size->allocatedBytes) : "–",
                    dayOf(item.modified),
                    std::string(rawValue(item.riskLevel)),
                    {context.displayPath(item.url), Style::dim}});
    }
  }
  showList(context, "leftovers", toJSON(leftovers), table);
  return context.finish();
}

}  // namespace quarn
