#pragma once

#include <string>
#include <string_view>

namespace quarn {

/// Text from the disk as HTML text or attribute value: markup in it is shown and never acts, control characters and
/// direction overrides are written out.
std::string html(std::string_view text);

/// The same for a name or path, set apart so that its writing direction does not turn what stands beside it.
std::string htmlName(std::string_view text);

}  // namespace quarn
