#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <variant>
#include <vector>

#include "quarn/rpc/Method.h"
#include "quarn/services/Services.h"
#include "quarn/wire/ProgressRecords.h"

namespace quarn {

/// Every method of the interface, in the order of docs/rpc.md.
[[nodiscard]] std::span<const MethodRow> methodTable();

}  // namespace quarn

/// The handlers: a method of the interface each, its params in order. They throw FileError where the operation behind
/// them does, and DecodingError for params that no type can refuse.
namespace quarn::handlers {

using Context = MethodContext;
using FolderOrFolders = std::variant<FileURL, std::vector<FileURL>>;
using Association = KernelExtensionAssociationService::Association;

// ---- inspection
std::vector<AppEntity> discoverApps(const Context& context);
SizeInfo calculateAppSize(const Context& context, const AppEntity& app);
std::vector<AppInspectionService::Phase> phaseSequence(const Context& context,
                                                       const AppInspectionService::Options& options);
AppInspection inspectApp(const Context& context, const AppEntity& app, const AppInspectionService::Options& options,
                         const std::optional<bool>& progress);

// ---- discovery
std::vector<Artifact> scanArtifacts(const Context& context, const AppEntity& app, const EntitlementsInfo& entitlements,
                                    const ArtifactScanner::Options& options);
std::vector<Artifact> userHeuristicSearch(const Context& context, const AppEntity& app, std::int64_t maxDepth,
                                          std::int64_t maxResults);
std::vector<Artifact> systemHeuristicSearch(const Context& context, const AppEntity& app, std::int64_t maxDepth,
                                            std::int64_t maxResults);
std::vector<Artifact> documentsHeuristicSearch(const Context& context, const AppEntity& app, std::int64_t maxDepth,
                                               std::int64_t maxResults);
std::vector<Artifact> launchdArtifacts(const Context& context, const AppEntity& app,
                                       const std::vector<LaunchdEntry>& entries);
std::vector<Artifact> receiptArtifacts(const Context& context, const std::vector<ReceiptInfo>& receipts);
std::vector<Artifact> kernelExtensionArtifacts(const Context& context, const AppEntity& app, bool includeMacOS);
std::optional<Association> association(const Context& context, const std::vector<KernelExtensionInfo>& kernelExtensions,
                                       const std::vector<AppEntity>& apps);
std::optional<AppEntity> associatedApp(const Context& context, const std::vector<KernelExtensionInfo>& kernelExtensions,
                                       const std::vector<AppEntity>& apps);
std::map<std::string, Association> associations(const Context& context,
                                                const std::vector<KernelExtensionInfo>& kernelExtensions,
                                                const std::vector<AppEntity>& apps);
std::string kernelExtensionArtifactID(const Context& context, const FileURL& url);

// ---- vendors
std::vector<VendorProfile> vendorProfiles(const Context& context);
std::vector<VendorProfile> matchingVendorProfiles(const Context& context, const AppEntity& app);
std::vector<Artifact> vendorArtifacts(const Context& context, const AppEntity& app);
std::vector<FileURL> resolvePatterns(const Context& context, const std::vector<std::string>& patterns);
bool matchesPattern(const Context& context, const std::string& pattern, const std::string& text);
std::vector<Artifact> deduplicate(const Context& context, const std::vector<Artifact>& artifacts);
std::vector<Artifact> inspectDeeply(const Context& context, const AppEntity& app,
                                    const std::vector<Artifact>& existingArtifacts,
                                    const EntitlementsInfo& entitlements);
std::vector<UninstallerCandidate> findUninstallers(const Context& context, const AppEntity& app);

// ---- planning
std::vector<Artifact> defaultSelectedArtifacts(const Context& context, const AppInspection& inspection,
                                               CleanupMode mode);
AppRemovalPlanPreview buildPreview(const Context& context, const AppInspection& inspection, CleanupMode mode,
                                   const std::optional<std::vector<Artifact>>& selectedArtifacts);

// ---- storage
StorageSignatureTable signatures(const Context& context);
std::vector<StorageSignatureRegistry::Signature> markerSignatures(const Context& context, StorageCategoryID category);
std::map<std::string, StorageCategoryID, std::less<>> packageCategoryByExtension(const Context& context);
std::vector<FileURL> categoryRoots(const Context& context, StorageCategoryID category, bool includeDiscovered);
std::vector<FileURL> topItemRoots(const Context& context, StorageCategoryID category, bool includeDiscovered);
std::vector<FileURL> categoryExclusions(const Context& context, StorageCategoryID category);
std::vector<FileURL> vendorRoots(const Context& context, StorageCategoryID category);
std::optional<VendorPathHint> vendorHint(const Context& context, const FileURL& url, StorageCategoryID category);
std::optional<VendorPathHint> indexedHint(const Context& context, const FileURL& url, StorageCategoryID category);
std::vector<FileURL> indexedRoots(const Context& context, StorageCategoryID category);
StorageOverview initialOverview(const Context& context);
StorageDashboardService::CategorySizes calculatePartitionedCategorySizes(const Context& context,
                                                                         const std::optional<bool>& progress);
std::optional<SizeInfo> calculatePreciseSize(const Context& context, StorageCategoryID category);

// ---- folders
std::vector<TopItem> children(const Context& context, const FolderOrFolders& in, bool allowSlow, bool includeHidden);
std::vector<TopItem> topChildren(const Context& context, const FolderOrFolders& in, std::int64_t limit, bool allowSlow,
                                 bool includeHidden);
std::vector<TopItem> topFiles(const Context& context, const FolderOrFolders& in, std::int64_t limit,
                              bool includeHidden);
std::vector<TopItem> sizedItems(const Context& context, const std::vector<FileURL>& urls, std::int64_t limit,
                                bool allowSlow, bool includeHidden);
std::vector<TopItem> topFilesRecursively(const Context& context, const std::vector<FileURL>& in, std::int64_t limit,
                                         std::int64_t maxDepth, std::int64_t maxVisited, bool allowSlowForPackages,
                                         bool includeHidden, bool preferAllocatedSize);
CloudStorageSummary cloudSummary(const Context& context, const std::vector<FileURL>& in, std::int64_t maxDepth,
                                 std::int64_t maxVisited, bool allowSlowForPackages);

// ---- system clients
SizeInfo itemSize(const Context& context, const FileURL& at, const std::optional<std::vector<FileURL>>& excluding,
                  bool allowSlow, bool includeHidden);
SizeInfo enumeratingDirectorySize(const Context& context, const FileURL& at, bool includeHidden);
std::optional<SizeInfo> resourceSize(const Context& context, const FileURL& at);
EntitlementsInfo readEntitlements(const Context& context, const FileURL& forAppAt);
std::vector<LaunchdEntry> scanLaunchd(const Context& context);
std::vector<ReceiptInfo> receiptsMatching(const Context& context, const AppEntity& app);
std::vector<std::string> packageIDs(const Context& context, const std::string& forFileAtPath);
bool matchesPackage(const Context& context, const AppEntity& app, const std::string& packageID);
std::vector<KernelExtensionInfo> installedKernelExtensions(const Context& context, bool includeMacOS);
VolumeInfo systemVolume(const Context& context);
bool isExternal(const Context& context, const FileURL& url);
FileURL quarantineFolder(const Context& context);

}  // namespace quarn::handlers
