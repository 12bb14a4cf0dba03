#include "QuarnPlatform/base/ByteCounts.h"

namespace quarn {

std::int64_t checkedAdd(std::int64_t left, std::int64_t right) {
  std::int64_t sum = 0;
  if (__builtin_add_overflow(left, right, &sum)) throw SizeOverflow();
  return sum;
}

ByteCounts& ByteCounts::operator+=(const ByteCounts& other) {
  ByteCounts sum;
  const bool isTooLarge = __builtin_add_overflow(allocatedBytes, other.allocatedBytes, &sum.allocatedBytes) ||
                          __builtin_add_overflow(logicalBytes, other.logicalBytes, &sum.logicalBytes);
  if (isTooLarge) throw SizeOverflow();
  return *this = sum;
}

}  // namespace quarn
