#pragma once

#include <functional>
#include <vector>

#include "QuarnCore/vendors/VendorProfileRegistry.h"
#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// Finds artifacts that need vendor knowledge: built-in rules for Microsoft, Adobe and mail clients, then the vendor
/// profiles. The explanation of an artifact names its source. Never fails.
class DeepInspectorService {
 public:
  DeepInspectorService(VendorProfileRegistry vendorProfiles, FileManager files);

  /// `existingArtifacts` and `entitlements` do not affect the result; the inspection merges duplicates.
  [[nodiscard]] std::vector<Artifact> inspect(const AppEntity& app, const std::vector<Artifact>& existingArtifacts,
                                              const EntitlementsInfo& entitlements) const;

  /// The same for many apps, which looks for each profile's items once. For one thread.
  [[nodiscard]] std::function<std::vector<Artifact>(const AppEntity& app)> forManyApps() const;

 private:
  [[nodiscard]] std::vector<Artifact> builtIn(const AppEntity& app) const;

  VendorProfileRegistry vendorProfiles_;
  FileManager files_;
};

}  // namespace quarn
