#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace quarn {

/// Random access to the bytes of a file, so that a reader of a large file reads only what it needs. As thread-safe as
/// its `read` function.
struct ByteSource {
  std::uint64_t size = 0;

  /// Returns up to `count` bytes at `offset`; fewer at the end or after an error. Must not throw.
  std::function<std::string(std::uint64_t offset, std::size_t count)> read{};

  /// Returns `count` bytes at `offset`, or an empty string if not all of them are available.
  [[nodiscard]] std::string exactly(std::uint64_t offset, std::size_t count) const;

  /// A source for bytes in memory, which must outlive it.
  static ByteSource over(std::string_view bytes);
};

}  // namespace quarn
