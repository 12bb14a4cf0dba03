#pragma once

#include <vector>

#include "QuarnCore/storage/StorageSignatureRegistry.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// The folders below the user's application data and /Users/Shared that hold an item which one of the markers names, in
/// the order of the walk, each once by its resolved path. Patterns with "/" take no part. At most five levels and
/// 60,000 items of each search root are looked at, hidden items and the insides of packages left out.
std::vector<FileURL> markedFolders(const std::vector<StorageSignatureRegistry::Signature>& markers,
                                   const FileManager& files);

}  // namespace quarn
