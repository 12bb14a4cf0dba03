#include "quarn/commands/ScannedReport.h"

#include "QuarnCore/scans/ScannedItems.h"
#include "QuarnCore/scans/ScannedOwners.h"
#include "QuarnPlatform/resources/Localization.h"
#include "QuarnPlatform/resources/ResourceBundle.h"
#include "quarn/commands/BranchFacts.h"
#include "quarn/commands/FolderTree.h"
#include "quarn/commands/ReportPlaces.h"
#include "quarn/commands/ScanOption.h"
#include "quarn/commands/UserTable.h"

namespace quarn {
namespace {

std::int64_t byBytesOnDisk(const SizeInfo& size) { return size.allocatedBytes; }
std::int64_t byBytesElsewhere(const SizeInfo& size) { return size.logicalBytes - size.allocatedBytes; }

std::vector<VolumeReport::Item> withHints(std::vector<TopItem> items, const ScannedHints& hints) {
  std::vector<VolumeReport::Item> result;
  result.reserve(items.size());
  for (TopItem& item : items) {
    const std::optional<VendorPathHint> hint = hints.hint(item.url.path());
    result.push_back({std::move(item), hint});
  }
  return result;
}

}  // namespace

ScannedSentences::ScannedSentences(const std::string& scanFile) {
  const std::string locale = Scan::open(scanFile).facts().locale;
  const auto sentencesIn = [](const std::string& language) {
    useLocalization(language, ResourceBundle::shipped());
    std::vector<std::string> sentences;
    for (const OrphanKind kind : allCases<OrphanKind>()) sentences.push_back(orphanSentence(kind));
    return sentences;
  };
  const std::vector<std::string> english = sentencesIn("en");
  const std::vector<std::string> foreign = sentencesIn(locale);
  for (std::size_t i = 0; i < english.size(); ++i) english_.emplace(foreign[i], english[i]);
}

std::string ScannedSentences::english(const std::string& sentence) const {
  const auto found = english_.find(sentence);
  return found == english_.end() ? sentence : found->second;
}

VolumeReport scannedVolumeReport(const Scan& scan, const ScannedSentences& sentences, CommandContext& context) {
  const ScanFacts& facts = scan.facts();
  VolumeReport report{.volume = facts.volume, .hasCapacity = facts.hasCapacity, .categories = scan.categories()};
  const ScannedHints hints(scan);
  std::vector<ScannedItems::Answer> lists =
      ScannedItems(scan).largest({byBytesOnDisk, byBytesElsewhere}, kReportedItems);
  report.largest = withHints(std::move(lists[0].items), hints);
  report.elsewhere = withHints(std::move(lists[1].items), hints);
  if (!lists[0].isWhole || !lists[1].isWhole) {
    context.warn("the scan has only files larger than " + context.size(facts.keptAbove) +
                 "; the lists of items end before smaller ones");
  }
  report.users = partsOf(scan);
  report.leftovers = scan.leftovers(kReportedLeftovers);
  report.moreLeftovers = scan.leftoverCount() - report.leftovers.size();
  for (Leftover& leftover : report.leftovers) {
    for (LeftoverItem& item : leftover.items) item.evidence = sentences.english(item.evidence);
  }
  const BranchFacts branches(context, /*wantsOwners=*/true);
  report.places = reportPlaces(scan.roots(), scannedTree(FileURL("/"), scan),
                               [&](const FileURL& url) { return branches.app(url); });
  report.frame = {.units = context.units(),
                  .home = report.users.empty() ? facts.home : FileURL("/"),
                  .madeAt = facts.finishedAt,
                  .unread = context.unread()};
  return report;
}

}  // namespace quarn
