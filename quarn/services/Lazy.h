#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <utility>

namespace quarn {

/// A value that is created once, on first use. Thread-safe; not copyable and not movable.
template <class Value>
class Lazy {
 public:
  explicit Lazy(std::function<Value()> make) : make_(std::move(make)) {}
  Lazy(const Lazy&) = delete;
  Lazy& operator=(const Lazy&) = delete;

  const Value& operator()() const {
    std::call_once(once_, [this] {
      value_.emplace(make_());
      isMade_ = true;
    });
    return *value_;
  }
  /// Whether somebody has asked for it.
  [[nodiscard]] bool isMade() const { return isMade_; }

 private:
  std::function<Value()> make_;
  mutable std::once_flag once_;
  mutable std::atomic<bool> isMade_ = false;
  mutable std::optional<Value> value_;
};

}  // namespace quarn
