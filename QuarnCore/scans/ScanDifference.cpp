#include "QuarnCore/scans/ScanDifference.h"

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <limits>
#include <map>
#include <set>
#include <string_view>
#include <utility>

#include "QuarnPlatform/base/ByteCounts.h"

namespace quarn {
namespace {

constexpr std::size_t kPairsBetweenPolls = 1024;

std::int64_t distance(std::int64_t change) { return change < 0 ? -change : change; }

std::int64_t grownBy(const std::optional<SizeInfo>& before, const std::optional<SizeInfo>& after) {
  return (after ? after->allocatedBytes : 0) - (before ? before->allocatedBytes : 0);
}

/// All folders of a scan in memory.
class Folders {
 public:
  static constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

  explicit Folders(const Scan& scan) {
    scan.folders(0, kNone, [&](const ScannedFolder& folder) {
      if (!isInPlace(folder)) throw ScanError(ScanError::Problem::damaged, scan.file());
      nodes_.push_back({.parent = folder.parent,
                        .descendants = folder.descendants,
                        .nameStart = names_.size(),
                        .nameLength = folder.name.size(),
                        .sizes = folder.sizes});
      names_ += folder.name;
      return true;
    });
    // Ids ascend and are below the end of the root, so a missing one makes the count wrong.
    if (nodes_.empty() || end(0) != nodes_.size()) throw ScanError(ScanError::Problem::damaged, scan.file());
  }

  /// The first folder in a folder, and the next one in the same folder; `kNone` if there is none.
  [[nodiscard]] std::uint32_t firstIn(std::uint32_t folder) const {
    return nodes_[folder].descendants == 0 ? kNone : folder + 1;
  }
  [[nodiscard]] std::uint32_t nextAfter(std::uint32_t folder) const {
    const std::uint64_t next = end(folder);
    return next < end(nodes_[folder].parent) ? static_cast<std::uint32_t>(next) : kNone;
  }
  [[nodiscard]] std::string_view name(std::uint32_t folder) const {
    return std::string_view(names_).substr(nodes_[folder].nameStart, nodes_[folder].nameLength);
  }
  [[nodiscard]] std::optional<SizeInfo> sizes(std::uint32_t folder) const {
    return folder == kNone ? std::nullopt : std::optional(nodes_[folder].sizes);
  }
  [[nodiscard]] FileURL url(std::uint32_t folder) const {
    std::vector<std::string_view> names;
    for (; folder != 0; folder = nodes_[folder].parent) names.push_back(name(folder));
    std::string path;
    for (auto next = names.rbegin(); next != names.rend(); ++next) path.append("/").append(*next);
    return FileURL(path.empty() ? "/" : path, URLKind::directory);
  }

 private:
  struct Node {
    std::uint32_t parent = 0;
    std::uint32_t descendants = 0;
    std::size_t nameStart = 0;
    std::size_t nameLength = 0;
    SizeInfo sizes{};
  };
  [[nodiscard]] std::uint64_t end(std::uint32_t folder) const {
    return std::uint64_t{folder} + nodes_[folder].descendants + 1;
  }
  /// True if the parent is the innermost folder that has not ended, and the folder ends before or with it. Otherwise
  /// several folders could contain it, and a comparison would visit it once for each.
  [[nodiscard]] bool isInPlace(const ScannedFolder& folder) const {
    if (nodes_.empty()) return folder.id == 0;
    auto innermost = static_cast<std::uint32_t>(nodes_.size() - 1);
    while (innermost != 0 && end(innermost) <= folder.id) innermost = nodes_[innermost].parent;
    return folder.parent == innermost && std::uint64_t{folder.id} + folder.descendants < end(innermost);
  }

  std::vector<Node> nodes_;
  std::string names_;
};

/// Walks the folders of two scans at once.
class FolderComparison {
 public:
  FolderComparison(const Folders& before, const Folders& after, std::int64_t minimum, const Cancellation& cancellation)
      : before_(before), after_(after), minimum_(minimum), cancellation_(cancellation) {}

  std::vector<FolderChange> changes() {
    open_.push_back({0, 0});
    for (std::size_t count = 0; !open_.empty(); ++count) {
      if (count % kPairsBetweenPolls == 0 && cancellation_.isCancelled()) return {};
      const Pair pair = open_.back();
      open_.pop_back();
      compare(pair);
    }
    std::stable_sort(changes_.begin(), changes_.end(), [](const FolderChange& left, const FolderChange& right) {
      const std::int64_t leftSize = distance(grownBy(left.before, left.after));
      const std::int64_t rightSize = distance(grownBy(right.before, right.after));
      return leftSize != rightSize ? leftSize > rightSize : left.url < right.url;
    });
    return std::move(changes_);
  }

 private:
  // Of the same folder; one of both may be none.
  struct Pair {
    std::uint32_t before;
    std::uint32_t after;
  };

  [[nodiscard]] std::int64_t growth(const Pair& pair) const {
    return grownBy(before_.sizes(pair.before), after_.sizes(pair.after));
  }

  void compare(const Pair& pair) {
    const std::int64_t change = growth(pair);
    const bool isInBoth = pair.before != Folders::kNone && pair.after != Folders::kNone;
    bool isExplained = false;
    if (isInBoth) {
      eachPair(pair, [&](const Pair& inner) {
        isExplained = isExplained || distance(change - growth(inner)) < minimum_;
        open_.push_back(inner);
      });
    }
    if (distance(change) < minimum_ || isExplained) return;
    changes_.push_back({.url = pair.after != Folders::kNone ? after_.url(pair.after) : before_.url(pair.before),
                        .before = before_.sizes(pair.before),
                        .after = after_.sizes(pair.after)});
  }

