#include "QuarnCore/inspection/AppInspectionService.h"

#include <algorithm>
#include <chrono>
#include <unordered_map>
#include <unordered_set>

#include "QuarnCore/discovery/ArtifactSizing.h"
#include "QuarnCore/inspection/InspectionSources.h"
#include "QuarnPlatform/base/Pace.h"

namespace quarn {
namespace {

bool isBetter(const Artifact& newcomer, const Artifact& kept) {
  if (newcomer.confidence != kept.confidence) return newcomer.confidence > kept.confidence;
  return !kept.explanation && newcomer.explanation;
}

// Keeps one artifact per id, at the position of the first one.
std::vector<Artifact> merged(std::vector<Artifact> artifacts) {
  std::vector<Artifact> result;
  std::unordered_map<std::string, std::size_t> places;
  for (Artifact& artifact : artifacts) {
    const auto [place, isNew] = places.try_emplace(artifact.id, result.size());
    if (isNew) {
      result.push_back(std::move(artifact));
    } else if (isBetter(artifact, result[place->second])) {
      result[place->second] = std::move(artifact);
    }
  }
  return result;
}

void tellGrowth(const AppInspectionService::Growth& growth, AppInspectionService::Phase phase,
                AppInspection& inspection, const std::vector<Artifact>& found) {
  inspection.artifacts = merged(found);
  growth(phase, inspection);
}

}  // namespace

AppInspectionService::AppInspectionService(ArtifactScanner artifactScanner,
                                           UninstallerDiscoveryService uninstallerDiscovery,
                                           EntitlementsReader entitlementsReader, LaunchdScanner launchdScanner,
                                           ReceiptScanner receiptScanner, DeepInspectorService deepInspector,
                                           KernelExtensionAssociationService kernelExtensionAssociator,
                                           FileSizeCalculator fileSizeCalculator, FileManager files)
    : artifactScanner_(std::move(artifactScanner)),
      uninstallerDiscovery_(std::move(uninstallerDiscovery)),
      entitlementsReader_(std::move(entitlementsReader)),
      launchdScanner_(std::move(launchdScanner)),
      receiptScanner_(std::move(receiptScanner)),
      deepInspector_(std::move(deepInspector)),
      kernelExtensionAssociator_(std::move(kernelExtensionAssociator)),
      fileSizeCalculator_(std::move(fileSizeCalculator)),
      files_(std::move(files)) {}

std::vector<AppInspectionService::Phase> AppInspectionService::phaseSequence(const Options& options) {
  std::vector<Phase> phases{Phase::uninstallers, Phase::entitlements, Phase::artifacts};
  if (options.includeDocumentsHeuristicSearch) phases.push_back(Phase::documents);
  if (options.includeLaunchd) phases.push_back(Phase::launchd);
  if (options.includeReceipts) phases.push_back(Phase::receipts);
  phases.push_back(Phase::deepInspector);
  if (options.includeKernelExtensions) phases.push_back(Phase::kernelExtensions);
  phases.push_back(Phase::finalize);
  return phases;
}

AppInspection AppInspectionService::inspect(const AppEntity& app, const Options& options, const Progress& progress,
                                            const Cancellation& cancellation) const {
  return inspect(app, options, progress, nullptr, cancellation);
}

AppInspection AppInspectionService::inspect(const AppEntity& app, const Options& options, const Progress& progress,
                                            const Growth& growth, const Cancellation& cancellation) const {
  return run(app, options, sourcesOfOne(options, cancellation), progress, growth, cancellation);
}

void AppInspectionService::inspectAll(const std::vector<AppEntity>& apps, const Options& options,
                                      const std::function<void(AppInspection inspection)>& onInspection,
                                      const Cancellation& cancellation) const {
  if (apps.empty() || cancellation.isCancelled()) return;
  const InspectionSources sources = sourcesOfMany(apps, options, cancellation);
  for (const AppEntity& app : apps) {
    AppInspection inspection = run(app, options, sources, nullptr, nullptr, cancellation);
    // A partial inspection would look complete.
    if (cancellation.isCancelled()) return;
    onInspection(std::move(inspection));
  }
}

AppInspection AppInspectionService::run(const AppEntity& app, const Options& options, const InspectionSources& sources,
                                        const Progress& progress, const Growth& growth,
                                        const Cancellation& cancellation) const {
  AppInspection inspection{.app = app};
  EntitlementsInfo entitlements;
  std::vector<Artifact> artifacts;
  for (const Phase phase : phaseSequence(options)) {
    if (cancellation.isCancelled()) break;
    if (progress) progress(phase);
    switch (phase) {
      case Phase::uninstallers: inspection.uninstallers = sources.uninstallers(app); break;
      case Phase::entitlements:
        if (options.includeGroupContainers) entitlements = entitlementsReader_.readEntitlements(app.bundleURL);
        break;
      case Phase::artifacts: append(artifacts, sources.artifacts(app, entitlements)); break;
      case Phase::documents: append(artifacts, sources.documents(app)); break;
      case Phase::launchd: append(artifacts, sources.launchd(app)); break;
      case Phase::receipts: append(artifacts, sources.receipts(app)); break;
      case Phase::deepInspector: append(artifacts, sources.deepInspector(app, artifacts, entitlements)); break;
      case Phase::kernelExtensions:
        artifacts = withKernelExtensions(std::move(artifacts), sources.kernelExtensions(app));
        break;
      case Phase::finalize: break;  // runs below, also for a cancelled inspection
    }
    if (growth) tellGrowth(growth, phase, inspection, artifacts);
  }
  inspection.artifacts = merged(std::move(artifacts));
  if (options.computeArtifactSizes) sizeWithGrowth(inspection, sources.sizes, growth, cancellation);
  inspection.inspectedAt = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  if (growth) growth(Phase::finalize, inspection);
  return inspection;
}

void AppInspectionService::sizeWithGrowth(AppInspection& inspection, const FileSizeCalculator& sizes,
                                          const Growth& growth, const Cancellation& cancellation) const {
  Pace pace;
  std::function<void()> onSized;
  if (growth) {
    onSized = [&] { pace.offer([&] { growth(Phase::finalize, inspection); }); };
  }
  sizeArtifacts(inspection.artifacts, sizes, files_, cancellation, onSized);
}

// If an earlier phase found an extension as an ordinary file, keep only the artifact of the extension.
std::vector<Artifact> AppInspectionService::withKernelExtensions(std::vector<Artifact> artifacts,
                                                                 std::vector<Artifact> kernelExtensions) const {
  std::unordered_set<std::string> paths;
  for (const Artifact& extension : kernelExtensions) {
    for (const FileURL& url : extension.urls) paths.insert(files_.standardizedPath(url));
  }
  if (!paths.empty()) {
    std::erase_if(artifacts, [&](const Artifact& artifact) {
      return std::any_of(artifact.urls.begin(), artifact.urls.end(),
                         [&](const FileURL& url) { return paths.contains(files_.standardizedPath(url)); });
    });
  }
  append(artifacts, std::move(kernelExtensions));
  return artifacts;
}

}  // namespace quarn
