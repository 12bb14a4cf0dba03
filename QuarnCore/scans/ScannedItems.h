#pragma once

#include <cstddef>
#include <vector>

#include "QuarnCore/folders/TopItemsService.h"
#include "QuarnCore/scans/Scan.h"
#include "QuarnCore/scans/ScannedAnswer.h"

namespace quarn {

/// The largest items in folders of a scan: the answers of `TopItemsService` at the time of the scan. A scan has every
/// folder and the largest files, but no links and no special files, which have no size. All operations throw ScanError
/// and FileError.
class ScannedItems {
 public:
  using Answer = ScannedAnswer;
  using Rank = ScannedRank;

  explicit ScannedItems(Scan scan) : scan_(std::move(scan)) {}

  /// `SearchOptions::maxVisited` and `accepts` are ignored: the scan has seen everything. `met` counts what the scan
  /// has.
  [[nodiscard]] Answer topFilesRecursively(const std::vector<FileURL>& in,
                                           const TopItemsService::SearchOptions& options) const;
  /// For each rank, the `limit` largest files and packages of the volume with a positive rank, hidden ones too, largest
  /// first; equal ones in the order of `topFilesRecursively`.
  [[nodiscard]] std::vector<Answer> largest(const std::vector<Rank>& ranks, std::size_t limit) const;
  /// Ranked by the space on disk, or by the larger of space and length. Without the children that have no bytes.
  /// `met`, if it is not null, counts the items of the whole list.
  [[nodiscard]] Answer topChildren(const std::vector<FileURL>& in, long limit, bool includeHidden, bool byDisk,
                                   TopItemsService::Met* met = nullptr) const;
  [[nodiscard]] Answer topFiles(const std::vector<FileURL>& in, long limit, bool includeHidden, bool byDisk,
                                TopItemsService::Met* met = nullptr) const;

 private:
  Scan scan_;
};

}  // namespace quarn
