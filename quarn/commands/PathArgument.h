#pragma once

#include <string>

#include "quarn/commands/CommandContext.h"

namespace quarn {

/// Parses an absolute path on the Mac; "~" is the inspected user's home folder. Throws UsageError for a relative
/// path.
FileURL pathArgument(const std::string& text, CommandContext& context);

/// The same for a folder. Resolves a symbolic link, because walks do not follow links. Throws FileError (operation
/// "list") for what does not exist or is not a folder.
FileURL folderArgument(const std::string& text, CommandContext& context);

}  // namespace quarn
