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

/// An item as its folder lists it, in eight bytes, for a folder may hold millions: the type, and where among the
/// folder's names the item's own stands. A plain value.
class ListedItem {
 public:
  /// A NUL stands behind the name's end.
  ListedItem(std::size_t nameAt, std::size_t nameLength, FileType type, bool isPackage)
      : bits_(std::uint64_t{nameAt} << kNameAt | std::uint64_t{nameLength} << kNameLength |
              std::uint64_t{isPackage} << kPackage | static_cast<std::uint64_t>(type)) {}

  [[nodiscard]] std::size_t nameAt() const { return bits_ >> kNameAt; }
  [[nodiscard]] std::size_t nameLength() const { return bits_ >> kNameLength & 0xFFFF; }
  [[nodiscard]] FileType type() const { return static_cast<FileType>(bits_ & 0x7); }
  /// By its name.
  [[nodiscard]] bool isPackage() const { return (bits_ >> kPackage & 1) != 0; }

  [[nodiscard]] std::string_view nameIn(const std::string& names) const {
    return {names.data() + nameAt(), nameLength()};
  }

 private:
  static constexpr int kPackage = 3;
  static constexpr int kNameLength = 4;
  static constexpr int kNameAt = 20;

  std::uint64_t bits_;
};

/// One folder's entries in ascending byte order of their names, packed. A plain value.
struct FolderListing {
  struct Entry {
    static constexpr std::int64_t kNoSizes = -1;

    ListedItem item;                         ///< its name is in `names`
    std::int64_t allocatedBytes = kNoSizes;  ///< of a regular file whose sizes were read
    std::int64_t logicalBytes = 0;  ///< likewise; without sizes the errno with which they could not be read, or 0
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
  explicit FolderLister(const DirectoryEnumerator::Options& options) : options_(options) {}

  /// Lists the open folder, whose entries have the given level. Ends early, incomplete, when `isAbandoned` is set.
  void list(int folder, int level, const std::atomic<bool>& isAbandoned, FolderListing& listing);
  /// Reads the sizes of the regular files among the entries [from, to).
  static void readSizes(int folder, FolderListing& listing, std::size_t from, std::size_t to);

 private:
  struct Found {
    std::uint64_t sortKey;
    ListedItem item;
  };

  [[nodiscard]] std::string_view name(const Found& found) const { return found.item.nameIn(names_); }
  void keep(const DirectoryReader::Entry& entry);
  void sort();
  void sortByKeys();
  void pack(int level, FolderListing& listing);

  const DirectoryEnumerator::Options& options_;
  DirectoryReader reader_;
  std::vector<Found> found_;
  std::string names_;
};

}  // namespace quarn
