#include "QuarnCore/inspection/AppInspectionService.h"

#include <algorithm>
#include <chrono>
#include <unordered_map>
#include <unordered_set>

#include "QuarnCore/discovery/ArtifactSizing.h"

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

ArtifactScanner::Options scanOptions(const AppInspectionService::Options& options) {
  return {.includeHeuristicSearch = options.includeHeuristicSearch,
          .heuristicMaxDepth = options.heuristicMaxDepth,
          .heuristicMaxResults = options.heuristicMaxResults,
          .includeVendorHeuristics = options.includeVendorHeuristics,
          .includeSystemArtifacts = options.includeSystemArtifacts,
          .includeSystemHeuristicSearch = options.includeSystemHeuristicSearch,
          .computeSizes = options.computeArtifactSizes};
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
  AppInspection inspection{.app = app};
  // All phases share one snapshot of the receipts.
  const bool needsReceipts = options.includeReceipts || options.includeKernelExtensions;
  const ReceiptSnapshot receipts = needsReceipts ? receiptScanner_.snapshot() : ReceiptSnapshot();
  EntitlementsInfo entitlements;
  std::vector<Artifact> artifacts;
  for (const Phase phase : phaseSequence(options)) {
    if (cancellation.isCancelled()) break;
    if (progress) progress(phase);
    switch (phase) {
      case Phase::uninstallers:
        inspection.uninstallers = uninstallerDiscovery_.findUninstallers(app, cancellation);
        break;
      case Phase::entitlements:
        if (options.includeGroupContainers) entitlements = entitlementsReader_.readEntitlements(app.bundleURL);
        break;
      case Phase::artifacts:
        append(artifacts, artifactScanner_.scan(app, entitlements, scanOptions(options), cancellation));
        break;
      case Phase::documents:
        append(artifacts,
               artifactScanner_.documentsHeuristicSearch(app, options.documentsHeuristicMaxDepth,
                                                         options.documentsHeuristicMaxResults, cancellation));
        break;
      case Phase::launchd: append(artifacts, artifactScanner_.launchdArtifacts(app, launchdScanner_.scan())); break;
      case Phase::receipts: append(artifacts, artifactScanner_.receiptArtifacts(receipts.receiptsMatching(app))); break;
      case Phase::deepInspector:
        append(artifacts, deepInspector_.inspect(app, artifacts, entitlements, cancellation));
        break;
      case Phase::kernelExtensions:
        artifacts = withKernelExtensions(
            std::move(artifacts),
            kernelExtensionAssociator_.kernelExtensionArtifacts(app, /*includeMacOS=*/false, receipts, cancellation));
        break;
      case Phase::finalize: break;  // runs below, also for a cancelled inspection
    }
  }
  artifacts = merged(std::move(artifacts));
  if (options.computeArtifactSizes) sizeArtifacts(artifacts, fileSizeCalculator_, files_, cancellation);
  inspection.artifacts = std::move(artifacts);
  inspection.inspectedAt = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  return inspection;
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
