#pragma once

#include <string>
#include <utility>
#include <vector>

#include "QuarnCore/inspection/AppInspectionService.h"
#include "tests/support/MacVolume.h"

namespace quarn {

/// The parts of an inspection: live clients, unless a test replaces them.
struct Inspector {
  explicit Inspector(const MacVolume& volume)
      : files(volume.files()),
        sizes(FileSizeCalculator::live(files)),
        entitlements(EntitlementsReader::live(files)),
        launchd(LaunchdScanner::live(files)),
        receipts(ReceiptSnapshot::of(files)),
        extensions(KernelExtensionService::live(files, sizes)) {}

  [[nodiscard]] AppInspectionService service() const {
    const VendorProfileRegistry registry(profiles);
    const ReceiptScanner scanner{.snapshot = [*this] {
      if (receiptsAreRead) receiptsAreRead();
      return receipts;
    }};
    return {ArtifactScanner(sizes, files),
            UninstallerDiscoveryService(files),
            entitlements,
            launchd,
            scanner,
            DeepInspectorService(registry, files),
            KernelExtensionAssociationService(registry, scanner, extensions, files.homeDirectory(), files),
            sizes,
            files};
  }

  FileManager files;
  FileSizeCalculator sizes;
  EntitlementsReader entitlements;
  LaunchdScanner launchd;
  ReceiptSnapshot receipts;
  std::function<void()> receiptsAreRead;  ///< called for each reading
  KernelExtensionService extensions;
  std::vector<VendorProfile> profiles;
};

inline AppInspectionService::Options inspectionOptions(bool everything) {
  return {.includeHeuristicSearch = everything,
          .heuristicMaxDepth = 3,
          .heuristicMaxResults = 100,
          .includeDocumentsHeuristicSearch = everything,
          .documentsHeuristicMaxDepth = 2,
          .documentsHeuristicMaxResults = 50,
          .includeVendorHeuristics = everything,
          .includeSystemArtifacts = everything,
          .includeSystemHeuristicSearch = everything,
          .includeGroupContainers = everything,
          .includeLaunchd = everything,
          .includeReceipts = everything,
          .includeKernelExtensions = everything,
          .computeArtifactSizes = everything};
}

inline AppEntity exampleApp() {
  return {.name = "Example",
          .bundleIdentifier = "com.example.App",
          .bundleURL = FileURL("/Applications/Example.app/"),
          .id = "com.example.App"};
}

}  // namespace quarn
