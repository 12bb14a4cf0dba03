#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "QuarnPlatform/files/DirectoryReader.h"
#include "QuarnPlatform/walking/FolderListing.h"
#include "QuarnPlatform/walking/FoundItems.h"
#include "QuarnPlatform/walking/WalkOptions.h"

namespace quarn {

/// Fills listings by the rules of one walk. Owns the reader and the buffers of found items. Belongs to one thread,
/// which reuses it for many folders. In a huge folder, `EarlySizes` reads sizes on another thread while this one lists.
class FolderLister {
 public:
  explicit FolderLister(const WalkOptions& options) : options_(options) {}

  /// Lists the open folder; `level` is that of its entries. Stops when `isAbandoned` is set or the walk is cancelled;
  /// the listing is then incomplete and unsorted.
  void list(int folder, int level, const std::atomic<bool>& isAbandoned, FolderListing& listing);
  /// Reads the missing sizes of the regular files among the entries [from, to). Stops when the walk is cancelled.
  void readSizes(int folder, FolderListing& listing, std::size_t from, std::size_t to) const;

 private:
  struct Found {
    std::uint64_t sortKey;
    std::uint32_t index;
  };

  [[nodiscard]] bool isCancelled() const { return options_.cancellation.isCancelled(); }
  [[nodiscard]] bool reads(int level) const { return level <= options_.maximumLevel; }
  [[nodiscard]] bool keeps(int level) const;
  void keep(const DirectoryReader::Entry& entry);
  void sort();
  void sortByKeys();
  void sortRuns();
  void pack(int level, FolderListing& listing) const;
  void takeSizes(FolderListing& listing) const;
  void dropScratch();

  const WalkOptions& options_;
  DirectoryReader reader_;
  FoundItems items_;
  std::vector<Found> found_;  // the same, sorted by name
  bool sizesCameWithNames_ = false;
  bool wantsSizes_ = false;  // of the folder's files
};

}  // namespace quarn
