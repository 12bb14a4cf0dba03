#include <cstdint>
#include <limits>
#include <vector>

#include <string.h>
#include <unicode/unorm2.h>

#include "QuarnPlatform/text/Text.h"
#include "QuarnPlatform/text/TextCharacters.h"
#include "QuarnPlatform/text/TextComposition.h"
#include "QuarnPlatform/text/TextScalars.h"

namespace quarn {

namespace {

constexpr std::size_t kLongest = std::numeric_limits<std::int32_t>::max() / 4;

/// The canonical composition (NFC). Canonically equivalent texts have the same composition.
std::u16string composedUnits(std::string_view text) {
  std::u16string units = unicode::toUTF16(text.substr(0, kLongest));
  UErrorCode status = U_ZERO_ERROR;
  const UNormalizer2* composer = unorm2_getNFCInstance(&status);
  const auto length = static_cast<std::int32_t>(units.size());
  if (!unicode::succeeded(status)) return units;
  const bool isComposed = unorm2_spanQuickCheckYes(composer, units.data(), length, &status) == length;
  if (!unicode::succeeded(status) || isComposed) return units;
  // Composition makes a UTF-16 text at most three times as long (Unicode Standard Annex #15, "Expansion Factors").
  std::u16string normal(units.size() * 3, u'\0');
  const std::int32_t used = unorm2_normalize(composer, units.data(), length, normal.data(),
                                             static_cast<std::int32_t>(normal.size()), &status);
  if (!unicode::succeeded(status)) return units;
  normal.resize(static_cast<std::size_t>(used));
  return normal;
}

bool startsWithMark(std::u16string_view text) {
  if (text.empty()) return false;
  const bool pair = text.size() > 1 && (text[0] & 0xFC00) == 0xD800;
  const char32_t scalar = pair ? 0x10000 + ((text[0] & 0x3FFu) << 10) + (text[1] & 0x3FFu) : text[0];
  return unicode::extendsCharacter(scalar);
}

/// The failure function of Knuth, Morris and Pratt: for every prefix of `part`, the length of the longest proper
/// prefix that is also its suffix.
std::vector<std::size_t> borders(std::u16string_view part) {
  std::vector<std::size_t> lengths(part.size(), 0);
  for (std::size_t at = 1, matched = 0; at < part.size(); ++at) {
    while (matched > 0 && part[at] != part[matched]) matched = lengths[matched - 1];
    if (part[at] == part[matched]) ++matched;
    lengths[at] = matched;
  }
  return lengths;
}

/// Linear time, because both texts may be megabytes of hostile input.
bool containsUnmarked(std::u16string_view text, std::u16string_view part) {
  const std::vector<std::size_t> lengths = borders(part);
  for (std::size_t at = 0, matched = 0; at < text.size(); ++at) {
    while (matched > 0 && text[at] != part[matched]) matched = lengths[matched - 1];
    if (text[at] == part[matched]) ++matched;
    if (matched < part.size()) continue;
    if (!startsWithMark(text.substr(at + 1))) return true;
    matched = lengths[matched - 1];
  }
  return false;
}

/// True if a text is too short to be equivalent to another one, or to contain it. The UTF-8 lengths of equivalent
/// characters differ by much less than a factor of 16. This makes comparing a long text with many short ones cheap.
bool isFarShorter(std::string_view text, std::string_view other) { return text.size() < other.size() / 16; }

bool isASCIIPrefix(std::string_view text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  const bool splitsLineBreak = prefix.ends_with('\r') && text.substr(prefix.size()).starts_with('\n');
  return !splitsLineBreak;
}

}  // namespace

std::string composed(std::string_view text) {
  std::string storage;
  return std::string(composed(text, storage));
}

std::string_view composed(std::string_view text, std::string& storage) {
  if (unicode::isASCII(text) || text.size() > kLongest || Text::validUTF8(text) != text) return text;
  storage = unicode::toUTF8(composedUnits(text));
  return storage;
}

bool Text::equal(std::string_view left, std::string_view right) {
  if (left == right) return true;
  if (unicode::isASCII(left) && unicode::isASCII(right)) return false;
  if (isFarShorter(left, right) || isFarShorter(right, left)) return false;
  return composedUnits(left) == composedUnits(right);
}

bool Text::hasPrefix(std::string_view text, std::string_view prefix) {
  if (prefix.empty()) return true;
  if (isFarShorter(text, prefix)) return false;
  if (unicode::isASCII(text) && unicode::isASCII(prefix)) return isASCIIPrefix(text, prefix);
  const std::u16string whole = composedUnits(text);
  const std::u16string start = composedUnits(prefix);
  return whole.starts_with(start) && unicode::isCharacterBoundary(whole, start.size());
}

bool Text::contains(std::string_view text, std::string_view part) {
  if (part.empty() || isFarShorter(text, part)) return false;
  if (unicode::isASCII(text) && unicode::isASCII(part)) {
    return ::memmem(text.data(), text.size(), part.data(), part.size()) != nullptr;
  }
  return containsUnmarked(composedUnits(text), composedUnits(part));
}

}  // namespace quarn
