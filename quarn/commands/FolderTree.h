#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "QuarnCore/storage/RecordedFolders.h"
#include "QuarnModels/Date.h"
#include "QuarnModels/SizeInfo.h"
#include "QuarnPlatform/paths/FileURL.h"
#include "quarn/commands/CommandContext.h"

namespace quarn {

/// A folder, or one of the largest files, with all that is in it.
struct TreeEntry {
  std::uint64_t id = 0;  ///< of a folder; only the tree knows what it means
  std::string name{};
  SizeInfo size{};
  std::int64_t files = 0;  ///< 1 for a file
  bool isFolder = true;
  bool isPackage = false;
  std::optional<Date> modified{};  ///< the latest change of a file in it
};

/// All folders below one folder with their sizes, from one walk or from a scan. A file with several names counts once
/// in each folder, and once in the folders above.
struct FolderTree {
  TreeEntry root{};
  FileURL url{};  ///< of the root
  /// The folders and the largest files directly in a folder, in no particular order.
  std::function<std::vector<TreeEntry>(const TreeEntry& folder)> entriesIn{};
  /// The folder at an absolute path without links; absent if the tree has none there.
  std::function<std::optional<TreeEntry>(const FileURL& folder)> find{};
  std::int64_t linkedFiles = 0;  ///< files that were found under several names; 0 for a scan, which counts each name
  bool isExact = true;           ///< false if there were more such names than are kept
};

/// Walks the folder, which must not be a link, and shows progress. Interrupted: what was read so far. Throws FileError.
FolderTree walkedTree(const FileURL& folder, CommandContext& context);
/// The whole volume, as a partitioned scan recorded it: each name of a file counts.
FolderTree recordedTree(const std::shared_ptr<const RecordedFolders>& folders);
/// The folder of the scan. Throws CommandError if the scan does not have it.
FolderTree scannedTree(const FileURL& folder, const Scan& scan);

}  // namespace quarn
