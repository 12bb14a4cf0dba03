#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "QuarnModels/Artifact.h"

namespace quarn {

/// How the entries of a place are named.
enum class EntryNaming : std::uint8_t {
  any,             ///< after an app or its identifier
  dotted,          ///< the same, and only entries that begin with a dot take part
  plain,           ///< the same, and only entries that do not
  identifierOnly,  ///< after identifiers alone: a plain name says nothing there
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

/// The places, the more special ones before those that hold them.
std::span<const OwnershipPlace> ownershipPlaces();

/// Whether an entry of a place is a folder that all apps share, whatever an app is called. `name` as it stands.
bool isSharedParent(const OwnershipPlace& place, std::string_view name);

/// Whether an entry of a place is the operating system's own.
bool isSystemEntry(const OwnershipPlace& place, std::string_view name);

}  // namespace quarn
