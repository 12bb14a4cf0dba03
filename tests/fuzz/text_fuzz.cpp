#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <string>
#include <string_view>

#include "QuarnPlatform/text/Text.h"

namespace {

using quarn::Text;

double processorSeconds() {
  timespec time{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

void check(bool holds) {
  if (!holds) std::abort();
}

void work(std::string_view left, std::string_view right) {
  check(Text::equal(left, left) && Text::equal(left, right) == Text::equal(right, left));
  check(left.empty() || Text::hasPrefix(left, ""));
  const std::string valid = Text::validUTF8(left);
  check(Text::validUTF8(valid) == valid);
  (void)Text::hasPrefix(left, right);
  (void)Text::contains(left, right);
  (void)Text::folded(left);
  (void)Text::lowercased(left);
  (void)Text::normalizedKey(left);
  (void)Text::characterCount(left);
  (void)Text::displayWidth(left);
  const int order = Text::localizedCaseInsensitiveCompare(left, right);
  check((order > 0) == (Text::localizedCaseInsensitiveCompare(right, left) < 0));
}

}  // namespace

/// Repeats what it is given, so that work that grows with the square of a text's length shows: the time may grow with
/// the length alone. The bound is a hundred times what an instrumented build takes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kLongest = 20'000;
  constexpr double kSecondsPerByte = 100e-6;
  if (size < 2) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const std::string_view left = bytes.substr(1, (size - 1) * data[0] / 255);
  const std::string_view right = bytes.substr(1 + left.size());
  work(left, right);
  std::string longLeft;
  std::string longRight;
  while (longLeft.size() + longRight.size() < kLongest) {
    longLeft += left;
    longRight += right;
  }
  const double start = processorSeconds();
  work(longLeft, longRight);
  check(processorSeconds() - start < kSecondsPerByte * kLongest);
  return 0;
}
