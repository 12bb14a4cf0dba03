#include "QuarnPlatform/HelperCount.h"

#include <algorithm>
#include <thread>

namespace quarn {
namespace {

// From memory a call takes one or two microseconds, from a fast disk fifty and more.
constexpr auto kCallFromDisk = std::chrono::microseconds(20);

}  // namespace

HelperCount::HelperCount(unsigned most, unsigned atOnce) : most_(most), wanted_(std::min(most, atOnce)) {}

unsigned HelperCount::furtherCores() { return std::max(std::thread::hardware_concurrency(), 2U) - 1; }

void HelperCount::note(std::size_t calls, Clock::duration time) {
  if (time <= kCallFromDisk * calls) return;
  unsigned before = wanted();
  while (before < most_ && !wanted_.compare_exchange_weak(before, before + 1)) {
  }
}

void HelperCount::limit(unsigned started) {
  most_ = started;
  wanted_ = started;
}

}  // namespace quarn
