#pragma once

#include <vector>

#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// True if an entry of /Users is the home folder of a user: a visible folder other than those of nobody (`Shared`,
/// `Guest`). A symbolic link is not: the folder that it leads to counts where it is.
bool isUserHome(const DirectoryEntry& entry);

/// The home folders in /Users, by name. Empty if the volume has no /Users. Throws FileError if the folder cannot be
/// listed.
std::vector<FileURL> userHomes(const FileManager& files);

}  // namespace quarn
