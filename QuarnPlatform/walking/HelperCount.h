#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace quarn {

/// The number of threads that should help the calling one with a walk: one per further core, and more while system
/// calls are slow because they wait for a disk. More threads than cores keep a disk busy, but slow down a walk that is
/// served from memory. A call is also slow when its thread loses the core to another one. To tell the two apart, the
/// waits of a thread are counted; that costs a system call, so they are counted only after a slow measurement.
///
/// Lock-free and safe from any thread. `wanted()` only grows, up to `most_`, until `limit` lowers both. A stale value
/// means one thread too many or too few, which is harmless. Each `Observations` belongs to one thread.
class HelperCount {
 public:
  using Clock = std::chrono::steady_clock;

  /// The measurements of one thread so far.
  struct Observations {
    static constexpr unsigned kCountedAtOnce = 16;

    unsigned slow = 0;                    ///< by how many the slow calls outnumber the fast ones
    unsigned counted = kCountedAtOnce;    ///< in how many further measurements the thread's waits are counted
    std::optional<std::int64_t> waits{};  ///< of the thread when the measurement began, if they are counted
  };

  /// Starts with `atOnce` threads; never wants more than `most`.
  HelperCount(unsigned most, unsigned atOnce);
  /// One per core besides that of the calling thread. At least one, because a thread also waits.
  static unsigned furtherCores();

  [[nodiscard]] unsigned wanted() const { return wanted_.load(std::memory_order_relaxed); }
  /// Whether further measurements can still change the number.
  [[nodiscard]] bool mayGrow() const { return wanted() < most_; }
  /// Begins a measurement on the calling thread.
  static Clock::time_point begin(Observations& observations);
  /// Ends it: the calling thread needed `time` for about `calls` system calls on the walk's items. At first the slow
  /// calls must lead by two, because a thread can also wait for another thread. Without calls it says nothing.
  void note(Observations& observations, std::size_t calls, Clock::duration time);
  /// Call this when the system refuses to start more threads than `started`.
  void limit(unsigned started);

 private:
  std::atomic<unsigned> most_;
  std::atomic<unsigned> wanted_;
  std::atomic<bool> isDiskSlow_ = false;
};

}  // namespace quarn
