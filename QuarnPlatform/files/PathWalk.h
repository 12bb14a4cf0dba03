#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/files/ItemFacts.h"

namespace quarn {

/// Where a walk along a path ended: the open folder that holds the item, and the link-free names from the root down to
/// the item. No names: the item is the root, and the folder is the root itself.
struct WalkedPlace {
  FileDescriptor folder;
  std::vector<std::string> names;
};

/// Follows `path` below the open folder `root`, one component at a time and never through a link that the system
/// follows by itself: nothing leads out of the root, and no path is too long. Links at the end are followed as told,
/// those on the way always; at most 33 in all. Work grows with the path's length alone. Absent, and errno, when
/// anything is missing, is no folder on the way, or is one link too many.
std::optional<WalkedPlace> walkBelow(int root, std::string_view path, Links links);

}  // namespace quarn
