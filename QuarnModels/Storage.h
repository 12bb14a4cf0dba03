#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "QuarnModels/Artifact.h"
#include "QuarnModels/RawValue.h"
#include "QuarnModels/SizeInfo.h"
#include "QuarnModels/SystemRecords.h"

namespace quarn {

/// What the space of a disk goes to, in the order in which categories are always listed. `free` has no folders.
enum class StorageCategoryID : std::uint8_t {
  apps,
  documents,
  photos,
  communication,
  games,
  development,
  systemData,
  other,
  free,
};
template <>
struct RawValues<StorageCategoryID> {
  static constexpr std::array<std::string_view, 9> kStrings{
      "apps", "documents", "photos", "communication", "games", "development", "systemData", "other", "free"};
};

/// A category and what it takes.
struct StorageCategory {
  StorageCategoryID id = StorageCategoryID::apps;
  SizeInfo size;
  friend bool operator==(const StorageCategory&, const StorageCategory&) = default;
};

/// What a dashboard shows before anything is scanned.
struct StorageOverview {
  VolumeInfo volume;
  std::vector<StorageCategory> categories;
  friend bool operator==(const StorageOverview&, const StorageOverview&) = default;
};

/// What is known of a vendor's path.
struct VendorPathHint {
  std::string vendorID;
  std::string vendorName;
  StorageCategoryID category = StorageCategoryID::other;
  ArtifactKind artifactKind = ArtifactKind::unknown;
  ArtifactDataClass artifactDataClass = ArtifactDataClass::unknown;
  std::string artifactTitle;
  std::optional<std::string> explanation;
  RiskLevel riskLevel = RiskLevel::safe;
  std::string path;  ///< standardised
  friend bool operator==(const VendorPathHint&, const VendorPathHint&) = default;
};

/// One of the largest items.
struct TopItem {
  FileURL url;
  std::string name;  ///< last path component
  SizeInfo size;
  friend bool operator==(const TopItem&, const TopItem&) = default;
};

/// How much of a set of folders is on this disk and how much only in the cloud, in bytes.
struct CloudStorageSummary {
  std::int64_t localBytes = 0;
  std::int64_t cloudOnlyBytes = 0;  ///< what logical lengths exceed allocations by
  std::int64_t allocatedBytes = 0;
  std::int64_t logicalBytes = 0;
  friend bool operator==(const CloudStorageSummary&, const CloudStorageSummary&) = default;
};

}  // namespace quarn
