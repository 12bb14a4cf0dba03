#pragma once

#include "QuarnCore/vendors/VendorProfile.h"
#include "QuarnCore/vendors/VendorProfileIndex.h"
#include "QuarnModels/RecordCodec.h"

/// Field tables of vendor profiles, for resource files and messages.
namespace quarn::wire {

// clang-format off
template <> struct Fields<VendorProfile> {
  static constexpr std::string_view kName = "VendorProfile";
  static constexpr auto kMembers = std::tuple(
      member("id",          &VendorProfile::id),
      member("displayName", &VendorProfile::displayName),
      member("match",       &VendorProfile::match),
      member("artifacts",   &VendorProfile::artifacts),
      member("carveOuts",   &VendorProfile::carveOuts));
};

template <> struct Fields<VendorProfile::Match> {
  static constexpr std::string_view kName = "VendorProfile.Match";
  static constexpr auto kMembers = std::tuple(
      member("bundleIDs",        &VendorProfile::Match::bundleIDs),
      member("bundleIDPrefixes", &VendorProfile::Match::bundleIDPrefixes),
      member("nameContains",     &VendorProfile::Match::nameContains));
};

template <> struct Fields<VendorProfile::ArtifactDefinition> {
  using Definition = VendorProfile::ArtifactDefinition;
  static constexpr std::string_view kName = "VendorProfile.ArtifactDefinition";
  static constexpr bool kOmitsAbsentMembers = true;
  static constexpr auto kMembers = std::tuple(
      member("kind",        &Definition::kind),
      member("dataClass",   &Definition::dataClass),
      member("scope",       &Definition::scope),
      member("riskLevel",   &Definition::riskLevel),
      member("confidence",  &Definition::confidence),
      member("title",       &Definition::title),
      member("explanation", &Definition::explanation),
      member("paths",       &Definition::paths));
};

template <> struct Fields<VendorProfile::CarveOut> {
  static constexpr std::string_view kName = "VendorProfile.CarveOut";
  static constexpr auto kMembers = std::tuple(
      member("title",  &VendorProfile::CarveOut::title),
      member("paths",  &VendorProfile::CarveOut::paths),
      member("reason", &VendorProfile::CarveOut::reason));
};

template <> struct Fields<VendorProfileIndex> {
  static constexpr std::string_view kName = "VendorProfileRegistry.Index";
  static constexpr auto kMembers = std::tuple(
      member("version", &VendorProfileIndex::version),
      member("vendors", &VendorProfileIndex::vendors));
};

template <> struct Fields<VendorProfileIndex::Entry> {
  static constexpr std::string_view kName = "VendorProfileRegistry.Index.Entry";
  static constexpr auto kMembers = std::tuple(
      member("id",   &VendorProfileIndex::Entry::id),
      member("file", &VendorProfileIndex::Entry::file));
};
// clang-format on

}  // namespace quarn::wire
