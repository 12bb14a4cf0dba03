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

/// Adds two byte counts or counters. Throws SizeOverflow when the sum does not fit.
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
