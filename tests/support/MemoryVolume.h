#pragma once

#include "tests/support/MacVolume.h"

namespace quarn {

/// A volume on the file system in memory where the system has one, else like any other: for trees of thousands of
/// folders, which some disks take seconds to remove, and for files longer than a disk's file system allows.
MacVolume volumeInMemory(std::string_view home = "/Users/ann");

}  // namespace quarn
