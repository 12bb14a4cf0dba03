#pragma once

#include <string_view>

namespace quarn {

/// Whether a folder of this name is a package by its extension, letter case ignored. Frameworks and .lproj folders are
/// not: the Finder browses them.
bool isPackageName(std::string_view name);

/// Whether the open folder's FinderInfo has the bundle bit (0x2000, big-endian flags at byte 8 of a 32-byte attribute).
/// False when there is no such attribute or the file system keeps none.
bool hasBundleBit(int folderDescriptor);

}  // namespace quarn
