#pragma once

#include <atomic>
#include <cstddef>

namespace quarn {

/// An amount that the parts of one operation share. Thread-safe.
class Budget {
 public:
  explicit Budget(std::size_t amount) : left_(amount) {}
  Budget(const Budget&) = delete;
  Budget& operator=(const Budget&) = delete;

  /// Takes `amount` and returns true if that much is left; otherwise takes nothing and returns false.
  [[nodiscard]] bool take(std::size_t amount) {
    std::size_t left = left_.load(std::memory_order_relaxed);
    while (amount <= left) {
      if (left_.compare_exchange_weak(left, left - amount, std::memory_order_relaxed)) return true;
    }
    return false;
  }

 private:
  std::atomic<std::size_t> left_;
};

}  // namespace quarn
