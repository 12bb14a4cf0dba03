#pragma once

#include <cstdint>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/files/AccessTimes.h"

namespace quarn {

/// The result of opening a folder.
struct OpenedFolder {
  FileDescriptor descriptor;  ///< closed on failure
  int error = 0;  ///< errno if closed: EXDEV for a mount point; ELOOP or ENOTDIR if the item is not a folder
};

/// Opens the folders of a walk relative to their parents' descriptors. Never follows a link and never enters another
/// device than that of the walk's root. Does not own the root. Thread-safe.
class FolderOpener {
 public:
  /// How to detect another device: the kernel checks while opening and does not touch the other device, or we compare
  /// device numbers afterwards.
  enum class DeviceCheck : std::uint8_t { bySystem, byNumber };

  /// Selects the check: device numbers if the kernel cannot check, or if one mount holds several devices.
  explicit FolderOpener(int root, AccessTimes accessTimes = AccessTimes::keepIfPermitted);
  FolderOpener(int root, DeviceCheck check, AccessTimes accessTimes = AccessTimes::keepIfPermitted);

  /// Opens the folder `name` (NUL-terminated, without "/") in the open folder `parent`.
  [[nodiscard]] OpenedFolder open(int parent, const char* name) const;

 private:
  [[maybe_unused]] DeviceCheck check_;        // macOS has one check only
  [[maybe_unused]] AccessTimes accessTimes_;  // macOS has no such choice per opening
  std::uint64_t device_;
};

/// Opens the folder `name` (NUL-terminated) of the open folder `parent` for looking items up below it, which takes the
/// right to search it and not the right to list it; never through a link. Closed, and errno, when that fails.
FileDescriptor openForSearch(int parent, const char* name);

}  // namespace quarn
