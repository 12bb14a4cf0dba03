#include "QuarnCore/scans/ScannedItems.h"

#include <algorithm>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "QuarnCore/folders/LargestItems.h"
#include "QuarnCore/scans/ScannedWays.h"
#include "QuarnPlatform/paths/Path.h"

namespace quarn {
namespace {

std::int64_t largerCount(const SizeInfo& size) { return std::max(size.allocatedBytes, size.logicalBytes); }

SizeInfo visibleSize(const ScannedFolder& folder, const Scan& scan, bool includeHidden) {
  if (includeHidden) return folder.sizes;
  const SizeInfo hidden = scan.hiddenSizes(folder.id);
  return {.allocatedBytes = folder.sizes.allocatedBytes - hidden.allocatedBytes,
          .logicalBytes = folder.sizes.logicalBytes - hidden.logicalBytes};
}

TopItem itemAt(const FileURL& folder, const std::string& name, const SizeInfo& size, URLKind kind) {
  return {.url = folder.appending(name, kind), .name = name, .size = size};
}

/// An item that may be among the largest.
struct Candidate {
  std::size_t root = 0;
  std::uint32_t folder = 0;  ///< that contains it
  std::string name{};
  SizeInfo size{};
  bool isPackage = false;
  bool isHidden = false;
};

/// Gives out positions by descending key. Few are taken, so they are not all sorted.
class Ranking {
 public:
  void add(std::int64_t key, std::uint32_t position) { heap_.emplace_back(key, position); }
  void finish() { std::make_heap(heap_.begin(), heap_.end()); }
  [[nodiscard]] bool isEmpty() const { return heap_.empty(); }
  [[nodiscard]] std::int64_t largestKey() const { return heap_.front().first; }
  std::uint32_t take() {
    std::pop_heap(heap_.begin(), heap_.end());
    const std::uint32_t position = heap_.back().second;
    heap_.pop_back();
    return position;
  }

 private:
  std::vector<std::pair<std::int64_t, std::uint32_t>> heap_;
};

/// A search below several roots.
class Search {
 public:
  Search(const Scan& scan, const std::vector<FileURL>& roots, const TopItemsService::SearchOptions& options)
      : scan_(scan), roots_(roots), options_(options) {
    for (std::size_t root = 0; root < roots_.size(); ++root) gather(root);
  }

  ScannedItems::Answer run() {
    if (options_.met != nullptr && options_.limit > 0) countAll(*options_.met);
    find([&](const SizeInfo& size) { return options_.preferAllocatedSize ? size.allocatedBytes : largerCount(size); },
         scan_.facts().keptAbove);
    // Of equally large items at the limit, which ones stay depends on the order in which a walk meets all of them. So
    // all go through the same list as in the walk.
    LargestItems<std::uint32_t> kept(options_.limit);
    for (const Found& found : found_) kept.add(found.key, found.candidate);
    for (const std::uint32_t candidate : kept.take()) answer_.items.push_back(itemOf(candidates_[candidate]));
    return std::move(answer_);
  }

  ScannedItems::Answer ranked(ScannedItems::Rank rank) {
    find(rank, std::max<std::int64_t>(scan_.facts().keptAbove, 0));
    std::stable_sort(found_.begin(), found_.end(), [&](const Found& left, const Found& right) {
      if (left.key != right.key) return left.key > right.key;
      return largerCount(candidates_[left.candidate].size) > largerCount(candidates_[right.candidate].size);
    });
    for (const Found& found : found_) {
      if (!isFull(answer_.items.size())) answer_.items.push_back(itemOf(candidates_[found.candidate]));
    }
    return std::exchange(answer_, {.missing = answer_.missing});
  }

 private:
  struct Found {
    std::uint32_t candidate;
    std::int64_t key;
  };

  [[nodiscard]] bool isFull(std::size_t count) const { return static_cast<long>(count) >= options_.limit; }

