#pragma once

#include <cstdint>

namespace quarn {

/// Adds two byte counts or counters; ends the program when the sum does not fit, because a wrapped count is a lie.
std::int64_t checkedAdd(std::int64_t left, std::int64_t right);

/// What an item or a set of items takes, in bytes. A plain value; sums are component by component and checked.
struct ByteCounts {
  std::int64_t allocatedBytes = 0;  ///< space on the disk: 512 × the item's blocks
  std::int64_t logicalBytes = 0;    ///< length of the content

  ByteCounts& operator+=(const ByteCounts& other);
  friend ByteCounts operator+(ByteCounts left, const ByteCounts& right) { return left += right; }
  friend bool operator==(const ByteCounts&, const ByteCounts&) = default;
};

}  // namespace quarn
