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
///
/// One thread fills it. Afterwards it is constant, but for the sizes: threads may read the sizes of different stretches
/// of entries at the same time, each entry by one thread. Whoever shares a listing between threads sees to that
/// (`ReadAhead` by its lock). Memory: 32 bytes and the name for each entry.
struct FolderListing {
  struct Entry {
    ListedItem item;                          ///< its name is in `names`
    ByteCounts sizes = FoundItems::kNoSizes;  ///< of a regular file whose sizes were read
    int sizesError = 0;  ///< the errno with which they could not be read; 0: they were, or nobody tried

    [[nodiscard]] bool hasSizes() const { return sizes.allocatedBytes != FoundItems::kNoSizes.allocatedBytes; }
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

/// Fills listings by the rules of one walk. Owns the reader and the buffers for the items as they are found; belongs to
/// one thread and is reused for many folders. In a huge folder `EarlySizes` reads sizes on another thread meanwhile.
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
  bool sizesCameWithNames_ = false;
};

}  // namespace quarn
