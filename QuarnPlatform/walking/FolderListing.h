#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnPlatform/base/ByteCounts.h"
#include "QuarnPlatform/files/DirectoryReader.h"
#include "QuarnPlatform/walking/FoundItems.h"
#include "QuarnPlatform/walking/ListedItem.h"
#include "QuarnPlatform/walking/WalkOptions.h"

namespace quarn {

/// One folder's entries in ascending byte order of their names, packed. A plain value.
struct FolderListing {
  struct Entry {
    static constexpr std::int64_t kNoSizes = FoundItems::kNoSizes.allocatedBytes;

    ListedItem item;                         ///< its name is in `names`
    std::int64_t allocatedBytes = kNoSizes;  ///< of a regular file whose sizes were read
    std::int64_t logicalBytes = 0;  ///< likewise; without sizes the errno with which they could not be read, or 0

    [[nodiscard]] bool hasSizes() const { return allocatedBytes != kNoSizes; }
    void setSizes(const ByteCounts& sizes) {
      allocatedBytes = sizes.allocatedBytes;
      logicalBytes = sizes.logicalBytes;
    }
  };

  std::vector<Entry> entries;
  std::string names;
  std::vector<std::uint32_t> folders;  ///< which entries are folders to be entered
  bool wantsSizes = false;             ///< there are regular files, and their sizes are to be read
  bool isPackage = false;              ///< the listed folder's FinderInfo says so; then nothing is listed
  int error = 0;                       ///< the errno that ended the listing or kept it from beginning

  /// Empties it and keeps its memory.
  void clear();
  [[nodiscard]] std::string_view name(const Entry& entry) const { return entry.item.nameIn(names); }
};

/// Fills listings by the rules of one walk. Owns buffers; for one thread.
class FolderLister {
 public:
  explicit FolderLister(const WalkOptions& options) : options_(options) {}

  /// Lists the open folder, whose entries have the given level. Ends early, incomplete and in no order, when
  /// `isAbandoned` is set or the walk is cancelled.
  void list(int folder, int level, const std::atomic<bool>& isAbandoned, FolderListing& listing);
  /// Reads the sizes of the regular files among the entries [from, to), as far as they are not there. Ends early when
  /// the walk is cancelled.
  void readSizes(int folder, FolderListing& listing, std::size_t from, std::size_t to) const;

 private:
  struct Found {
    std::uint64_t sortKey;
    std::uint32_t index;
  };

  [[nodiscard]] bool isCancelled() const { return options_.cancellation.isCancelled(); }
  [[nodiscard]] bool reads(int level) const { return level <= options_.maximumLevel; }
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
  std::vector<Found> found_;  // the same in the order of their names
};

}  // namespace quarn
