#include "QuarnCore/scans/ScannedSearch.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "QuarnCore/folders/LargestItems.h"
#include "QuarnPlatform/paths/Path.h"

namespace quarn {
namespace {

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

}  // namespace

ScannedSearch::ScannedSearch(const Scan& scan, const std::vector<FileURL>& roots,
                             const TopItemsService::SearchOptions& options)
    : scan_(scan), roots_(roots), options_(options) {
  folders_.reserve(roots_.size());
  for (const FileURL& root : roots_) folders_.push_back(scan_.folder(root.path()));
  for (std::size_t root = 0; root < roots_.size(); ++root) gather(root);
}

void ScannedSearch::gather(std::size_t root) {
  const std::optional<ScannedFolder>& folder = folders_[root];
  if (!folder || !folder->isRead) {
    answer_.missing.push_back(roots_[root]);
    return;
  }
  const std::uint32_t last = folder->id + folder->descendants;
  ways_.try_emplace(root, scan_, folder->id);
  const std::vector<Ids> others = idsOfOthers(*folder, root);
  const auto isOthers = [&](std::uint32_t id) {
    return std::any_of(others.begin(), others.end(), [&](const Ids& ids) { return ids.hold(id); });
  };
  for (ScannedFile& file : scan_.largeFiles(folder->id, last)) {
    if (isOthers(file.folder)) continue;
    SizeInfo size = file.sizes;
    if (options_.preferAllocatedSize && !options_.keepsZeroAllocation && size.allocatedBytes == 0)
      size.allocatedBytes = size.logicalBytes;
    candidates_.push_back(
        {.root = root, .folder = file.folder, .name = std::move(file.name), .size = size, .isHidden = file.isHidden});
  }
  for (ScannedFolder& package : scan_.packages(folder->id + 1, last)) {
    if (isOthers(package.id)) continue;
    const SizeInfo size = options_.allowSlowForPackages ? scan_.visibleSizes(package) : SizeInfo{};
    candidates_.push_back({.root = root,
                           .folder = package.parent,
                           .name = std::move(package.name),
                           .size = size,
                           .isPackage = true,
                           .isHidden = package.isHidden});
  }
}

// What a search of `folder` leaves to those of the other roots inside it.
std::vector<ScannedSearch::Ids> ScannedSearch::idsOfOthers(const ScannedFolder& folder, std::size_t root) const {
  std::vector<Ids> ids;
  for (std::size_t i = 0; options_.meetsItemsOnce && i < folders_.size(); ++i) {
    const std::optional<ScannedFolder>& other = folders_[i];
    if (i == root || !other || !other->isRead) continue;
    const bool isInside = Ids{folder.id, folder.id + folder.descendants}.hold(other->id);
    if (isInside && (other->id != folder.id || i < root)) ids.push_back({other->id, other->id + other->descendants});
  }
  return ids;
}

bool ScannedSearch::isWanted(const Candidate& candidate) {
  const ScannedWays::Way& way = ways_.at(candidate.root).to(candidate.folder);
  const bool isTooDeep = way.length >= options_.maxDepth;
  const bool isHidden = (way.isHidden || candidate.isHidden) && !options_.includeHidden;
  return !isTooDeep && !isHidden && !way.isInPackage;
}

// At least as many as wanted, and all that are as large as the smallest of them, in the order of a walk. Files up to
// `floor` may be missing in the scan.
template <class Key>
void ScannedSearch::find(const Key& keyOf, std::int64_t floor) {
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

void ScannedSearch::orderLikeAWalk() {
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

// A search without a limit of results does not start, and meets nothing.
void ScannedSearch::countAll(TopItemsService::Met& met) {
  for (const Candidate& candidate : candidates_) {
    if (isWanted(candidate)) met.add(candidate.size);
  }
}

TopItem ScannedSearch::itemOf(const Candidate& candidate) const {
  const std::string path = ways_.at(candidate.root).path(candidate.folder, candidate.name);
  const FileURL url(path::join(roots_[candidate.root].path(), path),
                    candidate.isPackage ? URLKind::directory : URLKind::item);
  return {.url = url, .name = candidate.name, .size = candidate.size};
}

ScannedAnswer ScannedSearch::run() {
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

ScannedAnswer ScannedSearch::ranked(ScannedRank rank) {
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

}  // namespace quarn
