#pragma once

#include <cstdint>
#include <optional>

#include <sys/stat.h>

#include "QuarnPlatform/files/ItemFacts.h"

namespace quarn {

/// What the calls of the `stat` family say of an item, as records. The same on every system.

/// The unit of a status's blocks.
inline constexpr std::uint64_t kStatusBlockSize = 512;

FileType fileTypeOf(mode_t mode);

/// What is only in the cloud occupies nothing here, whatever the file system answers. Absent, and errno EOVERFLOW, when
/// a damaged or hostile file system reports sizes that do not fit.
std::optional<ItemFacts> factsOf(const struct stat& status, bool isOnlyInCloud = false);

}  // namespace quarn
