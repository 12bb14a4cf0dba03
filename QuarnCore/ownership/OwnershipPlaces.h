#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "QuarnModels/Artifact.h"

namespace quarn {

/// How the entries of a place are named.
enum class EntryNaming : std::uint8_t {
  any,             ///< after an app or its identifier
  dotted,          ///< the same; entries that do not begin with a dot are ignored
  plain,           ///< the same; entries that begin with a dot are ignored
  identifierOnly,  ///< after identifiers; a plain name is no evidence there
};

/// A folder whose entries are named after apps.
struct OwnershipPlace {
  std::string_view name;    ///< for people
  std::string_view folder;  ///< absolute, or below the home folder
  EntryNaming naming = EntryNaming::any;
  bool hasVendorFolders = false;  ///< a folder named after a vendor holds its apps' entries
  ArtifactKind kind = ArtifactKind::unknown;
  ArtifactDataClass dataClass = ArtifactDataClass::unknown;
  RiskLevel riskLevel = RiskLevel::caution;

  [[nodiscard]] ArtifactScope scope() const {
    return folder.starts_with('/') ? ArtifactScope::system : ArtifactScope::user;
  }
};

/// The places. A place comes before the places that contain it.
std::span<const OwnershipPlace> ownershipPlaces();

/// Whether an entry of a place is a folder that all apps share, even if an app has its name. `name` is as written.
bool isSharedParent(const OwnershipPlace& place, std::string_view name);

/// Whether an entry of a place belongs to the operating system.
bool isSystemEntry(const OwnershipPlace& place, std::string_view name);

}  // namespace quarn
