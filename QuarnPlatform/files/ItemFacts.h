#pragma once

#include <cstdint>
#include <optional>

#include "QuarnPlatform/base/ByteCounts.h"

namespace quarn {

/// An item's own type; exactly one holds, and a link to a folder is a link. Sockets, pipes and devices are `other`.
enum class FileType : std::uint8_t { regular, directory, symbolicLink, other };

/// Whether a look-up goes through a symbolic link at the end of the path. Links on the way are always followed.
enum class Links : std::uint8_t { follow, doNotFollow };

/// Whether hidden items take part. Hidden: the name begins with "." (on macOS also UF_HIDDEN or the Finder's bit).
enum class HiddenItems : std::uint8_t { include, skip };

/// Whether a walk goes into packages, the folders that the Finder shows as one item (see `isPackageName`).
enum class PackageContents : std::uint8_t { enter, skip };

/// What the file system says of one item.
struct ItemFacts {
  FileType type = FileType::other;
  ByteCounts sizes;            ///< of a regular file; zero for everything else, folders too
  bool anyExecuteBit = false;  ///< some execute bit is set
  std::uint64_t device = 0;    ///< with `inode` the item's identity
  std::uint64_t inode = 0;
};

}  // namespace quarn
