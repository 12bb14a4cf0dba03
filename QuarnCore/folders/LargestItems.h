#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "QuarnPlatform/base/ByteCounts.h"

namespace quarn {

/// The key by which items are ranked, unless they are ranked by their space on the disk.
inline std::int64_t largerCount(const ByteCounts& size) { return std::max(size.allocatedBytes, size.logicalBytes); }

/// Keeps the `limit` values with the largest keys of a stream. When it is full, a value with a strictly larger key
/// replaces the value with the smallest key (of equal ones, the first found). Rejecting a value costs one comparison.
/// Memory grows with the number of kept values, not with the limit.
template <class Value>
class LargestItems {
 public:
  explicit LargestItems(long limit) : limit_(limit) {}

  /// True if a value with this key would be kept, so that a caller can avoid building other values.
  [[nodiscard]] bool wouldKeep(std::int64_t key) const {
    return limit_ > 0 && (static_cast<long>(held_.size()) < limit_ || key > held_.front().key);
  }

  void add(std::int64_t key, Value value) {
    if (!wouldKeep(key)) return;
    if (static_cast<long>(held_.size()) == limit_) {
      std::pop_heap(held_.begin(), held_.end(), isKeptLonger);
      held_.pop_back();
    }
    held_.push_back({key, found_++, std::move(value)});
    std::push_heap(held_.begin(), held_.end(), isKeptLonger);
  }

  /// Returns and removes all values, largest first, equal keys in the order of insertion.
  std::vector<Value> take() {
    std::sort(held_.begin(), held_.end(), [](const Held& left, const Held& right) {
      return left.key != right.key ? left.key > right.key : left.order < right.order;
    });
    std::vector<Value> values;
    values.reserve(held_.size());
    for (Held& held : held_) values.push_back(std::move(held.value));
    held_.clear();
    return values;
  }

  /// What `take` would return.
  [[nodiscard]] std::vector<Value> values() const { return LargestItems(*this).take(); }

 private:
  struct Held {
    std::int64_t key;
    std::uint64_t order;
    Value value;
  };
  // The front of the heap is replaced next: the smallest key, of equal ones the first found.
  static bool isKeptLonger(const Held& left, const Held& right) {
    return left.key != right.key ? left.key > right.key : left.order > right.order;
  }

  long limit_;
  std::uint64_t found_ = 0;
  std::vector<Held> held_;
};

}  // namespace quarn
