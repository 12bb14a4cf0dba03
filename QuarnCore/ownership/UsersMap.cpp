#include "QuarnCore/ownership/UsersMap.h"

#include <algorithm>
#include <utility>

namespace quarn {

UsersMap::UsersMap(HomeFolders homes, std::vector<OwnershipMap> maps)
    : homes_(std::move(homes)), maps_(std::move(maps)) {}

bool UsersMap::isComplete() const {
  return std::all_of(maps_.begin(), maps_.end(), [](const OwnershipMap& map) { return map.isComplete(); });
}

const OwnershipMap& UsersMap::mapOf(const FileURL& url) const { return maps_[homes_.homeOf(url).value_or(0)]; }

bool UsersMap::isOf(std::size_t home, const OwnershipMap& map, std::size_t entry) const {
  return maps_.size() == 1 || homes_.isOf(home, map.url(entry).path());
}

void UsersMap::eachEntry(const std::function<bool(const OwnershipMap& map, std::size_t entry)>& consume) const {
  for (std::size_t home = 0; home < maps_.size(); ++home) {
    for (std::size_t entry = 0; entry < maps_[home].size(); ++entry) {
      if (isOf(home, maps_[home], entry) && !consume(maps_[home], entry)) return;
    }
  }
}

}  // namespace quarn