  // Both sides are in the order of their names.
  template <class Consume>
  void eachPair(const Pair& folder, const Consume& consume) const {
    std::uint32_t left = before_.firstIn(folder.before);
    std::uint32_t right = after_.firstIn(folder.after);
    while (left != Folders::kNone || right != Folders::kNone) {
      const int order = left == Folders::kNone    ? 1
                        : right == Folders::kNone ? -1
                                                  : before_.name(left).compare(after_.name(right));
      consume(Pair{order <= 0 ? left : Folders::kNone, order >= 0 ? right : Folders::kNone});
      if (order <= 0) left = before_.nextAfter(left);
      if (order >= 0) right = after_.nextAfter(right);
    }
  }

  const Folders& before_;
  const Folders& after_;
  const std::int64_t minimum_;
  const Cancellation& cancellation_;
  std::vector<Pair> open_;
  std::vector<FolderChange> changes_;
};

std::vector<CategoryChange> categoryChanges(const Scan& before, const Scan& after, std::int64_t minimum) {
  std::map<StorageCategoryID, SizeInfo> old;
  for (const StorageCategory& category : before.categories()) old[category.id] = category.size;
  std::vector<CategoryChange> changes;
  for (const StorageCategory& category : after.categories()) {
    const CategoryChange change{.id = category.id, .before = old[category.id], .after = category.size};
    if (distance(grownBy(change.before, change.after)) >= minimum) changes.push_back(change);
  }
  std::stable_sort(changes.begin(), changes.end(), [](const CategoryChange& left, const CategoryChange& right) {
    return distance(grownBy(left.before, left.after)) > distance(grownBy(right.before, right.after));
  });
  return changes;
}

SizeInfo sizeOf(const ScannedApp& app) {
  SizeInfo sum;
  for (const Artifact& artifact : app.inspection.artifacts) sum += artifact.size.value_or(SizeInfo{});
  return sum;
}

void compareApps(const Scan& before, const Scan& after, std::int64_t minimum, ScanDifference& difference) {
  std::map<FileURL, ScannedApp> old;
  for (ScannedApp& app : before.apps(/*withInspections=*/true)) {
    const FileURL url = app.inspection.app.bundleURL;
    old.emplace(url, std::move(app));
  }
  for (const ScannedApp& app : after.apps(/*withInspections=*/true)) {
    const auto found = old.find(app.inspection.app.bundleURL);
    if (found == old.end()) {
      difference.newApps.push_back(app.inspection.app);
      continue;
    }
    const AppChange change{.app = app.inspection.app,
                           .versionBefore = found->second.inspection.app.version,
                           .before = sizeOf(found->second),
                           .after = sizeOf(app)};
    const bool isUpdated = change.versionBefore != change.app.version;
    if (isUpdated || distance(grownBy(change.before, change.after)) >= minimum)
      difference.changedApps.push_back(change);
    old.erase(found);
  }
  for (const auto& [url, app] : old) difference.goneApps.push_back(app.inspection.app);
  std::stable_sort(difference.changedApps.begin(), difference.changedApps.end(),
                   [](const AppChange& left, const AppChange& right) {
                     return distance(grownBy(left.before, left.after)) > distance(grownBy(right.before, right.after));
                   });
}

/// The records of `after` whose key no record of `before` has.
template <class Record, class Key>
std::vector<Record> newRecords(const std::vector<Record>& before, std::vector<Record> after, const Key& keyOf) {
  std::set<decltype(keyOf(after.front()))> old;
  for (const Record& record : before) old.insert(keyOf(record));
  std::erase_if(after, [&](const Record& record) { return old.contains(keyOf(record)); });
  return after;
}

std::vector<NewLeftover> newLeftovers(const Scan& before, const Scan& after) {
  const auto keyOf = [](const Leftover& leftover) {
    return std::pair(leftover.owner.bundleIdentifier, leftover.owner.name);
  };
  std::vector<NewLeftover> leftovers;
  for (const Leftover& leftover : newRecords(before.leftovers(), after.leftovers(), keyOf)) {
    leftovers.push_back({.name = leftover.owner.name,
                         .bundleIdentifier = leftover.owner.bundleIdentifier,
                         .size = leftover.size,
                         .items = static_cast<std::int64_t>(leftover.items.size())});
  }
  return leftovers;
}

}  // namespace

ScanDifference compareScans(const Scan& before, const Scan& after, std::int64_t minimumBytes,
                            const Cancellation& cancellation) {
  const std::int64_t minimum = std::max<std::int64_t>(minimumBytes, 1);
  ScanDifference difference{.before = before.facts().finishedAt, .after = after.facts().finishedAt};
  difference.categories = categoryChanges(before, after, minimum);
  const Folders foldersBefore(before);
  const Folders foldersAfter(after);
  difference.folders = FolderComparison(foldersBefore, foldersAfter, minimum, cancellation).changes();
  compareApps(before, after, minimum, difference);
  difference.newLeftovers = newLeftovers(before, after);
  difference.newJobs =
      newRecords(before.jobs(), after.jobs(), [](const LaunchdEntry& job) { return std::pair(job.url, job.label); });
  difference.newExtensions = newRecords(before.extensions(), after.extensions(),
                                        [](const KernelExtensionInfo& extension) { return extension.url; });
  return cancellation.isCancelled() ? ScanDifference{} : difference;
}

}  // namespace quarn
