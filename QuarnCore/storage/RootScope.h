#pragma once

#include <cstdint>

namespace quarn {

/// Which roots of the storage categories to find: all of the volume, or only those that belong to the home folder.
enum class RootScope : std::uint8_t { volume, home };

}  // namespace quarn
