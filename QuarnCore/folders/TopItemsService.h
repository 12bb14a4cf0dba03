#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "QuarnModels/Storage.h"
#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/FileSizeCalculator.h"

namespace quarn {

/// Finds the largest items in folders. Synchronous. Operations poll `cancellation`, also inside one item and while they
/// list a folder. When it is set, they return the partial result, without the folder that they were sizing, and do not
/// throw. Items are ranked by the larger of their two byte counts, unless an operation says
/// otherwise.
class TopItemsService {
 public:
  /// Sees a result grow. `soFar` is what the operation would return now; it is valid during the call.
  using Growth = std::function<void(const std::vector<TopItem>& soFar)>;

  TopItemsService(FileSizeCalculator fileSizeCalculator, FileManager files);

  /// The same service, whose operations with a list as their result call `growth` on the calling thread: at most every
  /// 100 ms and for at most a tenth of the time.
  [[nodiscard]] TopItemsService growing(Growth growth) const;

  /// The direct children of a folder with their sizes, in listing order; empty if the folder does not exist. With
  /// `allowSlow`, folders are walked; otherwise only regular files have a size. Throws FileError if the folder cannot
  /// be listed.
  [[nodiscard]] std::vector<TopItem> children(const FileURL& in, bool allowSlow, bool includeHidden,
                                              const Cancellation& cancellation) const;
  /// The same for several folders, one after another.
  [[nodiscard]] std::vector<TopItem> children(const std::vector<FileURL>& in, bool allowSlow, bool includeHidden,
                                              const Cancellation& cancellation) const;

  /// The `limit` largest children, largest first.
  [[nodiscard]] std::vector<TopItem> topChildren(const FileURL& in, long limit, bool allowSlow, bool includeHidden,
                                                 const Cancellation& cancellation) const;
  [[nodiscard]] std::vector<TopItem> topChildren(const std::vector<FileURL>& in, long limit, bool allowSlow,
                                                 bool includeHidden, const Cancellation& cancellation) const;

  /// The `limit` largest files and packages directly in a folder. Throws FileError if the folder cannot be listed.
  [[nodiscard]] std::vector<TopItem> topFiles(const FileURL& in, long limit, bool includeHidden,
                                              const Cancellation& cancellation) const;
  [[nodiscard]] std::vector<TopItem> topFiles(const std::vector<FileURL>& in, long limit, bool includeHidden,
                                              const Cancellation& cancellation) const;

  /// The `limit` largest of the given items.
  [[nodiscard]] std::vector<TopItem> sizedItems(const std::vector<FileURL>& urls, long limit, bool allowSlow,
                                                bool includeHidden, const Cancellation& cancellation) const;

  /// The items that a search meets.
  struct Met {
    std::int64_t items = 0;
    SizeInfo size{};

    void add(const SizeInfo& sizes) {
      ++items;
      size += sizes;
    }
  };
  /// The limits of a recursive search.
  struct SearchOptions {
    long limit = 0;
    long maxDepth = 0;    ///< direct entries of a root have depth 1
    long maxVisited = 0;  ///< number of items, shared by all roots
    bool allowSlowForPackages = false;
    bool includeHidden = false;
    bool preferAllocatedSize = false;
    /// With `preferAllocatedSize`: a file without blocks has 0 bytes. Otherwise it counts its length.
    bool keepsZeroAllocation = false;
    /// An item below several roots is met once: the search of a root does not enter the other roots inside it.
    bool meetsItemsOnce = false;
    /// Is asked for each item that would be listed; null accepts all. An item that it refuses makes room for others.
    std::function<bool(const TopItem&)> accepts{};
    /// Counts all items that the search meets, listed or not; null for nobody.
    Met* met = nullptr;
  };
  /// The largest files and packages below the roots. Does not enter packages. Never throws.
  [[nodiscard]] std::vector<TopItem> topFilesRecursively(const std::vector<FileURL>& in, const SearchOptions& options,
                                                         const Cancellation& cancellation) const;

  /// The bytes of the folders that are on this disk, and those that are only in the cloud. Skips hidden items. Never
  /// throws.
  [[nodiscard]] CloudStorageSummary cloudSummary(const std::vector<FileURL>& in, long maxDepth, long maxVisited,
                                                 bool allowSlowForPackages, const Cancellation& cancellation) const;

 private:
  FileSizeCalculator fileSizeCalculator_;
  FileManager files_;
  Growth growth_;
};

}  // namespace quarn
