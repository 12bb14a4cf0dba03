#pragma once

#include <map>

#include "tests/QuarnCore/storage/DashboardVolume.h"

namespace quarn {

/// What a partitioned scan has to find, by a plain reading of its rules: each regular file of the volume is looked at
/// by itself, and every rule is tried on its whole path. Slow; shares nothing with the scan but the categories' roots.
std::map<StorageCategoryID, SizeInfo> plainScan(const DashboardVolume& volume);

}  // namespace quarn