  // At least as many as wanted, and all that are as large as the smallest of them, in the order of a walk. Files up to
  // `floor` may be missing in the scan.
  template <class Key>
  void find(const Key& keyOf, std::int64_t floor) {
    found_.clear();
    Ranking ranking;
    for (std::uint32_t i = 0; i < candidates_.size(); ++i) {
      const std::int64_t key = keyOf(candidates_[i].size);
      if (key > floor) ranking.add(key, i);
    }
    ranking.finish();
    while (!ranking.isEmpty() && !isFull(found_.size())) {
      const std::int64_t key = ranking.largestKey();
      while (!ranking.isEmpty() && ranking.largestKey() == key) {
        const std::uint32_t candidate = ranking.take();
        if (isWanted(candidates_[candidate])) found_.push_back({.candidate = candidate, .key = key});
      }
    }
    answer_.isWhole = scan_.facts().keptAbove < 0 || isFull(found_.size());
    orderLikeAWalk();
  }

  // A search without a limit of results does not start, and meets nothing.
  void countAll(TopItemsService::Met& met) {
    for (const Candidate& candidate : candidates_) {
      if (isWanted(candidate)) met.add(candidate.size);
    }
  }

  void orderLikeAWalk() {
    std::vector<std::vector<Found>> perRoot(roots_.size());
    for (const Found& found : found_) perRoot[candidates_[found.candidate].root].push_back(found);
    found_.clear();
    for (const auto& [root, ways] : ways_) {
      std::vector<ScannedWays::Place> places;
      for (const Found& found : perRoot[root]) {
        const Candidate& candidate = candidates_[found.candidate];
        places.emplace_back(candidate.folder, candidate.name);
      }
      for (const std::size_t i : ways.walkOrder(places)) found_.push_back(perRoot[root][i]);
    }
  }

  void gather(std::size_t root) {
    const std::optional<ScannedFolder> folder = scan_.folder(roots_[root].path());
    if (!folder || !folder->isRead) {
      answer_.missing.push_back(roots_[root]);
      return;
    }
    const std::uint32_t last = folder->id + folder->descendants;
    ways_.try_emplace(root, scan_, folder->id);
    for (ScannedFile& file : scan_.largeFiles(folder->id, last)) {
      SizeInfo size = file.sizes;
      if (options_.preferAllocatedSize && !options_.keepsZeroAllocation && size.allocatedBytes == 0)
        size.allocatedBytes = size.logicalBytes;
      candidates_.push_back(
          {.root = root, .folder = file.folder, .name = std::move(file.name), .size = size, .isHidden = file.isHidden});
    }
    for (ScannedFolder& package : scan_.packages(folder->id + 1, last)) {
      const SizeInfo size = options_.allowSlowForPackages ? visibleSize(package, scan_, false) : SizeInfo{};
      candidates_.push_back({.root = root,
                             .folder = package.parent,
                             .name = std::move(package.name),
                             .size = size,
                             .isPackage = true,
                             .isHidden = package.isHidden});
    }
  }

  bool isWanted(const Candidate& candidate) {
    const ScannedWays::Way& way = ways_.at(candidate.root).to(candidate.folder);
    const bool isTooDeep = way.length >= options_.maxDepth;
    const bool isHidden = (way.isHidden || candidate.isHidden) && !options_.includeHidden;
    return !isTooDeep && !isHidden && !way.isInPackage;
  }

  [[nodiscard]] TopItem itemOf(const Candidate& candidate) const {
    const std::string path = ways_.at(candidate.root).path(candidate.folder, candidate.name);
    const FileURL url(path::join(roots_[candidate.root].path(), path),
                      candidate.isPackage ? URLKind::directory : URLKind::item);
    return {.url = url, .name = candidate.name, .size = candidate.size};
  }

  const Scan& scan_;
  const std::vector<FileURL>& roots_;
  const TopItemsService::SearchOptions& options_;
  ScannedItems::Answer answer_;
  std::vector<Candidate> candidates_;
  std::vector<Found> found_;
  std::map<std::size_t, ScannedWays> ways_;  // of each root that the scan has
};

/// Ranks the direct children of folders.
class Children {
 public:
  Children(const Scan& scan, std::int64_t floor, bool byDisk, TopItemsService::Met* met)
      : scan_(scan), floor_(floor), byDisk_(byDisk), met_(met) {}

