#include "QuarnPlatform/walking/HelperCount.h"

#include <algorithm>
#include <thread>

#include "QuarnPlatform/base/ThreadWaits.h"

namespace quarn {
namespace {

// A call takes one or two microseconds when memory serves it, and fifty or more when a fast disk does.
constexpr auto kCallFromDisk = std::chrono::microseconds(20);
constexpr unsigned kSlowToBeSure = 2;

/// Whether the thread has waited since the measurement began. A slow measurement without a count does not tell; the
/// next ones will. Where the system does not say, slow calls have waited.
bool hasWaited(HelperCount::Observations& observations) {
  const std::optional<std::int64_t> waits = waitsOfThisThread();
  observations.counted = HelperCount::Observations::kCountedAtOnce;
  return !waits || (observations.waits && *waits > *observations.waits);
}

}  // namespace

HelperCount::HelperCount(unsigned most, unsigned atOnce) : most_(most), wanted_(std::min(most, atOnce)) {}

unsigned HelperCount::furtherCores() { return std::max(std::thread::hardware_concurrency(), 2U) - 1; }

HelperCount::Clock::time_point HelperCount::begin(Observations& observations) {
  const bool isCounted = observations.counted > 0;
  if (isCounted) --observations.counted;
  observations.waits = isCounted ? waitsOfThisThread() : std::nullopt;
  return Clock::now();
}

void HelperCount::note(Observations& observations, std::size_t calls, Clock::duration time) {
  if (calls == 0) return;
  if (time <= kCallFromDisk * calls) {
    if (observations.slow > 0) --observations.slow;
    return;
  }
  if (!hasWaited(observations)) return;
  if (++observations.slow >= kSlowToBeSure) isDiskSlow_.store(true, std::memory_order_relaxed);
  if (!isDiskSlow_.load(std::memory_order_relaxed)) return;
  unsigned before = wanted();
  while (before < most_ && !wanted_.compare_exchange_weak(before, before + 1)) {
  }
}

void HelperCount::limit(unsigned started) {
  most_ = started;
  wanted_ = started;
}

}  // namespace quarn
