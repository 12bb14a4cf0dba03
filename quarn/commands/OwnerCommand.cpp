#include <fmt/format.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/OwnershipMaps.h"
#include "quarn/commands/PathArgument.h"
#include "quarn/terminal/TerminalText.h"
#include "quarn/wire/RecordJSON.h"

namespace quarn {
namespace {

/// An item and all that is known of whose it is.
struct Answer {
  Ownership ownership;
  std::vector<std::string> packages;     ///< that installed it
  std::optional<VendorPathHint> vendor;  ///< whose path it is in
  std::optional<StorageCategoryID> category;
};

std::optional<VendorPathHint> vendorOf(const FileURL& url, CommandContext& context) {
  for (const StorageCategoryID category : allCases<StorageCategoryID>()) {
    if (auto hint = context.services().vendorHints().hint(url, category)) return hint;
  }
  return std::nullopt;
}

std::optional<StorageCategoryID> categoryOf(const FileURL& url, CommandContext& context) {
  for (const StorageCategoryID category : allCases<StorageCategoryID>()) {
    for (const FileURL& root :
         context.services().storageDashboard().categoryRoots(category, /*includeDiscovered=*/false)) {
      if (root == url) return category;
    }
  }
  return std::nullopt;
}

nlohmann::ordered_json toDocument(const Answer& answer) {
  nlohmann::ordered_json json = toJSON(answer.ownership);
  json["packages"] = toJSON(answer.packages);
  json["vendor"] = answer.vendor ? nlohmann::ordered_json(answer.vendor->vendorName) : nlohmann::ordered_json();
  json["category"] = answer.category ? nlohmann::ordered_json(rawValue(*answer.category)) : nlohmann::ordered_json();
  return json;
}

std::string line(std::string_view name, const std::string& value) {
  return fmt::format("  {:<10} {}\n", name, escapedForTerminal(value));
}

std::string toText(const Answer& answer, CommandContext& context) {
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

}  // namespace

ExitCode runOwner(CommandContext& context) {
  std::vector<FileURL> urls;
  for (const std::string& word : context.arguments().positionals) {
    urls.push_back(context.services().files.standardized(pathArgument(word, context)));
    // A name that is not there has no owner: it is a mistake.
    (void)context.services().files.requireFacts(urls.back(), Links::doNotFollow);
  }
  const OwnershipMap map = mapOfVolume(context);
  const ReceiptSnapshot receipts = context.services().receiptScanner.snapshot();
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  std::string text;
  for (const FileURL& url : urls) {
    const Answer answer{.ownership = map.owners(url),
                        .packages = receipts.packageIDs(url.path()),
                        .vendor = vendorOf(url, context),
                        .category = categoryOf(url, context)};
    list.push_back(toDocument(answer));
    text += toText(answer, context);
  }
  if (context.wantsJSON()) {
    context.printDocument({{"items", std::move(list)}});
  } else if (context.wantsLines()) {
    context.printLines(list);
  } else {
    context.print(text);
  }
  return context.finish();
}

}  // namespace quarn
