#pragma once

#include "QuarnPlatform/text/ASCII.h"
#include "QuarnPlatform/text/Text.h"
#include "QuarnPlatform/text/TextScalars.h"

namespace quarn::unicode {

/// True for locales with a dotless I. Foundation checks only the first two letters of the language ("tr", "az").
inline bool isTurkic(const Locale& locale) {
  const std::string& identifier = locale.identifier();
  if (identifier.size() < 2) return false;
  const char first = ascii::lowercased(identifier[0]);
  const char second = ascii::lowercased(identifier[1]);
  return (first == 't' && second == 'r') || (first == 'a' && second == 'z');
}

}  // namespace quarn::unicode
