#pragma once

#include <string>
#include <string_view>
#include <tuple>

#include "QuarnCore/discovery/KernelExtensionAssociationService.h"
#include "QuarnCore/ownership/AppOwnership.h"
#include "QuarnCore/ownership/ItemOwners.h"
#include "QuarnCore/ownership/Leftovers.h"
#include "QuarnCore/ownership/OwnershipService.h"
#include "QuarnModels/AppInspection.h"
#include "QuarnModels/RecordCodec.h"
#include "QuarnModels/RemovalPlan.h"
#include "QuarnModels/Storage.h"
#include "quarn/wire/HandshakeRecords.h"
#include "quarn/wire/ProgressRecords.h"
#include "quarn/wire/UsualOptions.h"

/// Field tables of the records that occur only in messages, not in resource files. The interface description reads
/// these tables too.
namespace quarn::wire {

inline std::string makeAppID(const AppEntity& app) { return AppEntity::makeID(app.bundleIdentifier, app.bundleURL); }
inline std::string makeArtifactID(const Artifact& artifact) {
  return Artifact::makeID(artifact.kind, artifact.scope, artifact.urls);
}

using Association = KernelExtensionAssociationService::Association;
inline std::string summaryText(const Association& association) { return association.evidence.summaryText(); }
inline std::string detailText(const Association& association) { return association.evidence.detailText(); }

inline std::string evidenceText(const OwnershipClaim& claim) { return evidenceSentence(claim.evidence); }

// clang-format off
template <> struct Fields<AppEntity> {
  static constexpr std::string_view kName = "AppEntity";
  static constexpr auto kMembers = std::tuple(
      member("name",             &AppEntity::name),
      member("bundleIdentifier", &AppEntity::bundleIdentifier),
      member("bundleURL",        &AppEntity::bundleURL),
      made("id",                 &AppEntity::id, &makeAppID),
      member("version",          &AppEntity::version));
};

template <> struct Fields<SizeInfo> {
  static constexpr std::string_view kName = "SizeInfo";
  static constexpr auto kMembers = std::tuple(
      bytes("allocatedBytes", &SizeInfo::allocatedBytes),
      bytes("logicalBytes",   &SizeInfo::logicalBytes));
};

template <> struct Fields<Artifact> {
  static constexpr std::string_view kName = "Artifact";
  static constexpr auto kMembers = std::tuple(
      made("id",            &Artifact::id, &makeArtifactID),
      member("kind",        &Artifact::kind),
      member("dataClass",   &Artifact::dataClass),
      member("scope",       &Artifact::scope),
      member("urls",        &Artifact::urls),
      member("size",        &Artifact::size),
      member("riskLevel",   &Artifact::riskLevel),
      member("confidence",  &Artifact::confidence),
      member("title",       &Artifact::title),
      member("explanation", &Artifact::explanation));
};

template <> struct Fields<EntitlementsInfo> {
  static constexpr std::string_view kName = "EntitlementsInfo";
  static constexpr auto kMembers = std::tuple(
      member("applicationGroups", &EntitlementsInfo::applicationGroups));
};

template <> struct Fields<UninstallerCandidate> {
  static constexpr std::string_view kName = "UninstallerCandidate";
  static constexpr auto kMembers = std::tuple(
      member("url",        &UninstallerCandidate::url),
      member("name",       &UninstallerCandidate::name),
      member("confidence", &UninstallerCandidate::confidence));
};

template <> struct Fields<LaunchdEntry> {
  static constexpr std::string_view kName = "LaunchdEntry";
  static constexpr auto kMembers = std::tuple(
      member("label",            &LaunchdEntry::label),
      member("program",          &LaunchdEntry::program),
      member("programArguments", &LaunchdEntry::programArguments),
      member("url",              &LaunchdEntry::url));
};

template <> struct Fields<ReceiptInfo> {
  static constexpr std::string_view kName = "ReceiptInfo";
  static constexpr auto kMembers = std::tuple(
      member("packageIdentifier", &ReceiptInfo::packageIdentifier),
      member("files",             &ReceiptInfo::files),
      member("version",           &ReceiptInfo::version),
      member("installDate",       &ReceiptInfo::installDate));
};

template <> struct Fields<KernelExtensionInfo> {
  static constexpr std::string_view kName = "KernelExtensionInfo";
  static constexpr auto kMembers = std::tuple(
      member("name",             &KernelExtensionInfo::name),
      member("bundleIdentifier", &KernelExtensionInfo::bundleIdentifier),
      member("url",              &KernelExtensionInfo::url),
      member("version",          &KernelExtensionInfo::version),
      member("size",             &KernelExtensionInfo::size));
};

template <> struct Fields<AppInspection> {
  static constexpr std::string_view kName = "AppInspection";
  static constexpr auto kMembers = std::tuple(
      member("app",          &AppInspection::app),
      member("uninstallers", &AppInspection::uninstallers),
      member("artifacts",    &AppInspection::artifacts),
      member("inspectedAt",  &AppInspection::inspectedAt));
};

template <> struct Fields<RemovalOperationPreview> {
  static constexpr std::string_view kName = "RemovalOperationPreview";
  static constexpr auto kMembers = std::tuple(
      member("type",          &RemovalOperationPreview::type),
      member("urls",          &RemovalOperationPreview::urls),
      member("reversible",    &RemovalOperationPreview::reversible),
      member("requiresAdmin", &RemovalOperationPreview::requiresAdmin),
      member("explanation",   &RemovalOperationPreview::explanation));
};

template <> struct Fields<AppRemovalPlanPreview> {
  static constexpr std::string_view kName = "AppRemovalPlanPreview";
  static constexpr auto kMembers = std::tuple(
      member("mode",                   &AppRemovalPlanPreview::mode),
      member("app",                    &AppRemovalPlanPreview::app),
      member("recommendedUninstaller", &AppRemovalPlanPreview::recommendedUninstaller),
      member("operations",             &AppRemovalPlanPreview::operations),
      member("notes",                  &AppRemovalPlanPreview::notes),
      bytes("estimatedBytes",         &AppRemovalPlanPreview::estimatedBytes),
      member("status",                 &AppRemovalPlanPreview::status));
};

template <> struct Fields<VolumeInfo> {
  static constexpr std::string_view kName = "VolumeInfo";
  static constexpr auto kMembers = std::tuple(
      member("name",       &VolumeInfo::name),
      member("url",        &VolumeInfo::url),
      bytes("totalBytes", &VolumeInfo::totalBytes),
      bytes("freeBytes",  &VolumeInfo::freeBytes));
};

template <> struct Fields<StorageCategory> {
  static constexpr std::string_view kName = "StorageCategory";
  static constexpr auto kMembers = std::tuple(
      member("id",   &StorageCategory::id),
      member("size", &StorageCategory::size));
};

template <> struct Fields<StorageOverview> {
  static constexpr std::string_view kName = "StorageOverview";
  static constexpr auto kMembers = std::tuple(
      member("volume",     &StorageOverview::volume),
      member("categories", &StorageOverview::categories));
};

template <> struct Fields<VendorPathHint> {
  static constexpr std::string_view kName = "VendorPathHint";
  static constexpr auto kMembers = std::tuple(
      member("vendorID",          &VendorPathHint::vendorID),
      member("vendorName",        &VendorPathHint::vendorName),
      member("category",          &VendorPathHint::category),
      member("artifactKind",      &VendorPathHint::artifactKind),
      member("artifactDataClass", &VendorPathHint::artifactDataClass),
      member("artifactTitle",     &VendorPathHint::artifactTitle),
      member("explanation",       &VendorPathHint::explanation),
      member("riskLevel",         &VendorPathHint::riskLevel),
      member("path",              &VendorPathHint::path));
};

template <> struct Fields<TopItem> {
  static constexpr std::string_view kName = "TopItem";
  static constexpr auto kMembers = std::tuple(
      member("url",  &TopItem::url),
      member("name", &TopItem::name),
      member("size", &TopItem::size));
};

template <> struct Fields<CloudStorageSummary> {
  static constexpr std::string_view kName = "CloudStorageSummary";
  static constexpr auto kMembers = std::tuple(
      bytes("localBytes",     &CloudStorageSummary::localBytes),
      bytes("cloudOnlyBytes", &CloudStorageSummary::cloudOnlyBytes),
      bytes("allocatedBytes", &CloudStorageSummary::allocatedBytes),
      bytes("logicalBytes",   &CloudStorageSummary::logicalBytes));
};

template <> struct Fields<Association> {
  static constexpr std::string_view kName = "Association";
  static constexpr auto kMembers = std::tuple(
      member("appID",    &Association::appID),
      member("appName",  &Association::appName),
      member("evidence", &Association::evidence),
      Computed<Association>{"summaryText", &summaryText},
      Computed<Association>{"detailText",  &detailText});
};

template <> struct Fields<PhaseProgress> {
  static constexpr std::string_view kName = "PhaseProgress";
  static constexpr bool kOmitsAbsentMembers = true;
  static constexpr auto kMembers = std::tuple(
      member("phase",        &PhaseProgress::phase),
      member("uninstallers", &PhaseProgress::uninstallers),
      member("removed",      &PhaseProgress::removed),
      member("artifacts",    &PhaseProgress::artifacts));
};

template <> struct Fields<InspectionProgress> {
  static constexpr std::string_view kName = "InspectionProgress";
  static constexpr auto kMembers = std::tuple(
      member("inspection", &InspectionProgress::inspection));
};

template <> struct Fields<ItemsProgress> {
  static constexpr std::string_view kName = "ItemsProgress";
  static constexpr auto kMembers = std::tuple(
      member("kept",  &ItemsProgress::kept),
      member("items", &ItemsProgress::items));
};

template <> struct Fields<SizeProgress> {
  static constexpr std::string_view kName = "SizeProgress";
  static constexpr auto kMembers = std::tuple(
      member("size", &SizeProgress::size));
};

template <> struct Fields<Handshake> {
  static constexpr std::string_view kName = "Handshake";
  static constexpr auto kMembers = std::tuple(
      member("protocolVersion", &Handshake::protocolVersion),
      member("version",         &Handshake::version),
      member("volume",          &Handshake::volume),
      member("capabilities",    &Handshake::capabilities));
};

template <> struct Fields<TotalsProgress> {
  static constexpr std::string_view kName = "TotalsProgress";
  static constexpr auto kMembers = std::tuple(
      member("totals", &TotalsProgress::totals));
};

template <> struct Fields<AppInspectionService::Options> {
  using Options = AppInspectionService::Options;
  static constexpr std::string_view kName = "AppInspectionService.Options";
  static const Options& defaults() { return usualInspectionOptions(); }
  static constexpr bool kRefusesUnknownMembers = true;
  static constexpr auto kMembers = std::tuple(
      member("includeHeuristicSearch",          &Options::includeHeuristicSearch),
      member("heuristicMaxDepth",               &Options::heuristicMaxDepth),
      member("heuristicMaxResults",             &Options::heuristicMaxResults),
      member("includeDocumentsHeuristicSearch", &Options::includeDocumentsHeuristicSearch),
      member("documentsHeuristicMaxDepth",      &Options::documentsHeuristicMaxDepth),
      member("documentsHeuristicMaxResults",    &Options::documentsHeuristicMaxResults),
      member("includeVendorHeuristics",         &Options::includeVendorHeuristics),
      member("includeSystemArtifacts",          &Options::includeSystemArtifacts),
      member("includeSystemHeuristicSearch",    &Options::includeSystemHeuristicSearch),
      member("includeGroupContainers",          &Options::includeGroupContainers),
      member("includeLaunchd",                  &Options::includeLaunchd),
      member("includeReceipts",                 &Options::includeReceipts),
      member("includeKernelExtensions",         &Options::includeKernelExtensions),
      member("computeArtifactSizes",            &Options::computeArtifactSizes));
};

template <> struct Fields<ArtifactScanner::Options> {
  using Options = ArtifactScanner::Options;
  static constexpr std::string_view kName = "ArtifactScanner.Options";
  static Options defaults() { return usualScanOptions(); }
  static constexpr bool kRefusesUnknownMembers = true;
  static constexpr auto kMembers = std::tuple(
      member("includeHeuristicSearch",       &Options::includeHeuristicSearch),
      member("heuristicMaxDepth",            &Options::heuristicMaxDepth),
      member("heuristicMaxResults",          &Options::heuristicMaxResults),
      member("includeVendorHeuristics",      &Options::includeVendorHeuristics),
      member("includeSystemArtifacts",       &Options::includeSystemArtifacts),
      member("includeSystemHeuristicSearch", &Options::includeSystemHeuristicSearch),
      member("computeSizes",                 &Options::computeSizes));
};

template <> struct Fields<OwnershipClaim> {
  static constexpr std::string_view kName = "OwnershipClaim";
  static constexpr auto kMembers = std::tuple(
      member("appID",            &OwnershipClaim::appID),
      member("appName",          &OwnershipClaim::appName),
      member("bundleIdentifier", &OwnershipClaim::bundleIdentifier),
      member("bundleURL",        &OwnershipClaim::bundleURL),
      member("evidence",         &OwnershipClaim::evidence),
      member("confidence",       &OwnershipClaim::confidence),
      Computed<OwnershipClaim>{"evidenceText", &evidenceText});
};

template <> struct Fields<FormerOwner> {
  static constexpr std::string_view kName = "FormerOwner";
  static constexpr auto kMembers = std::tuple(
      member("name",             &FormerOwner::name),
      member("bundleIdentifier", &FormerOwner::bundleIdentifier));
};

template <> struct Fields<Ownership> {
  static constexpr std::string_view kName = "Ownership";
  static constexpr auto kMembers = std::tuple(
      member("url",           &Ownership::url),
      member("status",        &Ownership::status),
      member("owners",        &Ownership::owners),
      bytes("ownersLeftOut",  &Ownership::ownersLeftOut),
      member("rivals",        &Ownership::rivals),
      member("evidence",      &Ownership::evidence),
      member("confidence",    &Ownership::confidence),
      member("place",         &Ownership::place),
      member("kind",          &Ownership::kind),
      member("scope",         &Ownership::scope),
      member("dataClass",     &Ownership::dataClass),
      member("riskLevel",     &Ownership::riskLevel),
      member("formerOwner",   &Ownership::formerOwner),
      member("orphanKind",    &Ownership::orphanKind));
};

template <> struct Fields<ItemOwnership> {
  static constexpr std::string_view kName = "ItemOwnership";
  static constexpr auto kMembers = std::tuple(
      member("ownership", &ItemOwnership::ownership),
      member("packages",  &ItemOwnership::packages),
      member("vendor",    &ItemOwnership::vendor),
      member("category",  &ItemOwnership::category));
};

template <> struct Fields<AppOwnership> {
  static constexpr std::string_view kName = "AppOwnership";
  static constexpr auto kMembers = std::tuple(
      member("alsoOwned",  &AppOwnership::alsoOwned),
      member("shared",     &AppOwnership::shared),
      member("fitsBetter", &AppOwnership::fitsBetter));
};

template <> struct Fields<LeftoverItem> {
  static constexpr std::string_view kName = "LeftoverItem";
  static constexpr auto kMembers = std::tuple(
      member("url",       &LeftoverItem::url),
      member("place",     &LeftoverItem::place),
      member("kind",      &LeftoverItem::kind),
      member("scope",     &LeftoverItem::scope),
      member("dataClass", &LeftoverItem::dataClass),
      member("riskLevel", &LeftoverItem::riskLevel),
      member("evidence",  &LeftoverItem::evidence),
      member("modified",  &LeftoverItem::modified),
      member("size",      &LeftoverItem::size));
};

template <> struct Fields<Leftover> {
  static constexpr std::string_view kName = "Leftover";
  static constexpr auto kMembers = std::tuple(
      member("owner",    &Leftover::owner),
      member("items",    &Leftover::items),
      member("modified", &Leftover::modified),
      member("size",     &Leftover::size));
};

template <> struct Fields<LeftoverOptions> {
  static constexpr std::string_view kName = "LeftoverOptions";
  static constexpr bool kRefusesUnknownMembers = true;
  static constexpr auto kMembers = std::tuple(
      member("computeSizes",  &LeftoverOptions::computeSizes),
      member("includeSystem", &LeftoverOptions::includeSystem));
};

template <> struct Fields<OwnershipService::Options> {
  using Options = OwnershipService::Options;
  static constexpr std::string_view kName = "OwnershipService.Options";
  static constexpr bool kRefusesUnknownMembers = true;
  static constexpr auto kMembers = std::tuple(
      member("readBundles",     &Options::readBundles),
      member("includeReceipts", &Options::includeReceipts),
      member("includeLaunchd",  &Options::includeLaunchd),
      member("includeProfiles", &Options::includeProfiles),
      member("includeSystem",   &Options::includeSystem));
};
// clang-format on

}  // namespace quarn::wire
