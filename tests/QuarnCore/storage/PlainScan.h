#pragma once

#include <map>

#include "tests/QuarnCore/storage/DashboardVolume.h"

namespace quarn {

/// A regular file of a volume and the category that it counts to, `free` for none.
struct PlainlyScanned {
  std::string path;
  SizeInfo size;
  StorageCategoryID category;
};

/// What a partitioned scan has to find, by a plain reading of its rules: each regular file of the volume is looked at
/// by itself, and every rule is tried on its whole path. Slow; shares nothing with the scan but the categories' roots.
std::vector<PlainlyScanned> plainScan(const DashboardVolume& volume);

}  // namespace quarn
