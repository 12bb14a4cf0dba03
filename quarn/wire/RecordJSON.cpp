#include "quarn/wire/RecordJSON.h"

#include <concepts>
#include <map>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>

#include "QuarnCore/storage/StorageSignatureJSON.h"
#include "QuarnCore/vendors/VendorProfileJSON.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "QuarnPlatform/text/Text.h"
#include "quarn/wire/RecordFields.h"

namespace quarn {
namespace {

using nlohmann::ordered_json;
using wire::Fields;

using Evidence = KernelExtensionAssociationService::Evidence;
using FolderOrFolders = std::variant<FileURL, std::vector<FileURL>>;

/// The records that describe the interface, in the order in which a reader meets them.
using Records =
    std::tuple<AppEntity, SizeInfo, Artifact, EntitlementsInfo, UninstallerCandidate, LaunchdEntry, ReceiptInfo,
               KernelExtensionInfo, AppInspection, RemovalOperationPreview, AppRemovalPlanPreview, VolumeInfo,
               StorageOverview, StorageCategory, VendorPathHint, TopItem, CloudStorageSummary, wire::Association,
               VendorProfile, VendorProfile::Match, VendorProfile::ArtifactDefinition, VendorProfile::CarveOut,
               StorageSignatureTable, StorageSignatureRegistry::Signature, AppInspectionService::Options,
               ArtifactScanner::Options, PhaseProgress, TotalsProgress>;

using Enumerations = std::tuple<ArtifactKind, ArtifactDataClass, ArtifactScope, RiskLevel, CleanupMode,
                                RemovalOperationPreview::Type, AppRemovalPlanPreview::Status, StorageCategoryID,
                                AppInspectionService::Phase, StorageSignatureRegistry::Signature::Kind>;

// clang-format off
template <class Enumeration> constexpr std::string_view kEnumerationName;
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

constexpr std::array<std::pair<Evidence::Kind, std::string_view>, 2> kEvidenceMembers{{
    {Evidence::Kind::vendorProfile, "vendorProfile"},
    {Evidence::Kind::receipt,       "receipt"},
}};
// clang-format on

ordered_json text(std::string_view bytes) { return Text::validUTF8(bytes); }

/// Adds a member that is known to be new: the look-up of the JSON library's ordered objects is linear.
void append(ordered_json& object, std::string key, ordered_json value) {
  object.get_ref<ordered_json::object_t&>().emplace_back(std::move(key), std::move(value));
}

/// How a value of one type stands in JSON.
template <class Value>
struct Codec;

template <>
struct Codec<bool> {
  static std::string name() { return "boolean"; }
  static ordered_json encode(bool value) { return value; }
  static bool decode(const JSONDecoder& value) { return value.boolean(); }
};

template <>
struct Codec<std::int64_t> {
  static std::string name() { return "integer"; }
  static ordered_json encode(std::int64_t value) { return value; }
  static std::int64_t decode(const JSONDecoder& value) { return value.integer(); }
};

template <>
struct Codec<double> {
  static std::string name() { return "number"; }
  static ordered_json encode(double value) { return value; }
  static double decode(const JSONDecoder& value) { return value.number(); }
};

template <>
struct Codec<std::string> {
  static std::string name() { return "string"; }
  static ordered_json encode(const std::string& value) { return text(value); }
  static std::string decode(const JSONDecoder& value) { return value.text(); }
};

template <>
struct Codec<FileURL> {
  static std::string name() { return "URL"; }
  static ordered_json encode(const FileURL& value) { return value.string(); }
  static FileURL decode(const JSONDecoder& value) {
    std::optional<FileURL> url = FileURL::parse(value.text());
    if (!url) value.fail("not a file URL or an absolute path");
    return *std::move(url);
  }
};

template <>
struct Codec<Date> {
  static std::string name() { return "date"; }
  static ordered_json encode(Date value) { return toISO8601(value); }
  static Date decode(const JSONDecoder& value) {
    const std::optional<Date> date = dateFromISO8601(value.text());
    if (!date) value.fail("not a date of the form 2026-11-20T21:23:05Z");
    return *date;
  }
};

template <class Enumeration>
requires std::is_enum_v<Enumeration>
struct Codec<Enumeration> {
  static std::string name() { return std::string(kEnumerationName<Enumeration>); }
  static ordered_json encode(Enumeration value) { return std::string(rawValue(value)); }
  static Enumeration decode(const JSONDecoder& value) {
    const std::optional<Enumeration> known = fromRawValue<Enumeration>(value.text());
    if (!known) value.fail("not one of " + choices());
    return *known;
  }
  static std::string choices() {
    std::string list;
    for (const std::string_view choice : RawValues<Enumeration>::kStrings) {
      if (!list.empty()) list += ", ";
      list += choice;
    }
    return list;
  }
};

template <class Element>
struct Codec<std::vector<Element>> {
  static std::string name() { return "[" + Codec<Element>::name() + "]"; }
  static ordered_json encode(const std::vector<Element>& value) {
    ordered_json array = ordered_json::array();
    for (const Element& element : value) array.push_back(Codec<Element>::encode(element));
    return array;
  }
  static std::vector<Element> decode(const JSONDecoder& value) {
    std::vector<Element> elements;
    elements.reserve(value.count());
    for (std::size_t index = 0; index < value.count(); ++index) {
      elements.push_back(Codec<Element>::decode(value.element(index)));
    }
    return elements;
  }
};

template <class Value>
struct Codec<std::optional<Value>> {
  static std::string name() { return Codec<Value>::name() + "?"; }
  static ordered_json encode(const std::optional<Value>& value) {
    return value ? Codec<Value>::encode(*value) : ordered_json();
  }
  static std::optional<Value> decode(const JSONDecoder& value) {
    return value.isAbsent() ? std::nullopt : std::optional(Codec<Value>::decode(value));
  }
};

template <class Value, class Less>
struct Codec<std::map<std::string, Value, Less>> {
  static std::string name() { return "{string: " + Codec<Value>::name() + "}"; }
  static ordered_json encode(const std::map<std::string, Value, Less>& value) {
    // Keys that differ only in bad bytes become one text: the first of them stands, for a key may not be there twice.
    std::map<std::string, const Value*> readable;
    for (const auto& [key, item] : value) readable.emplace(Text::validUTF8(key), &item);
    ordered_json object = ordered_json::object();
    for (const auto& [key, item] : readable) append(object, key, Codec<Value>::encode(*item));
    return object;
  }
};

template <class Value>
struct Codec<std::map<StorageCategoryID, Value>> {
  static std::string name() { return "{StorageCategoryID: " + Codec<Value>::name() + "}"; }
  static ordered_json encode(const std::map<StorageCategoryID, Value>& value) {
    ordered_json object = ordered_json::object();
    for (const auto& [category, item] : value)
      append(object, std::string(rawValue(category)), Codec<Value>::encode(item));
    return object;
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
  static ordered_json encode(const Evidence& value) {
    ordered_json object = ordered_json::object();
    for (const auto& [kind, member] : kEvidenceMembers) {
      if (kind == value.kind) append(object, std::string(member), text(value.name));
    }
    return object;
  }
  static Evidence decode(const JSONDecoder& value) {
    for (const auto& [kind, member] : kEvidenceMembers) {
      if (!value.member(member).isAbsent()) return {kind, value.member(member).text()};
    }
    value.fail("holds neither vendorProfile nor receipt");
  }
};

template <>
struct Codec<VendorProfile> {
  static std::string name() { return std::string(Fields<VendorProfile>::kName); }
  static ordered_json encode(const VendorProfile& value) { return encodeVendorProfile(value); }
};

template <>
struct Codec<StorageSignatureRegistry::Signature> {
  static std::string name() { return std::string(Fields<StorageSignatureRegistry::Signature>::kName); }
  static ordered_json encode(const StorageSignatureRegistry::Signature& value) { return encodeSignature(value); }
};

template <class Record, class Value>
void encodeMember(ordered_json& object, const Record& record, const wire::Member<Record, Value>& member) {
  append(object, std::string(member.name), Codec<Value>::encode(record.*member.field));
}

template <class Record>
void encodeMember(ordered_json& object, const Record& record, const wire::Computed<Record>& member) {
  append(object, std::string(member.name), text(member.text(record)));
}

template <class Record, class Value>
void decodeMember(const JSONDecoder& object, Record& record, const wire::Member<Record, Value>& member) {
  const JSONDecoder value = object.member(member.name);
  if (member.make != nullptr && value.isAbsent()) return;
  record.*member.field = Codec<Value>::decode(value);
  if constexpr (std::same_as<Value, std::int64_t>) {
    if (member.range == wire::Range::counts && record.*member.field < 0) value.fail("negative");
  }
}

template <class Record>
void decodeMember(const JSONDecoder& /*object*/, Record& /*record*/, const wire::Computed<Record>& /*member*/) {}

/// Makes a member that the request left out, now that the others are there.
template <class Record, class Value>
void makeMember(const JSONDecoder& object, Record& record, const wire::Member<Record, Value>& member) {
  if (member.make != nullptr && object.member(member.name).isAbsent()) record.*member.field = member.make(record);
}

template <class Record>
void makeMember(const JSONDecoder& /*object*/, Record& /*record*/, const wire::Computed<Record>& /*member*/) {}

template <class Record>
concept DescribedByFields = requires {
  Fields<Record>::kMembers;
};

template <class Record>
concept RefusesUnknownMembers = requires {
  Fields<Record>::kRefusesUnknownMembers;
};

template <DescribedByFields Record>
struct Codec<Record> {
  static std::string name() { return std::string(Fields<Record>::kName); }

