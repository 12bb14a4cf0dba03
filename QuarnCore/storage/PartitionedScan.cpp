#include "QuarnCore/storage/PartitionedScan.h"

#include <algorithm>

#include "QuarnPlatform/files/ReadReport.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnSystem/DiagnosticsLogger.h"

namespace quarn {
namespace {

using Totals = PartitionedScan::Totals;

constexpr std::string_view kLogCategory = "StorageScan";

Totals sum(Totals left, const Totals& right) {
  for (std::size_t i = 0; i < left.size(); ++i) left[i] += right[i];
  return left;
}

}  // namespace

PartitionedScan::PartitionedScan(ScanPlan plan, ScanRules::Dictionary categoryByExtension, const FileManager& files)
    : plan_(std::move(plan)), rules_(plan_, std::move(categoryByExtension)), itemByItem_(rules_), files_(files) {}

Totals PartitionedScan::run(const std::function<void(const Totals&)>& onUpdate, const Cancellation& cancellation) {
  Totals totals{};
  TreeSizer::Options options{.hidden = HiddenItems::include,
                             .cancellation = cancellation,
                             .helperCount = TreeSizer::makeHelperCount(/*threads=*/0)};
  if (onUpdate) options.onProgress = [&](const Totals& ofRoot) { onUpdate(sum(totals, ofRoot)); };
  for (const ScanRoot& root : plan_.roots) {
    if (cancellation.isCancelled()) break;
    if (root.mode == ScanMode::enumerate) logStart(root);
    const Totals ofRoot = sizeRoot(root, options);
    totals = sum(totals, ofRoot);
    if (root.mode == ScanMode::fast) logSize(root, ofRoot);
    if (onUpdate) onUpdate(totals);
  }
  return totals;
}

Totals PartitionedScan::sizeRoot(const ScanRoot& root, const TreeSizer::Options& options) const {
  const std::optional<ItemFacts> facts = files_.facts(FileURL(root.location), Links::doNotFollow);
  const std::optional<StorageCategoryID> dictionary = rules_.dictionaryCategory(path::lastComponent(root.location));
  if (!facts || dictionary == StorageCategoryID::free) return {};
  const StorageCategoryID byPlace = rules_.longestRule(root.location).value_or(root.defaultCategory);
  const std::uint8_t bucket = bucketOf(dictionary.value_or(byPlace));
  if (facts->type == FileType::directory) return sizeFolder(root, dictionary.has_value(), bucket, options);
  Totals totals{};
  totals[bucket] = facts->sizes;
  return totals;
}

// A root that is a package or has an extension of the dictionary counts as one item in any mode.
Totals PartitionedScan::sizeFolder(const ScanRoot& root, bool isInDictionary, std::uint8_t bucket,
                                   const TreeSizer::Options& options) const {
  const FileURL folder(root.location, URLKind::directory);
  const bool isOneItem = isInDictionary || files_.isPackage(folder);
  const bool countsWhole = isOneItem || root.mode == ScanMode::fast;
  const Attribution::Step start{.node = rules_.find(root.location),
                                .bucket = countsWhole && !isOneItem ? bucketOf(root.defaultCategory) : bucket};
  const WholeAttribution whole(rules_, root.mode);
  const Attribution& attribution = countsWhole ? static_cast<const Attribution&>(whole) : itemByItem_;
  try {
    return TreeSizer::totals(files_, folder, attribution, start, options);
  } catch (const FileError& error) {
    if (ReadReport* report = files_.readReport()) report->add(error.path(), error.error());
    return {};
  }
}

std::size_t PartitionedScan::exclusionCount(const ScanRoot& root) const {
  const auto inside = std::count_if(plan_.roots.begin(), plan_.roots.end(), [&](const ScanRoot& other) {
    return other.location != root.location && path::isInside(other.location, root.location);
  });
  return static_cast<std::size_t>(inside) + (root.mode == ScanMode::fast ? plan_.fastExclusions.size() : 0);
}

void PartitionedScan::logStart(const ScanRoot& root) const {
  DiagnosticsLogger& logger = DiagnosticsLogger::shared();
  if (!logger.isEnabled()) return;
  logger.log(DiagnosticsLevel::trace, kLogCategory, "Enumerating root",
             {{"category", std::string(rawValue(root.defaultCategory))},
              {"root", root.path},
              {"includeHidden", "true"},
              {"allowSlow", "true"},
              {"exclusions", std::to_string(exclusionCount(root))}});
}

void PartitionedScan::logSize(const ScanRoot& root, const Totals& totals) const {
  DiagnosticsLogger& logger = DiagnosticsLogger::shared();
  if (!logger.isEnabled()) return;
  ByteCounts size;
  for (const ByteCounts& bucket : totals) size += bucket;
  logger.log(DiagnosticsLevel::trace, kLogCategory, "Fast root size",
             {{"category", std::string(rawValue(root.defaultCategory))},
              {"root", root.path},
              {"allocatedBytes", std::to_string(size.allocatedBytes)},
              {"logicalBytes", std::to_string(size.logicalBytes)},
              {"allowSlow", "true"},
              {"exclusions", std::to_string(exclusionCount(root))}});
}

}  // namespace quarn
