#pragma once

/// Rules for ASCII alone, for loops over many names. Other bytes are no letters and stay as they are.
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
