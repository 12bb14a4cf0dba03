#include "QuarnPlatform/base/ByteCounts.h"

namespace quarn {

void throwSizeOverflow() { throw SizeOverflow(); }

std::int64_t checkedAdd(std::int64_t left, std::int64_t right) {
  std::int64_t sum = 0;
  if (__builtin_add_overflow(left, right, &sum)) throwSizeOverflow();
  return sum;
}

}  // namespace quarn
