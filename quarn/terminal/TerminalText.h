#pragma once

#include <string>
#include <string_view>

namespace quarn {

/// Makes untrusted text safe for a terminal. Control characters, direction overrides and invalid UTF-8 become "\x1B",
/// "\u{202E}", "\xFF", so a name cannot move the cursor, change colours or reorder the text around it.
std::string escapedForTerminal(std::string_view bytes);

/// The same for a JSON document: the characters become "\u001b" escapes, which do not change any value.
std::string escapedJSON(std::string_view document);

/// The width of a text in terminal columns: East Asian wide characters take two, combining marks none.
std::size_t displayWidth(std::string_view text);

/// Cuts the text to `width` columns and puts "…" in its middle, because both ends of a path matter most.
std::string fittedToWidth(std::string_view text, std::size_t width);

}  // namespace quarn
