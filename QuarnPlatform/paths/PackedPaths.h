#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quarn {

/// Many relative paths ("usr/bin/x") in little memory: their bytes in one buffer, sorted, and four bytes each. A
/// look-up is a binary search. A plain value; safe to read from several threads.
///
/// A path may be marked; the one who fills the list says what the mark means.
class PackedPaths {
 public:
  struct Entry {
    std::string_view path;
    bool isMarked = false;
  };

  PackedPaths() = default;
  /// Copies the paths. A path given twice is kept once, marked when one of the two is. Their bytes, and one more for
  /// each, must stay below 2 GiB in all; what goes beyond that is left out.
  explicit PackedPaths(std::vector<Entry> entries);

  [[nodiscard]] std::size_t size() const { return starts_.size(); }
  /// In ascending byte order; the text is valid as long as this value.
  [[nodiscard]] Entry operator[](std::size_t index) const;

  /// Whether the path is listed.
  [[nodiscard]] bool contains(std::string_view path) const;
  /// Whether the path or anything below it is listed. Everything is below "".
  [[nodiscard]] bool containsAtOrBelow(std::string_view path) const;

  /// What the value takes in memory, in bytes.
  [[nodiscard]] std::size_t memory() const;

 private:
  [[nodiscard]] std::string_view pathAt(std::size_t index) const;
  /// The index of the first path that is not below `path` in byte order.
  [[nodiscard]] std::size_t lowerBound(std::string_view path) const;

  std::string bytes_;                  // the paths, each followed by a zero byte
  std::vector<std::uint32_t> starts_;  // where each begins; the highest bit is the mark
};

}  // namespace quarn
