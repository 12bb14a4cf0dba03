#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "QuarnPlatform/paths/FileURL.h"

namespace quarn {

/// The pattern as an absolute path with "~" and a leading "~/" standing for `home`; absent for a relative pattern.
std::optional<std::string> expandedPattern(std::string_view pattern, const FileURL& home);

/// The text without white space and line breaks at both ends.
std::string_view trimmed(std::string_view text);

}  // namespace quarn
