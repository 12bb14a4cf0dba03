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
/// One thread fills it. Then only the sizes change. Several threads may read sizes at the same time, each for its own
/// range of entries; the owner of the listing must synchronise them (`ReadAhead` does with its lock). Memory: 32 bytes
/// and the name per entry.
struct FolderListing {
  struct Entry {
    ListedItem item;                          ///< its name is in `names`
    ByteCounts sizes = FoundItems::kNoSizes;  ///< of a regular file, once they are read
    int sizesError = 0;                       ///< the errno of reading them; 0 if they were read or not tried

    [[nodiscard]] bool hasSizes() const { return sizes.allocatedBytes != FoundItems::kNoSizes.allocatedBytes; }
  };

  std::vector<Entry> entries;
  std::string names;
  std::vector<std::uint32_t> folders;  ///< the indices of the folders to enter
  bool wantsSizes = false;             ///< the sizes of its regular files must be read
  bool isPackage = false;              ///< by the folder's FinderInfo; then it has no entries
  int error = 0;                       ///< the errno that ended or prevented the listing

  /// Removes all entries and keeps the memory.
  void clear();
  [[nodiscard]] std::string_view name(const Entry& entry) const { return entry.item.nameIn(names); }
};

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
