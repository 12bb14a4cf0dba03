#include "QuarnCore/folders/TopItemsService.h"

#include <algorithm>
#include <utility>

#include "QuarnCore/folders/BoundedWalk.h"
#include "QuarnCore/folders/LargestItems.h"
#include "QuarnPlatform/base/Pace.h"

namespace quarn {
namespace {

std::vector<TopItem> largest(std::vector<TopItem> items, long limit) {
  std::stable_sort(items.begin(), items.end(), [](const TopItem& left, const TopItem& right) {
    return largerCount(left.size) > largerCount(right.size);
  });
  if (static_cast<long>(items.size()) > limit) items.resize(static_cast<std::size_t>(std::max(limit, 0L)));
  return items;
}

TopItem makeItem(const FileURL& url, const SizeInfo& size) {
  return {.url = url, .name = std::string(url.lastPathComponent()), .size = size};
}

/// Sizes single items for one operation.
class ItemSizer {
 public:
  ItemSizer(const FileSizeCalculator& calculator, const FileManager& files, const Cancellation& cancellation)
      : calculator_(calculator), files_(files), cancellation_(cancellation) {}

  /// Absent if the item cannot be sized, or if the walk of a folder was cancelled, because a partial size is wrong.
  [[nodiscard]] std::optional<SizeInfo> size(const FileURL& url, bool allowSlow, bool includeHidden) const {
    if (!allowSlow) return calculator_.resourceSize(url);
    try {
      const SizeInfo size = calculator_.itemSize(url, /*allowSlow=*/true, includeHidden, cancellation_);
      return cancellation_.isCancelled() && files_.isDirectory(url) ? std::nullopt : std::optional(size);
    } catch (const FileError&) {
      return std::nullopt;
    }
  }
  /// For sums, where a partial size is useful: includes the files that a cancelled walk has visited.
  [[nodiscard]] SizeInfo sumSoFar(const FileURL& package) const {
    try {
      return calculator_.itemSize(package, /*allowSlow=*/true, /*includeHidden=*/false, cancellation_);
    } catch (const FileError&) {
      return {};
    }
  }

 private:
  const FileSizeCalculator& calculator_;
  const FileManager& files_;
  const Cancellation& cancellation_;
};

/// Collects the items of one operation, and lets its observer see them.
class ItemCollector {
 public:
  /// `growth` may be null.
  ItemCollector(const ItemSizer& sizer, const FileManager& files, TopItemsService::Growth growth)
      : sizer_(sizer), files_(files), growth_(std::move(growth)) {}

  void addChildren(const FileURL& in, bool allowSlow, bool includeHidden) {
    eachEntry(in, includeHidden, [&](const DirectoryEntry& entry) { add(entry.url, allowSlow, includeHidden); });
  }
  void addFilesAndPackages(const FileURL& in, bool includeHidden) {
    eachEntry(in, includeHidden, [&](const DirectoryEntry& entry) {
      const bool isWanted =
          entry.type == FileType::directory ? files_.isPackage(entry.url) : entry.type == FileType::regular;
      if (isWanted) add(entry.url, /*allowSlow=*/true, includeHidden);
    });
  }
  void add(const FileURL& url, bool allowSlow, bool includeHidden) {
    const auto size = sizer_.size(url, allowSlow, includeHidden);
    if (size) items_.push_back(makeItem(url, *size));
    if (growth_) pace_.offer([&] { growth_(items_); });
  }

  std::vector<TopItem> take() { return std::move(items_); }

 private:
  template <class Visit>
  void eachEntry(const FileURL& in, bool includeHidden, const Visit& visit) const {
    if (!files_.itemExists(in)) return;
    const HiddenItems hidden = includeHidden ? HiddenItems::include : HiddenItems::skip;
    for (const DirectoryEntry& entry : files_.contentsOfDirectory(in, hidden)) {
      if (files_.cancellation().isCancelled()) return;
      visit(entry);
    }
  }

