#pragma once

#include <string>
#include <string_view>

namespace quarn {

/// The text as it may be sent to a terminal: control characters, direction overrides and bytes that are no UTF-8 are
/// written out ("\x1B", "\u{202E}", "\xFF"), so that no name can move the cursor, change colours or reverse what stands
/// beside it.
std::string escapedForTerminal(std::string_view bytes);

/// A JSON document as it may be sent to a terminal: the same characters as "\u001b" escapes, which change no value.
std::string escapedJSON(std::string_view document);

/// Columns that a text takes on a terminal: East Asian wide characters take two, combining marks none.
std::size_t displayWidth(std::string_view text);

/// The text cut to at most `width` columns, the cut marked with "…" in its middle, where paths matter least.
std::string fittedToWidth(std::string_view text, std::size_t width);

}  // namespace quarn
