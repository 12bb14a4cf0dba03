#pragma once

#include <functional>
#include <vector>

#include "QuarnModels/AppEntity.h"
#include "QuarnModels/Artifact.h"
#include "QuarnModels/SystemRecords.h"
#include "QuarnSystem/FileSizeCalculator.h"

namespace quarn {

/// What the phases of an inspection ask, as functions: an inspection of one app asks the disk, the inspections of many
/// apps ask what was read once for all of them. A plain value.
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
