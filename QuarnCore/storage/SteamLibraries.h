#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// The library folders that the text of a "libraryfolders.vdf" names, in order: of every line of two quoted tokens
/// whose first is "path" in any letter case, the second with \\ and \" unescaped. Blanks are spaces, tabs and carriage
/// returns; tokens may touch. Relative paths and other lines give nothing, nor does text that is not UTF-8.
std::vector<std::string> steamLibraryPaths(std::string_view text);

/// The "steamapps" folders that exist: of each Steam folder of the user and of all users, its own and those of the
/// libraries that its "libraryfolders.vdf" names.
std::vector<FileURL> steamAppFolders(const FileManager& files);

}  // namespace quarn
