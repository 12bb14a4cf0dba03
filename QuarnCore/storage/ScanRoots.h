#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "QuarnCore/storage/CategoryRoots.h"
#include "QuarnModels/Storage.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/VolumeClients.h"

namespace quarn {

/// How to attribute the items of a root: one by one, or all to the root's category.
enum class ScanMode : std::uint8_t { enumerate, fast };

/// A folder or file that the partitioned scan walks separately.
struct ScanRoot {
  std::string path;      ///< resolved and standardised; the name of the root
  std::string location;  ///< the path as a walk meets it: no links, with "/private"
  StorageCategoryID defaultCategory = StorageCategoryID::other;
  ScanMode mode = ScanMode::enumerate;
};

/// Items at or below a location count for a category, unless a longer rule applies.
struct PrefixRule {
  std::string prefix;
  StorageCategoryID category = StorageCategoryID::other;
};

/// The roots and rules of a partitioned scan. All paths are locations, as in `ScanRoot`. Created once per scan.
struct ScanPlan {
  /// In walk order, without duplicates. The walk of a root skips the roots inside it.
  std::vector<ScanRoot> roots;
  /// Of equal prefixes, the first one applies.
  std::vector<PrefixRule> prefixRules;
  /// Items that roots of mode `fast` skip, in addition to the roots inside them.
  std::vector<std::string> fastExclusions;
};

/// Makes the plan for the current state of the volume.
ScanPlan makeScanPlan(const CategoryRoots& categories, const FileURL& quarantine,
                      const VolumeLocationChecker& locations, const FileManager& files);

}  // namespace quarn
