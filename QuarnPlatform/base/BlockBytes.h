#pragma once

#include <cstdint>
#include <optional>

namespace quarn {

/// The number of bytes in a number of blocks. Absent on overflow, which damaged or hostile file systems can cause.
constexpr std::optional<std::int64_t> bytesInBlocks(std::uint64_t blocks, std::uint64_t blockSize) {
  std::int64_t bytes = 0;
  if (__builtin_mul_overflow(blocks, blockSize, &bytes)) return std::nullopt;
  return bytes;
}

}  // namespace quarn
