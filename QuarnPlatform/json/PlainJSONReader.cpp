#include "QuarnPlatform/json/PlainJSONReader.h"

#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "QuarnPlatform/json/PlainText.h"

namespace quarn {
namespace {

constexpr bool isDigit(char character) { return character >= '0' && character <= '9'; }

/// Reads one text. Every function returns false to give up.
class PlainReader {
 public:
  PlainReader(std::string_view text, JSONBuilder& builder) : rest_(text), builder_(builder) {}

  bool run() {
    if (!value()) return false;
    skipSpace();
    return rest_.empty();
  }

 private:
  void skipSpace() {
    if (!rest_.empty() && rest_[0] <= ' ') rest_.remove_prefix(whiteBytes(rest_));
  }

  [[nodiscard]] bool isNext(char character) const { return !rest_.empty() && rest_.front() == character; }
  bool take(char character) {
    if (!isNext(character)) return false;
    rest_.remove_prefix(1);
    return true;
  }
  /// The same, after white space.
  bool takeMark(char character) {
    skipSpace();
    return take(character);
  }
  bool takeWord(std::string_view word) {
    if (!rest_.starts_with(word)) return false;
    rest_.remove_prefix(word.size());
    return true;
  }

  bool value() {
    skipSpace();
    if (rest_.empty()) return false;
    switch (rest_.front()) {
      case '{': return object();
      case '[': return array();
      case '"': return string();
      case 't': return takeWord("true") && (builder_.boolean(true), true);
      case 'f': return takeWord("false") && (builder_.boolean(false), true);
      case 'n': return takeWord("null") && (builder_.null(), true);
      default: return number();
    }
  }

  // The builder bounds the depth of the recursion.
  bool array() {
    rest_.remove_prefix(1);
    if (!builder_.begin()) return false;
    if (!takeMark(']')) {
      do {
        if (!value()) return false;
      } while (takeMark(','));
      if (!take(']')) return false;
    }
    builder_.end(JSONValue::Type::array);
    return true;
  }

  bool object() {
    rest_.remove_prefix(1);
    if (!builder_.begin()) return false;
    if (!takeMark('}')) {
      do {
        skipSpace();
        if (!isNext('"') || !string() || !takeMark(':') || !value()) return false;
      } while (takeMark(','));
      if (!take('}')) return false;
    }
    builder_.end(JSONValue::Type::object);
    return true;
  }

  bool string() {
    rest_.remove_prefix(1);
    std::string& strings = builder_.strings();
    const std::size_t place = strings.size();
    while (true) {
      const std::size_t plain = plainBytes(rest_);
      strings.append(rest_, 0, plain);
      rest_.remove_prefix(plain);
      if (take('"')) break;
      if (take('\\') ? !escape(strings) : !character(strings)) return false;
    }
    builder_.string(place);
    return true;
  }

  /// One character beyond ASCII.
  bool character(std::string& strings) {
    const bool isBeyondASCII = !rest_.empty() && static_cast<unsigned char>(rest_.front()) >= 0x80;
    const std::size_t length = isBeyondASCII ? utf8Length(rest_) : 0;
    strings.append(rest_, 0, length);
    rest_.remove_prefix(length);
    return length > 0;
  }

  bool escape(std::string& strings) {
    constexpr std::string_view kNames = "\"\\/bfnrt";
    constexpr std::string_view kCharacters = "\"\\/\b\f\n\r\t";
    if (take('u')) return escapedUnit(strings);
    const std::size_t index = rest_.empty() ? std::string_view::npos : kNames.find(rest_.front());
    if (index == std::string_view::npos) return false;
    strings += kCharacters[index];
    rest_.remove_prefix(1);
    return true;
  }

  bool hexDigits(unsigned& unit) {
    if (rest_.size() < 4) return false;
    const auto [end, error] = std::from_chars(rest_.data(), rest_.data() + 4, unit, 16);
    if (error != std::errc() || end != rest_.data() + 4) return false;
    rest_.remove_prefix(4);
    return true;
  }

  bool escapedUnit(std::string& strings) {
    unsigned code = 0;
    if (!hexDigits(code)) return false;
    if (code >= 0xDC00 && code < 0xE000) return false;
    if (code >= 0xD800 && code < 0xDC00) {
      unsigned low = 0;
      if (!takeWord("\\u") || !hexDigits(low) || low < 0xDC00 || low >= 0xE000) return false;
      code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
    }
    appendUTF8(code, strings);
    return true;
  }

  static void appendUTF8(unsigned code, std::string& strings) {
    const auto byte = [&](unsigned value) { strings += static_cast<char>(value); };
    if (code < 0x80) return byte(code);
    if (code < 0x800) {
      byte(0xC0 | code >> 6);
    } else if (code < 0x10000) {
      byte(0xE0 | code >> 12);
      byte(0x80 | (code >> 6 & 0x3F));
    } else {
      byte(0xF0 | code >> 18);
      byte(0x80 | (code >> 12 & 0x3F));
      byte(0x80 | (code >> 6 & 0x3F));
    }
    byte(0x80 | (code & 0x3F));
  }

  std::size_t digitsFrom(std::size_t at) const {
    std::size_t end = at;
    while (end < rest_.size() && isDigit(rest_[end])) ++end;
    return end - at;
  }

  bool number() {
    const std::size_t sign = isNext('-') ? 1 : 0;
    const std::size_t whole = digitsFrom(sign);
    if (whole == 0 || (whole > 1 && rest_[sign] == '0')) return false;
    std::size_t end = sign + whole;
    const bool isInteger = end == rest_.size() || (rest_[end] != '.' && rest_[end] != 'e' && rest_[end] != 'E');
    if (!isInteger && !restOfReal(end)) return false;
    const std::string_view token = rest_.substr(0, end);
    rest_.remove_prefix(end);
    return isInteger ? integer(token) : real(token);
  }

  /// Moves `end` behind the fraction and the exponent of a number.
  bool restOfReal(std::size_t& end) const {
    if (rest_[end] == '.') {
      const std::size_t fraction = digitsFrom(end + 1);
      if (fraction == 0) return false;
      end += 1 + fraction;
    }
    if (end == rest_.size() || (rest_[end] != 'e' && rest_[end] != 'E')) return true;
    ++end;
    if (end < rest_.size() && (rest_[end] == '+' || rest_[end] == '-')) ++end;
    const std::size_t exponent = digitsFrom(end);
    end += exponent;
    return exponent > 0;
  }

  // An integer that fits neither type is a real number to the library.
  bool integer(std::string_view token) {
    const char* end = token.data() + token.size();
    if (token.front() == '-') {
      std::int64_t value = 0;
      if (std::from_chars(token.data(), end, value).ec != std::errc()) return false;
      builder_.integer(value);
    } else {
      std::uint64_t value = 0;
      if (std::from_chars(token.data(), end, value).ec != std::errc()) return false;
      builder_.unsignedInteger(value);
    }
    return true;
  }

  // Overflow and underflow are errors of the library, which also knows what to do in locales with a decimal comma.
  bool real(std::string_view token) {
    const std::string digits(token);
    char* end = nullptr;
    errno = 0;
    const double value = std::strtod(digits.c_str(), &end);
    if (errno != 0 || end != digits.c_str() + digits.size()) return false;
    builder_.real(value);
    return true;
  }

  std::string_view rest_;
  JSONBuilder& builder_;
};

}  // namespace

bool readPlainJSON(std::string_view text, JSONBuilder& builder) { return PlainReader(text, builder).run(); }

}  // namespace quarn
