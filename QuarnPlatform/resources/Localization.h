#pragma once

#include <string>
#include <string_view>

namespace quarn {

class ResourceBundle;

/// The library's texts in the user's language. The English sentences are the keys. The catalogue is
/// "Localizable.xcstrings" in the bundle (Xcode's string catalogue format).
///
/// `useLocalization` sets the process's locale and loads its translations. Call it once in `main`, before any other
/// work. Without it, and for sentences that are not in the catalogue, the English sentence is used. A missing or
/// malformed catalogue is not an error.
void useLocalization(const std::string& localeIdentifier, const ResourceBundle& bundle);

/// The translated sentence.
std::string localized(std::string_view english);
/// The translated sentence with the count in place of the first "%ld".
std::string localizedCount(std::string_view english, long count);
/// The translated sentence with the text in place of the first "%@".
std::string localizedText(std::string_view english, std::string_view text);
/// The translated sentence with the texts in place of two "%@" ("%1$@" and "%2$@" in languages with another order).
std::string localizedTexts(std::string_view english, std::string_view first, std::string_view second);

}  // namespace quarn
