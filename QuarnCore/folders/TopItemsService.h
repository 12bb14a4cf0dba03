#pragma once

#include <vector>

#include "QuarnModels/Storage.h"
#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/FileSizeCalculator.h"

namespace quarn {

/// Finds what takes space in folders. A plain value; synchronous. Operations poll `cancellation` before each item and
/// return what they have when it is set. An item ranks by the larger of its two byte counts unless an operation says
/// otherwise.
class TopItemsService {
 public:
  TopItemsService(FileSizeCalculator fileSizeCalculator, FileManager files);

  /// The sized direct children of a folder in listing order; empty when nothing exists there. With `allowSlow` folders
  /// are walked, else only regular files have a size. Throws FileError when the folder cannot be listed.
  [[nodiscard]] std::vector<TopItem> children(const FileURL& in, bool allowSlow, bool includeHidden,
                                              const Cancellation& cancellation) const;
  /// Those of several folders, one after another.
  [[nodiscard]] std::vector<TopItem> children(const std::vector<FileURL>& in, bool allowSlow, bool includeHidden,
                                              const Cancellation& cancellation) const;

  /// The `limit` largest of them, largest first.
  [[nodiscard]] std::vector<TopItem> topChildren(const FileURL& in, long limit, bool allowSlow, bool includeHidden,
                                                 const Cancellation& cancellation) const;
  [[nodiscard]] std::vector<TopItem> topChildren(const std::vector<FileURL>& in, long limit, bool allowSlow,
                                                 bool includeHidden, const Cancellation& cancellation) const;

  /// The `limit` largest files and packages directly in a folder. Throws FileError when it cannot be listed.
  [[nodiscard]] std::vector<TopItem> topFiles(const FileURL& in, long limit, bool includeHidden,
                                              const Cancellation& cancellation) const;
  [[nodiscard]] std::vector<TopItem> topFiles(const std::vector<FileURL>& in, long limit, bool includeHidden,
                                              const Cancellation& cancellation) const;

  /// The `limit` largest of the given items themselves.
  [[nodiscard]] std::vector<TopItem> sizedItems(const std::vector<FileURL>& urls, long limit, bool allowSlow,
                                                bool includeHidden, const Cancellation& cancellation) const;

  /// How far a recursive search goes.
  struct SearchOptions {
    long limit = 0;
    long maxDepth = 0;    ///< a root's direct entries have depth 1
    long maxVisited = 0;  ///< enumerated items, shared by all roots
    bool allowSlowForPackages = false;
    bool includeHidden = false;
    bool preferAllocatedSize = false;
  };
  /// The largest files and packages below the roots. Never throws; never enters a package met on the way.
  [[nodiscard]] std::vector<TopItem> topFilesRecursively(const std::vector<FileURL>& in, const SearchOptions& options,
                                                         const Cancellation& cancellation) const;

  /// How much of the folders is on this disk and how much only in the cloud. Hidden items take no part. Never throws.
  [[nodiscard]] CloudStorageSummary cloudSummary(const std::vector<FileURL>& in, long maxDepth, long maxVisited,
                                                 bool allowSlowForPackages, const Cancellation& cancellation) const;

 private:
  FileSizeCalculator fileSizeCalculator_;
  FileManager files_;
};

}  // namespace quarn
