#pragma once

#include "tests/support/MacVolume.h"

namespace quarn {

/// A volume in a memory file system if there is one. For trees of thousands of folders, which take seconds to remove
/// from some disks, and for files that are too long for some file systems.
MacVolume volumeInMemory(std::string_view home = "/Users/ann");

}  // namespace quarn
