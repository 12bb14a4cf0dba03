#pragma once

#include <cstddef>
#include <functional>
#include <vector>

#include "QuarnCore/ownership/OwnershipMap.h"
#include "QuarnCore/storage/HomeFolders.h"

namespace quarn {

/// Whose the entries of the app-data folders of several users are: a map for each home folder. An item belongs to the
/// map of the home folder that has it; what is in none, to the first map. So each entry counts once, and a user's
/// folders are judged as in that user's own map. A plain value; safe from any thread.
class UsersMap {
 public:
  /// `maps` has one map for each home folder, in their order.
  UsersMap(HomeFolders homes, std::vector<OwnershipMap> maps);

  /// False if one of the maps was cancelled before its end.
  [[nodiscard]] bool isComplete() const;
  /// The map that answers for an item.
  [[nodiscard]] const OwnershipMap& mapOf(const FileURL& url) const;
  /// Calls `consume` for the entries of each map that belong to it, until it returns false.
  void eachEntry(const std::function<bool(const OwnershipMap& map, std::size_t entry)>& consume) const;

 private:
  [[nodiscard]] bool isOf(std::size_t home, const OwnershipMap& map, std::size_t entry) const;

  HomeFolders homes_;
  std::vector<OwnershipMap> maps_;
};

}  // namespace quarn
