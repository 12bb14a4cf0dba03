#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "QuarnPlatform/paths/FileURL.h"

namespace quarn {

/// Expands "~" and a leading "~/" to `home`. Absent for a relative pattern.
std::optional<std::string> expandedPattern(std::string_view pattern, const FileURL& home);

/// Removes white space and line breaks at both ends.
std::string_view trimmed(std::string_view text);

}  // namespace quarn
