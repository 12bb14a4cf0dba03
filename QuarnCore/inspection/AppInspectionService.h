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
#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnPlatform/base/Required.h"
#include "QuarnSystem/EntitlementsReader.h"
#include "QuarnSystem/LaunchdScanner.h"
#include "QuarnSystem/ReceiptScanner.h"

namespace quarn {

struct InspectionSources;

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

  /// The options of an inspection. There are no defaults: omitting a field does not compile.
  struct Options {
    Required<bool> includeHeuristicSearch;           ///< see `ArtifactScanner::Options`
    Required<long> heuristicMaxDepth;                ///< see `ArtifactScanner::userHeuristicSearch`
    Required<long> heuristicMaxResults;              ///< see above
    Required<bool> includeDocumentsHeuristicSearch;  ///< run the documents phase
    Required<long> documentsHeuristicMaxDepth;       ///< see `ArtifactScanner::documentsHeuristicSearch`
    Required<long> documentsHeuristicMaxResults;     ///< see above
    Required<bool> includeVendorHeuristics;          ///< see `ArtifactScanner::Options`
    Required<bool> includeSystemArtifacts;           ///< see above
    Required<bool> includeSystemHeuristicSearch;     ///< see above
    Required<bool> includeGroupContainers;           ///< read the entitlements; the phase runs in any case
    Required<bool> includeLaunchd;                   ///< run the launchd phase
    Required<bool> includeReceipts;                  ///< run the receipts phase
    Required<bool> includeKernelExtensions;          ///< run the phase; never includes the extensions of macOS
    Required<bool> computeArtifactSizes;             ///< size every artifact
  };

  using Progress = std::function<void(Phase)>;
  /// Sees an inspection grow. `soFar` is what `inspect` would return now, without the date; it is valid during the
  /// call.
  using Growth = std::function<void(Phase phase, const AppInspection& soFar)>;

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
  /// terminates the program. If cancelled, returns what the phases have found, merged; does not report further
  /// phases, and leaves artifacts without a size that were not sized yet.
  [[nodiscard]] AppInspection inspect(const AppEntity& app, const Options& options, const Progress& progress = nullptr,
                                      const Cancellation& cancellation = Cancellation::never()) const;

  /// The same. Also calls `growth`, if not null, on this thread: after each phase, at most every 100 ms while artifacts
  /// are sized, and at the end, also when cancelled.
  [[nodiscard]] AppInspection inspect(const AppEntity& app, const Options& options, const Progress& progress,
                                      const Growth& growth, const Cancellation& cancellation) const;

  /// Inspects many apps. Passes to `onInspection`, in the order of the apps, exactly the inspections that `inspect`
  /// returns (except the date). Reads each folder, property list, receipt and job once for all apps, so the cost grows
  /// with the number of items plus the number of apps, not with their product. Assumes that the volume does not change
  /// meanwhile. If cancelled, returns before the next complete inspection.
  void inspectAll(const std::vector<AppEntity>& apps, const Options& options,
                  const std::function<void(AppInspection inspection)>& onInspection,
                  const Cancellation& cancellation = Cancellation::never()) const;

 private:
  [[nodiscard]] InspectionSources sourcesOfOne(const Options& options, const Cancellation& cancellation) const;
  [[nodiscard]] InspectionSources sourcesOfMany(const std::vector<AppEntity>& apps, const Options& options,
                                                const Cancellation& cancellation) const;
  [[nodiscard]] AppInspection run(const AppEntity& app, const Options& options, const InspectionSources& sources,
                                  const Progress& progress, const Growth& growth,
                                  const Cancellation& cancellation) const;
  void sizeWithGrowth(AppInspection& inspection, const FileSizeCalculator& sizes, const Growth& growth,
                      const Cancellation& cancellation) const;
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
