#pragma once

#include <string>

#include "quarn/commands/CommandContext.h"

namespace quarn {

/// A path that the user names, as the Mac names it; "~" is the inspected user's home. Throws UsageError for a relative
/// one.
FileURL pathArgument(const std::string& text, CommandContext& context);

}  // namespace quarn
