#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "QuarnCore/discovery/ArtifactScanner.h"
#include "QuarnCore/discovery/KernelExtensionAssociationService.h"
#include "QuarnCore/vendors/DeepInspectorService.h"
#include "QuarnCore/vendors/UninstallerDiscoveryService.h"
#include "QuarnModels/AppInspection.h"
#include "QuarnModels/RawValue.h"
#include "QuarnSystem/EntitlementsReader.h"
#include "QuarnSystem/LaunchdScanner.h"
#include "QuarnSystem/ReceiptScanner.h"

namespace quarn {

/// Inspects one installed app in a fixed sequence of phases and returns everything that belongs to it. A plain value,
/// safe to copy to another thread; synchronous; does not fail.
class AppInspectionService {
 public:
  /// The phases in the order in which they run.
  enum class Phase : std::uint8_t {
    uninstallers,
    entitlements,
    artifacts,
    documents,
    launchd,
    receipts,
    deepInspector,
    kernelExtensions,
    finalize,
  };

  /// What an inspection does. No field has a default: the caller chooses every value.
  struct Options {
    bool includeHeuristicSearch;
    long heuristicMaxDepth;
    long heuristicMaxResults;
    bool includeDocumentsHeuristicSearch;
    long documentsHeuristicMaxDepth;
    long documentsHeuristicMaxResults;
    bool includeVendorHeuristics;
    bool includeSystemArtifacts;
    bool includeSystemHeuristicSearch;
    bool includeGroupContainers;
    bool includeLaunchd;
    bool includeReceipts;
    bool includeKernelExtensions;
    bool computeArtifactSizes;
  };

  using Progress = std::function<void(Phase)>;

  AppInspectionService(ArtifactScanner artifactScanner, UninstallerDiscoveryService uninstallerDiscovery,
                       EntitlementsReader entitlementsReader, LaunchdScanner launchdScanner,
                       ReceiptScanner receiptScanner, DeepInspectorService deepInspector,
                       KernelExtensionAssociationService kernelExtensionAssociator,
                       FileSizeCalculator fileSizeCalculator, FileManager files);

  /// The phases that `inspect` reports for these options, in order.
  static std::vector<Phase> phaseSequence(const Options& options);

  /// The inspection. `progress`, when given, is called on this thread with each phase as it begins.
  [[nodiscard]] AppInspection inspect(const AppEntity& app, const Options& options,
                                      const Progress& progress = nullptr) const;

 private:
  [[nodiscard]] std::vector<Artifact> withKernelExtensions(std::vector<Artifact> artifacts,
                                                           std::vector<Artifact> kernelExtensions) const;

  ArtifactScanner artifactScanner_;
  UninstallerDiscoveryService uninstallerDiscovery_;
  EntitlementsReader entitlementsReader_;
  LaunchdScanner launchdScanner_;
  ReceiptScanner receiptScanner_;
  DeepInspectorService deepInspector_;
  KernelExtensionAssociationService kernelExtensionAssociator_;
  FileSizeCalculator fileSizeCalculator_;
  FileManager files_;
};

template <>
struct RawValues<AppInspectionService::Phase> {
  static constexpr std::array<std::string_view, 9> kStrings{"uninstallers",  "entitlements",     "artifacts",
                                                            "documents",     "launchd",          "receipts",
                                                            "deepInspector", "kernelExtensions", "finalize"};
};

}  // namespace quarn
