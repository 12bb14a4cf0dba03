#include "QuarnSystem/formats/Entitlements.h"

#include <algorithm>
#include <string_view>

#include "QuarnSystem/formats/DerEntitlements.h"
#include "QuarnSystem/formats/MachO.h"

namespace quarn {

namespace {

constexpr std::string_view kApplicationGroups = "com.apple.security.application-groups";

int rankOf(const MachOSlice& slice) {
  if (slice.cpuType == kMachOArm64) return 0;
  return slice.cpuType == kMachOX86_64 ? 1 : 2;
}

std::optional<CodeSignature> signatureOf(const ByteSource& program, const MachOSlice& slice) {
  const auto range = codeSignatureRange(program, slice);
  if (!range || range->size > kMaxSignatureBytes) return std::nullopt;
  return CodeSignature::parse(program.exactly(range->offset, range->size));
}

std::vector<MachOSlice> rankedSlices(const ByteSource& program) {
  std::vector<MachOSlice> slices = machOSlices(program);
  std::stable_sort(slices.begin(), slices.end(),
                   [](const auto& left, const auto& right) { return rankOf(left) < rankOf(right); });
  return slices;
}

bool hasEntitlements(const CodeSignature& signature) {
  return !signature.entitlementsXml.empty() || !signature.entitlementsDer.empty();
}

bool canNameFolder(std::string_view name) {
  constexpr std::string_view kForbidden("/\0", 2);
  return !name.empty() && name != "." && name != ".." && name.find_first_of(kForbidden) == std::string_view::npos;
}

void addGroup(std::vector<std::string>& groups, const PropertyList& element) {
  const std::string* name = element.asString();
  if (name != nullptr && canNameFolder(*name)) groups.push_back(*name);
}

}  // namespace

std::optional<PropertyList> entitlementsOf(const CodeSignature& signature) {
  auto list = signature.entitlementsXml.empty() ? parseDerEntitlements(signature.entitlementsDer)
                                                : PropertyList::parse(signature.entitlementsXml);
  if (!list || !list->isDictionary()) return std::nullopt;
  return list;
}

std::optional<PropertyList> readEntitlements(const ByteSource& program) {
  for (const auto& slice : rankedSlices(program)) {
    const auto signature = signatureOf(program, slice);
    if (signature && hasEntitlements(*signature)) return entitlementsOf(*signature);
  }
  return std::nullopt;
}

std::string readTeamIdentifier(const ByteSource& program) {
  for (const auto& slice : rankedSlices(program)) {
    const auto signature = signatureOf(program, slice);
    if (signature && !signature->teamIdentifier.empty()) return signature->teamIdentifier;
  }
  return {};
}

std::vector<std::string> applicationGroups(const PropertyList& entitlements) {
  std::vector<std::string> groups;
  const PropertyList* value = entitlements.value(kApplicationGroups);
  if (value == nullptr) return groups;
  addGroup(groups, *value);
  if (const auto* elements = value->asArray()) {
    for (const auto& element : *elements) addGroup(groups, element);
  }
  return groups;
}

std::vector<std::string> readApplicationGroups(const ByteSource& program) {
  const auto entitlements = readEntitlements(program);
  return entitlements ? applicationGroups(*entitlements) : std::vector<std::string>();
}

}  // namespace quarn
