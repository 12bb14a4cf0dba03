#pragma once

#include <string_view>

namespace quarn {

/// True if a folder with this name is a package by its extension, ignoring case. Frameworks and .lproj folders are
/// not packages: the Finder opens them as folders.
bool isPackageName(std::string_view name);

/// True if the FinderInfo of the open folder has the bundle bit (0x2000 in the big-endian flags at byte 8 of the
/// 32-byte attribute). False if there is no such attribute.
bool hasBundleBit(int folderDescriptor);

}  // namespace quarn
