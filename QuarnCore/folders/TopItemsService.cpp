#include "QuarnCore/folders/TopItemsService.h"

#include <algorithm>
#include <iterator>

#include "QuarnCore/folders/BoundedWalk.h"
#include "QuarnCore/folders/LargestItems.h"

namespace quarn {
namespace {

std::int64_t largerCount(const SizeInfo& size) { return std::max(size.allocatedBytes, size.logicalBytes); }

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

void append(std::vector<TopItem>& items, std::vector<TopItem> more) {
  items.insert(items.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
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

}  // namespace

TopItemsService::TopItemsService(FileSizeCalculator fileSizeCalculator, FileManager files)
    : fileSizeCalculator_(std::move(fileSizeCalculator)), files_(std::move(files)) {}

std::vector<TopItem> TopItemsService::children(const FileURL& in, bool allowSlow, bool includeHidden,
                                               const Cancellation& cancellation) const {
  std::vector<TopItem> items;
  if (!files_.itemExists(in)) return items;
  const ItemSizer sizer(fileSizeCalculator_, files_, cancellation);
  const HiddenItems hidden = includeHidden ? HiddenItems::include : HiddenItems::skip;
  for (const DirectoryEntry& entry : files_.cancelledBy(cancellation).contentsOfDirectory(in, hidden)) {
    if (cancellation.isCancelled()) break;
    const auto size = sizer.size(entry.url, allowSlow, includeHidden);
    if (size) items.push_back(makeItem(entry.url, *size));
  }
  return items;
}

std::vector<TopItem> TopItemsService::children(const std::vector<FileURL>& in, bool allowSlow, bool includeHidden,
                                               const Cancellation& cancellation) const {
  std::vector<TopItem> items;
  for (const FileURL& folder : in) {
    if (cancellation.isCancelled()) break;
    append(items, children(folder, allowSlow, includeHidden, cancellation));
  }
  return items;
}

std::vector<TopItem> TopItemsService::topChildren(const FileURL& in, long limit, bool allowSlow, bool includeHidden,
                                                  const Cancellation& cancellation) const {
  return largest(children(in, allowSlow, includeHidden, cancellation), limit);
}

std::vector<TopItem> TopItemsService::topChildren(const std::vector<FileURL>& in, long limit, bool allowSlow,
                                                  bool includeHidden, const Cancellation& cancellation) const {
  return largest(children(in, allowSlow, includeHidden, cancellation), limit);
}

std::vector<TopItem> TopItemsService::topFiles(const FileURL& in, long limit, bool includeHidden,
                                               const Cancellation& cancellation) const {
  if (!files_.itemExists(in)) return {};
  const ItemSizer sizer(fileSizeCalculator_, files_, cancellation);
  const HiddenItems hidden = includeHidden ? HiddenItems::include : HiddenItems::skip;
  std::vector<TopItem> items;
  for (const DirectoryEntry& entry : files_.cancelledBy(cancellation).contentsOfDirectory(in, hidden)) {
    if (cancellation.isCancelled()) break;
    if (entry.type == FileType::directory ? !files_.isPackage(entry.url) : entry.type != FileType::regular) continue;
    const auto size = sizer.size(entry.url, /*allowSlow=*/true, includeHidden);
    if (size) items.push_back(makeItem(entry.url, *size));
  }
  return largest(std::move(items), limit);
}

std::vector<TopItem> TopItemsService::topFiles(const std::vector<FileURL>& in, long limit, bool includeHidden,
                                               const Cancellation& cancellation) const {
  std::vector<TopItem> items;
  for (const FileURL& folder : in) {
    if (cancellation.isCancelled()) break;
    append(items, topFiles(folder, limit, includeHidden, cancellation));
  }
  return largest(std::move(items), limit);
}

std::vector<TopItem> TopItemsService::sizedItems(const std::vector<FileURL>& urls, long limit, bool allowSlow,
                                                 bool includeHidden, const Cancellation& cancellation) const {
  const ItemSizer sizer(fileSizeCalculator_, files_, cancellation);
  std::vector<TopItem> items;
  for (const FileURL& url : urls) {
    if (cancellation.isCancelled()) break;
    if (!files_.itemExists(url)) continue;
    const auto size = sizer.size(url, allowSlow, includeHidden);
    if (size) items.push_back(makeItem(url, *size));
  }
  return largest(std::move(items), limit);
}

std::vector<TopItem> TopItemsService::topFilesRecursively(const std::vector<FileURL>& in, const SearchOptions& options,
                                                          const Cancellation& cancellation) const {
  if (options.limit <= 0) return {};
  LargestItems<TopItem> kept(options.limit);
  BoundedWalk walk(files_,
                   {.maxDepth = options.maxDepth,
                    .maxVisited = options.maxVisited,
                    .hidden = options.includeHidden ? HiddenItems::include : HiddenItems::skip},
                   cancellation);
  const ItemSizer sizer(fileSizeCalculator_, files_, cancellation);
  walk.run(in, [&](const BoundedWalk::Item& item) {
    SizeInfo size = item.sizes;
    if (item.isPackage && options.allowSlowForPackages) {
      const std::optional<SizeInfo> walked = packageSize(item.place.url(), sizer, cancellation);
      if (!walked) return;
      size = *walked;
    } else if (!item.isPackage && options.preferAllocatedSize && !options.keepsZeroAllocation) {
      size = withKnownAllocation(size);
    }
    const auto key = [&] { return options.preferAllocatedSize ? size.allocatedBytes : largerCount(size); };
    if (!kept.wouldKeep(key())) return;
    if (options.preferAllocatedSize && isOnlyInCloud(item, files_)) size = item.sizes;
    if (kept.wouldKeep(key())) kept.add(key(), makeItem(item.place.url(), size));
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
