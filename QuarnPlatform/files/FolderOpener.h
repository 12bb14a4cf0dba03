#pragma once

#include <cstdint>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/files/AccessTimes.h"

namespace quarn {

/// What opening a folder gave.
struct OpenedFolder {
  FileDescriptor descriptor;  ///< closed when the folder could not be opened
  int error = 0;  ///< errno when closed: EXDEV for a mount point, ELOOP or ENOTDIR for what is no folder (any more)
};

/// Opens the folders of one walk by their parents' descriptors, never through a link and never onto another device than
/// the walk's root. A plain value, safe from any thread; it does not own the root.
class FolderOpener {
 public:
  /// How another device is recognised: by the system while it opens, so that nothing of the other device is touched, or
  /// by comparing device numbers afterwards.
  enum class DeviceCheck : std::uint8_t { bySystem, byNumber };

  /// Chooses the check that works here: device numbers where the system cannot check, or where one mount holds several
  /// devices.
  explicit FolderOpener(int root, AccessTimes accessTimes = AccessTimes::keepIfPermitted);
  FolderOpener(int root, DeviceCheck check, AccessTimes accessTimes = AccessTimes::keepIfPermitted);

  /// Opens the folder `name` (NUL-terminated, no "/" in it) of the open folder `parent`.
  [[nodiscard]] OpenedFolder open(int parent, const char* name) const;

 private:
  DeviceCheck check_;
  AccessTimes accessTimes_;
  std::uint64_t device_;
};

}  // namespace quarn
