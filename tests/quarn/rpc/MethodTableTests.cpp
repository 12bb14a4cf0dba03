#include <array>

#include <gmock/gmock.h>

#include "quarn/rpc/Methods.h"

namespace quarn {
namespace {

struct ExpectedMethod {
  std::string_view name;
  std::string_view params;  ///< "name: type" each
  std::string_view result;
  std::string_view progress = "";
};

// clang-format off
constexpr std::array<ExpectedMethod, 56> kExpected{{
    {"AppsService.discoverApps", "", "[AppEntity]"},
    {"AppsService.calculateAppSize", "app: AppEntity", "SizeInfo"},
    {"AppInspectionService.phaseSequence", "options: AppInspectionService.Options", "[AppInspectionService.Phase]"},
    {"AppInspectionService.inspect", "app: AppEntity, options: AppInspectionService.Options, progress: boolean?", "AppInspection", "PhaseProgress"},
    {"ArtifactScanner.scan", "app: AppEntity, entitlements: EntitlementsInfo, options: ArtifactScanner.Options", "[Artifact]"},
    {"ArtifactScanner.userHeuristicSearch", "app: AppEntity, maxDepth: integer, maxResults: integer", "[Artifact]"},
    {"ArtifactScanner.systemHeuristicSearch", "app: AppEntity, maxDepth: integer, maxResults: integer", "[Artifact]"},
    {"ArtifactScanner.documentsHeuristicSearch", "app: AppEntity, maxDepth: integer, maxResults: integer", "[Artifact]"},
    {"ArtifactScanner.launchdArtifacts", "app: AppEntity, entries: [LaunchdEntry]", "[Artifact]"},
    {"ArtifactScanner.receiptArtifacts", "receipts: [ReceiptInfo]", "[Artifact]"},
    {"KernelExtensionAssociationService.kernelExtensionArtifacts", "app: AppEntity, includeMacOS: boolean", "[Artifact]"},
    {"KernelExtensionAssociationService.association", "kernelExtensions: [KernelExtensionInfo], apps: [AppEntity]", "Association?"},
    {"KernelExtensionAssociationService.associatedApp", "kernelExtensions: [KernelExtensionInfo], apps: [AppEntity]", "AppEntity?"},
    {"KernelExtensionAssociationService.associations", "kernelExtensions: [KernelExtensionInfo], apps: [AppEntity]", "{string: Association}"},
    {"KernelExtensionAssociationService.artifactID", "url: URL", "string"},
    {"VendorProfileRegistry.profiles", "", "[VendorProfile]"},
    {"VendorProfileRegistry.matchingProfiles", "app: AppEntity", "[VendorProfile]"},
    {"VendorProfileRegistry.artifacts", "app: AppEntity", "[Artifact]"},
    {"VendorPathResolver.resolve", "patterns: [string]", "[URL]"},
    {"VendorPathResolver.matches", "pattern: string, text: string", "boolean"},
    {"VendorArtifactDeduplicator.deduplicate", "artifacts: [Artifact]", "[Artifact]"},
    {"DeepInspectorService.inspect", "app: AppEntity, existingArtifacts: [Artifact], entitlements: EntitlementsInfo", "[Artifact]"},
    {"UninstallerDiscoveryService.findUninstallers", "app: AppEntity", "[UninstallerCandidate]"},
    {"AppRemovalPlanner.defaultSelectedArtifacts", "inspection: AppInspection, mode: CleanupMode", "[Artifact]"},
    {"AppRemovalPlanner.buildPreview", "inspection: AppInspection, mode: CleanupMode, selectedArtifacts: [Artifact]?", "AppRemovalPlanPreview"},
    {"StorageSignatureRegistry.signatures", "", "StorageSignatureRegistry"},
    {"StorageSignatureRegistry.markerSignatures", "category: StorageCategoryID", "[StorageSignatureRegistry.Signature]"},
    {"StorageSignatureRegistry.packageCategoryByExtension", "", "{string: StorageCategoryID}"},
    {"StorageDashboardService.categoryRoots", "category: StorageCategoryID, includeDiscovered: boolean", "[URL]"},
    {"StorageDashboardService.topItemRoots", "category: StorageCategoryID, includeDiscovered: boolean", "[URL]"},
    {"StorageDashboardService.categoryExclusions", "category: StorageCategoryID", "[URL]"},
    {"StorageDashboardService.vendorRoots", "category: StorageCategoryID", "[URL]"},
    {"StorageDashboardService.vendorHint", "url: URL, category: StorageCategoryID", "VendorPathHint?"},
    {"VendorPathHintIndex.hint", "url: URL, category: StorageCategoryID", "VendorPathHint?"},
    {"VendorPathHintIndex.roots", "category: StorageCategoryID", "[URL]"},
    {"StorageDashboardService.initialOverview", "", "StorageOverview"},
    {"StorageDashboardService.calculatePartitionedCategorySizes", "progress: boolean?", "{StorageCategoryID: SizeInfo}", "TotalsProgress"},
    {"StorageDashboardService.calculatePreciseSize", "category: StorageCategoryID", "SizeInfo?"},
    {"TopItemsService.children", "in: URL or [URL], allowSlow: boolean, includeHidden: boolean", "[TopItem]"},
    {"TopItemsService.topChildren", "in: URL or [URL], limit: integer, allowSlow: boolean, includeHidden: boolean", "[TopItem]"},
    {"TopItemsService.topFiles", "in: URL or [URL], limit: integer, includeHidden: boolean", "[TopItem]"},
    {"TopItemsService.sizedItems", "urls: [URL], limit: integer, allowSlow: boolean, includeHidden: boolean", "[TopItem]"},
    {"TopItemsService.topFilesRecursively", "in: [URL], limit: integer, maxDepth: integer, maxVisited: integer, allowSlowForPackages: boolean, includeHidden: boolean, preferAllocatedSize: boolean", "[TopItem]"},
    {"TopItemsService.cloudSummary", "in: [URL], maxDepth: integer, maxVisited: integer, allowSlowForPackages: boolean", "CloudStorageSummary"},
    {"FileSizeCalculator.itemSize", "at: URL, excluding: [URL]?, allowSlow: boolean, includeHidden: boolean", "SizeInfo"},
    {"FileSizeCalculator.enumeratingDirectorySize", "at: URL, includeHidden: boolean", "SizeInfo"},
    {"FileSizeCalculator.resourceSize", "at: URL", "SizeInfo?"},
    {"EntitlementsReader.readEntitlements", "forAppAt: URL", "EntitlementsInfo"},
    {"LaunchdScanner.scan", "", "[LaunchdEntry]"},
    {"ReceiptScanner.receiptsMatching", "app: AppEntity", "[ReceiptInfo]"},
    {"ReceiptScanner.packageIDs", "forFileAtPath: string", "[string]"},
    {"ReceiptScanner.matches", "app: AppEntity, packageID: string", "boolean"},
    {"KernelExtensionService.installedKernelExtensions", "includeMacOS: boolean", "[KernelExtensionInfo]"},
    {"VolumeInfoClient.systemVolume", "", "VolumeInfo"},
    {"VolumeLocationChecker.isExternal", "url: URL", "boolean"},
    {"QuarantineManager.baseURL", "", "URL"},
}};
// clang-format on

std::string paramsOf(const MethodRow& row) {
  std::string text;
  for (const ParamRow& param : row.params()) {
    if (!text.empty()) text += ", ";
    text += std::string(param.name) + ": " + param.type();
  }
  return text;
}

TEST(MethodTable, EveryMethodIsThereInOrderWithItsParamsAndResult) {
  const std::span<const MethodRow> rows = methodTable();
  ASSERT_EQ(rows.size(), kExpected.size());
  for (std::size_t index = 0; index < rows.size(); ++index) {
    SCOPED_TRACE(kExpected[index].name);
    EXPECT_EQ(rows[index].name, kExpected[index].name);
    EXPECT_EQ(paramsOf(rows[index]), kExpected[index].params);
    EXPECT_EQ(rows[index].resultType(), kExpected[index].result);
    EXPECT_EQ(rows[index].progressType == nullptr ? "" : rows[index].progressType(), kExpected[index].progress);
  }
}

}  // namespace
}  // namespace quarn
