#include "QuarnCore/scans/ScannedItems.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <string>
#include <utility>

#include "QuarnCore/folders/LargestItems.h"
#include "QuarnCore/scans/ScannedSearch.h"

namespace quarn {
namespace {

TopItem itemAt(const FileURL& folder, const std::string& name, const SizeInfo& size, URLKind kind) {
  return {.url = folder.appending(name, kind), .name = name, .size = size};
}

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
      found.push_back(
          itemAt(url, child.name, includeHidden ? child.sizes : scan_.visibleSizes(child), URLKind::directory));
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
  return ScannedSearch(scan_, in, options).run();
}

std::vector<ScannedItems::Answer> ScannedItems::largest(const std::vector<Rank>& ranks, std::size_t limit) const {
  constexpr long kMost = std::numeric_limits<long>::max();
  const std::vector<FileURL> volume{FileURL("/")};
  const TopItemsService::SearchOptions options{
      .limit = static_cast<long>(limit), .maxDepth = kMost, .allowSlowForPackages = true, .includeHidden = true};
  ScannedSearch search(scan_, volume, options);
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
