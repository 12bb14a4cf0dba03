#include "QuarnCore/storage/PartitionedScan.h"

#include <chrono>
#include <string>

#include "QuarnPlatform/base/Pace.h"
#include "QuarnPlatform/files/ReadReport.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnSystem/DiagnosticsLogger.h"

namespace quarn {
namespace {

using Totals = PartitionedScan::Totals;

constexpr std::string_view kLogCategory = "StorageScan";

std::string flagText(bool flag) { return flag ? "true" : "false"; }

Totals sum(Totals left, const Totals& right) {
  for (std::size_t i = 0; i < left.size(); ++i) left[i] += right[i];
  return left;
}

// Forwards totals at most once per interval, because a volume may have thousands of roots and a client may redraw on
// every update.
class ThrottledUpdates {
 public:
  ThrottledUpdates(const std::function<void(const Totals&)>& onUpdate, std::chrono::milliseconds interval)
      : onUpdate_(onUpdate), pace_(interval) {}

  [[nodiscard]] bool areWanted() const { return static_cast<bool>(onUpdate_); }
  void offer(const Totals& totals) {
    if (areWanted()) pace_.offer([&] { onUpdate_(totals); });
  }
  void finish(const Totals& totals) const {
    if (areWanted()) onUpdate_(totals);
  }

 private:
  const std::function<void(const Totals&)>& onUpdate_;
  Pace pace_;
};

}  // namespace

PartitionedScan::PartitionedScan(ScanPlan plan, ScanRules::Dictionary categoryByExtension, const FileManager& files)
    : plan_(std::move(plan)), rules_(plan_, std::move(categoryByExtension)), itemByItem_(rules_), files_(files) {}

Totals PartitionedScan::run(const Observers& observers, const Cancellation& cancellation,
                            std::chrono::milliseconds interval) {
  recorded_ = observers.recorded;
  Totals totals{};
  ThrottledUpdates updates(observers.onUpdate, interval);
  TreeSizer::Options options{
      .cancellation = cancellation, .interval = interval, .helperCount = TreeSizer::makeHelperCount(/*threads=*/0)};
  if (updates.areWanted()) options.onProgress = [&](const Totals& ofRoot) { updates.offer(sum(totals, ofRoot)); };
  if (recorded_ != nullptr) placeRoots();
  if (recorded_ != nullptr && !rules_.isRoot(ScanRules::Trie::kRoot)) recordRest("/", options);
  for (const ScanRoot& root : plan_.roots) {
    if (cancellation.isCancelled()) break;
    if (!root.mode.isFast()) logStart(root);
    options.hidden = root.mode.includeHidden ? HiddenItems::include : HiddenItems::skip;
    const Totals ofRoot = sizeRoot(root, options);
    totals = sum(totals, ofRoot);
    if (root.mode.isFast()) logSize(root, ofRoot);
    if (observers.onRoot) observers.onRoot(root, ofRoot);
    updates.offer(totals);
  }
  updates.finish(totals);
  return totals;
}

Totals PartitionedScan::sizeRoot(const ScanRoot& root, const TreeSizer::Options& options) const {
  const std::optional<ItemFacts> facts = files_.facts(FileURL(root.location), Links::doNotFollow);
  const std::optional<StorageCategoryID> dictionary = rules_.dictionaryCategory(path::lastComponent(root.location));
  if (!facts) return {};
  if (recorded_ != nullptr && facts->type == FileType::regular) {
    recorded_->addFile(root.location, facts->sizes, facts->modifiedSeconds);
  }
  if (dictionary == StorageCategoryID::free) {
    if (recorded_ != nullptr && facts->type == FileType::directory) recordRest(root.location, options);
    return {};
  }
  const StorageCategoryID byPlace = rules_.longestRule(root.location, root.home).value_or(root.defaultCategory);
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
  const bool countsWhole = isOneItem || root.mode.isFast();
  if (root.mode.isFast() && !root.mode.allowSlow) return {};
  const Attribution::Step start{.node = rules_.find(root.location),
                                .bucket = countsWhole && !isOneItem ? bucketOf(root.defaultCategory) : bucket};
  const WholeAttribution whole(rules_, root.mode.kind);
  const Attribution& attribution = countsWhole ? static_cast<const Attribution&>(whole) : itemByItem_;
  return walk(root.location, attribution, start, options);
}

void PartitionedScan::placeRoots() {
  for (const ScanRoot& root : plan_.roots) {
    const bool isFolder = files_.isDirectory(FileURL(root.location));
    recorded_->place(isFolder ? root.location : path::parent(root.location), files_);
  }
}

// Counts for no category. Progress shows categories only.
void PartitionedScan::recordRest(const std::string& location, TreeSizer::Options options) const {
  const WholeAttribution whole(rules_, ScanMode::Kind::enumerate);
  options.onProgress = nullptr;
  walk(location, whole, RecordedAttribution::restAt(rules_.find(location)), options);
}

Totals PartitionedScan::walk(const std::string& location, const Attribution& attribution,
                             const Attribution::Step& start, TreeSizer::Options options) const {
  const FileURL folder(location, URLKind::directory);
  const RecordedAttribution everything(attribution, rules_);
  if (recorded_ != nullptr) {
    options.observer = recorded_;
    options.observedRoot = recorded_->place(location, files_);
  }
  try {
    return TreeSizer::totals(files_, folder, recorded_ != nullptr ? everything : attribution, start, options);
  } catch (const FileError& error) {
    if (ReadReport* report = files_.readReport()) report->add(error.path(), error.error());
    return {};
  }
}

void PartitionedScan::logStart(const ScanRoot& root) const {
  DiagnosticsLogger& logger = DiagnosticsLogger::shared();
  if (!logger.isEnabled()) return;
  logger.log(DiagnosticsLevel::trace, kLogCategory, "Enumerating root",
             {{"category", std::string(rawValue(root.defaultCategory))},
              {"root", root.path},
              {"includeHidden", flagText(root.mode.includeHidden)},
              {"allowSlow", flagText(root.mode.allowSlow)},
              {"exclusions", std::to_string(root.exclusions.size())}});
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
              {"allowSlow", flagText(root.mode.allowSlow)},
              {"exclusions", std::to_string(root.exclusions.size())}});
}

}  // namespace quarn
