#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>

#include <unicode/ucol.h>
#include <unicode/unorm.h>

#include "QuarnPlatform/text/ASCII.h"
#include "QuarnPlatform/text/Text.h"
#include "QuarnPlatform/text/TextLocale.h"
#include "QuarnPlatform/text/TextScalars.h"

namespace quarn {

namespace {

struct CloseCollator {
  void operator()(UCollator* collator) const { ucol_close(collator); }
};
using Collator = std::unique_ptr<UCollator, CloseCollator>;

struct CollatorSetting {
  UColAttribute attribute;
  UColAttributeValue value;
};

// The settings of macOS's case-insensitive comparison. Set explicitly, because some locales have other defaults.
// clang-format off
constexpr std::array kCollatorSettings = {
    CollatorSetting{.attribute = UCOL_STRENGTH,           .value = UCOL_SECONDARY},      // accents count, case does not
    CollatorSetting{.attribute = UCOL_CASE_LEVEL,         .value = UCOL_OFF},
    CollatorSetting{.attribute = UCOL_NORMALIZATION_MODE, .value = UCOL_ON},
    CollatorSetting{.attribute = UCOL_NUMERIC_COLLATION,  .value = UCOL_OFF},            // "file10" before "file2"
    CollatorSetting{.attribute = UCOL_ALTERNATE_HANDLING, .value = UCOL_NON_IGNORABLE},  // Thai ignores punctuation
};
// clang-format on
static_assert(kCollatorSettings.size() == 5);

Collator openCollator(const Locale& locale) {
  UErrorCode status = U_ZERO_ERROR;
  Collator collator(ucol_open(locale.identifier().c_str(), &status));
  for (const CollatorSetting& setting : kCollatorSettings) {
    if (collator != nullptr) ucol_setAttribute(collator.get(), setting.attribute, setting.value, &status);
  }
  return unicode::succeeded(status) ? std::move(collator) : nullptr;
}

/// The collator of the locale; null if ICU has none. Opening one costs as much as some fifty comparisons, so each
/// thread caches the collator of its last locale. A process uses one locale.
const UCollator* threadCollator(const Locale& locale) {
  struct Kept {
    std::optional<Locale> locale;
    Collator collator;
  };
  thread_local Kept kept;
  if (kept.locale != locale) kept = {locale, openCollator(locale)};
  return kept.collator.get();
}

std::int32_t lengthOf(std::size_t size) {
  return static_cast<std::int32_t>(std::min<std::size_t>(size, std::numeric_limits<std::int32_t>::max()));
}

bool equalIgnoringASCIICase(std::string_view left, std::string_view right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](char one, char other) { return ascii::lowercased(one) == ascii::lowercased(other); });
}

/// Zero if the texts differ only in case and normalisation, else the order of the folded texts.
int foldingOrder(const std::u16string& left, const std::u16string& right, bool turkic) {
  const std::uint32_t options = U_COMPARE_IGNORE_CASE | (turkic ? U_FOLD_CASE_EXCLUDE_SPECIAL_I : U_FOLD_CASE_DEFAULT);
  UErrorCode status = U_ZERO_ERROR;
  const int order =
      unorm_compare(left.data(), lengthOf(left.size()), right.data(), lengthOf(right.size()), options, &status);
  return unicode::succeeded(status) ? order : left.compare(right);
}

/// Without a collator, compares the folded letters, then uses `tie` for accents.
int orderWithoutCollator(std::string_view left, std::string_view right, const Locale& locale, int tie) {
  const int order = Text::folded(left, locale).compare(Text::folded(right, locale));
  return order != 0 ? order : tie;
}

int compareASCII(std::string_view left, std::string_view right, const Locale& locale) {
  if (!unicode::isTurkic(locale) && equalIgnoringASCIICase(left, right)) return 0;
  const UCollator* collator = threadCollator(locale);
  UErrorCode status = U_ZERO_ERROR;
  const int order = collator == nullptr ? 0
                                        : ucol_strcollUTF8(collator, left.data(), lengthOf(left.size()), right.data(),
                                                           lengthOf(right.size()), &status);
  const bool decided = unicode::succeeded(status) && collator != nullptr;
  return decided ? order : orderWithoutCollator(left, right, locale, 0);
}

}  // namespace

int Text::localizedCaseInsensitiveCompare(std::string_view left, std::string_view right, const Locale& locale) {
  if (left == right) return 0;
  if (unicode::isASCII(left) && unicode::isASCII(right)) return compareASCII(left, right, locale);
  const std::u16string leftUnits = unicode::toUTF16(left);
  const std::u16string rightUnits = unicode::toUTF16(right);
  const int folding = foldingOrder(leftUnits, rightUnits, unicode::isTurkic(locale));
  if (folding == 0) return 0;
  const UCollator* collator = threadCollator(locale);
  if (collator == nullptr) return orderWithoutCollator(left, right, locale, folding);
  return ucol_strcoll(collator, leftUnits.data(), lengthOf(leftUnits.size()), rightUnits.data(),
                      lengthOf(rightUnits.size()));
}

}  // namespace quarn
