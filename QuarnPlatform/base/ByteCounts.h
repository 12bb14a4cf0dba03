#pragma once

#include <cstdint>

namespace quarn {

/// Adds two byte counts. Terminates the program on overflow, because a wrapped count would be wrong.
std::int64_t checkedAdd(std::int64_t left, std::int64_t right);

/// The size of one or more items in bytes. Sums are per component and checked for overflow.
struct ByteCounts {
  std::int64_t allocatedBytes = 0;  ///< space on disk: 512 × the number of blocks
  std::int64_t logicalBytes = 0;    ///< length of the content

  ByteCounts& operator+=(const ByteCounts& other);
  friend ByteCounts operator+(ByteCounts left, const ByteCounts& right) { return left += right; }
  friend bool operator==(const ByteCounts&, const ByteCounts&) = default;
};

}  // namespace quarn
