#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>

namespace quarn {

/// How many threads should help the calling one with a walk: one for each further core, and more while system calls
/// take so long that they must be waiting for a disk. When everything comes from memory, more threads than cores only
/// get in each other's way; when it does not, they keep the disk busy.
///
/// Lock-free and safe from any thread. `wanted()` only grows, up to `most_`, until `limit` lowers both. A stale value
/// costs a thread too many or too few and nothing else. Observations belong to one thread each.
class HelperCount {
 public:
  using Clock = std::chrono::steady_clock;

  /// What one thread has noted so far.
  struct Observations {
    unsigned slow = 0;  ///< by how many the slow ones lead
  };

  /// `atOnce` of them from the start, never more than `most`.
  HelperCount(unsigned most, unsigned atOnce);
  /// One for each core besides the calling thread's; at least one, for a thread also waits.
  static unsigned furtherCores();

  [[nodiscard]] unsigned wanted() const { return wanted_.load(std::memory_order_relaxed); }
  /// Whether what is noted can still change anything.
  [[nodiscard]] bool mayGrow() const { return wanted() < most_; }
  /// Takes note that a thread made about `calls` system calls on the walk's items in that time. The first slow ones
  /// must lead by two: a thread that had to leave its core to another one looks once as if it had waited for the disk.
  void note(Observations& observations, std::size_t calls, Clock::duration time);
  /// The system gives no more threads than those `started`.
  void limit(unsigned started);

 private:
  std::atomic<unsigned> most_;
  std::atomic<unsigned> wanted_;
  std::atomic<bool> isDiskSlow_ = false;
};

}  // namespace quarn
