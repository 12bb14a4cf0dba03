#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quarn {

/// A locale by its identifier, "de_DE"; "" is the root locale. A plain value.
class Locale {
 public:
  Locale() = default;
  explicit Locale(std::string identifier) : identifier_(std::move(identifier)) {}

  [[nodiscard]] const std::string& identifier() const { return identifier_; }
  /// Lower-case language code, "de".
  [[nodiscard]] std::string language() const;

  /// The process's current locale: the root locale until `setCurrent` is called, which `main` does once before any
  /// work.
  static const Locale& current();
  static void setCurrent(Locale locale);

  friend bool operator==(const Locale&, const Locale&) = default;

 private:
  std::string identifier_;
};

/// Text as Foundation treats it: characters are extended grapheme clusters, equality is canonical equivalence. Input is
/// UTF-8; a byte that is not part of a valid sequence counts as U+FFFD. Pure functions, safe from any thread.
struct Text {
  Text() = delete;

  /// Case- and diacritic-insensitive folding: bare Latin, Greek and Cyrillic letters, full case folding, other scripts'
  /// marks kept. Only Turkish and Azerbaijani locales change it.
  static std::string folded(std::string_view text, const Locale& locale = Locale::current());
  /// Locale-independent lower case, full mappings, no final-sigma rule.
  static std::string lowercased(std::string_view text);
  /// A name folded, lower-cased and stripped of " ", "-" and "_": what resembling names share.
  static std::string normalizedKey(std::string_view name);

  /// Number of characters (extended grapheme clusters; "\r\n" is one).
  static std::size_t characterCount(std::string_view text);

  /// Negative, zero or positive: localised comparison that ignores case (collation strength secondary, punctuation
  /// counts, digits are no numbers). Equal for case-only and normalisation-only differences, so sort stably.
  /// Each thread keeps the collator of the locale it used last; a locale that ICU does not take compares folded texts.
  static int localizedCaseInsensitiveCompare(std::string_view left, std::string_view right,
                                             const Locale& locale = Locale::current());

  /// Canonical equivalence: "é" equals "e" + U+0301.
  static bool equal(std::string_view left, std::string_view right);
  /// A prefix that is canonically equivalent and ends where a character ends; "" is a prefix of everything.
  static bool hasPrefix(std::string_view text, std::string_view prefix);
  /// An occurrence that is canonically equivalent and not followed by a combining mark; "" occurs in nothing.
  static bool contains(std::string_view text, std::string_view part);

  /// Columns that the text takes in a fixed-width font: East Asian wide characters take two, combining marks none.
  static std::size_t displayWidth(std::string_view text);

  /// The text with each bad byte replaced by U+FFFD.
  static std::string validUTF8(std::string_view bytes);
};

}  // namespace quarn