  const ItemSizer& sizer_;
  const FileManager& files_;  ///< of this operation, with its cancellation
  TopItemsService::Growth growth_;
  Pace pace_;
  std::vector<TopItem> items_;
};

TopItemsService::Growth ranked(const TopItemsService::Growth& growth, long limit) {
  if (!growth) return nullptr;
  return [&growth, limit](const std::vector<TopItem>& soFar) { growth(largest(soFar, limit)); };
}

// Some file systems report no allocated blocks for small files; assume that the content takes its length.
SizeInfo withKnownAllocation(SizeInfo size) {
  if (size.allocatedBytes == 0) size.allocatedBytes = size.logicalBytes;
  return size;
}

std::optional<SizeInfo> packageSize(const FileURL& package, const ItemSizer& sizer, const Cancellation& cancellation) {
  const std::optional<SizeInfo> size = sizer.size(package, /*allowSlow=*/true, /*includeHidden=*/false);
  if (!size && cancellation.isCancelled()) return std::nullopt;
  return size.value_or(SizeInfo{});
}

// A placeholder of the cloud, whose content is not here, keeps its zero. Only an item that is about to be kept is
// looked up, which is one call for few items.
bool isOnlyInCloud(const BoundedWalk::Item& item, const FileManager& files) {
  if (item.isPackage || item.sizes.allocatedBytes != 0 || item.sizes.logicalBytes == 0) return false;
  const std::optional<ItemFacts> facts = files.facts(item.place.url(), Links::doNotFollow);
  return facts && facts->isOnlyInCloud;
}

/// Lets `add` collect from each folder, until the operation is cancelled.
template <class Add>
std::vector<TopItem> collected(const std::vector<FileURL>& urls, const FileSizeCalculator& calculator,
                               const FileManager& volume, const Cancellation& cancellation,
                               TopItemsService::Growth growth, const Add& add) {
  const FileManager files = volume.cancelledBy(cancellation);
  const ItemSizer sizer(calculator, files, cancellation);
  ItemCollector collector(sizer, files, std::move(growth));
  for (const FileURL& url : urls) {
    if (cancellation.isCancelled()) break;
    add(collector, url);
  }
  return collector.take();
}

}  // namespace

TopItemsService::TopItemsService(FileSizeCalculator fileSizeCalculator, FileManager files)
    : fileSizeCalculator_(std::move(fileSizeCalculator)), files_(std::move(files)) {}

TopItemsService TopItemsService::growing(Growth growth) const {
  TopItemsService copy = *this;
  copy.growth_ = std::move(growth);
  return copy;
}

std::vector<TopItem> TopItemsService::children(const FileURL& in, bool allowSlow, bool includeHidden,
                                               const Cancellation& cancellation) const {
  return children(std::vector{in}, allowSlow, includeHidden, cancellation);
}

std::vector<TopItem> TopItemsService::children(const std::vector<FileURL>& in, bool allowSlow, bool includeHidden,
                                               const Cancellation& cancellation) const {
  return collected(
      in, fileSizeCalculator_, files_, cancellation, growth_,
      [&](ItemCollector& items, const FileURL& folder) { items.addChildren(folder, allowSlow, includeHidden); });
}

std::vector<TopItem> TopItemsService::topChildren(const FileURL& in, long limit, bool allowSlow, bool includeHidden,
                                                  const Cancellation& cancellation) const {
  return topChildren(std::vector{in}, limit, allowSlow, includeHidden, cancellation);
}

std::vector<TopItem> TopItemsService::topChildren(const std::vector<FileURL>& in, long limit, bool allowSlow,
                                                  bool includeHidden, const Cancellation& cancellation) const {
  return largest(growing(ranked(growth_, limit)).children(in, allowSlow, includeHidden, cancellation), limit);
}

std::vector<TopItem> TopItemsService::topFiles(const FileURL& in, long limit, bool includeHidden,
                                               const Cancellation& cancellation) const {
  return topFiles(std::vector{in}, limit, includeHidden, cancellation);
}

std::vector<TopItem> TopItemsService::topFiles(const std::vector<FileURL>& in, long limit, bool includeHidden,
                                               const Cancellation& cancellation) const {
  const auto add = [&](ItemCollector& items, const FileURL& folder) {
    items.addFilesAndPackages(folder, includeHidden);
  };
  return largest(collected(in, fileSizeCalculator_, files_, cancellation, ranked(growth_, limit), add), limit);
}

std::vector<TopItem> TopItemsService::sizedItems(const std::vector<FileURL>& urls, long limit, bool allowSlow,
                                                 bool includeHidden, const Cancellation& cancellation) const {
  const auto add = [&](ItemCollector& items, const FileURL& url) {
    if (files_.itemExists(url)) items.add(url, allowSlow, includeHidden);
  };
  return largest(collected(urls, fileSizeCalculator_, files_, cancellation, ranked(growth_, limit), add), limit);
}

std::vector<TopItem> TopItemsService::topFilesRecursively(const std::vector<FileURL>& in, const SearchOptions& options,
                                                          const Cancellation& cancellation) const {
  if (options.limit <= 0) return {};
  LargestItems<TopItem> kept(options.limit);
  BoundedWalk walk(files_,
                   {.maxDepth = options.maxDepth,
                    .maxVisited = options.maxVisited,
                    .hidden = options.includeHidden ? HiddenItems::include : HiddenItems::skip,
                    .entersOtherRoots = !options.meetsItemsOnce},
                   cancellation);
  const ItemSizer sizer(fileSizeCalculator_, files_, cancellation);
  Pace pace;
  walk.run(in, [&](const BoundedWalk::Item& item) {
    if (growth_) pace.offer([&] { growth_(kept.values()); });
    SizeInfo size = item.sizes;
    if (item.isPackage && options.allowSlowForPackages) {
      const std::optional<SizeInfo> walked = packageSize(item.place.url(), sizer, cancellation);
      if (!walked) return;
      size = *walked;
    } else if (!item.isPackage && options.preferAllocatedSize && !options.keepsZeroAllocation) {
      size = withKnownAllocation(size);
    }
    if (options.met != nullptr) options.met->add(size);
    const auto key = [&] { return options.preferAllocatedSize ? size.allocatedBytes : largerCount(size); };
    if (!kept.wouldKeep(key())) return;
    if (options.preferAllocatedSize && isOnlyInCloud(item, files_)) size = item.sizes;
    if (!kept.wouldKeep(key())) return;
    TopItem found = makeItem(item.place.url(), size);
    if (!options.accepts || options.accepts(found)) kept.add(key(), std::move(found));
  });
  return kept.take();
}

CloudStorageSummary TopItemsService::cloudSummary(const std::vector<FileURL>& in, long maxDepth, long maxVisited,
                                                  bool allowSlowForPackages, const Cancellation& cancellation) const {
  CloudStorageSummary summary;
  const ItemSizer sizer(fileSizeCalculator_, files_, cancellation);
  BoundedWalk walk(files_, {.maxDepth = maxDepth, .maxVisited = maxVisited, .hidden = HiddenItems::skip}, cancellation);
  walk.run(in, [&](const BoundedWalk::Item& item) {
    SizeInfo size = item.sizes;
    if (item.isPackage && allowSlowForPackages) size = sizer.sumSoFar(item.place.url());
    summary.allocatedBytes = checkedAdd(summary.allocatedBytes, size.allocatedBytes);
    summary.logicalBytes = checkedAdd(summary.logicalBytes, size.logicalBytes);
    const std::int64_t onlyInCloud = std::max<std::int64_t>(size.logicalBytes - size.allocatedBytes, 0);
    summary.cloudOnlyBytes = checkedAdd(summary.cloudOnlyBytes, onlyInCloud);
  });
  summary.localBytes = summary.allocatedBytes;
  return summary;
}

}  // namespace quarn
