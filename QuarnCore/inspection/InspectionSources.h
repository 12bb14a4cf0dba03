#pragma once

#include <functional>
#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnModels/Artifact.h"
#include "QuarnModels/SystemRecords.h"
#include "QuarnSystem/FileSizeCalculator.h"

namespace quarn {

/// The functions that the phases of an inspection call. For one app they read the volume; for many apps they read it
/// once and cache. A plain value. Refers to the inspection service that made it.
struct InspectionSources {
  std::function<std::vector<UninstallerCandidate>(const AppEntity& app)> uninstallers;
  std::function<std::vector<Artifact>(const AppEntity& app, const EntitlementsInfo& entitlements)> artifacts;
  std::function<std::vector<Artifact>(const AppEntity& app)> documents;
  std::function<std::vector<Artifact>(const AppEntity& app)> launchd;
  std::function<std::vector<Artifact>(const AppEntity& app)> receipts;
  std::function<std::vector<Artifact>(const AppEntity& app, const std::vector<Artifact>& found,
                                      const EntitlementsInfo& entitlements)>
      deepInspector;
  std::function<std::vector<Artifact>(const AppEntity& app)> kernelExtensions;
  FileSizeCalculator sizes;
};

}  // namespace quarn
