#pragma once

#include <cstdint>

namespace quarn {

/// Space of the file system that holds a volume's root, in bytes. Free is what a user may still fill.
struct VolumeSpace {
  std::int64_t totalBytes = 0;
  std::int64_t freeBytes = 0;
};

/// How a volume is mounted on the host.
struct VolumeMount {
  bool isMountPoint = false;        ///< the volume's folder is where something is mounted, not a folder like others
  bool isReadOnly = false;          ///< nothing can change, access times neither
  bool keepsAccessTimes = false;    ///< mounted without access times
  bool mayKeepAccessTimes = false;  ///< this user may open the volume's folder without changing its access time
};

}  // namespace quarn
