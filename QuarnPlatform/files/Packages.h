#pragma once

#include <string_view>

namespace quarn {

/// True if a folder with this name is a package by its extension, ignoring case. Frameworks and .lproj folders are
/// not packages: the Finder opens them as folders.
bool isPackageName(std::string_view name);

/// The bundle bit of a folder: 0x2000 in the big-endian flags at byte 8 of its FinderInfo, an attribute of 32 bytes.
struct BundleBit {
  bool isSet = false;  ///< false without such an attribute, and if it cannot be read
  int error = 0;       ///< the errno if the attribute cannot be read
};
BundleBit bundleBit(int folderDescriptor);

}  // namespace quarn
