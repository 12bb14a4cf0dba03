#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnCore/ownership/ItemOwners.h"
#include "QuarnCore/scans/Scan.h"
#include "QuarnPlatform/paths/PathTrie.h"

namespace quarn {

/// What vendor profiles said about paths at the time of a scan.
class ScannedHints {
 public:
  /// Throws ScanError and FileError.
  explicit ScannedHints(const Scan& scan);

  /// The hint of the deepest vendor path that is or contains a standardised path. The first category with one decides.
  /// In a scan of all users, the vendor paths in a home folder say nothing about a home folder inside it.
  [[nodiscard]] std::optional<VendorPathHint> hint(std::string_view path) const;

 private:
  using Owner = std::optional<std::size_t>;  ///< the position of a home folder

  HomeFolders homes_;
  std::vector<VendorPathHint> hints_;
  std::map<StorageCategoryID, std::map<Owner, PathTrie<std::size_t>>> byCategory_;  ///< positions in `hints_`
};

/// The owners of the entries of a scan: the answers of `ItemOwners` at the time of the scan. For other items a scan has
/// no evidence.
class ScannedOwners {
 public:
  /// Throws ScanError and FileError.
  explicit ScannedOwners(const Scan& scan);

  /// The owner of an entry; absent if the item with this standardised path is not one.
  [[nodiscard]] std::optional<ItemOwnership> of(const FileURL& url) const;
  /// The innermost entry that contains a path, without the path itself.
  [[nodiscard]] std::optional<FileURL> entryAround(std::string_view path) const;

 private:
  std::vector<ItemOwnership> items_;
  std::map<std::string, std::size_t, std::less<>> byPath_;  ///< positions in `items_`
};

}  // namespace quarn
