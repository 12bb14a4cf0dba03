#include "QuarnPlatform/json/PlainJSONCursor.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>

#include "QuarnPlatform/json/PlainText.h"
#include "QuarnPlatform/text/TextScalars.h"

namespace quarn {
namespace {

constexpr bool isDigit(char character) { return character >= '0' && character <= '9'; }

/// Takes the pieces of a value that nobody needs.
struct Nobody {
  void null() {}
  void boolean(bool /*value*/) {}
  void integer(std::int64_t /*value*/) {}
  void unsignedInteger(std::uint64_t /*value*/) {}
  void real(double /*value*/) {}
  void string(std::string_view /*text*/) {}
  bool begin() { return true; }
  void end(JSONValue::Type /*type*/) {}
};

/// Reads an integer. Gives up on one that does not fit the type: the library makes a real number of it.
template <class Integer>
bool integerOf(std::string_view token, Integer& value) {
  return std::from_chars(token.data(), token.data() + token.size(), value).ec == std::errc();
}

/// Reads a fraction of at most fifteen digits, like most. Its digits and the power of ten are exact doubles, so the
/// quotient is the nearest double. `token` is a number.
bool shortFractionOf(std::string_view token, double& value) {
  constexpr std::array kPowersOfTen{1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                    1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
  const bool isNegative = token.starts_with('-');
  if (isNegative) token.remove_prefix(1);
  if (token.size() > kPowersOfTen.size()) return false;
  std::int64_t digits = 0;
  for (const char character : token) {
    if (character != '.' && !isDigit(character)) return false;
    if (character != '.') digits = digits * 10 + (character - '0');
  }
  value = static_cast<double>(digits) / kPowersOfTen[token.size() - token.find('.') - 1];
  if (isNegative) value = -value;
  return true;
}

// Overflow and underflow are errors of the library, which also knows what to do in locales with a decimal comma.
bool realOf(std::string_view token, double& value) {
  if (shortFractionOf(token, value)) return true;
  const std::string digits(token);
  char* end = nullptr;
  errno = 0;
  value = std::strtod(digits.c_str(), &end);
  return errno == 0 && end == digits.c_str() + digits.size();
}

}  // namespace

bool PlainJSONCursor::skip() {
  Nobody nobody;
  return value(nobody);
}

void PlainJSONCursor::skipSpaces() { rest_.remove_prefix(whiteBytes(rest_)); }

// Most strings have no escapes: they are a part of the text.
bool PlainJSONCursor::string(std::string_view& text) {
  if (!takeMark('"')) return false;
  const std::string_view all = rest_;
  if (!plainCharacters()) return false;
  text = all.substr(0, all.size() - rest_.size());
  if (take('"')) return true;
  unescaped_ = text;
  if (!restOfString()) return false;
  text = unescaped_;
  return true;
}

/// Moves to the next quotation mark or backslash.
bool PlainJSONCursor::plainCharacters() {
  while (true) {
    rest_.remove_prefix(plainBytes(rest_));
    if (isNext('"') || isNext('\\')) return true;
    const bool isBeyondASCII = !rest_.empty() && static_cast<unsigned char>(rest_.front()) >= 0x80;
    const std::size_t length = isBeyondASCII ? utf8Length(rest_) : 0;
    if (length == 0) return false;
    rest_.remove_prefix(length);
  }
}

/// Appends to `unescaped_` what follows the first plain characters.
bool PlainJSONCursor::restOfString() {
  while (!take('"')) {
    if (!take('\\') || !escape()) return false;
    const std::string_view all = rest_;
    if (!plainCharacters()) return false;
    unescaped_.append(all, 0, all.size() - rest_.size());
  }
  return true;
}

bool PlainJSONCursor::escape() {
  constexpr std::string_view kNames = "\"\\/bfnrt";
  constexpr std::string_view kCharacters = "\"\\/\b\f\n\r\t";
  if (take('u')) return escapedUnit();
  const std::size_t index = rest_.empty() ? std::string_view::npos : kNames.find(rest_.front());
  if (index == std::string_view::npos) return false;
  unescaped_ += kCharacters[index];
  rest_.remove_prefix(1);
  return true;
}

bool PlainJSONCursor::escapedUnit() {
  unsigned code = 0;
  if (!hexDigits(code)) return false;
  if (code >= 0xDC00 && code < 0xE000) return false;
  if (code >= 0xD800 && code < 0xDC00) {
    unsigned low = 0;
    if (!takeWord("\\u") || !hexDigits(low) || low < 0xDC00 || low >= 0xE000) return false;
    code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
  }
  unicode::appendUTF8(unescaped_, code);
  return true;
}

bool PlainJSONCursor::hexDigits(unsigned& unit) {
  if (rest_.size() < 4) return false;
  const auto [end, error] = std::from_chars(rest_.data(), rest_.data() + 4, unit, 16);
  if (error != std::errc() || end != rest_.data() + 4) return false;
  rest_.remove_prefix(4);
  return true;
}

std::size_t PlainJSONCursor::digitsFrom(std::size_t at) const {
  std::size_t end = at;
  while (end < rest_.size() && isDigit(rest_[end])) ++end;
  return end - at;
}

bool PlainJSONCursor::number(Number& number) {
  skipSpace();
  const std::size_t sign = isNext('-') ? 1 : 0;
  const std::size_t whole = digitsFrom(sign);
  if (whole == 0 || (whole > 1 && rest_[sign] == '0')) return false;
  std::size_t end = sign + whole;
  const bool isInteger = end == rest_.size() || (rest_[end] != '.' && rest_[end] != 'e' && rest_[end] != 'E');
  if (!isInteger && !restOfReal(end)) return false;
  const std::string_view token = rest_.substr(0, end);
  rest_.remove_prefix(end);
  if (!isInteger) {
    number.type = JSONValue::Type::real;
    return realOf(token, number.real);
  }
  number.type = sign != 0 ? JSONValue::Type::integer : JSONValue::Type::unsignedInteger;
  return sign != 0 ? integerOf(token, number.integer) : integerOf(token, number.unsignedInteger);
}

/// Moves `end` behind the fraction and the exponent of a number.
bool PlainJSONCursor::restOfReal(std::size_t& end) const {
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

}  // namespace quarn
