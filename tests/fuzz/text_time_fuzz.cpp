#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>

#include "TextOperations.h"

namespace {

double processorSeconds() {
  timespec time{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

}  // namespace

/// Repeats two texts to 100,000 bytes and bounds the time of the text operations: it may grow with the length, not with
/// its square. The bound is generous: an instrumented build takes less than a tenth of it.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kLongest = 100'000;
  constexpr double kSecondsPerByte = 20e-6;
  const auto [left, right] = quarn::twoTexts(data, size);
  if (left.empty() && right.empty()) return 0;
  std::string longLeft;
  std::string longRight;
  while (longLeft.size() + longRight.size() < kLongest) {
    longLeft += left;
    longRight += right;
  }
  const double start = processorSeconds();
  quarn::checkTextOperations(longLeft, longRight);
  quarn::check(processorSeconds() - start < kSecondsPerByte * kLongest);
  return 0;
}
