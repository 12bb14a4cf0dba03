#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "QuarnCore/storage/CategoryRoots.h"
#include "QuarnModels/Storage.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/VolumeClients.h"

namespace quarn {

/// How a root's items are attributed: one by one, or all to the root's category.
enum class ScanMode : std::uint8_t { enumerate, fast };

/// One folder (or file) that the partitioned scan walks by itself.
struct ScanRoot {
  std::string path;      ///< resolved and standardised: its name
  std::string location;  ///< where it is walked, as a walk meets it: no links, "/private" not left out
  StorageCategoryID defaultCategory = StorageCategoryID::other;
  ScanMode mode = ScanMode::enumerate;
};

/// Items at and below a location count to a category, unless a longer rule says otherwise.
struct PrefixRule {
  std::string prefix;
  StorageCategoryID category = StorageCategoryID::other;
};

/// What a partitioned scan walks and by which rules. All places are locations, as `ScanRoot` has them. Made once for a
/// scan.
struct ScanPlan {
  /// In the order in which they are walked. No root equals another, and a root inside another is left to itself.
  std::vector<ScanRoot> roots;
  /// Among equal prefixes the first one holds.
  std::vector<PrefixRule> prefixRules;
  /// What roots of mode `fast` leave out besides the roots inside them.
  std::vector<std::string> fastExclusions;
};

/// The plan for the volume as it is now.
ScanPlan makeScanPlan(const CategoryRoots& categories, const FileURL& quarantine,
                      const VolumeLocationChecker& locations, const FileManager& files);

}  // namespace quarn
