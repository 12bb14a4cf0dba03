#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnPlatform/base/ByteCounts.h"
#include "QuarnPlatform/walking/FoundItems.h"
#include "QuarnPlatform/walking/ListedItem.h"

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

}  // namespace quarn
