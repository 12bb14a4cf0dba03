#pragma once

#include <vector>

#include "QuarnCore/vendors/VendorProfileRegistry.h"
#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// The third layer of discovery: what only vendor knowledge finds. Built-in rules for Microsoft, Adobe and mail
/// clients, then the vendor profiles; each find's explanation names the layer. A plain value; never fails.
class DeepInspectorService {
 public:
  DeepInspectorService(VendorProfileRegistry vendorProfiles, FileManager files);

  /// `existingArtifacts` and `entitlements` do not change the result: duplicates are folded by the inspection's merge.
  [[nodiscard]] std::vector<Artifact> inspect(const AppEntity& app, const std::vector<Artifact>& existingArtifacts,
                                              const EntitlementsInfo& entitlements) const;

 private:
  VendorProfileRegistry vendorProfiles_;
  FileManager files_;
};

}  // namespace quarn
