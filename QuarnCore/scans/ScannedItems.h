#pragma once

#include <cstdint>
#include <vector>

#include "QuarnCore/folders/TopItemsService.h"
#include "QuarnCore/scans/Scan.h"

namespace quarn {

/// The largest items in folders of a scan: the answers of `TopItemsService` at the time of the scan. A scan has every
/// folder and the largest files, but no links and no special files, which have no size. All operations throw ScanError
/// and FileError.
class ScannedItems {
 public:
  struct Answer {
    std::vector<TopItem> items{};
    /// False if files that the scan does not have could be among the items; then `items` ends before them.
    bool isWhole = true;
    std::vector<FileURL> missing{};  ///< folders that the scan does not have
  };

  explicit ScannedItems(Scan scan) : scan_(std::move(scan)) {}

  /// `SearchOptions::maxVisited` is ignored: the scan has seen everything.
  [[nodiscard]] Answer topFilesRecursively(const std::vector<FileURL>& in,
                                           const TopItemsService::SearchOptions& options) const;
  /// Ranked by the space on disk, or by the larger of space and length. Without the children that have no bytes.
  [[nodiscard]] Answer topChildren(const std::vector<FileURL>& in, long limit, bool includeHidden, bool byDisk) const;
  [[nodiscard]] Answer topFiles(const std::vector<FileURL>& in, long limit, bool includeHidden, bool byDisk) const;

 private:
  Scan scan_;
};

}  // namespace quarn
