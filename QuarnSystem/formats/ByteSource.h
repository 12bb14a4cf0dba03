#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace quarn {

/// Bytes that can be read from any place, so that a reader takes the few kilobytes it needs from a file of any size.
/// A plain value; as safe from several threads as its `read` is.
struct ByteSource {
  std::uint64_t size = 0;

  /// Up to `count` bytes from `offset`; fewer, or none, where the bytes end or cannot be read. Must not throw.
  std::function<std::string(std::uint64_t offset, std::size_t count)> read{};

  /// The `count` bytes from `offset`; empty when the source does not hold or give all of them.
  [[nodiscard]] std::string exactly(std::uint64_t offset, std::size_t count) const;

  /// A source over bytes in memory, which must outlive it.
  static ByteSource over(std::string_view bytes);
};

}  // namespace quarn
