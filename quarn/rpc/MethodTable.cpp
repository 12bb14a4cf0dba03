#include <array>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/Methods.h"

namespace quarn {
namespace {

namespace h = handlers;

// clang-format off
constexpr std::array<MethodRow, 56> kMethods{{
    method<&h::discoverApps>("AppsService.discoverApps"),
    method<&h::calculateAppSize>("AppsService.calculateAppSize", "app"),
    method<&h::phaseSequence>("AppInspectionService.phaseSequence", "options"),
    methodWithProgress<&h::inspectApp, PhaseProgress>("AppInspectionService.inspect", "app", "options", "progress"),
    method<&h::scanArtifacts>("ArtifactScanner.scan", "app", "entitlements", "options"),
    method<&h::userHeuristicSearch>("ArtifactScanner.userHeuristicSearch", "app", "maxDepth", "maxResults"),
    method<&h::systemHeuristicSearch>("ArtifactScanner.systemHeuristicSearch", "app", "maxDepth", "maxResults"),
    method<&h::documentsHeuristicSearch>("ArtifactScanner.documentsHeuristicSearch", "app", "maxDepth", "maxResults"),
    method<&h::launchdArtifacts>("ArtifactScanner.launchdArtifacts", "app", "entries"),
    method<&h::receiptArtifacts>("ArtifactScanner.receiptArtifacts", "receipts"),
    method<&h::kernelExtensionArtifacts>("KernelExtensionAssociationService.kernelExtensionArtifacts", "app", "includeMacOS"),
    method<&h::association>("KernelExtensionAssociationService.association", "kernelExtensions", "apps"),
    method<&h::associatedApp>("KernelExtensionAssociationService.associatedApp", "kernelExtensions", "apps"),
    method<&h::associations>("KernelExtensionAssociationService.associations", "kernelExtensions", "apps"),
    method<&h::kernelExtensionArtifactID>("KernelExtensionAssociationService.artifactID", "url"),
    method<&h::vendorProfiles>("VendorProfileRegistry.profiles"),
    method<&h::matchingVendorProfiles>("VendorProfileRegistry.matchingProfiles", "app"),
    method<&h::vendorArtifacts>("VendorProfileRegistry.artifacts", "app"),
    method<&h::resolvePatterns>("VendorPathResolver.resolve", "patterns"),
    method<&h::matchesPattern>("VendorPathResolver.matches", "pattern", "text"),
    method<&h::deduplicate>("VendorArtifactDeduplicator.deduplicate", "artifacts"),
    method<&h::inspectDeeply>("DeepInspectorService.inspect", "app", "existingArtifacts", "entitlements"),
    method<&h::findUninstallers>("UninstallerDiscoveryService.findUninstallers", "app"),
    method<&h::defaultSelectedArtifacts>("AppRemovalPlanner.defaultSelectedArtifacts", "inspection", "mode"),
    method<&h::buildPreview>("AppRemovalPlanner.buildPreview", "inspection", "mode", "selectedArtifacts"),
    method<&h::signatures>("StorageSignatureRegistry.signatures"),
    method<&h::markerSignatures>("StorageSignatureRegistry.markerSignatures", "category"),
    method<&h::packageCategoryByExtension>("StorageSignatureRegistry.packageCategoryByExtension"),
    method<&h::categoryRoots>("StorageDashboardService.categoryRoots", "category", "includeDiscovered"),
    method<&h::topItemRoots>("StorageDashboardService.topItemRoots", "category", "includeDiscovered"),
    method<&h::categoryExclusions>("StorageDashboardService.categoryExclusions", "category"),
    method<&h::vendorRoots>("StorageDashboardService.vendorRoots", "category"),
    method<&h::vendorHint>("StorageDashboardService.vendorHint", "url", "category"),
    method<&h::indexedHint>("VendorPathHintIndex.hint", "url", "category"),
    method<&h::indexedRoots>("VendorPathHintIndex.roots", "category"),
    method<&h::initialOverview>("StorageDashboardService.initialOverview"),
    methodWithProgress<&h::calculatePartitionedCategorySizes, TotalsProgress>("StorageDashboardService.calculatePartitionedCategorySizes", "progress"),
    method<&h::calculatePreciseSize>("StorageDashboardService.calculatePreciseSize", "category"),
    method<&h::children>("TopItemsService.children", "in", "allowSlow", "includeHidden"),
    method<&h::topChildren>("TopItemsService.topChildren", "in", "limit", "allowSlow", "includeHidden"),
    method<&h::topFiles>("TopItemsService.topFiles", "in", "limit", "includeHidden"),
    method<&h::sizedItems>("TopItemsService.sizedItems", "urls", "limit", "allowSlow", "includeHidden"),
    method<&h::topFilesRecursively>("TopItemsService.topFilesRecursively", "in", "limit", "maxDepth", "maxVisited", "allowSlowForPackages", "includeHidden", "preferAllocatedSize"),
    method<&h::cloudSummary>("TopItemsService.cloudSummary", "in", "maxDepth", "maxVisited", "allowSlowForPackages"),
    method<&h::itemSize>("FileSizeCalculator.itemSize", "at", "excluding", "allowSlow", "includeHidden"),
    method<&h::enumeratingDirectorySize>("FileSizeCalculator.enumeratingDirectorySize", "at", "includeHidden"),
    method<&h::resourceSize>("FileSizeCalculator.resourceSize", "at"),
    method<&h::readEntitlements>("EntitlementsReader.readEntitlements", "forAppAt"),
    method<&h::scanLaunchd>("LaunchdScanner.scan"),
    method<&h::receiptsMatching>("ReceiptScanner.receiptsMatching", "app"),
    method<&h::packageIDs>("ReceiptScanner.packageIDs", "forFileAtPath"),
    method<&h::matchesPackage>("ReceiptScanner.matches", "app", "packageID"),
    method<&h::installedKernelExtensions>("KernelExtensionService.installedKernelExtensions", "includeMacOS"),
    method<&h::systemVolume>("VolumeInfoClient.systemVolume"),
    method<&h::isExternal>("VolumeLocationChecker.isExternal", "url"),
    method<&h::quarantineFolder>("QuarantineManager.baseURL"),
}};
// clang-format on

constexpr bool everyRowIsFilled() {
  for (const MethodRow& row : kMethods) {
    if (row.name.empty()) return false;
  }
  return true;
}
static_assert(everyRowIsFilled(), "the table has as many rows as it says");

}  // namespace

std::span<const MethodRow> methodTable() { return kMethods; }

}  // namespace quarn
