#include "QuarnCore/scans/ScannedItems.h"

#include <algorithm>
#include <limits>
#include <map>
#include <numeric>
#include <optional>
#include <string>
#include <utility>

#include "QuarnCore/folders/LargestItems.h"
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
    find([&](const SizeInfo& size) { return options_.preferAllocatedSize ? size.allocatedBytes : largerCount(size); },
         scan_.facts().keptAbove);
    keepLargest();
    return std::move(answer_);
  }

  ScannedItems::Answer ranked(ScannedItems::Rank rank) {
    find(rank, std::max<std::int64_t>(scan_.facts().keptAbove, 0));
    std::sort(found_.begin(), found_.end(), [](const Found& left, const Found& right) {
      if (left.key != right.key) return left.key > right.key;
      const std::int64_t leftSize = largerCount(left.item.size);
      const std::int64_t rightSize = largerCount(right.item.size);
      return leftSize != rightSize ? leftSize > rightSize : left < right;
    });
    for (Found& found : found_) {
      if (!isFull(answer_.items.size())) answer_.items.push_back(std::move(found.item));
    }
    return std::exchange(answer_, {.missing = answer_.missing});
  }

 private:
  /// What is between a root and an item, from the root.
  struct Way {
    std::vector<std::string> names;
    bool isHidden = false;
    bool isInPackage = false;
  };

  struct Found {
    std::size_t root;
    std::string place;  ///< the names from the root to the item, with a NUL between two: no name has one
    std::int64_t key;
    TopItem item;

    /// The order of a walk: by root, then name by name.
    bool operator<(const Found& other) const { return root != other.root ? root < other.root : place < other.place; }
  };

  [[nodiscard]] bool isFull(std::size_t count) const { return static_cast<long>(count) >= options_.limit; }

  // At least as many as wanted, and all that are as large as the smallest of them. Files up to `floor` may be missing
  // in the scan.
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
      while (!ranking.isEmpty() && ranking.largestKey() == key) addIfWanted(candidates_[ranking.take()], key);
    }
    answer_.isWhole = scan_.facts().keptAbove < 0 || isFull(found_.size());
  }

  // Of equally large items at the limit, which ones stay depends on the order in which a walk meets all of them. So all
  // go through the same list as in the walk.
  void keepLargest() {
    std::vector<std::size_t> order(found_.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(),
              [&](std::size_t left, std::size_t right) { return found_[left] < found_[right]; });
    LargestItems<TopItem> kept(options_.limit);
    for (const std::size_t i : order) kept.add(found_[i].key, std::move(found_[i].item));
    answer_.items = kept.take();
  }

  void gather(std::size_t root) {
    const std::optional<ScannedFolder> folder = scan_.folder(roots_[root].path());
    if (!folder || !folder->isRead) {
      answer_.missing.push_back(roots_[root]);
      return;
    }
    const std::uint32_t last = folder->id + folder->descendants;
    starts_[root] = folder->id;
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

  void addIfWanted(const Candidate& candidate, std::int64_t key) {
    Way way = wayTo(candidate);
    way.names.push_back(candidate.name);
    const bool isTooDeep = static_cast<long>(way.names.size()) > options_.maxDepth;
    const bool isHidden = (way.isHidden || candidate.isHidden) && !options_.includeHidden;
    if (isTooDeep || isHidden || way.isInPackage) return;
    std::string place;
    for (const std::string& name : way.names) (place += name) += '\0';
    place.pop_back();
    std::string path = place;
    std::replace(path.begin(), path.end(), '\0', '/');
    const FileURL url(path::join(roots_[candidate.root].path(), path),
                      candidate.isPackage ? URLKind::directory : URLKind::item);
    found_.push_back({.root = candidate.root,
                      .place = std::move(place),
                      .key = key,
                      .item = {.url = url, .name = candidate.name, .size = candidate.size}});
  }

  Way wayTo(const Candidate& candidate) {
    Way way;
    for (std::uint32_t id = candidate.folder; id != starts_[candidate.root];) {
      const ScannedFolder& folder = folderWith(id);
      way.names.push_back(folder.name);
      way.isHidden = way.isHidden || folder.isHidden;
      way.isInPackage = way.isInPackage || folder.isPackage;
      // A parent has a smaller id, so this ends; a way past the root is a lie of the file.
      if (folder.parent < starts_[candidate.root]) throw ScanError(ScanError::Problem::damaged, scan_.file());
      id = folder.parent;
    }
    std::reverse(way.names.begin(), way.names.end());
    return way;
  }

  const ScannedFolder& folderWith(std::uint32_t id) {
    const auto [known, isNew] = known_.try_emplace(id);
    if (isNew) known->second = scan_.folderWithID(id);
    return known->second;
  }

  const Scan& scan_;
  const std::vector<FileURL>& roots_;
  const TopItemsService::SearchOptions& options_;
  ScannedItems::Answer answer_;
  std::vector<Candidate> candidates_;
  std::vector<Found> found_;
  std::map<std::size_t, std::uint32_t> starts_;  // the id of each root
  std::map<std::uint32_t, ScannedFolder> known_;
};

/// Ranks the direct children of folders.
class Children {
 public:
  Children(const Scan& scan, std::int64_t floor, bool byDisk) : scan_(scan), floor_(floor), byDisk_(byDisk) {}

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
                                               bool byDisk) const {
  Children children(scan_, std::max<std::int64_t>(scan_.facts().keptAbove, 0), byDisk);
  return children.run(in, limit, [&](const ScannedFolder& folder, const FileURL& url) {
    children.addContents(folder, url, includeHidden, [](const ScannedFolder&) { return true; });
  });
}

ScannedItems::Answer ScannedItems::topFiles(const std::vector<FileURL>& in, long limit, bool includeHidden,
                                            bool byDisk) const {
  Children children(scan_, scan_.facts().keptAbove, byDisk);
  return children.run(in, limit, [&](const ScannedFolder& folder, const FileURL& url) {
    children.addContents(folder, url, includeHidden, [](const ScannedFolder& child) { return child.isPackage; });
  });
}

}  // namespace quarn
