#include "QuarnPlatform/paths/PackedPaths.h"

#include <algorithm>

namespace quarn {
namespace {

constexpr std::uint32_t kMark = std::uint32_t{1} << 31;

bool isBefore(const PackedPaths::Entry& left, const PackedPaths::Entry& right) { return left.path < right.path; }

}  // namespace

PackedPaths::PackedPaths(std::vector<Entry> entries) {
  if (!std::is_sorted(entries.begin(), entries.end(), isBefore)) std::sort(entries.begin(), entries.end(), isBefore);
  std::size_t length = 0;
  for (const Entry& entry : entries) length += entry.path.size() + 1;
  bytes_.reserve(std::min<std::size_t>(length, kMark));
  starts_.reserve(entries.size());
  for (const Entry& entry : entries) {
    const std::uint32_t mark = entry.isMarked ? kMark : 0;
    if (!starts_.empty() && pathAt(starts_.size() - 1) == entry.path) {
      starts_.back() |= mark;
      continue;
    }
    if (entry.path.size() >= kMark - bytes_.size()) break;
    starts_.push_back(static_cast<std::uint32_t>(bytes_.size()) | mark);
    bytes_ += entry.path;
    bytes_ += '\0';
  }
}

PackedPaths::Entry PackedPaths::operator[](std::size_t index) const {
  return {.path = pathAt(index), .isMarked = (starts_[index] & kMark) != 0};
}

std::string_view PackedPaths::pathAt(std::size_t index) const {
  const std::size_t start = starts_[index] & ~kMark;
  const std::size_t end = index + 1 < starts_.size() ? starts_[index + 1] & ~kMark : bytes_.size();
  return std::string_view(bytes_).substr(start, end - start - 1);
}

std::size_t PackedPaths::lowerBound(std::string_view path) const {
  std::size_t first = 0;
  std::size_t count = starts_.size();
  while (count > 0) {
    const std::size_t half = count / 2;
    if (pathAt(first + half) < path) {
      first += half + 1;
      count -= half + 1;
    } else {
      count = half;
    }
  }
  return first;
}

bool PackedPaths::contains(std::string_view path) const {
  const std::size_t index = lowerBound(path);
  return index < size() && pathAt(index) == path;
}

bool PackedPaths::containsAtOrBelow(std::string_view path) const {
  if (path.empty()) return size() > 0;
  if (contains(path)) return true;
  const std::string folder = std::string(path) + '/';
  const std::size_t index = lowerBound(folder);
  return index < size() && pathAt(index).starts_with(folder);
}

std::size_t PackedPaths::memory() const { return bytes_.capacity() + starts_.capacity() * sizeof(std::uint32_t); }

}  // namespace quarn
