#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>

namespace quarn {

/// The number of threads that should help the calling one with a walk: one per further core, and more while system
/// calls are so slow that they must be waiting for a disk. More threads than cores keep a disk busy, but slow down a
/// walk that is served from memory.
///
/// Lock-free and safe from any thread. `wanted()` only grows, up to `most_`, until `limit` lowers both. A stale value
/// means one thread too many or too few, which is harmless. Each `Observations` belongs to one thread.
class HelperCount {
 public:
  using Clock = std::chrono::steady_clock;

  /// The measurements of one thread so far.
  struct Observations {
    unsigned slow = 0;  ///< by how many the slow calls outnumber the fast ones
  };

  /// Starts with `atOnce` threads; never wants more than `most`.
  HelperCount(unsigned most, unsigned atOnce);
  /// One per core besides that of the calling thread. At least one, because a thread also waits.
  static unsigned furtherCores();

  [[nodiscard]] unsigned wanted() const { return wanted_.load(std::memory_order_relaxed); }
  /// Whether further measurements can still change the number.
  [[nodiscard]] bool mayGrow() const { return wanted() < most_; }
  /// Records that a thread needed `time` for about `calls` system calls on the walk's items. At first the slow calls
  /// must lead by two, because a thread that lost its core to another one looks once as if it had waited for the disk.
  void note(Observations& observations, std::size_t calls, Clock::duration time);
  /// Call this when the system refuses to start more threads than `started`.
  void limit(unsigned started);

 private:
  std::atomic<unsigned> most_;
  std::atomic<unsigned> wanted_;
  std::atomic<bool> isDiskSlow_ = false;
};

}  // namespace quarn
