#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "QuarnModels/SizeInfo.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// Sizes items. A plain value; a test or a shell may replace the functions.
///
/// Every regular file adds its length and 512 × its blocks; folders, links and special files add nothing. Hard links
/// count each time. Another device is not entered; an unreadable sub-folder is left out.
struct FileSizeCalculator {
  /// The size of the file or of the whole tree at a URL without what equals or lies in one of the excluded URLs.
  /// Without `includeHidden` hidden items and all below them are left out, but never the item itself. Without
  /// `allowSlow` only a regular file has a size, and a folder throws ENOTSUP. A link or special file is (0, 0). Throws
  /// FileError when the item does not exist or is a folder that cannot be listed.
  std::function<SizeInfo(const FileURL& at, const std::vector<FileURL>& excluding, bool allowSlow, bool includeHidden)>
      itemSizeExcluding;
  /// The size of a folder found by walking it item by item. Throws like `itemSizeExcluding`.
  std::function<SizeInfo(const FileURL& at, bool includeHidden)> enumeratingDirectorySize;
  /// A regular file's own sizes, without walking anything; absent for everything else and for what cannot be read.
  std::function<std::optional<SizeInfo>(const FileURL& at)> resourceSize;

  /// The size with nothing excluded.
  [[nodiscard]] SizeInfo itemSize(const FileURL& at, bool allowSlow, bool includeHidden) const {
    return itemSizeExcluding(at, {}, allowSlow, includeHidden);
  }

  static FileSizeCalculator live(FileManager files);
};

}  // namespace quarn
