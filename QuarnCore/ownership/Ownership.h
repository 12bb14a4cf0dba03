#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnModels/Artifact.h"
#include "QuarnModels/Date.h"
#include "QuarnModels/RawValue.h"
#include "QuarnModels/SizeInfo.h"
#include "QuarnPlatform/paths/FileURL.h"

namespace quarn {

/// Whose an entry is.
enum class OwnershipStatus : std::uint8_t {
  owned,     ///< one installed app's
  shared,    ///< several installed apps have equally strong evidence
  system,    ///< the operating system's
  orphaned,  ///< its owner is not installed
  unknown,   ///< nothing says whose it is
};
template <>
struct RawValues<OwnershipStatus> {
  static constexpr std::array<std::string_view, 5> kStrings{"owned", "shared", "system", "orphaned", "unknown"};
};

/// Why an entry is an app's, strongest first. `evidenceRule` has the confidence and the sentence of each.
enum class EvidenceKind : std::uint8_t {
  entitlement,           ///< the app's signature entitles it to the group that names the entry
  containerMetadata,     ///< the container's metadata names the app's identifier
  receipt,               ///< a receipt of the app lists it
  launchdProgram,        ///< a launchd job whose program is in the app's bundle
  privilegedHelper,      ///< the app's Info.plist names it as its privileged helper
  identifier,            ///< named by the bundle identifier
  embeddedIdentifier,    ///< named by the identifier of a bundle in the app's bundle
  identifierAndMore,     ///< the identifier, "." and more
  prefixedIdentifier,    ///< the identifier after a team or "group."
  vendorProfile,         ///< a vendor profile of the app names the path
  name,                  ///< named like the app
  nameWithoutVersion,    ///< the same without version, channel and edition, or the identifier's last meaningful part
  vendorIdentifierName,  ///< an identifier of the same vendor with the app's name in it
  otherIdentifierName,   ///< another vendor's identifier that ends in the app's name
  onlyAppOfVendor,       ///< an identifier of the vendor, of which one app is installed
  vendorName,            ///< named like the vendor of the app
  inside,                ///< in the app's bundle
};
template <>
struct RawValues<EvidenceKind> {
  static constexpr std::array<std::string_view, 17> kStrings{"entitlement",
                                                             "containerMetadata",
                                                             "receipt",
                                                             "launchdProgram",
                                                             "privilegedHelper",
                                                             "identifier",
                                                             "embeddedIdentifier",
                                                             "identifierAndMore",
                                                             "prefixedIdentifier",
                                                             "vendorProfile",
                                                             "name",
                                                             "nameWithoutVersion",
                                                             "vendorIdentifierName",
                                                             "otherIdentifierName",
                                                             "onlyAppOfVendor",
                                                             "vendorName",
                                                             "inside"};
};

/// A row of the table of evidence.
struct EvidenceRule {
  EvidenceKind kind;
  double confidence;          ///< 0...1
  std::string_view sentence;  ///< English, for people
};
const EvidenceRule& evidenceRule(EvidenceKind kind);
/// The sentence in the user's language.
std::string evidenceSentence(EvidenceKind kind);

/// Why an orphaned entry is taken for a former app's.
enum class OrphanKind : std::uint8_t {
  container,       ///< a container whose identifier no installed app has
  receipt,         ///< a receipt lists it, and its app is gone
  launchdJob,      ///< a launchd job whose program does not exist
  vendorProfile,   ///< a vendor profile names it, and no app of that profile is installed
  identifierName,  ///< named by an identifier that no installed app and no bundle in one has
  formerAppName,   ///< named like an app that other leftovers speak of
};
template <>
struct RawValues<OrphanKind> {
  static constexpr std::array<std::string_view, 6> kStrings{"container",     "receipt",        "launchdJob",
                                                            "vendorProfile", "identifierName", "formerAppName"};
};
/// The sentence for people, in the user's language.
std::string orphanSentence(OrphanKind kind);

/// The sentence for a folder that all apps share, in the user's language.
std::string sharedFolderSentence();

/// An app and what speaks for it. A plain value.
struct OwnershipClaim {
  std::string appID{};
  std::string appName{};
  std::optional<std::string> bundleIdentifier{};
  FileURL bundleURL{};
  EvidenceKind evidence = EvidenceKind::otherIdentifierName;
  double confidence = 0;  ///< of the evidence
  friend bool operator==(const OwnershipClaim&, const OwnershipClaim&) = default;
};

/// The app that an orphaned entry was of, as far as it is known. A plain value.
struct FormerOwner {
  std::string name{};                             ///< for display: the app's name, else its identifier
  std::optional<std::string> bundleIdentifier{};  ///< as it was found
  friend bool operator==(const FormerOwner&, const FormerOwner&) = default;
};

/// Whose one entry is. A plain value.
struct Ownership {
  /// More owners or rivals than this are counted and not listed: a bad volume may hold 100,000 apps of one identifier.
  static constexpr std::size_t kMostListed = 16;

  FileURL url{};
  OwnershipStatus status = OwnershipStatus::unknown;
  std::vector<OwnershipClaim> owners{};  ///< one when owned, several when shared, none otherwise
  std::int64_t ownersLeftOut = 0;
  std::vector<OwnershipClaim> rivals{};  ///< apps with weaker evidence, strongest first
  std::string evidence{};                ///< the sentence of the evidence that won; mostly empty for unknown
  double confidence = 0;
  std::string place{};  ///< the place's name, "Application Support"
  ArtifactKind kind = ArtifactKind::unknown;
  ArtifactScope scope = ArtifactScope::user;
  ArtifactDataClass dataClass = ArtifactDataClass::unknown;
  RiskLevel riskLevel = RiskLevel::danger;
  std::optional<FormerOwner> formerOwner{};  ///< of an orphaned entry
  std::optional<OrphanKind> orphanKind{};    ///< likewise
  friend bool operator==(const Ownership&, const Ownership&) = default;
};

}  // namespace quarn
