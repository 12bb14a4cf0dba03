#include "QuarnPlatform/json/JSONSink.h"

#include <array>
#include <charconv>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "QuarnPlatform/json/PlainText.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn {
namespace {

template <class Integer>
std::string_view digitsOf(Integer value, std::array<char, 24>& buffer) {
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr;
  return {buffer.data(), static_cast<std::size_t>(end - buffer.data())};
}

std::string escaped(unsigned char byte) {
  constexpr std::string_view kHexDigits = "0123456789abcdef";
  switch (byte) {
    case '"': return "\\\"";
    case '\\': return "\\\\";
    case '\b': return "\\b";
    case '\f': return "\\f";
    case '\n': return "\\n";
    case '\r': return "\\r";
    case '\t': return "\\t";
    default: return std::string("\\u00") + kHexDigits[byte >> 4] + kHexDigits[byte & 15];
  }
}

}  // namespace

void JSONWriter::integer(std::int64_t value) {
  std::array<char, 24> buffer{};
  add(digitsOf(value, buffer));
}

void JSONWriter::unsignedInteger(std::uint64_t value) {
  std::array<char, 24> buffer{};
  add(digitsOf(value, buffer));
}

// The library writes the shortest digits that read back as the same number.
void JSONWriter::real(double value) { add(nlohmann::json(value).dump()); }

void JSONWriter::string(std::string_view text) {
  separate();
  quote(text);
}

void JSONWriter::key(std::string_view name) {
  separate();
  quote(name);
  text_ += ':';
  needsComma_ = false;
}

void JSONWriter::quote(std::string_view text) {
  std::string repaired;
  text_ += '"';
  while (true) {
    const std::size_t plain = plainBytes(text);
    text_.append(text, 0, plain);
    text.remove_prefix(plain);
    if (text.empty()) break;
    const auto next = static_cast<unsigned char>(text.front());
    if (next < 0x80) {
      text_ += escaped(next);
      text.remove_prefix(1);
    } else if (const std::size_t length = utf8Length(text)) {
      text_.append(text, 0, length);
      text.remove_prefix(length);
    } else {
      repaired = Text::validUTF8(text);
      text = repaired;
    }
  }
  text_ += '"';
}

}  // namespace quarn
