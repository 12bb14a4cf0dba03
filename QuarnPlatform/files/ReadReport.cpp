#include "QuarnPlatform/files/ReadReport.h"

#include <cerrno>
#include <numeric>
#include <utility>

namespace quarn {

void ReadReport::add(std::string path, int error) {
  const UnreadableCause cause = unreadableCause(error);
  add({std::move(path), cause, cause == UnreadableCause::otherDevice ? 0 : error});
}

void ReadReport::addOtherDevice(std::string path) { add(std::move(path), EXDEV); }

void ReadReport::add(const ReadReport& other) {
  for (UnreadableItem& item : other.items()) add(std::move(item));
}

void ReadReport::add(UnreadableItem item) {
  const std::lock_guard lock(mutex_);
  if (known_.contains({item.cause, item.path})) return;
  ++counts_[static_cast<std::size_t>(item.cause)];
  if (items_.size() == kKeptItems || item.path.size() > kKeptBytes - keptBytes_) return;
  known_.emplace(item.cause, item.path);
  keptBytes_ += item.path.size();
  items_.push_back(std::move(item));
}

std::vector<UnreadableItem> ReadReport::items() const {
  const std::lock_guard lock(mutex_);
  return items_;
}

std::uint64_t ReadReport::count() const {
  const std::lock_guard lock(mutex_);
  return std::accumulate(std::begin(counts_), std::end(counts_), std::uint64_t{0});
}

std::uint64_t ReadReport::count(UnreadableCause cause) const {
  const std::lock_guard lock(mutex_);
  return counts_[static_cast<std::size_t>(cause)];
}

}  // namespace quarn
