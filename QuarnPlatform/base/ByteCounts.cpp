#include "QuarnPlatform/base/ByteCounts.h"

namespace quarn {

std::int64_t checkedAdd(std::int64_t left, std::int64_t right) {
  std::int64_t sum = 0;
  if (__builtin_add_overflow(left, right, &sum)) throw SizeOverflow();
  return sum;
}

ByteCounts& ByteCounts::operator+=(const ByteCounts& other) {
  const std::int64_t allocated = checkedAdd(allocatedBytes, other.allocatedBytes);
  logicalBytes = checkedAdd(logicalBytes, other.logicalBytes);
  allocatedBytes = allocated;
  return *this;
}

}  // namespace quarn
