#pragma once

#include <string>
#include <string_view>

namespace quarn {

/// Escapes untrusted text for HTML text or an attribute value. Markup becomes text; control characters, direction
/// overrides and invalid UTF-8 become visible escapes.
std::string html(std::string_view text);

/// The same for a name or path, isolated so that its writing direction does not affect the text around it.
std::string htmlName(std::string_view text);

/// The same for a text of several lines: one paragraph per line, without empty lines.
std::string htmlParagraphs(std::string_view text);

}  // namespace quarn
