#include "QuarnPlatform/walking/HelperCount.h"

#include <algorithm>
#include <thread>

namespace quarn {
namespace {

// A call takes one or two microseconds when memory serves it, and fifty or more when a fast disk does.
constexpr auto kCallFromDisk = std::chrono::microseconds(20);
constexpr unsigned kSlowToBeSure = 2;

}  // namespace

HelperCount::HelperCount(unsigned most, unsigned atOnce) : most_(most), wanted_(std::min(most, atOnce)) {}

unsigned HelperCount::furtherCores() { return std::max(std::thread::hardware_concurrency(), 2U) - 1; }

void HelperCount::note(Observations& observations, std::size_t calls, Clock::duration time) {
  if (time <= kCallFromDisk * calls) {
    if (observations.slow > 0) --observations.slow;
    return;
  }
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
