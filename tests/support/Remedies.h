#pragma once

#include <string>

#include "QuarnPlatform/files/ReadReport.h"

namespace quarn {

/// What this system advises against a denied permission, as messages have it: "(run as root)".
inline std::string permissionRemedy() { return "(" + std::string(remedyFor(UnreadableCause::permission)) + ")"; }

}  // namespace quarn
