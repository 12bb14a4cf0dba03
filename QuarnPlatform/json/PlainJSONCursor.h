#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "QuarnPlatform/json/JSONValue.h"

namespace quarn {

/// Reads the values of usual JSON one after another, without a document. Every function returns false to give up: the
/// text is not JSON, the next value is of another type, or only the library can judge it. After that the cursor is
/// useless, and `JSONDocument` must read the text. It accepts every text that the cursor reads to the end, with the
/// same values. The text must outlive the cursor. Not thread-safe.
class PlainJSONCursor {
 public:
  /// A number as the library distinguishes them.
  struct Number {
    JSONValue::Type type = JSONValue::Type::integer;
    std::int64_t integer = 0;
    std::uint64_t unsignedInteger = 0;
    double real = 0;
  };

  explicit PlainJSONCursor(std::string_view text) : rest_(text) {}

  /// The first character of the next value; 0 at the end of the text.
  [[nodiscard]] char next() {
    skipSpace();
    return rest_.empty() ? '\0' : rest_.front();
  }
  /// True if only white space follows.
  [[nodiscard]] bool isAtEnd() {
    skipSpace();
    return rest_.empty();
  }

  /// One of the words "null", "true" and "false".
  [[nodiscard]] bool word(std::string_view word) {
    skipSpace();
    return takeWord(word);
  }
  /// A string; valid until the next one is read.
  [[nodiscard]] bool string(std::string_view& text);
  [[nodiscard]] bool number(Number& number);

  /// Calls `readValue(key)` for each member; it must read the member's value. The key is valid until then.
  template <class ReadValue>
  [[nodiscard]] bool object(ReadValue readValue) {
    if (!begin('{')) return false;
    if (!takeMark('}')) {
      std::string_view key;
      do {
        if (!string(key) || !takeMark(':') || !readValue(key)) return false;
      } while (takeMark(','));
      if (!take('}')) return false;
    }
    --depth_;
    return true;
  }

  /// Calls `readElement()` for each element; it must read the element.
  template <class ReadElement>
  [[nodiscard]] bool array(ReadElement readElement) {
    if (!begin('[')) return false;
    if (!takeMark(']')) {
      do {
        if (!readElement()) return false;
      } while (takeMark(','));
      if (!take(']')) return false;
    }
    --depth_;
    return true;
  }

  /// Reads a value of any type, and calls `taker` like a `JSONBuilder`.
  template <class Taker>
  [[nodiscard]] bool value(Taker& taker);
  /// Reads a value of any type, and only checks it.
  [[nodiscard]] bool skip();

 private:
  void skipSpace() {
    if (!rest_.empty() && rest_.front() <= ' ') skipSpaces();
  }
  void skipSpaces();
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
  bool begin(char bracket) { return takeMark(bracket) && depth_++ < kMaximumJSONDepth; }

  bool plainCharacters();
  bool restOfString();
  bool escape();
  bool escapedUnit();
  bool hexDigits(unsigned& unit);
  [[nodiscard]] std::size_t digitsFrom(std::size_t at) const;
  [[nodiscard]] bool restOfReal(std::size_t& end) const;

  std::string_view rest_;
  std::size_t depth_ = 0;
  std::string unescaped_;  ///< the current string, if it has escapes
};

template <class Taker>
bool PlainJSONCursor::value(Taker& taker) {
  using Type = JSONValue::Type;
  switch (next()) {
    case '{':
      if (!taker.begin() || !object([&](std::string_view key) { return taker.string(key), value(taker); }))
        return false;
      taker.end(Type::object);
      return true;
    case '[':
      if (!taker.begin() || !array([&] { return value(taker); })) return false;
      taker.end(Type::array);
      return true;
    case '"': {
      std::string_view text;
      return string(text) && (taker.string(text), true);
    }
    case 't': return takeWord("true") && (taker.boolean(true), true);
    case 'f': return takeWord("false") && (taker.boolean(false), true);
    case 'n': return takeWord("null") && (taker.null(), true);
    default: break;
  }
  Number read;
  if (!number(read)) return false;
  switch (read.type) {
    case Type::integer: taker.integer(read.integer); break;
    case Type::unsignedInteger: taker.unsignedInteger(read.unsignedInteger); break;
    default: taker.real(read.real); break;
  }
  return true;
}

}  // namespace quarn
