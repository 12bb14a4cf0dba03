#pragma once

#include <functional>
#include <optional>
#include <vector>

#include "QuarnModels/SizeInfo.h"
#include "QuarnPlatform/base/Cancellable.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// Sizes items. Replaceable, for example in tests.
///
/// Every regular file counts its length and 512 × its blocks. Folders, links and special files count nothing. Every
/// hard link counts. The walk does not enter other devices and skips unreadable folders. If
/// cancelled, an operation returns the sum so far.
struct FileSizeCalculator {
  /// The size of a file or of a whole tree, without items that equal an excluded URL or are inside one. Without
  /// `includeHidden`, skips hidden items and everything below them, but not the item itself. Without `allowSlow`,
  /// only regular files have a size, and a folder throws ENOTSUP. Links and special files are (0, 0). Throws
  /// FileError if the item does not exist or is a folder that cannot be listed.
  Cancellable<SizeInfo(const FileURL& at, const std::vector<FileURL>& excluding, bool allowSlow, bool includeHidden)>
      itemSizeExcluding;
  /// The size of a folder, by walking it. Throws like `itemSizeExcluding`.
  Cancellable<SizeInfo(const FileURL& at, bool includeHidden)> enumeratingDirectorySize;
  /// The size of a regular file, without walking. Absent for any other item and if it cannot be read.
  std::function<std::optional<SizeInfo>(const FileURL& at)> resourceSize;

  /// The size without exclusions.
  [[nodiscard]] SizeInfo itemSize(const FileURL& at, bool allowSlow, bool includeHidden,
                                  const Cancellation& cancellation = Cancellation::never()) const {
    return itemSizeExcluding(at, {}, allowSlow, includeHidden, cancellation);
  }

  /// The size so far of a walk, for progress.
  using Growth = std::function<void(const SizeInfo& soFar)>;

  static FileSizeCalculator live(FileManager files);
  /// The same; walks call `growth` on the calling thread with the sum so far, at most every 100 ms.
  static FileSizeCalculator growing(FileManager files, Growth growth);
};

}  // namespace quarn
