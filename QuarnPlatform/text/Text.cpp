#include "QuarnPlatform/text/Text.h"

#include <algorithm>

#include "QuarnPlatform/text/ASCII.h"
#include "QuarnPlatform/text/TextCharacters.h"
#include "QuarnPlatform/text/TextScalars.h"

namespace quarn {

namespace {

/// Function-local, because a static initialiser of a test may set the locale before `main`.
Locale& currentLocale() {
  static Locale locale;
  return locale;
}

std::size_t lineBreakPairs(std::string_view text) {
  std::size_t pairs = 0;
  for (std::size_t at = text.find("\r\n"); at != std::string_view::npos; at = text.find("\r\n", at + 2)) ++pairs;
  return pairs;
}

}  // namespace

std::string Locale::language() const {
  std::string code = identifier_.substr(0, identifier_.find_first_of("_-.@"));
  std::transform(code.begin(), code.end(), code.begin(), ascii::lowercased);
  return code;
}

const Locale& Locale::current() { return currentLocale(); }

void Locale::setCurrent(Locale locale) { currentLocale() = std::move(locale); }

std::size_t Text::characterCount(std::string_view text) {
  if (unicode::isASCII(text)) return text.size() - lineBreakPairs(text);
  return unicode::countCharacters(unicode::toUTF16(text));
}

std::string Text::validUTF8(std::string_view bytes) {
  if (unicode::isASCII(bytes)) return std::string(bytes);
  std::string valid;
  valid.reserve(bytes.size());
  for (unicode::ScalarReader scalars(bytes); !scalars.atEnd();) unicode::appendUTF8(valid, scalars.next());
  return valid;
}

}  // namespace quarn
