#pragma once

#include <vector>

#include "QuarnCore/storage/RootScope.h"
#include "QuarnCore/storage/StorageSignatureRegistry.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

class KeptListings;

/// The folders below the user's application data and /Users/Shared that contain an item with the name of a marker, in
/// walk order, each once by its resolved path. Ignores patterns with "/". Searches at most five levels and 60,000
/// items of each search root, without hidden items and the content of packages. Stops early when
/// the file manager's cancellation is set. With the scope `home`, without /Users/Shared. `kept`, which may be null,
/// gets what the search lists.
std::vector<FileURL> markedFolders(const std::vector<StorageSignatureRegistry::Signature>& markers,
                                   const FileManager& files, RootScope scope = RootScope::volume,
                                   KeptListings* kept = nullptr);

}  // namespace quarn
