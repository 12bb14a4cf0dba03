#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace quarn::sample {

/// The low `width` bytes of a number, most significant byte first.
inline std::string bigEndian(std::uint64_t value, std::size_t width) {
  std::string bytes(width, '\0');
  for (std::size_t i = 0; i < width && i < 8; ++i) bytes[width - 1 - i] = static_cast<char>(value >> (8 * i) & 0xFFU);
  return bytes;
}

/// The same, least significant byte first.
inline std::string littleEndian(std::uint64_t value, std::size_t width) {
  const std::string bytes = bigEndian(value, width);
  return {bytes.rbegin(), bytes.rend()};
}

}  // namespace quarn::sample
