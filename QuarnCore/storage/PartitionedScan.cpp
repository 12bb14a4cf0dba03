#include "QuarnCore/storage/PartitionedScan.h"

#include <chrono>
#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <vector>

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

void reportUnreadable(const std::vector<TreeSizer::TreeTotals>& found, const FileManager& files) {
  if (files.readReport() == nullptr) return;
  for (const TreeSizer::TreeTotals& tree : found) {
    if (tree.error) files.readReport()->add(tree.error->path(), tree.error->error());
  }
}

}  // namespace

/// What is known of the roots before the walk, and the trees that it walks.
struct PartitionedScan::Walks {
  struct Root {
    const ScanRoot* root;
    Totals ofFile{};                    // of a root that is a file
    std::optional<std::size_t> tree{};  // of one that is a folder
  };

  std::vector<Root> roots{};
  std::vector<TreeSizer::Tree> trees{};
  std::deque<RecordedAttribution> recorded{};  // those of the trees of a recorded scan
};

PartitionedScan::PartitionedScan(ScanPlan plan, ExtensionCategories::Dictionary categoryByExtension,
                                 const FileManager& files)
    : plan_(std::move(plan)),
      rules_(plan_, std::move(categoryByExtension)),
      itemByItem_(rules_),
      whole_(rules_, ScanMode::Kind::enumerate),
      wholeOfFast_(rules_, ScanMode::Kind::fast),
      files_(files) {}

Totals PartitionedScan::run(const Observers& observers, const Cancellation& cancellation,
                            std::chrono::milliseconds interval) {
  recorded_ = observers.recorded;
  const Walks walks = planWalks(cancellation);
  Totals ofFiles{};
  for (const Walks::Root& root : walks.roots) ofFiles = sum(ofFiles, root.ofFile);
  ThrottledUpdates updates(observers.onUpdate, interval);
  TreeSizer::Options options{
      .cancellation = cancellation, .interval = interval, .observer = recorded_, .kept = plan_.kept.get()};
  if (updates.areWanted()) options.onProgress = [&](const Totals& soFar) { updates.offer(sum(ofFiles, soFar)); };
  const std::vector<TreeSizer::TreeTotals> found = TreeSizer::totals(files_, walks.trees, options);
  reportUnreadable(found, files_);
  Totals totals{};
  for (const Walks::Root& root : walks.roots) {
    if (root.tree && !found[*root.tree].isStarted) continue;
    const Totals& ofRoot = root.tree ? found[*root.tree].totals : root.ofFile;
    totals = sum(totals, ofRoot);
    if (root.root->mode.isFast()) logSize(*root.root, ofRoot);
    if (observers.onRoot) observers.onRoot(*root.root, ofRoot);
  }
  updates.finish(totals);
  return totals;
}

PartitionedScan::Walks PartitionedScan::planWalks(const Cancellation& cancellation) const {
  Walks walks;
  if (recorded_ != nullptr) {
    placeRoots();
    if (!rules_.isRoot(ScanRules::Trie::kRoot)) planRest("/", walks);
  }
  for (const ScanRoot& root : plan_.roots) {
    if (cancellation.isCancelled()) break;
    if (!root.mode.isFast()) logStart(root);
    walks.roots.push_back({.root = &root});
    planRoot(root, walks);
  }
  return walks;
}

void PartitionedScan::planRoot(const ScanRoot& root, Walks& walks) const {
  const std::optional<ItemFacts> facts = files_.facts(FileURL(root.location), Links::doNotFollow);
  const std::optional<StorageCategoryID> dictionary = rules_.dictionaryCategory(path::lastComponent(root.location));
  if (!facts) return;
  if (recorded_ != nullptr && facts->type == FileType::regular) {
    recorded_->addFile(root.location, facts->sizes, facts->modifiedSeconds);
  }
  if (dictionary == StorageCategoryID::free) {
    if (recorded_ != nullptr && facts->type == FileType::directory) planRest(root.location, walks);
    return;
  }
  const StorageCategoryID byPlace = rules_.longestRule(root.location, root.home).value_or(root.defaultCategory);
  const std::uint8_t bucket = bucketOf(dictionary.value_or(byPlace));
  if (facts->type == FileType::directory) {
    planFolder(root, dictionary.has_value(), bucket, walks);
  } else {
    walks.roots.back().ofFile[bucket] = facts->sizes;
  }
}

// A root that is a package or has an extension of the dictionary counts as one item in any mode.
void PartitionedScan::planFolder(const ScanRoot& root, bool isInDictionary, std::uint8_t bucket, Walks& walks) const {
  const bool isFast = root.mode.isFast();
  const bool isOneItem = isInDictionary || files_.isPackage(FileURL(root.location, URLKind::directory));
  if (isFast && !root.mode.allowSlow) return;
  const Attribution::Step start{.node = rules_.find(root.location),
                                .bucket = isFast && !isOneItem ? bucketOf(root.defaultCategory) : bucket};
  const Attribution& asWhole = isFast ? wholeOfFast_ : whole_;
  walks.roots.back().tree = walks.trees.size();
  planTree(root.location, isOneItem || isFast ? asWhole : itemByItem_, start,
           root.mode.includeHidden ? HiddenItems::include : HiddenItems::skip, walks);
}

void PartitionedScan::placeRoots() const {
  for (const ScanRoot& root : plan_.roots) {
    const bool isFolder = files_.isDirectory(FileURL(root.location));
    recorded_->place(isFolder ? root.location : path::parent(root.location), files_);
  }
}

// Counts for no category.
void PartitionedScan::planRest(const std::string& location, Walks& walks) const {
  planTree(location, whole_, RecordedAttribution::restAt(rules_.find(location)), HiddenItems::include, walks);
}

void PartitionedScan::planTree(const std::string& location, const Attribution& attribution,
                               const Attribution::Step& start, HiddenItems hidden, Walks& walks) const {
  TreeSizer::Tree tree{
      .root = FileURL(location, URLKind::directory), .attribution = &attribution, .rootStep = start, .hidden = hidden};
  if (recorded_ != nullptr) {
    tree.attribution = &walks.recorded.emplace_back(attribution, rules_);
    tree.observedRoot = recorded_->place(location, files_);
  }
  walks.trees.push_back(std::move(tree));
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
