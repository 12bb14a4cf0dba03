#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "QuarnModels/Artifact.h"
#include "QuarnModels/RawValue.h"
#include "QuarnModels/SizeInfo.h"
#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/base/RecordHash.h"

namespace quarn {

/// The categories of disk space, in display order. `free` has no folders.
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

/// A category and its size.
struct StorageCategory {
  StorageCategoryID id = StorageCategoryID::apps;
  SizeInfo size{};
  friend bool operator==(const StorageCategory&, const StorageCategory&) = default;
};

/// The content of a dashboard before a scan.
struct StorageOverview {
  VolumeInfo volume{};
  std::vector<StorageCategory> categories{};
  friend bool operator==(const StorageOverview&, const StorageOverview&) = default;
};

/// What a vendor profile says about a path.
struct VendorPathHint {
  std::string vendorID{};
  std::string vendorName{};
  StorageCategoryID category = StorageCategoryID::other;
  ArtifactKind artifactKind = ArtifactKind::unknown;
  ArtifactDataClass artifactDataClass = ArtifactDataClass::unknown;
  std::string artifactTitle{};
  std::optional<std::string> explanation{};
  RiskLevel riskLevel = RiskLevel::safe;
  std::string path{};  ///< standardised
  friend bool operator==(const VendorPathHint&, const VendorPathHint&) = default;
};

/// An item in a list of the largest items.
struct TopItem {
  FileURL url{};
  std::string name{};  ///< last path component
  SizeInfo size{};
  friend bool operator==(const TopItem&, const TopItem&) = default;
};

/// The bytes of a set of folders that are on this disk, and those that are only in the cloud.
struct CloudStorageSummary {
  std::int64_t localBytes = 0;
  std::int64_t cloudOnlyBytes = 0;  ///< logical bytes beyond the allocated bytes
  std::int64_t allocatedBytes = 0;
  std::int64_t logicalBytes = 0;
  friend bool operator==(const CloudStorageSummary&, const CloudStorageSummary&) = default;
};

}  // namespace quarn

/// Hashes all fields, consistent with `==`.
template <>
struct std::hash<quarn::VendorPathHint> {
  std::size_t operator()(const quarn::VendorPathHint& record) const {
    const auto& [vendorID, vendorName, category, artifactKind, artifactDataClass, artifactTitle, explanation, riskLevel,
                 path] = record;
    return quarn::hashOfFields(vendorID, vendorName, category, artifactKind, artifactDataClass, artifactTitle,
                               explanation, riskLevel, path);
  }
};
