#include <array>

#include <fmt/format.h>

#include "QuarnCore/ownership/ItemOwners.h"
#include "QuarnCore/scans/ScannedOwners.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/OwnershipMaps.h"
#include "quarn/commands/PathArgument.h"
#include "quarn/commands/ScanOption.h"
#include "quarn/terminal/OwnerText.h"
#include "quarn/terminal/TerminalText.h"
#include "quarn/wire/RecordJSON.h"

namespace quarn {
namespace {

std::string line(std::string_view name, const std::string& value) {
  return fmt::format("  {:<10} {}\n", name, escapedForTerminal(value));
}

std::string toText(const ItemOwnership& answer, CommandContext& context) {
  const Ownership& ownership = answer.ownership;
  std::string text =
      context.out().styled(escapedForTerminal(context.displayPath(ownership.url)), Style::heading) + "\n";
  text += line(rawValue(ownership.status), ownerText(ownership));
  if (!ownership.evidence.empty()) text += line("because", ownership.evidence);
  if (ownership.confidence > 0) text += line("sure", fmt::format("{:.2f}", ownership.confidence));
  if (!ownership.place.empty()) text += line("place", ownership.place);
  for (const OwnershipClaim& rival : ownership.rivals) {
    text += line("rival",
                 fmt::format("{} ({:.2f}): {}", rival.appName, rival.confidence, evidenceSentence(rival.evidence)));
  }
  for (const std::string& package : answer.packages) text += line("package", package);
  if (answer.vendor) text += line("vendor", answer.vendor->vendorName);
  if (answer.category) text += line("category", std::string(rawValue(*answer.category)));
  return text;
}

[[noreturn]] void refuseUnknownOwner(const ScannedOwners& owners, const FileURL& url) {
  const std::string item = escapedForTerminal(url.path());
  const std::optional<FileURL> entry = owners.entryAround(url.path());
  throw CommandError(ExitCode::notFound,
                     entry ? "the scan does not have the owner of " + item + ", but that of " +
                                 escapedForTerminal(entry->path()) + ", which contains it"
                           : "the scan does not have the owner of " + item + " (it has those of app-data folders)");
}

std::vector<ItemOwnership> scannedOwners(const Scan& scan, CommandContext& context) {
  const ScannedOwners owners(scan);
  std::vector<ItemOwnership> items;
  for (const std::string& word : context.arguments().positionals) {
    const std::string path = scannedURL(word, scan).path();
    const FileURL url(path, scan.folder(path) ? URLKind::directory : URLKind::item);
    std::optional<ItemOwnership> item = owners.of(url);
    if (!item) refuseUnknownOwner(owners, url);
    items.push_back(std::move(*item));
  }
  return items;
}

std::vector<ItemOwnership> ownersOnVolume(CommandContext& context) {
  const Services& services = context.services();
  std::vector<FileURL> urls;
  for (const std::string& word : context.arguments().positionals) {
    const FileURL url = services.files.standardized(pathArgument(word, context));
    // A missing item is probably a typing error.
    const bool isFolder = services.files.requireFacts(url, Links::doNotFollow).type == FileType::directory;
    urls.emplace_back(url.path(), isFolder ? URLKind::directory : URLKind::item);
  }
  const ItemOwners owners(mapOfVolume(context), services.receiptScanner.snapshot(), services.storageDashboard(),
                          context.cancellation());
  // A partial map would name wrong owners.
  if (context.isInterrupted()) throw CommandError(ExitCode::interrupted, "interrupted before the owners were found");
  std::vector<ItemOwnership> items;
  items.reserve(urls.size());
  for (const FileURL& url : urls) items.push_back(owners.of(url));
  return items;
}

ExitCode runOwner(CommandContext& context) {
  const Scan* scan = context.scan();
  const std::vector<ItemOwnership> items = scan != nullptr ? scannedOwners(*scan, context) : ownersOnVolume(context);
  if (context.wantsJSON()) {
    context.printDocument({{"items", toJSON(items)}});
  } else if (context.wantsLines()) {
    context.printLines(toJSON(items));
  } else {
    for (const ItemOwnership& item : items) context.print(toText(item, context));
  }
  return context.finish();
}

constexpr std::array kOwnerPositionals{
    PositionalRow{.name = "PATH", .help = "Item, a path on the Mac", .isRequired = true, .isRepeatable = true}};
constexpr std::array kOwnerOptions{kScanOption};
constexpr std::array kOwnerExamples{
    ExampleRow{.line = "quarn owner \"~/Library/Application Support/Lumen Notes\"",
               .meaning = "the owner of a folder, the evidence and the rivals"},
};
constexpr CommandRow kOwnerRow{
    .name = "owner",
    .summary = "Show which app owns an item",
    .description =
        "Compares the evidence for every installed app. The strongest evidence decides; apps with weaker evidence are "
        "rivals. A scan has the owners of the entries of app-data folders.",
    .positionals = kOwnerPositionals,
    .options = kOwnerOptions,
    .examples = kOwnerExamples,
    .run = runOwner,
    .hasList = true};

}  // namespace

const CommandRow& ownerCommand() { return kOwnerRow; }

}  // namespace quarn
