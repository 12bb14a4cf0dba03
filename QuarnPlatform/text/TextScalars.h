#pragma once

#include <string>
#include <string_view>

/// UTF-8 taken apart for the text functions of this room; no other room includes this. Every function takes any bytes:
/// a byte that is not part of a well-formed sequence (RFC 3629: no overlong forms, no surrogates, nothing above
/// U+10FFFF) reads as one U+FFFD of its own, so that a text never loses its place.
namespace quarn::unicode {

/// True when no byte has the high bit; such text needs no Unicode tables at all.
bool isASCII(std::string_view text);

/// The byte with an ASCII capital made small.
constexpr char asciiLowercased(char byte) {
  return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + ('a' - 'A')) : byte;
}

/// Hands out a text's scalars from left to right. Refers to the text, which must outlive it.
class ScalarReader {
 public:
  /// Stands behind the last scalar; no Unicode scalar has this value.
  static constexpr char32_t kEnd = 0xFFFFFFFF;

  explicit ScalarReader(std::string_view text) : text_(text) {}

  [[nodiscard]] bool atEnd() const { return offset_ == text_.size(); }
  /// The scalar that `next` will hand out; `kEnd` at the end.
  [[nodiscard]] char32_t peek() const;
  /// The next scalar, which is consumed; `kEnd` at the end.
  char32_t next();

 private:
  std::string_view text_;
  std::size_t offset_ = 0;
};

void appendUTF8(std::string& text, char32_t scalar);

/// The text as ICU takes it. At most 30 combining marks stand in a row: behind every thirtieth a combining grapheme
/// joiner is put in, the stream-safe form of Unicode Standard Annex #15, because ordering marks takes quadratic time in
/// their number.
std::u16string toUTF16(std::string_view text);

/// The UTF-8 of well-formed UTF-16.
std::string toUTF8(std::u16string_view units);

/// Whether the scalar extends the character before it (Grapheme_Cluster_Break=Extend: marks, variation selectors, skin
/// tones, tags, the zero-width non-joiner). False for `ScalarReader::kEnd`.
bool extendsCharacter(char32_t scalar);

}  // namespace quarn::unicode
