#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnPlatform/base/ByteCounts.h"
#include "QuarnPlatform/paths/PathTrie.h"
#include "QuarnPlatform/walking/ListedItem.h"

namespace quarn {

struct FolderListing;

/// Folders as an ordered walk has listed them, with the sizes of their files, hidden ones too. A sizing walk that
/// follows at once counts them without opening them again. It opens the folders that are not kept.
///
/// One thread fills it. Then it is constant, and thread-safe. Memory: 24 bytes and the name of each item, and 24 bytes
/// more of a folder, up to the limits.
class KeptListings {
 public:
  static constexpr std::size_t kMostItems = 96u << 10;
  static constexpr std::size_t kMostNames = 4u << 20;  ///< bytes
  /// Listing a larger folder again costs little beside its files.
  static constexpr std::size_t kMostItemsOfFolder = 4096;

  /// A kept folder.
  using Folder = std::uint32_t;
  static constexpr Folder kNone = static_cast<Folder>(-1);

  /// A folder or a regular file in a kept folder.
  struct Item {
    ListedItem item;
    ByteCounts sizes;  ///< of a regular file
  };
  /// A kept folder in another one.
  struct Child {
    std::uint32_t item;  ///< its position in the listing; once it is kept, among all items
    Folder folder;
  };
  /// Where a walk is. `isInKept` is false for the root of the walk that kept it. The walk that counts opens that folder
  /// itself, to check its device and whether it is a package.
  struct Place {
    PathTrie<Folder>::Node way = PathTrie<Folder>::kNone;  ///< to the roots
    Folder folder = kNone;                                 ///< the folder here, if it is kept
    bool isInKept = false;  ///< the folder around it is kept too, and the walk came from there
  };

  KeptListings() = default;
  KeptListings(const KeptListings&) = delete;
  KeptListings& operator=(const KeptListings&) = delete;

  // For the walk that keeps.

  /// Reserves room for a listing. False if there is none, or if the listing is not to be kept.
  [[nodiscard]] bool reserve(const FolderListing& listing);
  /// Whether a listing was refused because the limits are reached. Then all further ones are. Thread-safe.
  [[nodiscard]] bool isFull() const { return isFull_.load(std::memory_order_relaxed); }
  /// Keeps a listing for which room was reserved. `children` are the kept ones of its folders, in its order. `kNone` if
  /// the size of a file is missing.
  [[nodiscard]] Folder add(const FolderListing& listing, std::vector<Child> children);
  /// Sets where the walk began: a path as a walk meets it, without links.
  void addRoot(std::string_view path, Folder folder) { roots_.insert(path, folder); }

  // For the walk that counts.

  [[nodiscard]] Place find(std::string_view path) const;
  /// The place of the folder `name` in the folder at `parent`.
  [[nodiscard]] Place step(const Place& parent, std::string_view name) const;
  [[nodiscard]] std::span<const Item> items(Folder folder) const;
  [[nodiscard]] std::string_view name(const ListedItem& item) const { return item.nameIn(names_); }

 private:
  struct Listing {
    std::uint32_t firstItem;
    std::uint32_t items;
    std::uint32_t firstChild;
    std::uint32_t children;
  };

  [[nodiscard]] Folder childOf(Folder parent, std::string_view name) const;
  void makeMemory();

  std::vector<Listing> listings_;
  std::vector<Item> items_;
  std::vector<Child> children_;  // of each folder in the order of their names
  std::string names_;
  PathTrie<Folder> roots_;
  std::size_t reservedItems_ = 0;
  std::size_t reservedNames_ = 0;
  std::atomic<bool> isFull_ = false;
};

}  // namespace quarn
