#include "QuarnPlatform/base/ByteCounts.h"

#include <cstdio>
#include <cstdlib>

namespace quarn {

std::int64_t checkedAdd(std::int64_t left, std::int64_t right) {
  std::int64_t sum = 0;
  if (__builtin_add_overflow(left, right, &sum)) {
    std::fputs("quarn: a byte count overflowed\n", stderr);
    std::abort();
  }
  return sum;
}

ByteCounts& ByteCounts::operator+=(const ByteCounts& other) {
  allocatedBytes = checkedAdd(allocatedBytes, other.allocatedBytes);
  logicalBytes = checkedAdd(logicalBytes, other.logicalBytes);
  return *this;
}

}  // namespace quarn
