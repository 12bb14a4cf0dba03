#pragma once

#include <cstdint>

namespace quarn {

/// Space of the file system that holds a volume's root, in bytes. Free is what a user may still fill.
struct VolumeSpace {
  std::int64_t totalBytes = 0;
  std::int64_t freeBytes = 0;
};

}  // namespace quarn
