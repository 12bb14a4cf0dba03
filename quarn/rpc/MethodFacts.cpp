#include <algorithm>

#include "quarn/rpc/Methods.h"

namespace quarn {
namespace {

/// Whether a method may walk folders.
enum class Cost : std::uint8_t { quick, walk };

/// What the table of methods cannot derive from a handler's signature.
struct MethodFacts {
  std::string_view name;
  std::string_view summary;  ///< one sentence on the result, without a period
  Cost cost;
};

// clang-format off
constexpr auto kFacts = std::to_array<MethodFacts>({
    {"AppInspectionService.defaultOptions", "The options that hold where a request says nothing", Cost::quick},
    {"AppInspectionService.phaseSequence", "The phases of an inspection with these options, in order", Cost::quick},
    {"AppInspectionService.inspect", "Everything that belongs to an app: its uninstallers and artifacts", Cost::walk},
    {"AppInspectionService.inspectAll", "The inspection of every given app, in one pass over the volume", Cost::walk},
    {"OwnershipService.map", "The owner of every entry in the folders of app data, with evidence and rivals",
     Cost::walk},
    {"OwnershipService.owners", "The owners of paths, with evidence and rivals", Cost::walk},
    {"OwnershipService.leftovers", "What is left of apps that are not installed, by former owner", Cost::walk},
    {"OwnershipService.compare", "What the owners of the whole volume add to an inspection and take from it",
     Cost::walk},
    {"OwnershipService.chosenArtifacts", "The artifacts that a plan for the whole volume selects", Cost::walk},
    {"AppsService.discoverApps", "The installed apps", Cost::walk},
    {"AppsService.calculateAppSize", "The size of an app's bundle", Cost::walk},
    {"ArtifactScanner.scan",
     "The artifacts in the standard locations and, with the options, those that heuristic searches find", Cost::walk},
    {"ArtifactScanner.userHeuristicSearch", "Items in the user's Library folders whose names match the app",
     Cost::walk},
    {"ArtifactScanner.systemHeuristicSearch", "Items in the system's Library folders whose names match the app",
     Cost::walk},
    {"ArtifactScanner.documentsHeuristicSearch", "Items in the Documents folder whose names match the app", Cost::walk},
    {"ArtifactScanner.launchdArtifacts", "The launchd jobs that belong to the app, as artifacts", Cost::walk},
    {"ArtifactScanner.receiptArtifacts", "Installer receipts as artifacts", Cost::quick},
    {"KernelExtensionAssociationService.kernelExtensionArtifacts",
     "The kernel extensions that belong to the app, as artifacts", Cost::walk},
    {"KernelExtensionAssociationService.association",
     "The app that the kernel extensions belong to, with the evidence", Cost::walk},
    {"KernelExtensionAssociationService.associatedApp", "The app that the kernel extensions belong to", Cost::walk},
    {"KernelExtensionAssociationService.associations", "The association of each kernel extension, by its path",
     Cost::walk},
    {"KernelExtensionAssociationService.artifactID", "The id of the artifact of a kernel extension", Cost::quick},
    {"VendorProfileRegistry.profiles", "All vendor profiles", Cost::quick},
    {"VendorProfileRegistry.matchingProfiles", "The vendor profiles that match the app", Cost::quick},
    {"VendorProfileRegistry.artifacts", "The artifacts that vendor profiles define for the app", Cost::walk},
    {"VendorPathResolver.resolve", "The existing paths that match the patterns", Cost::walk},
    {"VendorPathResolver.matches", "Whether a text matches a pattern", Cost::quick},
    {"VendorArtifactDeduplicator.deduplicate", "The artifacts without those that others contain", Cost::quick},
    {"DeepInspectorService.inspect", "The artifacts that vendor profiles add to those that are known", Cost::walk},
    {"UninstallerDiscoveryService.findUninstallers", "The uninstallers of the app, likeliest first", Cost::walk},
    {"AppRemovalPlanner.defaultSelectedArtifacts", "The artifacts that the mode selects", Cost::quick},
    {"AppRemovalPlanner.buildPreview", "The operations that would remove the selected artifacts; nothing is removed",
     Cost::quick},
    {"StorageSignatureRegistry.signatures", "The storage signatures", Cost::quick},
    {"StorageSignatureRegistry.markerSignatures", "The signatures of a category that look for markers", Cost::quick},
    {"StorageSignatureRegistry.packageCategoryByExtension",
     "The category of each file name extension that decides it", Cost::quick},
    {"StorageDashboardService.categoryRoots", "The folders that count for a category, existing or not", Cost::walk},
    {"StorageDashboardService.topItemRoots", "The folders to search for the largest items of a category", Cost::walk},
    {"StorageDashboardService.categoryExclusions",
     "The folders below a category's roots that count for other categories", Cost::walk},
    {"StorageDashboardService.vendorRoots", "The folders of vendors that count for a category", Cost::quick},
    {"StorageDashboardService.vendorHint", "What a vendor profile says about a path", Cost::quick},
    {"StorageDashboardService.initialOverview", "The volume, and all categories with a size of 0", Cost::quick},
    {"StorageDashboardService.calculatePartitionedCategorySizes",
     "The size of every category; each byte counts at most once", Cost::walk},
    {"StorageDashboardService.calculatePreciseSize", "The size of one category's roots", Cost::walk},
    {"VendorPathHintIndex.hint", "What a vendor profile says about a path", Cost::quick},
    {"VendorPathHintIndex.roots", "The folders of vendors that count for a category", Cost::quick},
    {"TopItemsService.children", "The direct children of folders with their sizes", Cost::walk},
    {"TopItemsService.topChildren", "The largest direct children of folders", Cost::walk},
    {"TopItemsService.topFiles", "The largest files and packages directly in folders", Cost::walk},
    {"TopItemsService.sizedItems", "The largest of the given items", Cost::walk},
    {"TopItemsService.topFilesRecursively", "The largest files and packages below folders", Cost::walk},
    {"TopItemsService.cloudSummary",
     "The bytes of folders that are on this disk, and those that are only in the cloud", Cost::walk},
    {"ScanStore.write", "A scan of the whole volume, kept in a file that is not on the volume", Cost::walk},
    {"ScanStore.open", "What a kept scan covers, its categories and apps", Cost::walk},
    {"ScanStore.diff", "What changed from one kept scan to another", Cost::walk},
    {"FileSizeCalculator.itemSize", "The size of a file or of a whole tree", Cost::walk},
    {"FileSizeCalculator.enumeratingDirectorySize", "The size of a folder", Cost::walk},
    {"FileSizeCalculator.resourceSize", "The size of a regular file", Cost::quick},
    {"EntitlementsReader.readEntitlements", "What the code signature of an app grants", Cost::quick},
    {"LaunchdScanner.scan", "The launchd jobs of the volume and the user", Cost::walk},
    {"ReceiptScanner.allReceipts", "All installer receipts", Cost::walk},
    {"ReceiptScanner.receiptsMatching", "The installer receipts that belong to the app", Cost::walk},
    {"ReceiptScanner.packageIDs", "The packages whose receipts list a file", Cost::walk},
    {"ReceiptScanner.matches", "Whether a package belongs to the app", Cost::quick},
    {"KernelExtensionService.installedKernelExtensions", "The kernel extensions on the volume", Cost::walk},
    {"VolumeInfoClient.systemVolume", "The inspected volume: its name, size and free space", Cost::quick},
    {"VolumeLocationChecker.isExternal", "Whether a path is on another volume", Cost::quick},
    {"QuarantineManager.baseURL", "The quarantine folder of the user", Cost::quick},
    {"initialize", "The version of the protocol and the program, the volume and the capabilities", Cost::quick},
    {"version", "The version of the program", Cost::quick},
});
// clang-format on

const MethodFacts* factsOf(std::string_view name) {
  const auto* row =
      std::find_if(kFacts.begin(), kFacts.end(), [&](const MethodFacts& facts) { return facts.name == name; });
  return row == kFacts.end() ? nullptr : row;
}

}  // namespace

// What is not a method is refused at once.
bool isQuickMethod(std::string_view name) {
  const MethodFacts* facts = factsOf(name);
  return facts == nullptr || facts->cost == Cost::quick;
}

std::string_view summaryOfMethod(std::string_view name) {
  const MethodFacts* facts = factsOf(name);
  return facts == nullptr ? "" : facts->summary;
}

}  // namespace quarn
