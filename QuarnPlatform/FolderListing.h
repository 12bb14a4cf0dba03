#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnPlatform/ByteCounts.h"
#include "QuarnPlatform/DirectoryEnumerator.h"
#include "QuarnPlatform/DirectoryReader.h"
#include "QuarnPlatform/ItemFacts.h"

namespace quarn {

/// One folder's entries in ascending byte order of their names, packed. A plain value.
struct FolderListing {
  struct Entry {
    std::uint64_t nameAt = 0;  ///< where in `names`; a NUL stands behind the name's end
    std::uint16_t nameLength = 0;
    FileType type = FileType::other;
    bool isPackage = false;  ///< by its name
  };

  /// Sizes of one entry; of anything but a regular file, or of a file that could not be read, neither.
  struct Sizes {
    static constexpr std::int64_t kNone = -1;
    std::int64_t allocatedBytes = kNone;
    std::int64_t logicalBytes = 0;  ///< without sizes: the errno, or 0
  };

  std::vector<Entry> entries;
  std::string names;
  std::vector<std::uint32_t> folders;  ///< which entries are folders to be entered
  std::vector<Sizes> sizes;            ///< one for each entry when sizes are read, else empty
  int error = 0;                       ///< the errno that ended the listing or kept it from beginning
  bool isPackage = false;              ///< the listed folder's FinderInfo says so; then nothing is listed

  [[nodiscard]] std::string_view name(const Entry& entry) const {
    return {names.data() + entry.nameAt, entry.nameLength};
  }
};

/// Fills listings by the rules of one walk. Owns buffers; for one thread.
class FolderLister {
 public:
  explicit FolderLister(const DirectoryEnumerator::Options& options) : options_(options) {}

  /// Lists the open folder, whose entries have the given level. Ends early, incomplete, when `isAbandoned` is set.
  void list(int folder, int level, const std::atomic<bool>& isAbandoned, FolderListing& listing);
  /// Reads the sizes of the regular files among the entries [from, to).
  static void readSizes(int folder, FolderListing& listing, std::size_t from, std::size_t to);

 private:
  struct Found {
    std::uint64_t sortKey = 0;
    FolderListing::Entry entry;
  };

  void keep(const DirectoryReader::Entry& entry);
  void sort();
  void pack(int level, FolderListing& listing);

  const DirectoryEnumerator::Options& options_;
  DirectoryReader reader_;
  std::vector<Found> found_;
  std::string names_;
};

}  // namespace quarn
