#pragma once

#include <cstdint>

namespace quarn {

/// The space of the volume's file system in bytes. Free space is what is available to unprivileged users.
struct VolumeSpace {
  std::int64_t totalBytes = 0;
  std::int64_t freeBytes = 0;
};

}  // namespace quarn
