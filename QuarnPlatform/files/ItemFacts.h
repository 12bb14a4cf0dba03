#pragma once

#include <cstdint>
#include <optional>

#include "QuarnPlatform/base/ByteCounts.h"

namespace quarn {

/// The type of the item itself; a link to a folder is a link. Sockets, pipes and devices are `other`.
enum class FileType : std::uint8_t { regular, directory, symbolicLink, other };

/// Whether a lookup follows a symbolic link at the end of the path. Links in the middle are always followed.
enum class Links : std::uint8_t { follow, doNotFollow };

/// Whether to include hidden items. An item is hidden if its name begins with "." (on macOS also by UF_HIDDEN or the
/// Finder's flag).
enum class HiddenItems : std::uint8_t { include, skip };

/// Whether a walk enters packages, the folders that the Finder shows as one item (see `isPackageName`).
enum class PackageContents : std::uint8_t { enter, skip };

/// Which facts a listing or a walk reads besides name and type.
enum class EnumeratedFacts : std::uint8_t {
  none,   ///< names and types: no system call per item
  sizes,  ///< sizes of regular files
};

/// What the file system reports about an item.
struct ItemFacts {
  FileType type = FileType::other;
  ByteCounts sizes;                  ///< zero unless it is a regular file
  bool anyExecuteBit = false;        ///< at least one execute bit is set
  std::int64_t modifiedSeconds = 0;  ///< when the content was last changed, in seconds since 1970
  std::uint64_t device = 0;          ///< identifies the item together with `inode`
  std::uint64_t inode = 0;
  std::uint64_t links = 1;     ///< the number of the item's names
  bool isOnlyInCloud = false;  ///< the content is not on the disk and would be downloaded (macOS: SF_DATALESS)
};

}  // namespace quarn
