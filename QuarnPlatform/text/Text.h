#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace quarn {

/// A locale identifier: "de_DE". "" is the root locale.
class Locale {
 public:
  Locale() = default;
  explicit Locale(std::string identifier) : identifier_(std::move(identifier)) {}

  [[nodiscard]] const std::string& identifier() const { return identifier_; }
  /// The lower-case language code: "de".
  [[nodiscard]] std::string language() const;

  /// The locale of the process. It is the root locale unless `main` calls `setCurrent`, once, before any other work.
  static const Locale& current();
  static void setCurrent(Locale locale);

  friend bool operator==(const Locale&, const Locale&) = default;

 private:
  std::string identifier_;
};

/// Text operations that match Foundation: characters are extended grapheme clusters, and equality is canonical
/// equivalence. Input is UTF-8; an invalid byte counts as U+FFFD. Pure functions; thread-safe.
struct Text {
  Text() = delete;

  /// Folds case and diacritics: full case folding; Latin, Greek and Cyrillic letters lose their marks, other scripts
  /// keep them. Depends on the locale only for Turkish and Azerbaijani.
  static std::string folded(std::string_view text, const Locale& locale = Locale::current());
  /// Lower case, independent of the locale: full mappings, without the final sigma rule.
  static std::string lowercased(std::string_view text);
  /// A folded and lower-cased name without " ", "-" and "_", to find similar names.
  static std::string normalizedKey(std::string_view name);

  /// The number of characters (extended grapheme clusters). "\r\n" is one character.
  static std::size_t characterCount(std::string_view text);

  /// Localised comparison that ignores case: negative, zero or positive. Collation strength is secondary, punctuation
  /// counts, digits are not numbers. Strings that differ only in case or normalisation are equal, so sort stably.
  /// Each thread caches the collator of its last locale. If ICU does not support the locale, compares the folded
  /// texts.
  static int localizedCaseInsensitiveCompare(std::string_view left, std::string_view right,
                                             const Locale& locale = Locale::current());

  /// Canonical equivalence: "é" equals "e" + U+0301.
  static bool equal(std::string_view left, std::string_view right);
  /// True if a prefix of `text` is canonically equivalent to `prefix` and ends at a character boundary. "" is a
  /// prefix of everything.
  static bool hasPrefix(std::string_view text, std::string_view prefix);
  /// True if `text` contains a canonically equivalent text that is not followed by a combining mark. Nothing contains
  /// "".
  static bool contains(std::string_view text, std::string_view part);

  /// Width in columns of a fixed-width font: East Asian wide characters take two, combining marks none.
  static std::size_t displayWidth(std::string_view text);

  /// Replaces each invalid byte by U+FFFD.
  static std::string validUTF8(std::string_view bytes);
};

}  // namespace quarn
