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

  /// `existingArtifacts` and `entitlements` do not affect the result; the inspection merges duplicates. If
  /// cancelled, returns what was found so far.
  [[nodiscard]] std::vector<Artifact> inspect(const AppEntity& app, const std::vector<Artifact>& existingArtifacts,
                                              const EntitlementsInfo& entitlements,
                                              const Cancellation& cancellation = Cancellation::never()) const;

  /// Returns the function `inspect` for many apps, which resolves the paths of each profile once. Use it from one
  /// thread.
  [[nodiscard]] std::function<std::vector<Artifact>(const AppEntity& app)> forManyApps(
      const Cancellation& cancellation) const;

 private:
  [[nodiscard]] static std::vector<Artifact> builtIn(const AppEntity& app, const FileManager& files);

  VendorProfileRegistry vendorProfiles_;
  FileManager files_;
};

}  // namespace quarn
