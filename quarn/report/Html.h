#pragma once

#include <string>
#include <string_view>

namespace quarn {

/// Text from the disk as HTML text or attribute value: markup in it is shown and never acts, control characters,
/// direction overrides and bytes that are no UTF-8 are written out.
std::string html(std::string_view text);

/// The same for a name or path, set apart so that its writing direction does not turn what stands beside it.
std::string htmlName(std::string_view text);

/// The same for a text of several lines: a paragraph a line, empty lines left out.
std::string htmlParagraphs(std::string_view text);

}  // namespace quarn
