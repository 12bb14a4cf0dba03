#include "quarn/wire/RecordJSON.h"

#include <map>
#include <optional>
#include <utility>
#include <variant>

#include "QuarnCore/storage/StorageSignatureFields.h"
#include "QuarnCore/vendors/VendorProfileFields.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "QuarnPlatform/text/Text.h"
#include "quarn/wire/RecordFields.h"
#include "quarn/wire/ScanFields.h"

namespace quarn::wire {

using Evidence = KernelExtensionAssociationService::Evidence;
using FolderOrFolders = std::variant<FileURL, std::vector<FileURL>>;

// clang-format off
template <> constexpr std::string_view kEnumerationName<ArtifactKind> = "ArtifactKind";
template <> constexpr std::string_view kEnumerationName<ArtifactDataClass> = "ArtifactDataClass";
template <> constexpr std::string_view kEnumerationName<ArtifactScope> = "ArtifactScope";
template <> constexpr std::string_view kEnumerationName<RiskLevel> = "RiskLevel";
template <> constexpr std::string_view kEnumerationName<CleanupMode> = "CleanupMode";
template <> constexpr std::string_view kEnumerationName<RemovalOperationPreview::Type> = "RemovalOperationPreview.Type";
template <> constexpr std::string_view kEnumerationName<AppRemovalPlanPreview::Status> = "AppRemovalPlanPreview.Status";
template <> constexpr std::string_view kEnumerationName<StorageCategoryID> = "StorageCategoryID";
template <> constexpr std::string_view kEnumerationName<AppInspectionService::Phase> = "AppInspectionService.Phase";
template <> constexpr std::string_view kEnumerationName<StorageSignatureRegistry::Signature::Kind> = "StorageSignatureRegistry.Signature.Kind";
template <> constexpr std::string_view kEnumerationName<OwnershipStatus> = "OwnershipStatus";
template <> constexpr std::string_view kEnumerationName<EvidenceKind> = "EvidenceKind";
template <> constexpr std::string_view kEnumerationName<OrphanKind> = "OrphanKind";
template <> constexpr std::string_view kEnumerationName<ScanStep> = "ScanStep";

constexpr std::array<std::pair<Evidence::Kind, std::string_view>, 2> kEvidenceMembers{{
    {Evidence::Kind::vendorProfile, "vendorProfile"},
    {Evidence::Kind::receipt,       "receipt"},
}};
// clang-format on

template <class Value>
struct Codec<std::map<StorageCategoryID, Value>> {
  static std::string name() { return "{StorageCategoryID: " + Codec<Value>::name() + "}"; }
  static void encode(JSONSink& sink, const std::map<StorageCategoryID, Value>& value) {
    sink.beginObject();
    for (const auto& [category, item] : value) {
      sink.key(rawValue(category));
      Codec<Value>::encode(sink, item);
    }
    sink.endObject();
  }
};

template <>
struct Codec<FolderOrFolders> {
  static std::string name() { return "URL or [URL]"; }
  static FolderOrFolders decode(const JSONDecoder& value) {
    if (value.isArray()) return Codec<std::vector<FileURL>>::decode(value);
    return Codec<FileURL>::decode(value);
  }
};

template <>
struct Codec<Evidence> {
  static std::string name() { return "Evidence"; }
  static void encode(JSONSink& sink, const Evidence& value) {
    sink.beginObject();
    for (const auto& [kind, member] : kEvidenceMembers) {
      if (kind != value.kind) continue;
      sink.key(member);
      sink.string(value.name);
    }
    sink.endObject();
  }
  static Evidence decode(const JSONDecoder& value) {
    for (const auto& [kind, member] : kEvidenceMembers) {
      if (!value.member(member).isAbsent()) return {kind, std::string(value.member(member).text())};
    }
    value.fail("has neither vendorProfile nor receipt");
  }
};

}  // namespace quarn::wire