  static ordered_json encode(const Record& record) {
    ordered_json object = ordered_json::object();
    std::apply([&](const auto&... members) { (encodeMember(object, record, members), ...); }, Fields<Record>::kMembers);
    return object;
  }

  static Record decode(const JSONDecoder& value) {
    Record record{};
    if constexpr (RefusesUnknownMembers<Record>) value.refuseUnknownMembers(names());
    std::apply([&](const auto&... members) { (decodeMember(value, record, members), ...); }, Fields<Record>::kMembers);
    std::apply([&](const auto&... members) { (makeMember(value, record, members), ...); }, Fields<Record>::kMembers);
    return record;
  }

  static std::vector<std::string_view> names() {
    return std::apply([](const auto&... members) { return std::vector{members.name...}; }, Fields<Record>::kMembers);
  }
};

template <class Value>
constexpr bool kIsOptional = false;
template <class Value>
constexpr bool kIsOptional<std::optional<Value>> = true;

template <class Record, class Value>
RecordDescription::Member describe(const wire::Member<Record, Value>& member) {
  return {std::string(member.name), Codec<Value>::name(), !kIsOptional<Value> && member.make == nullptr};
}

template <class Record>
RecordDescription::Member describe(const wire::Computed<Record>& member) {
  return {std::string(member.name), Codec<std::string>::name(), false};
}

template <class Record>
RecordDescription describeRecord() {
  const auto members = [](const auto&... member) { return std::vector{describe(member)...}; };
  return {Fields<Record>::kName, std::apply(members, Fields<Record>::kMembers)};
}

template <class Enumeration>
EnumerationDescription describeEnumeration() {
  const auto& strings = RawValues<Enumeration>::kStrings;
  return {kEnumerationName<Enumeration>, {strings.begin(), strings.end()}};
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
  return Codec<Value>::encode(value);
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
  records.push_back({"Evidence", {}});
  for (const auto& [kind, member] : kEvidenceMembers) {
    records.back().members.push_back({std::string(member), Codec<std::optional<std::string>>::name(), false});
  }
  return records;
}

std::vector<EnumerationDescription> describeEnumerations() {
  return enumerateAll(static_cast<const Enumerations*>(nullptr));
}

#define QUARN_RESULT(...)                                 \
  template ordered_json toJSON(const __VA_ARGS__& value); \
  template std::string typeName<__VA_ARGS__>();
#define QUARN_PARAM(...)                                                \
  template __VA_ARGS__ fromJSON<__VA_ARGS__>(const JSONDecoder& value); \
  template std::string typeName<__VA_ARGS__>();
#define QUARN_VALUE(...)                                                \
  template ordered_json toJSON(const __VA_ARGS__& value);               \
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
QUARN_VALUE(AppInspection)
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
QUARN_VALUE(PhaseProgress)
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

QUARN_PARAM(FolderOrFolders)
QUARN_PARAM(std::optional<bool>)
QUARN_PARAM(std::optional<std::vector<FileURL>>)
QUARN_PARAM(std::optional<std::vector<Artifact>>)
// clang-format on

}  // namespace quarn
