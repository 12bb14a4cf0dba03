#pragma once

#include <string>
#include <string_view>

namespace quarn {

/// The canonical composition (NFC): "e" with a combining accent becomes "é". The compositions of canonically
/// equivalent texts have equal bytes. A text that is not UTF-8 stays unchanged. Thread-safe.
std::string composed(std::string_view text);

/// The same, but does not copy a text that is already composed, as nearly all file names are: returns `text` or its
/// composition in `storage`.
std::string_view composed(std::string_view text, std::string& storage);

}  // namespace quarn
