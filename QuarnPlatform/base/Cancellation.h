#pragma once

#include <atomic>
#include <memory>

namespace quarn {

/// A flag that one side sets and long operations poll. Copies share the flag. Thread-safe.
class Cancellation {
 public:
  Cancellation() : flag_(std::make_shared<std::atomic<bool>>(false)) {}

  /// The flag of operations that nobody stops.
  static Cancellation never() { return Cancellation(nullptr); }

  void cancel() const {
    if (flag_) flag_->store(true, std::memory_order_relaxed);
  }
  [[nodiscard]] bool isCancelled() const { return flag_ && flag_->load(std::memory_order_relaxed); }

 private:
  explicit Cancellation(std::nullptr_t) {}

  std::shared_ptr<std::atomic<bool>> flag_;
};

}  // namespace quarn
