#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "QuarnCore/ownership/UsersMap.h"
#include "QuarnModels/Storage.h"
#include "quarn/commands/CommandContext.h"

namespace quarn {

/// The owner and the storage category of folders and files, from a volume or a scan.
class BranchFacts {
 public:
  /// Reads the owners of the whole volume, and looks for games by their files, which takes a moment, unless
  /// `wantsOwners` is false.
  BranchFacts(CommandContext& context, bool wantsOwners);
  BranchFacts(const BranchFacts&) = delete;
  BranchFacts& operator=(const BranchFacts&) = delete;

  /// "Lumen Notes", "macOS", "Old Editor (not installed)"; empty if it is not known.
  [[nodiscard]] std::string owner(const FileURL& url) const;
  /// The name of the app whose it alone is, installed or not; empty for everything else.
  [[nodiscard]] std::string app(const FileURL& url) const;
  /// The names and bundle identifiers of its owners, for a filter.
  [[nodiscard]] std::vector<std::string> owners(const FileURL& url) const;
  /// The category whose folders have the item; absent if there is none.
  [[nodiscard]] std::optional<StorageCategoryID> category(const FileURL& url) const;
  /// The maps of a volume; absent for a scan, and if the command was interrupted before.
  [[nodiscard]] const std::optional<UsersMap>& map() const { return map_; }

 private:
  struct Owner {
    std::string text{};
    std::string app{};
    std::vector<std::string> names{};
  };
  static Owner ownerOf(const Ownership& ownership);
  [[nodiscard]] Owner find(const FileURL& url) const;
  void readVolume(CommandContext& context, bool wantsOwners);
  void readScan(const Scan& scan, bool wantsOwners);

  std::optional<UsersMap> map_;                                       // of a volume
  HomeFolders homes_;                                                 // of a scan of all users
  std::map<std::string, Owner, std::less<>> apps_;                    // of a scan, by path
  std::vector<Ownership> entries_;                                    // of a scan
  std::unordered_map<std::string_view, std::size_t> entriesByPath_;   // positions in `entries_`, which has the paths
  std::map<std::string, StorageCategoryID, std::less<>> categories_;  // by the path of a root
};

}  // namespace quarn
