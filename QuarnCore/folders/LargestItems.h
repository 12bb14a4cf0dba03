#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace quarn {

/// Keeps the `limit` values of the largest keys out of a stream. When it is full, a value of a strictly greater key
/// takes the place of the held one of the smallest key, the first found among equals. A value that is not kept costs
/// one comparison, whatever the limit; memory grows with what is held, never with the limit.
template <class Value>
class LargestItems {
 public:
  explicit LargestItems(long limit) : limit_(limit) {}

  /// Whether a value of this key would be kept: lets a caller make only the values that are.
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

  /// What is held, largest first, equal keys in the order in which they were found. Empties the holder.
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

 private:
  struct Held {
    std::int64_t key;
    std::uint64_t order;
    Value value;
  };
  // The heap's front is the next to go: the smallest key, among equals the one found first.
  static bool isKeptLonger(const Held& left, const Held& right) {
    return left.key != right.key ? left.key > right.key : left.order > right.order;
  }

  long limit_;
  std::uint64_t found_ = 0;
  std::vector<Held> held_;
};

}  // namespace quarn
