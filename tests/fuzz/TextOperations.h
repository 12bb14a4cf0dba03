#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>

#include "QuarnPlatform/text/Text.h"

namespace quarn {

inline void check(bool holds) {
  if (!holds) std::abort();
}

/// Two texts from an input, whose first byte says where to split the rest.
inline std::pair<std::string_view, std::string_view> twoTexts(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return {};
  const std::string_view rest = std::string_view(reinterpret_cast<const char*>(data), size).substr(1);
  const std::size_t split = rest.size() * data[0] / 255;
  return {rest.substr(0, split), rest.substr(split)};
}

/// Runs every text operation. Aborts if a law does not hold.
inline void checkTextOperations(std::string_view left, std::string_view right) {
  check(Text::equal(left, left) && Text::equal(left, right) == Text::equal(right, left));
  check(Text::hasPrefix(left, ""));
  const std::string valid = Text::validUTF8(left);
  check(Text::validUTF8(valid) == valid);
  (void)Text::hasPrefix(left, right);
  (void)Text::contains(left, right);
  (void)Text::folded(left);
  (void)Text::lowercased(left);
  (void)Text::normalizedKey(left);
  (void)Text::characterCount(left);
  (void)Text::displayWidth(left);
  const int order = Text::localizedCaseInsensitiveCompare(left, right);
  check((order > 0) == (Text::localizedCaseInsensitiveCompare(right, left) < 0));
}

}  // namespace quarn
