#include <algorithm>
#include <array>
#include <cstdint>

#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include "QuarnPlatform/text/ASCII.h"
#include "QuarnPlatform/text/Text.h"
#include "QuarnPlatform/text/TextLocale.h"
#include "QuarnPlatform/text/TextScalars.h"

// This follows the open-source implementation of Foundation's string folding, including its differences from
// Unicode's caseless matching. Users see them in which names count as similar.

namespace quarn {

namespace {

using unicode::ScalarReader;

/// Bases below this scalar are Latin, Greek and Cyrillic letters, and lose their marks. Other scripts keep them.
constexpr char32_t kFirstBaseThatKeepsMarks = 0x0510;
constexpr char32_t kDotlessI = 0x0131;
constexpr char32_t kCapitalIWithDot = 0x0130;
constexpr char32_t kDotAbove = 0x0307;

enum class CaseRule : std::uint8_t { lowercase, unchanged };

/// Scalars that Foundation's tables fold differently from Unicode's case folding.
struct CaseException {
  char32_t first;
  char32_t last;
  CaseRule rule;
};

// clang-format off
constexpr std::array kCaseExceptions = {
    CaseException{.first = 0x13A0, .last = 0x13F5, .rule = CaseRule::lowercase},  // Cherokee; Unicode folds to capitals
    CaseException{.first = 0x13F8, .last = 0x13FD, .rule = CaseRule::unchanged},  // Cherokee small letters
    CaseException{.first = 0x1C80, .last = 0x1C88, .rule = CaseRule::unchanged},  // Cyrillic letter variants
    CaseException{.first = 0xAB70, .last = 0xABBF, .rule = CaseRule::unchanged},  // Cherokee small letters
};
// clang-format on
static_assert(kCaseExceptions.size() == 4);

UChar32 icu(char32_t scalar) { return static_cast<UChar32>(scalar); }

std::string asciiLowercased(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(), ascii::lowercased);
  return lower;
}

/// ASCII text folds without tables, except the Turkic I.
bool foldsAsASCII(std::string_view text, bool turkic) {
  return unicode::isASCII(text) && !(turkic && text.find('I') != std::string_view::npos);
}

bool isSeparator(char byte) { return byte == ' ' || byte == '-' || byte == '_'; }

/// The first scalar of the canonical decomposition if it is a Latin, Greek or Cyrillic base; else the scalar itself.
char32_t bareBase(char32_t scalar) {
  constexpr char32_t kFirstWithDecomposition = 0x00C0;
  if (scalar < kFirstWithDecomposition) return scalar;
  UErrorCode status = U_ZERO_ERROR;
  std::array<UChar, 32> units{};
  const UNormalizer2* decomposer = unorm2_getNFDInstance(&status);
  if (!unicode::succeeded(status)) return scalar;
  const std::int32_t length = unorm2_getDecomposition(decomposer, icu(scalar), units.data(), units.size(), &status);
  if (!unicode::succeeded(status) || length <= 0) return scalar;
  const char32_t head = units[0];  // a surrogate is also above the limit
  return head < kFirstBaseThatKeepsMarks ? head : scalar;
}

/// Appends the full case folding of a scalar and returns the last scalar. The folding of a bare base contains no
/// marks.
char32_t appendFullFolding(char32_t scalar, std::string& out) {
  std::array<UChar, 2> source{};
  std::int32_t sourceLength = 0;
  U16_APPEND_UNSAFE(source, sourceLength, icu(scalar));
  std::array<UChar, 8> target{};
  UErrorCode status = U_ZERO_ERROR;
  const std::int32_t length =
      u_strFoldCase(target.data(), target.size(), source.data(), sourceLength, U_FOLD_CASE_DEFAULT, &status);
  UChar32 last = icu(scalar);
  for (std::int32_t at = 0; at < length;) {
    U16_NEXT(target, at, length, last);
    unicode::appendUTF8(out, static_cast<char32_t>(last));
  }
  return static_cast<char32_t>(last);
}

/// Appends the folded base and returns the last scalar.
char32_t appendFoldedCase(char32_t base, std::string& out) {
  if (base < 0x80) {
    out.push_back(ascii::lowercased(static_cast<char>(base)));
    return base;
  }
  const auto* exception =
      std::find_if(kCaseExceptions.begin(), kCaseExceptions.end(),
                   [base](const CaseException& range) { return base >= range.first && base <= range.last; });
  if (exception == kCaseExceptions.end()) return appendFullFolding(base, out);
  if (exception->rule == CaseRule::lowercase) base = static_cast<char32_t>(u_tolower(icu(base)));
  unicode::appendUTF8(out, base);
  return base;
}

/// In the Turkic alphabets a capital I folds to the dotless letter, unless a combining dot follows. A composed İ has
/// already lost its dot here and becomes dotless too, as in Foundation.
char32_t appendTurkicI(const ScalarReader& scalars, std::string& out) {
  const char32_t folded = scalars.peek() == kDotAbove ? U'i' : kDotlessI;
  unicode::appendUTF8(out, folded);
  return folded;
}

int combiningClass(char32_t scalar) { return u_getCombiningClass(icu(scalar)); }

/// Sorts each run of marks by combining class. A mark of class zero ends the run and keeps its place.
void orderCanonically(std::u32string& marks) {
  for (auto run = marks.begin(); run != marks.end();) {
    const auto end = std::find_if(run, marks.end(), [](char32_t mark) { return combiningClass(mark) == 0; });
    std::stable_sort(run, end,
                     [](char32_t left, char32_t right) { return combiningClass(left) < combiningClass(right); });
    run = end == marks.end() ? end : end + 1;
  }
}

/// Handles the marks after a folded base: drops them if the base loses its marks. Otherwise keeps them, except a
/// leading mark from a script that loses its marks.
void appendMarks(ScalarReader& scalars, char32_t base, std::string& out) {
  if (!unicode::extendsCharacter(scalars.peek())) return;
  const bool keepsMarks = base >= kFirstBaseThatKeepsMarks;
  if (keepsMarks && scalars.peek() < kFirstBaseThatKeepsMarks) scalars.next();
  std::u32string marks;
  while (unicode::extendsCharacter(scalars.peek())) marks.push_back(scalars.next());
  if (!keepsMarks) return;
  orderCanonically(marks);
  for (const char32_t mark : marks) unicode::appendUTF8(out, mark);
}

void foldCluster(ScalarReader& scalars, bool turkic, std::string& out) {
  const char32_t base = bareBase(scalars.next());
  const char32_t last = turkic && base == U'I' ? appendTurkicI(scalars, out) : appendFoldedCase(base, out);
  appendMarks(scalars, last, out);
}

}  // namespace

std::string Text::folded(std::string_view text, const Locale& locale) {
  const bool turkic = unicode::isTurkic(locale);
  if (foldsAsASCII(text, turkic)) return asciiLowercased(text);
  std::string out;
  out.reserve(text.size());
  for (ScalarReader scalars(text); !scalars.atEnd();) foldCluster(scalars, turkic, out);
  return out;
}

std::string Text::lowercased(std::string_view text) {
  if (unicode::isASCII(text)) return asciiLowercased(text);
  std::string out;
  out.reserve(text.size());
  for (ScalarReader scalars(text); !scalars.atEnd();) {
    const char32_t scalar = scalars.next();
    // The only unconditional mapping to more than one scalar in Unicode's SpecialCasing.txt.
    if (scalar == kCapitalIWithDot) {
      out.append("i\u0307");
    } else {
      unicode::appendUTF8(out, static_cast<char32_t>(u_tolower(icu(scalar))));
    }
  }
  return out;
}

std::string Text::normalizedKey(std::string_view name) {
  std::string key = folded(name);  // folding also lower-cases
  key.erase(std::remove_if(key.begin(), key.end(), isSeparator), key.end());
  return key;
}

}  // namespace quarn
