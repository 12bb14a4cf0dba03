#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "QuarnCore/discovery/ArtifactScanner.h"
#include "QuarnCore/discovery/KernelExtensionAssociationService.h"
#include "QuarnCore/inspection/InspectionSources.h"
#include "QuarnCore/vendors/DeepInspectorService.h"
#include "QuarnCore/vendors/UninstallerDiscoveryService.h"
#include "QuarnModels/AppInspection.h"
#include "QuarnModels/RawValue.h"
#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnSystem/EntitlementsReader.h"
#include "QuarnSystem/LaunchdScanner.h"
#include "QuarnSystem/ReceiptScanner.h"

namespace quarn {

/// Inspects an app in a fixed sequence of phases and returns everything that belongs to it. Copyable and thread-safe.
/// Synchronous. Never fails.
class AppInspectionService {
 public:
  /// The phases in order.
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

  /// The options of an inspection. There are no defaults: set every field.
  struct Options {
    bool includeHeuristicSearch;           ///< see `ArtifactScanner::Options`
    long heuristicMaxDepth;                ///< see `ArtifactScanner::userHeuristicSearch`
    long heuristicMaxResults;              ///< see above
    bool includeDocumentsHeuristicSearch;  ///< run the documents phase
    long documentsHeuristicMaxDepth;       ///< see `ArtifactScanner::documentsHeuristicSearch`
    long documentsHeuristicMaxResults;     ///< see above
    bool includeVendorHeuristics;          ///< see `ArtifactScanner::Options`
    bool includeSystemArtifacts;           ///< see above
    bool includeSystemHeuristicSearch;     ///< see above
    bool includeGroupContainers;           ///< read the entitlements; the phase runs in any case
    bool includeLaunchd;                   ///< run the launchd phase
    bool includeReceipts;                  ///< run the receipts phase
    bool includeKernelExtensions;          ///< run the phase; never includes the extensions of macOS
    bool computeArtifactSizes;             ///< size every artifact
  };

  using Progress = std::function<void(Phase)>;

  AppInspectionService(ArtifactScanner artifactScanner, UninstallerDiscoveryService uninstallerDiscovery,
                       EntitlementsReader entitlementsReader, LaunchdScanner launchdScanner,
                       ReceiptScanner receiptScanner, DeepInspectorService deepInspector,
                       KernelExtensionAssociationService kernelExtensionAssociator,
                       FileSizeCalculator fileSizeCalculator, FileManager files);

  /// The phases that `inspect` reports for these options, in order.
  static std::vector<Phase> phaseSequence(const Options& options);

  /// Inspects an app. The artifacts are in the order of the phases, without duplicate ids: of several artifacts with
  /// one id, the most confident is kept (of equal ones, one with an explanation, else the first), at the position of
  /// the first. Calls `progress`, if not null, on this thread when a phase begins. A byte sum that overflows
  /// terminates the program.
  [[nodiscard]] AppInspection inspect(const AppEntity& app, const Options& options,
                                      const Progress& progress = nullptr) const;

  /// Gives `onInspection`, app by app in their order, exactly what `inspect` gives for each (the date apart), and reads
  /// each folder, property list, receipt and job once for all of them: the cost grows with the number of entries and of
  /// apps, not with their product. The volume is taken to stay as it is meanwhile. Cancelled: ends before the next app.
  void inspectAll(const std::vector<AppEntity>& apps, const Options& options,
                  const std::function<void(AppInspection inspection)>& onInspection,
                  const Cancellation& cancellation = Cancellation::never()) const;

 private:
  [[nodiscard]] InspectionSources sourcesOfOne(const Options& options) const;
  [[nodiscard]] InspectionSources sourcesOfMany(const std::vector<AppEntity>& apps, const Options& options) const;
  [[nodiscard]] AppInspection run(const AppEntity& app, const Options& options, const InspectionSources& sources,
                                  const Progress& progress) const;
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
