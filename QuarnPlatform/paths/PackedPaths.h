#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quarn {

/// A compact, sorted list of relative paths ("usr/bin/x"): all bytes in one buffer, plus four bytes per path. A
/// lookup is a binary search. Const access is thread-safe.
///
/// A path can have a mark; its meaning is up to the caller.
class PackedPaths {
 public:
  struct Entry {
    std::string_view path;
    bool isMarked = false;
  };

  PackedPaths() = default;
  /// Copies the paths. A repeated path is kept once, with a mark if any copy has one. The paths, with one more byte
  /// each, must be shorter than 2 GiB in total; the rest is dropped.
  explicit PackedPaths(std::vector<Entry> entries);

  [[nodiscard]] std::size_t size() const { return starts_.size(); }
  /// Paths in ascending byte order. The text is valid as long as this object.
  [[nodiscard]] Entry operator[](std::size_t index) const;

  /// True if the path is in the list.
  [[nodiscard]] bool contains(std::string_view path) const;
  /// True if the path or anything below it is in the list. Everything is below "".
  [[nodiscard]] bool containsAtOrBelow(std::string_view path) const;

  /// The memory of this object in bytes.
  [[nodiscard]] std::size_t memory() const;

 private:
  [[nodiscard]] std::string_view pathAt(std::size_t index) const;
  /// The index of the first path that does not precede `path` in byte order.
  [[nodiscard]] std::size_t lowerBound(std::string_view path) const;

  std::string bytes_;                  // the paths, each followed by a zero byte
  std::vector<std::uint32_t> starts_;  // start of each path; the highest bit is the mark
};

}  // namespace quarn
