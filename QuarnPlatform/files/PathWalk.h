#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/files/ItemFacts.h"

namespace quarn {

/// The result of walking a path: the open folder that holds the item, and the link-free names from the root to the
/// item. Without names, the item is the root, and so is the folder.
struct WalkedPlace {
  FileDescriptor folder;
  std::vector<std::string> names;
};

/// Walks `path` below the open folder `root`, one component at a time. The kernel never follows a link, so the walk
/// cannot leave the root, and the path can have any length. `links` decides about a link at the end; links in the
/// middle are always followed, at most 33 in total. Time is linear in the length of the path. Absent, with errno set,
/// if a component is missing or is not a folder, or if there are too many links.
std::optional<WalkedPlace> walkBelow(int root, std::string_view path, Links links);

}  // namespace quarn
