#pragma once

#include <string>
#include <string_view>

/// Decodes UTF-8. Private to this wing. All functions accept any bytes: each byte that is not part of a well-formed
/// sequence (RFC 3629: no overlong forms, no surrogates, nothing above U+10FFFF) becomes one U+FFFD.
namespace quarn::unicode {

/// True if all bytes are ASCII. Such text needs no Unicode tables.
bool isASCII(std::string_view text);

/// Iterates over the scalars of a text, which must outlive it.
class ScalarReader {
 public:
  /// Returned after the last scalar; not a Unicode scalar.
  static constexpr char32_t kEnd = 0xFFFFFFFF;

  explicit ScalarReader(std::string_view text) : text_(text) {}

  [[nodiscard]] bool atEnd() const { return offset_ == text_.size(); }
  /// The next scalar without consuming it; `kEnd` at the end.
  [[nodiscard]] char32_t peek() const;
  /// Consumes and returns the next scalar; `kEnd` at the end.
  char32_t next();

 private:
  std::string_view text_;
  std::size_t offset_ = 0;
};

void appendUTF8(std::string& text, char32_t scalar);

/// Converts to UTF-16 for ICU. Inserts a combining grapheme joiner after every 30 consecutive combining marks (the
/// stream-safe form of Unicode Standard Annex #15), because ordering marks takes quadratic time.
std::u16string toUTF16(std::string_view text);

/// Converts well-formed UTF-16 to UTF-8.
std::string toUTF8(std::u16string_view units);

/// True if an ICU call succeeded; `status` is its UErrorCode. Throws std::bad_alloc if memory was missing: an operation
/// must not go on with another result.
bool succeeded(int status);

/// True if the scalar extends the previous character (Grapheme_Cluster_Break=Extend: marks, variation selectors, skin
/// tones, tags, the zero-width non-joiner). False for `ScalarReader::kEnd`.
bool extendsCharacter(char32_t scalar);

}  // namespace quarn::unicode
