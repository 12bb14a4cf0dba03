#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnModels/Artifact.h"
#include "QuarnPlatform/base/RecordHash.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// The profile of a vendor: how to recognise its apps, and the locations of their files. Decoded from a JSON
/// resource; the keys are the field names.
struct VendorProfile {
  struct Match {
    std::vector<std::string> bundleIDs{};  ///< exact identifiers
    std::vector<std::string> bundleIDPrefixes{};
    std::vector<std::string> nameContains{};  ///< fragments of the app name
    friend bool operator==(const Match&, const Match&) = default;
  };
  struct ArtifactDefinition {
    ArtifactKind kind = ArtifactKind::unknown;
    ArtifactDataClass dataClass = ArtifactDataClass::unknown;
    ArtifactScope scope = ArtifactScope::user;
    RiskLevel riskLevel = RiskLevel::safe;
    double confidence = 0;
    std::string title{};
    std::optional<std::string> explanation{};
    std::vector<std::string> paths{};  ///< patterns, see `VendorPathResolver`
    friend bool operator==(const ArtifactDefinition&, const ArtifactDefinition&) = default;
  };
  /// A location that is reported separately, as shared data.
  struct CarveOut {
    std::string title{};
    std::vector<std::string> paths{};
    std::string reason{};
    friend bool operator==(const CarveOut&, const CarveOut&) = default;
  };

  std::string id{};
  std::string displayName{};
  Match match{};
  std::vector<ArtifactDefinition> artifacts{};
  std::vector<CarveOut> carveOuts{};

  /// True if the app is this vendor's: by exact identifier, by identifier prefix, or by a name fragment. If the
  /// profile lists app bundles, a name fragment only counts if the bundle's file name is among them.
  [[nodiscard]] bool matches(const AppEntity& app) const;
  /// The vendor's items that exist on the volume; each item is in one artifact. "~" in patterns is `home`.
  [[nodiscard]] std::vector<Artifact> makeArtifacts(const FileManager& files, const FileURL& home) const;

  friend bool operator==(const VendorProfile&, const VendorProfile&) = default;
};

}  // namespace quarn

/// Hashes all fields, consistent with `==`.
template <>
struct std::hash<quarn::VendorProfile::Match> {
  std::size_t operator()(const quarn::VendorProfile::Match& record) const {
    const auto& [bundleIDs, bundleIDPrefixes, nameContains] = record;
    return quarn::hashOfFields(bundleIDs, bundleIDPrefixes, nameContains);
  }
};

/// Hashes all fields, consistent with `==`.
template <>
struct std::hash<quarn::VendorProfile::ArtifactDefinition> {
  std::size_t operator()(const quarn::VendorProfile::ArtifactDefinition& record) const {
    const auto& [kind, dataClass, scope, riskLevel, confidence, title, explanation, paths] = record;
    return quarn::hashOfFields(kind, dataClass, scope, riskLevel, confidence, title, explanation, paths);
  }
};

/// Hashes all fields, consistent with `==`.
template <>
struct std::hash<quarn::VendorProfile::CarveOut> {
  std::size_t operator()(const quarn::VendorProfile::CarveOut& record) const {
    const auto& [title, paths, reason] = record;
    return quarn::hashOfFields(title, paths, reason);
  }
};

/// Hashes all fields, consistent with `==`.
template <>
struct std::hash<quarn::VendorProfile> {
  std::size_t operator()(const quarn::VendorProfile& record) const {
    const auto& [id, displayName, match, artifacts, carveOuts] = record;
    return quarn::hashOfFields(id, displayName, match, artifacts, carveOuts);
  }
};
