#pragma once

/// Character functions for ASCII only, cheap enough for loops over many names. They treat other bytes as non-letters
/// and leave them unchanged.
namespace quarn::ascii {

constexpr char lowercased(char byte) {
  return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + ('a' - 'A')) : byte;
}

constexpr bool isASCII(char byte) { return static_cast<unsigned char>(byte) < 0x80; }

constexpr bool isLetterOrDigit(char byte) {
  const char lower = lowercased(byte);
  return (lower >= 'a' && lower <= 'z') || (byte >= '0' && byte <= '9');
}

}  // namespace quarn::ascii
