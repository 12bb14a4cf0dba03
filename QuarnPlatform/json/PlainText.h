#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace quarn {

inline constexpr std::uint64_t kOneInEachByte = 0x0101010101010101;

/// Eight bytes of a text; the first one is the lowest.
inline std::uint64_t eightBytes(std::string_view text, std::size_t at) {
  static_assert(std::endian::native == std::endian::little);
  std::uint64_t bytes = 0;
  std::memcpy(&bytes, text.data() + at, sizeof bytes);
  return bytes;
}

/// The number of the first byte that is not 0.
inline std::size_t firstByte(std::uint64_t bytes) { return static_cast<std::size_t>(std::countr_zero(bytes)) / 8; }

/// The number of bytes of white space at the start of a text. Most of it indents lines.
inline std::size_t whiteBytes(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size()) {
    if (at + sizeof(std::uint64_t) <= text.size()) {
      const std::uint64_t others = eightBytes(text, at) ^ (kOneInEachByte * ' ');
      at += others == 0 ? sizeof others : firstByte(others);
      if (others == 0) continue;
    }
    const char character = text[at];
    if (character != ' ' && character != '\n' && character != '\t' && character != '\r') break;
    ++at;
  }
  return at;
}

/// The number of bytes at the start of a text that are ASCII and need no escape in JSON: no quotation mark, backslash
/// or control character.
inline std::size_t plainBytes(std::string_view text) {
  constexpr std::uint64_t kOnes = kOneInEachByte;
  constexpr std::uint64_t kHighs = 0x8080808080808080;
  std::size_t at = 0;
  for (; at + sizeof(std::uint64_t) <= text.size(); at += sizeof(std::uint64_t)) {
    const std::uint64_t bytes = eightBytes(text, at);
    // A byte's high bit is set where it is 0 after the mask is removed, below 0x20, or not ASCII.
    const std::uint64_t quotes = bytes ^ (kOnes * '"');
    const std::uint64_t backslashes = bytes ^ (kOnes * '\\');
    const std::uint64_t special = (bytes - kOnes * 0x20) | (quotes - kOnes) | (backslashes - kOnes) | bytes;
    // Only bytes after the first such byte may be marked falsely.
    if ((special & kHighs) != 0) return at + firstByte(special & kHighs);
  }
  while (at < text.size()) {
    const auto byte = static_cast<unsigned char>(text[at]);
    if (byte < 0x20 || byte >= 0x80 || byte == '"' || byte == '\\') break;
    ++at;
  }
  return at;
}

/// The length of the UTF-8 sequence of a character beyond ASCII at the start of a text; 0 if it is not valid.
inline std::size_t utf8Length(std::string_view text) {
  const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
  const unsigned first = byte(0);
  const std::size_t length = first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF5 ? 4 : 0;
  if (length == 0 || text.size() < length) return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return 0;
  }
  const unsigned second = byte(1);
  // Overlong forms, surrogates, and what is beyond U+10FFFF.
  const bool isWrong = (first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) ||
                       (first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F);
  return isWrong ? 0 : length;
}

}  // namespace quarn
