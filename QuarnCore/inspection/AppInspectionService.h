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
    bool includeHeuristicSearch;           ///< see `ArtifactScanner::Options`
    long heuristicMaxDepth;                ///< see `ArtifactScanner::userHeuristicSearch`
    long heuristicMaxResults;              ///< likewise
    bool includeDocumentsHeuristicSearch;  ///< whether the documents phase runs
    long documentsHeuristicMaxDepth;       ///< see `ArtifactScanner::documentsHeuristicSearch`
    long documentsHeuristicMaxResults;     ///< likewise
    bool includeVendorHeuristics;          ///< see `ArtifactScanner::Options`
    bool includeSystemArtifacts;           ///< likewise
    bool includeSystemHeuristicSearch;     ///< likewise
    bool includeGroupContainers;           ///< whether entitlements are read; the phase runs either way
    bool includeLaunchd;                   ///< whether the launchd phase runs
    bool includeReceipts;                  ///< whether the receipts phase runs
    bool includeKernelExtensions;          ///< whether that phase runs; the system's own extensions never take part
    bool computeArtifactSizes;             ///< whether every artifact leaves with a size
  };

  using Progress = std::function<void(Phase)>;

  AppInspectionService(ArtifactScanner artifactScanner, UninstallerDiscoveryService uninstallerDiscovery,
                       EntitlementsReader entitlementsReader, LaunchdScanner launchdScanner,
                       ReceiptScanner receiptScanner, DeepInspectorService deepInspector,
                       KernelExtensionAssociationService kernelExtensionAssociator,
                       FileSizeCalculator fileSizeCalculator, FileManager files);

  /// The phases that `inspect` reports for these options, in order.
  static std::vector<Phase> phaseSequence(const Options& options);

  /// Everything found for the app, in the order of the phases, each id once: of artifacts with one id the most
  /// confident is kept, at the place of the first; among equals one with an explanation, else the first. `progress`,
  /// when given, is called on this thread with each phase as it begins. Sizes that overflow end the program.
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
