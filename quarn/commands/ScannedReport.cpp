#include "quarn/commands/ScannedReport.h"

#include <algorithm>
#include <limits>

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

std::int64_t onDisk(const TopItem& item) { return item.size.allocatedBytes; }
std::int64_t notOnDisk(const TopItem& item) { return item.size.logicalBytes - item.size.allocatedBytes; }

// Everything that the scan has, as the report on a volume orders it before it ranks.
std::vector<TopItem> heldCandidates(const Scan& scan) {
  constexpr long kMost = std::numeric_limits<long>::max();
  return ScannedItems(scan)
      .topFilesRecursively(
          {FileURL("/")},
          {.limit = kMost, .maxDepth = kMost, .maxVisited = kMost, .allowSlowForPackages = true, .includeHidden = true})
      .items;
}

/// The items with the highest rank. `isWhole` becomes false if files that the scan does not have could be among them:
/// their rank is at most `kept_above`.
std::vector<VolumeReport::Item> rankedItems(std::vector<TopItem> items, std::int64_t (*rank)(const TopItem&),
                                            std::int64_t keptAbove, const ScannedHints& hints, bool& isWhole) {
  const std::int64_t floor = std::max<std::int64_t>(keptAbove, 0);
  std::erase_if(items, [&](const TopItem& item) { return rank(item) <= floor; });
  std::stable_sort(items.begin(), items.end(),
                   [&](const TopItem& left, const TopItem& right) { return rank(left) > rank(right); });
  isWhole = isWhole && (keptAbove < 0 || items.size() >= kReportedItems);
  items.resize(std::min(items.size(), kReportedItems));
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
  const std::vector<TopItem> items = heldCandidates(scan);
  bool isWhole = true;
  report.largest = rankedItems(items, onDisk, facts.keptAbove, hints, isWhole);
  report.elsewhere = rankedItems(items, notOnDisk, facts.keptAbove, hints, isWhole);
  if (!isWhole) {
    context.warn("the scan has only files larger than " + context.size(facts.keptAbove) +
                 "; the lists of items end before smaller ones");
  }
  report.users = partsOf(scan);
  report.leftovers = scan.leftovers();
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
