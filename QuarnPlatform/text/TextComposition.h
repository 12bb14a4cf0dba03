#pragma once

#include <string>
#include <string_view>

namespace quarn {

/// The text's canonical composition (NFC), by whose bytes canonically equivalent texts compare equal: "e" with a
/// combining accent becomes "é". A text that is not UTF-8 stays as it is. Safe from any thread.
std::string composed(std::string_view text);

/// The same without a copy where the text is composed as it is, which nearly every file name is: `text` itself, or its
/// composition in `storage`.
std::string_view composed(std::string_view text, std::string& storage);

}  // namespace quarn
