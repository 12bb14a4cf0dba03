#pragma once

#include <string>
#include <string_view>

namespace quarn {

class ResourceBundle;

/// The library's own sentences in the user's language. English sentences are the keys; the catalogue is the bundle's
/// "Localizable.xcstrings" (Xcode's string-catalogue format).
///
/// `useLocalization` sets the process's current locale and loads its sentences; `main` calls it once before any work.
/// Until then, and where the catalogue has no entry, the English sentence stands. A missing or malformed catalogue is
/// no error.
void useLocalization(const std::string& localeIdentifier, const ResourceBundle& bundle);

/// The sentence in the current locale.
std::string localized(std::string_view english);
/// The sentence in the current locale with its first "%ld" replaced by the count.
std::string localizedCount(std::string_view english, long count);
/// The sentence in the current locale with its first "%@" replaced by the text.
std::string localizedText(std::string_view english, std::string_view text);
/// The sentence with its first two "%@" replaced, in order ("%1$@" and "%2$@" where a language needs another order).
std::string localizedTexts(std::string_view english, std::string_view first, std::string_view second);

}  // namespace quarn
