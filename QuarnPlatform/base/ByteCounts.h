#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace quarn {

/// A sum of byte counts or counters does not fit, because a wrapped count is a lie. Ends the operation: nothing in the
/// library catches it to go on. `what()` says which folder's items were added, if that is known.
class SizeOverflow : public std::overflow_error {
 public:
  SizeOverflow() : std::overflow_error("the sizes add up to more than 8 EiB") {}
  explicit SizeOverflow(std::string folder)
      : std::overflow_error("the sizes in " + folder + " add up to more than 8 EiB"), folder_(std::move(folder)) {}

  /// The Mac's path of the folder; empty when it is not known.
  [[nodiscard]] const std::string& folder() const noexcept { return folder_; }

 private:
  std::string folder_;
};

[[noreturn]] void throwSizeOverflow();

/// Adds two byte counts or counters. Throws SizeOverflow when the sum does not fit.
inline std::int64_t checkedAdd(std::int64_t left, std::int64_t right) {
  std::int64_t sum = 0;
  if (__builtin_add_overflow(left, right, &sum)) throwSizeOverflow();
  return sum;
}

/// The size of one or more items in bytes. Sums are per component and checked for overflow.
struct ByteCounts {
  std::int64_t allocatedBytes = 0;  ///< space on disk: 512 × the number of blocks
  std::int64_t logicalBytes = 0;    ///< length of the content

  ByteCounts& operator+=(const ByteCounts& other) {
    ByteCounts sum;
    const bool isTooLarge = __builtin_add_overflow(allocatedBytes, other.allocatedBytes, &sum.allocatedBytes) ||
                            __builtin_add_overflow(logicalBytes, other.logicalBytes, &sum.logicalBytes);
    if (isTooLarge) throwSizeOverflow();
    return *this = sum;
  }
  friend ByteCounts operator+(ByteCounts left, const ByteCounts& right) { return left += right; }
  friend bool operator==(const ByteCounts&, const ByteCounts&) = default;
};

}  // namespace quarn
