// Inspects an app on a mounted Mac volume, then prints the storage categories of the volume.
//
//   inspect_app VOLUME HOME APP      inspect_app /mnt/mac /Users/ann "Lumen Notes"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>

#include "QuarnCore/inspection/AppInspectionService.h"
#include "QuarnCore/inspection/AppsService.h"
#include "QuarnCore/storage/StorageDashboardService.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/resources/ResourceBundle.h"
#include "QuarnSystem/AppDiscoveryClient.h"

namespace {

using namespace quarn;

/// The services of a volume. Each takes its dependencies, then the file manager.
struct Services {
  Services(FileManager volume, const ResourceBundle& resources)
      : files(std::move(volume)),
        profiles(VendorProfileRegistry::loadDefault(resources)),
        apps(AppDiscoveryClient::live(files), sizes),
        inspection(ArtifactScanner(sizes, files), UninstallerDiscoveryService(files), EntitlementsReader::live(files),
                   LaunchdScanner::live(files), receipts, DeepInspectorService(profiles, files),
                   KernelExtensionAssociationService(profiles, receipts, KernelExtensionService::live(files, sizes),
                                                     files.homeDirectory(), files),
                   sizes, files),
        storage(VolumeInfoClient::live(files), sizes, StorageSignatureRegistry::loadDefault(resources),
                VolumeLocationChecker::live(files), VendorPathHintIndex(profiles, files.homeDirectory(), files),
                QuarantineManager::live(files), files) {}

  FileManager files;
  VendorProfileRegistry profiles;
  FileSizeCalculator sizes = FileSizeCalculator::live(files);
  ReceiptScanner receipts = ReceiptScanner::live(files);
  AppsService apps;
  AppInspectionService inspection;
  StorageDashboardService storage;
};

/// All searches are on.
constexpr AppInspectionService::Options kEverything{.includeHeuristicSearch = true,
                                                    .heuristicMaxDepth = 3,
                                                    .heuristicMaxResults = 50,
                                                    .includeDocumentsHeuristicSearch = true,
                                                    .documentsHeuristicMaxDepth = 3,
                                                    .documentsHeuristicMaxResults = 50,
                                                    .includeVendorHeuristics = true,
                                                    .includeSystemArtifacts = true,
                                                    .includeSystemHeuristicSearch = true,
                                                    .includeGroupContainers = true,
                                                    .includeLaunchd = true,
                                                    .includeReceipts = true,
                                                    .includeKernelExtensions = true,
                                                    .computeArtifactSizes = true};

std::optional<AppEntity> appNamed(const std::string& name, const AppsService& service) {
  const std::vector<AppEntity> apps = service.discoverApps();
  const auto found = std::find_if(apps.begin(), apps.end(), [&](const AppEntity& app) { return app.name == name; });
  return found == apps.end() ? std::nullopt : std::optional(*found);
}

/// Names may contain escape sequences, so replace control characters.
std::string printable(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; }, '?');
  return text;
}

void printArtifacts(const AppInspection& inspection) {
  std::printf("%s: %zu artifacts\n", printable(inspection.app.name).c_str(), inspection.artifacts.size());
  for (const Artifact& artifact : inspection.artifacts) {
    const long long bytes = artifact.size ? artifact.size->allocatedBytes : 0;
    std::printf("%10lld  %-8s %s\n", bytes, std::string(rawValue(artifact.riskLevel)).c_str(),
                printable(artifact.title).c_str());
  }
}

void printStorage(const StorageDashboardService::CategorySizes& sizes) {
  std::printf("\nStorage\n");
  for (const auto& [category, size] : sizes) {
    const long long bytes = size.allocatedBytes;
    std::printf("%10lld  %s\n", bytes, std::string(rawValue(category)).c_str());
  }
}

}  // namespace

int main(int count, char** words) {
  if (count != 4) {
    std::fprintf(stderr, "Usage: inspect_app VOLUME HOME APP\n");
    return 2;
  }
  try {
    const FileManager volume = FileManager::mounted(words[1], FileURL(words[2], URLKind::directory));
    const Services services(volume, ResourceBundle(QUARN_RESOURCES));
    const std::optional<AppEntity> app = appNamed(words[3], services.apps);
    if (!app) {
      std::fprintf(stderr, "inspect_app: no app \"%s\"\n", words[3]);
      return 3;
    }
    printArtifacts(services.inspection.inspect(*app, kEverything));
    printStorage(services.storage.calculatePartitionedCategorySizes(nullptr, Cancellation::never()));
  } catch (const FileError& error) {
    std::fprintf(stderr, "inspect_app: %s\n", error.what());
    return 1;
  }
  return 0;
}