  /// Calls `addAll(folder, url)` for each folder that the scan has.
  template <class AddAll>
  ScannedItems::Answer run(const std::vector<FileURL>& in, long limit, const AddAll& addAll) {
    for (const FileURL& url : in) {
      const std::optional<ScannedFolder> folder = scan_.folder(url.path());
      if (folder && folder->isRead) {
        addAll(*folder, url);
      } else {
        answer_.missing.push_back(url);
      }
    }
    std::vector<TopItem>& items = answer_.items;
    if (met_ != nullptr) {
      for (const TopItem& item : items) met_->add(item.size);
    }
    const auto rank = [&](const TopItem& item) { return byDisk_ ? item.size.allocatedBytes : largerCount(item.size); };
    std::stable_sort(items.begin(), items.end(),
                     [&](const TopItem& left, const TopItem& right) { return rank(left) > rank(right); });
    const bool hasAll = scan_.facts().keptAbove < 0;
    std::erase_if(items, [&](const TopItem& item) { return (hasAll ? largerCount(item.size) : rank(item)) <= floor_; });
    const bool isFull = static_cast<long>(items.size()) >= limit;
    if (isFull) items.resize(static_cast<std::size_t>(std::max(limit, 0L)));
    answer_.isWhole = scan_.facts().keptAbove < 0 || isFull;
    return std::move(answer_);
  }

  void add(TopItem item) { answer_.items.push_back(std::move(item)); }

  /// Adds what is directly in a folder and visible, in the order of the names. `isWanted` chooses folders.
  template <class Wanted>
  void addContents(const ScannedFolder& folder, const FileURL& url, bool includeHidden, const Wanted& isWanted) {
    std::vector<TopItem> found;
    for (const ScannedFolder& child : scan_.children(folder)) {
      if ((child.isHidden && !includeHidden) || !child.isRead || !isWanted(child)) continue;
      found.push_back(itemAt(url, child.name, visibleSize(child, scan_, includeHidden), URLKind::directory));
    }
    for (const ScannedFile& file : scan_.largeFiles(folder.id, folder.id)) {
      if (!file.isHidden || includeHidden) found.push_back(itemAt(url, file.name, file.sizes, URLKind::item));
    }
    std::sort(found.begin(), found.end(),
              [](const TopItem& left, const TopItem& right) { return left.name < right.name; });
    for (TopItem& item : found) add(std::move(item));
  }

 private:
  const Scan& scan_;
  std::int64_t floor_;
  bool byDisk_;
  TopItemsService::Met* met_;
  ScannedItems::Answer answer_;
};

}  // namespace

ScannedItems::Answer ScannedItems::topFilesRecursively(const std::vector<FileURL>& in,
                                                       const TopItemsService::SearchOptions& options) const {
  return Search(scan_, in, options).run();
}

std::vector<ScannedItems::Answer> ScannedItems::largest(const std::vector<Rank>& ranks, std::size_t limit) const {
  constexpr long kMost = std::numeric_limits<long>::max();
  const std::vector<FileURL> volume{FileURL("/")};
  const TopItemsService::SearchOptions options{
      .limit = static_cast<long>(limit), .maxDepth = kMost, .allowSlowForPackages = true, .includeHidden = true};
  Search search(scan_, volume, options);
  std::vector<Answer> answers;
  answers.reserve(ranks.size());
  for (const Rank rank : ranks) answers.push_back(search.ranked(rank));
  return answers;
}

ScannedItems::Answer ScannedItems::topChildren(const std::vector<FileURL>& in, long limit, bool includeHidden,
                                               bool byDisk, TopItemsService::Met* met) const {
  Children children(scan_, std::max<std::int64_t>(scan_.facts().keptAbove, 0), byDisk, met);
  return children.run(in, limit, [&](const ScannedFolder& folder, const FileURL& url) {
    children.addContents(folder, url, includeHidden, [](const ScannedFolder&) { return true; });
  });
}

ScannedItems::Answer ScannedItems::topFiles(const std::vector<FileURL>& in, long limit, bool includeHidden, bool byDisk,
                                            TopItemsService::Met* met) const {
  Children children(scan_, scan_.facts().keptAbove, byDisk, met);
  return children.run(in, limit, [&](const ScannedFolder& folder, const FileURL& url) {
    children.addContents(folder, url, includeHidden, [](const ScannedFolder& child) { return child.isPackage; });
  });
}

}  // namespace quarn
