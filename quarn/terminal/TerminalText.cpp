#include "quarn/terminal/TerminalText.h"

#include <algorithm>

#include <fmt/format.h>

#include "QuarnPlatform/text/Text.h"

namespace quarn {
namespace {

bool isPrintableASCII(char byte) { return byte >= 0x20 && byte < 0x7F; }

bool isControl(char32_t scalar) { return scalar < 0x20 || (scalar >= 0x7F && scalar < 0xA0); }

// Direction marks and overrides, line and paragraph separators, and the invisible byte order mark.
bool isDisguise(char32_t scalar) {
  return scalar == 0x061C || scalar == 0x200E || scalar == 0x200F || (scalar >= 0x2028 && scalar <= 0x202E) ||
         (scalar >= 0x2066 && scalar <= 0x2069) || scalar == 0xFEFF;
}

// Decodes the first well-formed sequence into `scalar` and returns its length, or 0 if the text begins with invalid
// bytes.
std::size_t takeScalar(std::string_view text, char32_t& scalar) {
  const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
  const std::size_t length = byte(0) < 0x80 ? 1 : byte(0) >= 0xF0 ? 4 : byte(0) >= 0xE0 ? 3 : 2;
  if (length > text.size() || Text::validUTF8(text.substr(0, length)) != text.substr(0, length)) return 0;
  scalar = length == 1 ? byte(0) : byte(0) & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) scalar = (scalar << 6) | (byte(i) & 0x3F);
  return length;
}

}  // namespace

std::string escapedForTerminal(std::string_view bytes) {
  std::string result;
  while (!bytes.empty()) {
    const auto* const plainEnd = std::find_if_not(bytes.begin(), bytes.end(), isPrintableASCII);
    const auto plain = static_cast<std::size_t>(plainEnd - bytes.begin());
    result += bytes.substr(0, plain);
    bytes.remove_prefix(plain);
    if (bytes.empty()) break;
    char32_t scalar = 0;
    const std::size_t length = takeScalar(bytes, scalar);
    if (length == 0) {
      result += fmt::format("\\x{:02X}", static_cast<unsigned char>(bytes.front()));
    } else if (isControl(scalar) && scalar < 0x80) {
      result += fmt::format("\\x{:02X}", static_cast<unsigned>(scalar));
    } else if (isControl(scalar) || isDisguise(scalar)) {
      result += fmt::format("\\u{{{:04X}}}", static_cast<unsigned>(scalar));
    } else {
      result += bytes.substr(0, length);
    }
    bytes.remove_prefix(length == 0 ? 1 : length);
  }
  return result;
}

// In a JSON document these characters occur only in strings, where an escape can replace them. They begin with one of
// five bytes, so most text is copied without decoding.
std::string escapedJSON(std::string_view document) {
  std::string result;
  while (!document.empty()) {
    const std::size_t plain = std::min(document.find_first_of("\x7F\xC2\xD8\xE2\xEF"), document.size());
    result += document.substr(0, plain);
    document.remove_prefix(plain);
    if (document.empty()) break;
    char32_t scalar = 0;
    const std::size_t length = takeScalar(document, scalar);
    if (length != 0 && (isControl(scalar) || isDisguise(scalar))) {
      result += fmt::format("\\u{:04x}", static_cast<unsigned>(scalar));
    } else {
      result += document.substr(0, std::max<std::size_t>(length, 1));
    }
    document.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return result;
}

std::size_t displayWidth(std::string_view text) { return Text::displayWidth(text); }

namespace {

bool isBoundary(std::string_view text, std::size_t offset) {
  return offset >= text.size() || (static_cast<unsigned char>(text[offset]) & 0xC0) != 0x80;
}

// Bytes of the longest beginning that is no wider; each character is measured once.
std::size_t lengthWithin(std::string_view text, std::size_t width) {
  std::size_t length = 0;
  std::size_t used = 0;
  for (std::size_t next = 1; next <= text.size(); ++next) {
    if (!isBoundary(text, next)) continue;
    used += displayWidth(text.substr(length, next - length));
    if (used > width) break;
    length = next;
  }
  return length;
}

// The longest end that is no wider, likewise.
std::string_view endWithin(std::string_view text, std::size_t width) {
  std::size_t start = text.size();
  std::size_t used = 0;
  for (std::size_t next = text.size(); next-- > 0;) {
    if (!isBoundary(text, next)) continue;
    used += displayWidth(text.substr(next, start - next));
    if (used > width) break;
    start = next;
  }
  return text.substr(start);
}

}  // namespace

std::string fittedToWidth(std::string_view text, std::size_t width) {
  if (displayWidth(text) <= width) return std::string(text);
  if (width == 0) return {};
  const std::size_t headWidth = (width - 1) / 2;
  const std::size_t head = lengthWithin(text, headWidth);
  const std::string_view tail = endWithin(text.substr(head), width - 1 - headWidth);
  return std::string(text.substr(0, head)) + "…" + std::string(tail);
}

}  // namespace quarn
