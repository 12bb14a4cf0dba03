#include "QuarnCore/discovery/KernelExtensionAssociationService.h"

#include <utility>

#include "QuarnCore/vendors/PatternText.h"
#include "QuarnCore/vendors/VendorPathResolver.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn {
namespace {

using Evidence = KernelExtensionAssociationService::Evidence;

constexpr double kProfileConfidence = 0.75;
constexpr double kReceiptConfidence = 0.65;

// Component by component from the root; a pattern that names a folder claims the extensions in it too.
bool claims(const std::string& pattern, const std::vector<std::string_view>& extensionNames) {
  const std::vector<std::string_view> names = path::names(pattern);
  if (names.size() > extensionNames.size()) return false;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (!VendorPathResolver::matches(names[i], extensionNames[i])) return false;
  }
  return true;
}

/// The kernel-extension paths of the profiles that match one app, lower-cased and expanded once.
class ProfileClaims {
 public:
  ProfileClaims(const VendorProfileRegistry& registry, const AppEntity& app, const FileURL& home) {
    for (const VendorProfile& profile : registry.matchingProfiles(app)) addClaims(profile, home);
  }

  [[nodiscard]] std::optional<Evidence> evidence(const std::string& extensionPath) const {
    const std::string lowercased = Text::lowercased(extensionPath);
    const std::vector<std::string_view> names = path::names(lowercased);
    for (const auto& [pattern, profile] : claims_) {
      if (claims(pattern, names)) return Evidence{Evidence::Kind::vendorProfile, profile};
    }
    return std::nullopt;
  }

 private:
  void addClaims(const VendorProfile& profile, const FileURL& home) {
    for (const VendorProfile::ArtifactDefinition& definition : profile.artifacts) {
      for (const std::string& path : definition.paths) {
        if (!Text::contains(Text::lowercased(path), ".kext")) continue;
        if (const auto expanded = expandedPattern(path, home))
          claims_.emplace_back(Text::lowercased(*expanded), profile.displayName);
      }
    }
  }

  std::vector<std::pair<std::string, std::string>> claims_;
};

/// Looks for what ties an extension to one of some apps. The apps' profiles are looked up once, however many extensions
/// are asked about. Keeps references: for the length of one call.
class EvidenceSearch {
 public:
  struct Find {
    const AppEntity& app;
    Evidence evidence;
  };

  EvidenceSearch(const std::vector<AppEntity>& apps, const VendorProfileRegistry& registry,
                 const ReceiptScanner& receipts, const FileURL& home, const FileManager& files)
      : apps_(apps), receipts_(receipts), files_(files) {
    claims_.reserve(apps.size());
    for (const AppEntity& app : apps) claims_.emplace_back(registry, app, home);
  }

  // What a vendor knows of its own extensions outweighs any installer's list.
  [[nodiscard]] std::optional<Find> find(const KernelExtensionInfo& extension) const {
    std::optional<Find> found = byProfile(files_.standardizedPath(extension.url));
    return found ? found : byReceipt(extension.url.path());
  }

 private:
  [[nodiscard]] std::optional<Find> byProfile(const std::string& path) const {
    for (std::size_t i = 0; i < apps_.size(); ++i) {
      if (std::optional<Evidence> evidence = claims_[i].evidence(path)) return Find{apps_[i], std::move(*evidence)};
    }
    return std::nullopt;
  }

  [[nodiscard]] std::optional<Find> byReceipt(const std::string& path) const {
    if (apps_.empty()) return std::nullopt;
    const std::vector<std::string> packageIDs = receipts_.packageIDs(path);
    for (const AppEntity& app : apps_) {
      for (const std::string& packageID : packageIDs) {
        if (receipts_.matches(app, packageID)) return Find{app, {Evidence::Kind::receipt, packageID}};
      }
    }
    return std::nullopt;
  }

  const std::vector<AppEntity>& apps_;
  const ReceiptScanner& receipts_;
  const FileManager& files_;
  std::vector<ProfileClaims> claims_;
};

ArtifactScope scopeOf(const FileURL& url, const FileURL& home, const FileManager& files) {
  const bool isUsers = path::isInside(files.standardizedPath(url), files.standardizedPath(home));
  return isUsers ? ArtifactScope::user : ArtifactScope::system;
}

KernelExtensionAssociationService::Association makeAssociation(const AppEntity& app, const Evidence& evidence) {
  return {.appID = app.id, .appName = app.name, .evidence = evidence};
}

