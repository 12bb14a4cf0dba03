#include "QuarnCore/vendors/VendorProfileJSON.h"

#include "QuarnPlatform/json/JSON.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "QuarnPlatform/json/JSONRecord.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn {
namespace {

template <class Enumeration>
Enumeration rawValueMember(const JSONRecord& record, std::string_view key, std::string_view problem) {
  const std::optional<Enumeration> value = fromRawValue<Enumeration>(record.string(key));
  if (!value) record.fail(key, problem);
  return value.value_or(Enumeration{});
}

VendorProfile::Match decodeMatch(const JSONRecord& record) {
  return {.bundleIDs = record.stringArray("bundleIDs"),
          .bundleIDPrefixes = record.stringArray("bundleIDPrefixes"),
          .nameContains = record.stringArray("nameContains")};
}

VendorProfile::ArtifactDefinition decodeDefinition(const JSONRecord& record) {
  return {.kind = rawValueMember<ArtifactKind>(record, "kind", "not a kind of artifact"),
          .dataClass = rawValueMember<ArtifactDataClass>(record, "dataClass", "not a data class"),
          .scope = rawValueMember<ArtifactScope>(record, "scope", "not a scope"),
          .riskLevel = rawValueMember<RiskLevel>(record, "riskLevel", "not a risk level"),
          .confidence = record.number("confidence"),
          .title = record.string("title"),
          .explanation = record.optionalString("explanation"),
          .paths = record.stringArray("paths")};
}

VendorProfile::CarveOut decodeCarveOut(const JSONRecord& record) {
  return {.title = record.string("title"), .paths = record.stringArray("paths"), .reason = record.string("reason")};
}

VendorProfile decodeProfile(const JSONRecord& record) {
  VendorProfile profile{.id = record.string("id"),
                        .displayName = record.string("displayName"),
                        .match = decodeMatch(record.record("match"))};
  for (const JSONRecord& definition : record.records("artifacts")) {
    profile.artifacts.push_back(decodeDefinition(definition));
  }
  for (const JSONRecord& carveOut : record.records("carveOuts")) profile.carveOuts.push_back(decodeCarveOut(carveOut));
  return profile;
}

VendorProfileIndex decodeIndex(const JSONRecord& record) {
  VendorProfileIndex index{.version = record.integer("version")};
  for (const JSONRecord& entry : record.records("vendors")) {
    index.vendors.push_back({.id = entry.string("id"), .file = entry.string("file")});
  }
  return index;
}

template <class Decode>
auto decode(std::string_view text, std::string* problem, Decode decodeRecord)
    -> std::optional<decltype(decodeRecord(std::declval<JSONRecord>()))> {
  std::string found;
  const std::optional<nlohmann::json> value = parseJSON(text, &found);
  if (value) {
    auto result = decodeRecord(JSONRecord(*value, found));
    if (found.empty()) return result;
  }
  if (problem != nullptr) *problem = found;
  return std::nullopt;
}

}  // namespace

std::optional<VendorProfile> decodeVendorProfile(std::string_view text, std::string* problem) {
  return decode(text, problem, decodeProfile);
}

std::optional<VendorProfileIndex> decodeVendorIndex(std::string_view text, std::string* problem) {
  return decode(text, problem, decodeIndex);
}

nlohmann::ordered_json encodeVendorProfile(const VendorProfile& profile) {
  using Json = nlohmann::ordered_json;
  Json artifacts = Json::array();
  for (const VendorProfile::ArtifactDefinition& definition : profile.artifacts) {
    Json object{{"kind", rawValue(definition.kind)},   {"dataClass", rawValue(definition.dataClass)},
                {"scope", rawValue(definition.scope)}, {"riskLevel", rawValue(definition.riskLevel)},
                {"confidence", definition.confidence}, {"title", definition.title}};
    if (definition.explanation) object["explanation"] = *definition.explanation;
    object["paths"] = definition.paths;
    artifacts.push_back(std::move(object));
  }
  Json carveOuts = Json::array();
  for (const VendorProfile::CarveOut& carveOut : profile.carveOuts) {
    carveOuts.push_back({{"title", carveOut.title}, {"paths", carveOut.paths}, {"reason", carveOut.reason}});
  }
  return {{"id", profile.id},
          {"displayName", profile.displayName},
          {"match",
           {{"bundleIDs", profile.match.bundleIDs},
            {"bundleIDPrefixes", profile.match.bundleIDPrefixes},
            {"nameContains", profile.match.nameContains}}},
          {"artifacts", std::move(artifacts)},
          {"carveOuts", std::move(carveOuts)}};
}

nlohmann::ordered_json encodeVendorIndex(const VendorProfileIndex& index) {
  nlohmann::ordered_json vendors = nlohmann::ordered_json::array();
  for (const VendorProfileIndex::Entry& entry : index.vendors) {
    vendors.push_back({{"id", entry.id}, {"file", entry.file}});
  }
  return {{"version", index.version}, {"vendors", std::move(vendors)}};
}

}  // namespace quarn
