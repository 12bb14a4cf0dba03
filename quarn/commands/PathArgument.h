#pragma once

#include <string>

#include "quarn/commands/CommandContext.h"

namespace quarn {

/// Parses an absolute path on the Mac; "~" is the inspected user's home folder. Throws UsageError for a relative
/// path.
FileURL pathArgument(const std::string& text, CommandContext& context);

}  // namespace quarn
