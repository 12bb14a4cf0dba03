#include "QuarnCore/ownership/Ownership.h"

#include "QuarnPlatform/resources/Localization.h"

namespace quarn {
namespace {

// clang-format off
constexpr std::array kRules{
    EvidenceRule{.kind = EvidenceKind::entitlement, .confidence = 0.98,
                 .sentence = "The app's signature entitles it to this group."},
    EvidenceRule{.kind = EvidenceKind::containerMetadata, .confidence = 0.97,
                 .sentence = "The container's metadata names the app."},
    EvidenceRule{.kind = EvidenceKind::receipt, .confidence = 0.95,
                 .sentence = "An installer receipt of the app lists it."},
    EvidenceRule{.kind = EvidenceKind::launchdProgram, .confidence = 0.94,
                 .sentence = "A launchd job that runs a program of the app."},
    EvidenceRule{.kind = EvidenceKind::privilegedHelper, .confidence = 0.93,
                 .sentence = "The app names it as its helper."},
    EvidenceRule{.kind = EvidenceKind::identifier, .confidence = 0.92,
                 .sentence = "Named by the app's bundle identifier."},
    EvidenceRule{.kind = EvidenceKind::embeddedIdentifier, .confidence = 0.9,
                 .sentence = "Named by the identifier of a bundle inside the app."},
    EvidenceRule{.kind = EvidenceKind::identifierAndMore, .confidence = 0.87,
                 .sentence = "The name begins with the app's bundle identifier."},
    EvidenceRule{.kind = EvidenceKind::prefixedIdentifier, .confidence = 0.85,
                 .sentence = "The name is the app's bundle identifier after a team or group."},
    EvidenceRule{.kind = EvidenceKind::vendorProfile, .confidence = 0.8,
                 .sentence = "A vendor profile of the app names it."},
    EvidenceRule{.kind = EvidenceKind::name, .confidence = 0.72, .sentence = "Named like the app."},
    EvidenceRule{.kind = EvidenceKind::nameWithoutVersion, .confidence = 0.6,
                 .sentence = "Named like the app but for version, channel or edition."},
    EvidenceRule{.kind = EvidenceKind::vendorIdentifierName, .confidence = 0.55,
                 .sentence = "An identifier of the app's vendor that holds the app's name."},
    EvidenceRule{.kind = EvidenceKind::otherIdentifierName, .confidence = 0.45,
                 .sentence = "An identifier that ends in the app's name."},
    EvidenceRule{.kind = EvidenceKind::onlyAppOfVendor, .confidence = 0.4,
                 .sentence = "An identifier of the app's vendor."},
    EvidenceRule{.kind = EvidenceKind::vendorName, .confidence = 0.35, .sentence = "Named like the app's vendor."},
    EvidenceRule{.kind = EvidenceKind::inside, .confidence = 1.0, .sentence = "Inside the app."},
};
// clang-format on
static_assert(kRules.size() == RawValues<EvidenceKind>::kStrings.size());

struct OrphanRule {
  OrphanKind kind;
  std::string_view sentence;
};
// clang-format off
constexpr std::array kOrphanRules{
    OrphanRule{.kind = OrphanKind::container, .sentence = "A container of an app that is not installed."},
    OrphanRule{.kind = OrphanKind::receipt, .sentence = "Installed by a package whose app is gone."},
    OrphanRule{.kind = OrphanKind::launchdJob, .sentence = "A launchd job whose program does not exist."},
    OrphanRule{.kind = OrphanKind::vendorProfile,
               .sentence = "A vendor profile names it, and its app is not installed."},
    OrphanRule{.kind = OrphanKind::identifierName, .sentence = "Named by an identifier that no installed app has."},
    OrphanRule{.kind = OrphanKind::formerAppName, .sentence = "Named like an app of which only leftovers are found."},
};
// clang-format on
static_assert(kOrphanRules.size() == RawValues<OrphanKind>::kStrings.size());

}  // namespace

const EvidenceRule& evidenceRule(EvidenceKind kind) { return kRules[static_cast<std::size_t>(kind)]; }

std::string evidenceSentence(EvidenceKind kind) { return localized(evidenceRule(kind).sentence); }

std::string orphanSentence(OrphanKind kind) { return localized(kOrphanRules[static_cast<std::size_t>(kind)].sentence); }

std::string sharedFolderSentence() { return localized("All apps share this folder."); }

}  // namespace quarn