Artifact makeArtifact(const KernelExtensionInfo& extension, const Evidence& evidence, ArtifactScope scope) {
  const bool isProfiled = evidence.kind == Evidence::Kind::vendorProfile;
  Artifact artifact{.kind = ArtifactKind::kernelExtension,
                    .dataClass = ArtifactDataClass::configuration,
                    .scope = scope,
                    .urls = {extension.url},
                    .size = extension.size,
                    .riskLevel = RiskLevel::danger,
                    .confidence = isProfiled ? kProfileConfidence : kReceiptConfidence,
                    .title = "Kernel Extension: " + extension.name,
                    .explanation = evidence.detailText()};
  artifact.renewID();
  return artifact;
}

}  // namespace

std::string KernelExtensionAssociationService::Evidence::summaryText() const {
  return kind == Kind::vendorProfile ? "Vendor-Profil" : "Receipt";
}

std::string KernelExtensionAssociationService::Evidence::detailText() const { return summaryText() + ": " + name; }

KernelExtensionAssociationService::KernelExtensionAssociationService(VendorProfileRegistry vendorProfiles,
                                                                     ReceiptScanner receiptScanner,
                                                                     KernelExtensionService kernelExtensionService,
                                                                     FileURL home, FileManager files)
    : vendorProfiles_(std::move(vendorProfiles)),
      receiptScanner_(std::move(receiptScanner)),
      kernelExtensionService_(std::move(kernelExtensionService)),
      home_(std::move(home)),
      files_(std::move(files)) {}

std::vector<Artifact> KernelExtensionAssociationService::kernelExtensionArtifacts(const AppEntity& app,
                                                                                  bool includeMacOS) const {
  const std::vector<AppEntity> apps{app};
  const EvidenceSearch search(apps, vendorProfiles_, receiptScanner_, home_, files_);
  std::vector<Artifact> artifacts;
  for (const KernelExtensionInfo& extension : kernelExtensionService_.installedKernelExtensions(includeMacOS)) {
    const auto found = search.find(extension);
    if (found) artifacts.push_back(makeArtifact(extension, found->evidence, scopeOf(extension.url, home_, files_)));
  }
  return artifacts;
}

std::optional<KernelExtensionAssociationService::Association> KernelExtensionAssociationService::association(
    const KernelExtensionInfo& kernelExtension, const std::vector<AppEntity>& apps) const {
  return association(std::vector{kernelExtension}, apps);
}

std::optional<KernelExtensionAssociationService::Association> KernelExtensionAssociationService::association(
    const std::vector<KernelExtensionInfo>& kernelExtensions, const std::vector<AppEntity>& apps) const {
  const EvidenceSearch search(apps, vendorProfiles_, receiptScanner_, home_, files_);
  for (const KernelExtensionInfo& extension : kernelExtensions) {
    if (const auto found = search.find(extension)) return makeAssociation(found->app, found->evidence);
  }
  return std::nullopt;
}

std::optional<AppEntity> KernelExtensionAssociationService::associatedApp(const KernelExtensionInfo& kernelExtension,
                                                                          const std::vector<AppEntity>& apps) const {
  return associatedApp(std::vector{kernelExtension}, apps);
}

std::optional<AppEntity> KernelExtensionAssociationService::associatedApp(
    const std::vector<KernelExtensionInfo>& kernelExtensions, const std::vector<AppEntity>& apps) const {
  const EvidenceSearch search(apps, vendorProfiles_, receiptScanner_, home_, files_);
  for (const KernelExtensionInfo& extension : kernelExtensions) {
    if (const auto found = search.find(extension)) return found->app;
  }
  return std::nullopt;
}

std::map<std::string, KernelExtensionAssociationService::Association> KernelExtensionAssociationService::associations(
    const std::vector<KernelExtensionInfo>& kernelExtensions, const std::vector<AppEntity>& apps) const {
  const EvidenceSearch search(apps, vendorProfiles_, receiptScanner_, home_, files_);
  std::map<std::string, Association> result;
  for (const KernelExtensionInfo& extension : kernelExtensions) {
    if (const auto found = search.find(extension)) {
      result.try_emplace(extension.url.path(), makeAssociation(found->app, found->evidence));
    }
  }
  return result;
}

std::string KernelExtensionAssociationService::artifactID(const FileURL& url) const {
  return Artifact::makeID(ArtifactKind::kernelExtension, scopeOf(url, home_, files_), {url});
}

}  // namespace quarn
