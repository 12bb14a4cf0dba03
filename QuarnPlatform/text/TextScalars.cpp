#include "QuarnPlatform/text/TextScalars.h"

#include <cstdint>
#include <cstring>
#include <new>

#include <unicode/uchar.h>
#include <unicode/utf16.h>
#include <unicode/utf8.h>

namespace quarn::unicode {

namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kFirstMark = 0x0300;
constexpr char32_t kGraphemeJoiner = 0x034F;
constexpr int kLongestMarkRun = 30;

UChar32 icu(char32_t scalar) { return static_cast<UChar32>(scalar); }

/// Decodes the scalar at `offset` and advances `offset`.
char32_t decode(std::string_view text, std::size_t& offset) {
  const std::size_t start = offset;
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
  UChar32 scalar = bytes[start];
  if (scalar < 0x80) {
    ++offset;
    return static_cast<char32_t>(scalar);
  }
  U8_NEXT(bytes, offset, text.size(), scalar);
  if (scalar >= 0) return static_cast<char32_t>(scalar);
  offset = start + 1;
  return kReplacement;
}

void appendUTF16(std::u16string& text, char32_t scalar) {
  if (scalar > 0xFFFF) text.push_back(static_cast<char16_t>(U16_LEAD(icu(scalar))));
  text.push_back(static_cast<char16_t>(scalar > 0xFFFF ? U16_TRAIL(icu(scalar)) : scalar));
}

// How many combining marks the scalar's decomposition begins with. A few vowel signs are of class zero themselves and
// decompose to two marks.
int leadingMarks(char32_t scalar) {
  if (scalar < kFirstMark || u_getIntPropertyValue(icu(scalar), UCHAR_LEAD_CANONICAL_COMBINING_CLASS) == 0) return 0;
  return u_getCombiningClass(icu(scalar)) == 0 ? 2 : 1;
}

}  // namespace

bool isASCII(std::string_view text) {
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  const auto eightAt = [&](std::size_t at) {
    std::uint64_t eight = 0;
    std::memcpy(&eight, text.data() + at, sizeof(eight));
    return eight;
  };
  std::uint64_t all = 0;
  if (text.size() < sizeof(all)) {
    for (const char byte : text) all |= static_cast<unsigned char>(byte);
    return (all & kHighBits) == 0;
  }
  const std::size_t last = text.size() - sizeof(all);
  for (std::size_t at = 0; at < last; at += sizeof(all)) all |= eightAt(at);
  return ((all | eightAt(last)) & kHighBits) == 0;
}

char32_t ScalarReader::peek() const {
  std::size_t offset = offset_;
  return atEnd() ? kEnd : decode(text_, offset);
}

char32_t ScalarReader::next() { return atEnd() ? kEnd : decode(text_, offset_); }

void appendUTF8(std::string& text, char32_t scalar) {
  if (scalar < 0x80) {
    text.push_back(static_cast<char>(scalar));
    return;
  }
  std::uint8_t bytes[U8_MAX_LENGTH];
  std::size_t length = 0;
  U8_APPEND_UNSAFE(bytes, length, icu(scalar));
  text.append(reinterpret_cast<const char*>(bytes), length);
}

std::u16string toUTF16(std::string_view text) {
  std::u16string units;
  units.reserve(text.size());
  int marks = 0;
  for (ScalarReader scalars(text); !scalars.atEnd();) {
    const char32_t scalar = scalars.next();
    const int leading = leadingMarks(scalar);
    if (marks + leading > kLongestMarkRun) {
      appendUTF16(units, kGraphemeJoiner);
      marks = 0;
    }
    marks = leading != 0 ? marks + leading : 0;
    appendUTF16(units, scalar);
  }
  return units;
}

std::string toUTF8(std::u16string_view units) {
  std::string text;
  text.reserve(units.size());
  for (std::size_t at = 0; at < units.size();) {
    UChar32 scalar = 0;
    U16_NEXT(units, at, units.size(), scalar);
    appendUTF8(text, static_cast<char32_t>(scalar));
  }
  return text;
}

bool succeeded(int status) {
  if (status == U_MEMORY_ALLOCATION_ERROR) throw std::bad_alloc();
  return status <= U_ZERO_ERROR;
}

bool extendsCharacter(char32_t scalar) {
  if (scalar < kFirstMark || scalar == ScalarReader::kEnd) return false;
  return u_getIntPropertyValue(icu(scalar), UCHAR_GRAPHEME_CLUSTER_BREAK) == U_GCB_EXTEND;
}

}  // namespace quarn::unicode
