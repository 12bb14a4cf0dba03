#pragma once

#include <map>

#include "tests/QuarnCore/storage/DashboardVolume.h"

namespace quarn {

/// A regular file and its category, `free` for none.
struct PlainlyScanned {
  std::string path;
  SizeInfo size;
  StorageCategoryID category;
};

/// The expected result of a partitioned scan, by a literal implementation of its rules: tries every rule on the whole
/// path of every file. Slow. Shares only the roots of the categories with the scan.
std::vector<PlainlyScanned> plainScan(const DashboardVolume& volume);

}  // namespace quarn
