#include "QuarnPlatform/walking/LinkedNames.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace quarn {

void LinkedNames::add(const LinkedName& name) {
  const std::lock_guard lock(mutex_);
  if (names_.size() < most_) {
    names_.push_back(name);
  } else {
    isWhole_ = false;
  }
}

std::vector<LinkedName> LinkedNames::take() {
  const std::lock_guard lock(mutex_);
  return std::exchange(names_, {});
}

bool LinkedNames::isWhole() const {
  const std::lock_guard lock(mutex_);
  return isWhole_;
}

void forEachLinkedFile(std::vector<LinkedName>& names,
                       const std::function<void(std::span<const LinkedName>)>& consume) {
  std::sort(names.begin(), names.end(), [](const LinkedName& left, const LinkedName& right) {
    return std::tie(left.device, left.inode, left.folder) < std::tie(right.device, right.inode, right.folder);
  });
  for (auto first = names.begin(); first != names.end();) {
    const auto last = std::find_if(first, names.end(), [&](const LinkedName& name) {
      return name.device != first->device || name.inode != first->inode;
    });
    consume({first, last});
    first = last;
  }
}

}  // namespace quarn
