#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "QuarnCore/storage/RootScope.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// The library folders in a "libraryfolders.vdf", in order. These are the lines with two quoted tokens, the first of
/// them "path" in any case; \\ and \" in the second are unescaped. Blanks are spaces, tabs and carriage returns;
/// tokens may touch. Relative paths and other lines are ignored, and so is text that is not UTF-8.
std::vector<std::string> steamLibraryPaths(std::string_view text);

/// The existing "steamapps" folders of the user's Steam folder and the shared one: their own, and those of the
/// libraries in their "libraryfolders.vdf". With the scope `home`, without the shared one.
std::vector<FileURL> steamAppFolders(const FileManager& files, RootScope scope = RootScope::volume);

}  // namespace quarn
