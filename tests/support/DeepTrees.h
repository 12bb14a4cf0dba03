#pragma once

#include "tests/support/MacVolume.h"

namespace quarn {

/// A tree of any depth in which a walk must return to every level: the folder `path` and each of `levels` nested
/// folders "d" contain an empty folder "a", the next "d", a folder "e" with the file "f" of 3 bytes, and the file "z"
/// of 5 bytes.
struct Comb {
  static constexpr int kItemsPerLevel = 5;
  static constexpr std::int64_t kBytesPerLevel = 8;

  Comb(MacVolume& volume, std::string_view path, int levels);

  /// Number of items below `path`.
  [[nodiscard]] std::int64_t items() const { return levels * kItemsPerLevel; }
  /// Logical bytes below `path`.
  [[nodiscard]] std::int64_t bytes() const { return levels * kBytesPerLevel; }

  std::int64_t levels;
};

}  // namespace quarn
