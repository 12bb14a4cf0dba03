#pragma once

#include <array>
#include <string>
#include <vector>

#include "quarn/commands/CommandContext.h"
#include "quarn/commands/CommandRow.h"

namespace quarn {

/// Parses an absolute path on the Mac; "~" is the inspected user's home folder. Throws UsageError for a relative
/// path.
FileURL pathArgument(const std::string& text, CommandContext& context);

/// The same for a folder. Resolves a symbolic link, because walks do not follow links. Throws FileError (operation
/// "list") for what does not exist or is not a folder.
FileURL folderArgument(const std::string& text, CommandContext& context);

/// All positionals of a command as folders.
std::vector<FileURL> folderArguments(CommandContext& context);

/// The positionals of a command that takes folders.
inline constexpr std::array kFolderPaths{
    PositionalRow{.name = "PATH", .help = "Folder, a path on the Mac", .isRepeatable = true}};

}  // namespace quarn