namespace quarn {
namespace {

using nlohmann::ordered_json;
using wire::Codec;
using wire::Fields;
using wire::FolderOrFolders;

/// The records of the interface description, in order.
using Records =
    std::tuple<AppEntity, SizeInfo, Artifact, EntitlementsInfo, UninstallerCandidate, LaunchdEntry, ReceiptInfo,
               KernelExtensionInfo, AppInspection, RemovalOperationPreview, AppRemovalPlanPreview, VolumeInfo,
               StorageOverview, StorageCategory, VendorPathHint, TopItem, CloudStorageSummary, wire::Association,
               VendorProfile, VendorProfile::Match, VendorProfile::ArtifactDefinition, VendorProfile::CarveOut,
               StorageSignatureTable, StorageSignatureRegistry::Signature, AppInspectionService::Options,
               ArtifactScanner::Options, OwnershipService::Options, LeftoverOptions, OwnershipClaim, FormerOwner,
               Ownership, ItemOwnership, AppOwnership, LeftoverItem, Leftover, Handshake, PhaseProgress,
               InspectionProgress, ItemsProgress, SizeProgress, TotalsProgress, ScanFacts, ScanSummary, CategoryChange,
               FolderChange, AppChange, NewLeftover, ScanDifference, ScanStore::Written, ScanStore::Progress>;

using Enumerations =
    std::tuple<ArtifactKind, ArtifactDataClass, ArtifactScope, RiskLevel, CleanupMode, RemovalOperationPreview::Type,
               AppRemovalPlanPreview::Status, StorageCategoryID, AppInspectionService::Phase,
               StorageSignatureRegistry::Signature::Kind, OwnershipStatus, EvidenceKind, OrphanKind, ScanStep>;

template <class Record, class Value>
RecordDescription::Member describe(const wire::Member<Record, Value>& member) {
  const bool canBeOmitted = wire::kIsOptional<Value> || wire::HasDefaults<Record> || member.make != nullptr;
  return {std::string(member.name), Codec<Value>::name(), !canBeOmitted};
}

template <class Record>
RecordDescription::Member describe(const wire::Computed<Record>& member) {
  return {std::string(member.name), Codec<std::string>::name(), false};
}

template <class Record>
RecordDescription describeRecord() {
  const auto members = [](const auto&... member) { return std::vector{describe(member)...}; };
  return {Fields<Record>::kName, std::apply(members, Fields<Record>::kMembers), wire::OmitsAbsentMembers<Record>};
}

template <class Enumeration>
EnumerationDescription describeEnumeration() {
  const auto& strings = RawValues<Enumeration>::kStrings;
  return {wire::kEnumerationName<Enumeration>, {strings.begin(), strings.end()}};
}

template <class... Record>
std::vector<RecordDescription> describeAll(const std::tuple<Record...>* /*records*/) {
  return {describeRecord<Record>()...};
}

template <class... Enumeration>
std::vector<EnumerationDescription> enumerateAll(const std::tuple<Enumeration...>* /*enumerations*/) {
  return {describeEnumeration<Enumeration>()...};
}

}  // namespace

template <class Value>
ordered_json toJSON(const Value& value) {
  return wire::treeOf(value);
}

template <class Value>
std::string jsonText(const Value& value) {
  JSONWriter writer;
  Codec<Value>::encode(writer, value);
  return writer.take();
}

template <class Value>
Value fromJSON(const JSONDecoder& value) {
  return Codec<Value>::decode(value);
}

template <class Value>
std::string typeName() {
  return Codec<Value>::name();
}

std::vector<RecordDescription> describeRecords() {
  std::vector<RecordDescription> records = describeAll(static_cast<const Records*>(nullptr));
  records.push_back({.name = "Evidence", .members = {}, .omitsAbsent = true});
  for (const auto& [kind, member] : wire::kEvidenceMembers) {
    records.back().members.push_back({std::string(member), Codec<std::optional<std::string>>::name(), false});
  }
  return records;
}

std::vector<EnumerationDescription> describeEnumerations() {
  return enumerateAll(static_cast<const Enumerations*>(nullptr));
}

#define QUARN_RESULT(...)                                  \
  template ordered_json toJSON(const __VA_ARGS__& value);  \
  template std::string jsonText(const __VA_ARGS__& value); \
  template std::string typeName<__VA_ARGS__>();
#define QUARN_PARAM(...)                                                \
  template __VA_ARGS__ fromJSON<__VA_ARGS__>(const JSONDecoder& value); \
  template std::string typeName<__VA_ARGS__>();
#define QUARN_VALUE(...)                                                \
  template ordered_json toJSON(const __VA_ARGS__& value);               \
  template std::string jsonText(const __VA_ARGS__& value);              \
  template __VA_ARGS__ fromJSON<__VA_ARGS__>(const JSONDecoder& value); \
  template std::string typeName<__VA_ARGS__>();
#define QUARN_VALUE_AND_LIST(...) \
  QUARN_VALUE(__VA_ARGS__)        \
  QUARN_VALUE(std::vector<__VA_ARGS__>)
#define QUARN_RESULT_AND_LIST(...) \
  QUARN_RESULT(__VA_ARGS__)        \
  QUARN_RESULT(std::vector<__VA_ARGS__>)

// clang-format off
QUARN_VALUE(bool)
QUARN_VALUE(std::int64_t)
QUARN_VALUE(double)
QUARN_VALUE(Date)
QUARN_VALUE_AND_LIST(std::string)
QUARN_VALUE_AND_LIST(FileURL)

QUARN_VALUE(ArtifactKind)
QUARN_VALUE(ArtifactDataClass)
QUARN_VALUE(ArtifactScope)
QUARN_VALUE(RiskLevel)
QUARN_VALUE(CleanupMode)
QUARN_VALUE(RemovalOperationPreview::Type)
QUARN_VALUE(AppRemovalPlanPreview::Status)
QUARN_VALUE(StorageCategoryID)
QUARN_VALUE_AND_LIST(AppInspectionService::Phase)
QUARN_VALUE(StorageSignatureRegistry::Signature::Kind)

QUARN_VALUE_AND_LIST(AppEntity)
QUARN_VALUE(SizeInfo)
QUARN_VALUE_AND_LIST(Artifact)
QUARN_VALUE(EntitlementsInfo)
QUARN_VALUE_AND_LIST(UninstallerCandidate)
QUARN_VALUE_AND_LIST(LaunchdEntry)
QUARN_VALUE_AND_LIST(ReceiptInfo)
QUARN_VALUE_AND_LIST(KernelExtensionInfo)
QUARN_VALUE_AND_LIST(AppInspection)
QUARN_PARAM(LeftoverOptions)
QUARN_RESULT_AND_LIST(Ownership)
QUARN_RESULT_AND_LIST(ItemOwnership)
QUARN_RESULT_AND_LIST(Leftover)
QUARN_RESULT(AppOwnership)
QUARN_VALUE(RemovalOperationPreview)
QUARN_VALUE(AppRemovalPlanPreview)
QUARN_VALUE(VolumeInfo)
QUARN_VALUE(StorageCategory)
QUARN_VALUE(StorageOverview)
QUARN_VALUE(VendorPathHint)
QUARN_VALUE_AND_LIST(TopItem)
QUARN_VALUE(CloudStorageSummary)
QUARN_VALUE(wire::Association)
QUARN_RESULT_AND_LIST(VendorProfile)
QUARN_RESULT_AND_LIST(StorageSignatureRegistry::Signature)
QUARN_RESULT(StorageSignatureTable)
QUARN_RESULT(PhaseProgress)
QUARN_RESULT(InspectionProgress)
QUARN_RESULT(ItemsProgress)
QUARN_RESULT(SizeProgress)
QUARN_RESULT(Handshake)
QUARN_VALUE(AppInspectionService::Options)
QUARN_VALUE(ArtifactScanner::Options)

QUARN_VALUE(std::optional<SizeInfo>)
QUARN_RESULT(std::optional<AppEntity>)
QUARN_RESULT(std::optional<wire::Association>)
QUARN_RESULT(std::optional<VendorPathHint>)
QUARN_RESULT(std::map<std::string, wire::Association>)
QUARN_RESULT(std::map<std::string, StorageCategoryID, std::less<>>)
QUARN_RESULT(StorageDashboardService::CategorySizes)
QUARN_RESULT(TotalsProgress)

QUARN_RESULT(ScanSummary)
QUARN_RESULT(ScanStore::Written)
QUARN_RESULT(ScanStore::Progress)
QUARN_RESULT(CategoryChange)
QUARN_RESULT(FolderChange)
QUARN_RESULT(AppChange)
QUARN_RESULT(NewLeftover)
QUARN_RESULT(ScanDifference)

QUARN_PARAM(FolderOrFolders)
QUARN_PARAM(std::optional<bool>)
QUARN_PARAM(std::optional<std::int64_t>)
QUARN_PARAM(std::optional<std::string>)
QUARN_PARAM(std::optional<OwnershipService::Options>)
QUARN_PARAM(std::optional<AppInspectionService::Options>)
QUARN_PARAM(std::optional<ArtifactScanner::Options>)
QUARN_PARAM(std::optional<std::vector<FileURL>>)
QUARN_PARAM(std::optional<std::vector<Artifact>>)
// clang-format on

}  // namespace quarn
