#pragma once

#include <vector>

#include "QuarnCore/ownership/OwnershipMap.h"
#include "QuarnModels/AppInspection.h"
#include "QuarnModels/RemovalPlan.h"

namespace quarn {

/// What the map of the whole volume says of one app's inspection. A plain value.
struct AppOwnership {
  std::vector<Ownership> alsoOwned{};   ///< entries of the app that the inspection did not find
  std::vector<Ownership> shared{};      ///< finds of the inspection that the app shares with other installed apps
  std::vector<Ownership> fitsBetter{};  ///< finds of the inspection that other installed apps own
  friend bool operator==(const AppOwnership&, const AppOwnership&) = default;
};

/// Compares an inspection with the map. `alsoOwned` is in the order of the map, the others are in that of the
/// inspection. Recognises the app by its bundle's URL.
AppOwnership compareWithMap(const AppInspection& inspection, const OwnershipMap& map);

/// What a removal selects that looks at the whole volume: the mode's own selection without the items that another
/// installed app owns or shares, and what the mode selects among the app's own entries with strong evidence, at least
/// that of its name.
std::vector<Artifact> chosenArtifacts(const AppInspection& inspection, CleanupMode mode, const OwnershipMap& map);

}  // namespace quarn
