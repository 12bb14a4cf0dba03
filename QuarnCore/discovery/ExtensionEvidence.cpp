#include "QuarnCore/discovery/ExtensionEvidence.h"

#include <string_view>
#include <utility>

#include "QuarnCore/vendors/PatternText.h"
#include "QuarnCore/vendors/VendorPathResolver.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn {
namespace {

// Compares components from the root. A pattern for a folder also claims the extensions in it.
bool claims(const std::string& pattern, const std::vector<std::string_view>& extensionNames) {
  const std::vector<std::string_view> names = path::names(pattern);
  if (names.size() > extensionNames.size()) return false;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (!VendorPathResolver::matches(names[i], extensionNames[i])) return false;
  }
  return true;
}

}  // namespace

std::string ExtensionEvidence::summaryText() const { return kind == Kind::vendorProfile ? "Vendor-Profil" : "Receipt"; }

std::string ExtensionEvidence::detailText() const { return summaryText() + ": " + name; }

// The kernel extension paths of the profiles that match one app, expanded and lower-cased once.
class ExtensionEvidenceSearch::ProfileClaims {
 public:
  ProfileClaims(const VendorProfileRegistry& registry, const AppEntity& app, const FileURL& home) {
    for (const VendorProfile& profile : registry.matchingProfiles(app)) addClaims(profile, home);
  }

  [[nodiscard]] std::optional<ExtensionEvidence> evidence(const std::string& extensionPath) const {
    const std::string lowercased = Text::lowercased(extensionPath);
    const std::vector<std::string_view> names = path::names(lowercased);
    for (const auto& [pattern, profile] : claims_) {
      if (claims(pattern, names)) return ExtensionEvidence{ExtensionEvidence::Kind::vendorProfile, profile};
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

ExtensionEvidenceSearch::ExtensionEvidenceSearch(const std::vector<AppEntity>& apps,
                                                 const VendorProfileRegistry& profiles, ReceiptSnapshot receipts,
                                                 const FileURL& home, FileManager files)
    : apps_(apps), receipts_(std::move(receipts)), files_(std::move(files)) {
  claims_.reserve(apps.size());
  for (const AppEntity& app : apps) claims_.emplace_back(profiles, app, home);
}

ExtensionEvidenceSearch::~ExtensionEvidenceSearch() = default;

std::optional<ExtensionEvidenceSearch::Find> ExtensionEvidenceSearch::find(const FileURL& extension) const {
  std::optional<Find> found = byProfile(files_.standardizedPath(extension));
  return found ? found : byReceipt(extension.path());
}

std::optional<ExtensionEvidenceSearch::Find> ExtensionEvidenceSearch::byProfile(const std::string& path) const {
  for (std::size_t i = 0; i < apps_.size(); ++i) {
    if (std::optional<ExtensionEvidence> evidence = claims_[i].evidence(path)) {
      return Find{apps_[i], std::move(*evidence)};
    }
  }
  return std::nullopt;
}

std::optional<ExtensionEvidenceSearch::Find> ExtensionEvidenceSearch::byReceipt(const std::string& path) const {
  if (apps_.empty()) return std::nullopt;
  const std::vector<std::string> packageIDs = receipts_.packageIDs(path);
  for (const AppEntity& app : apps_) {
    for (const std::string& packageID : packageIDs) {
      if (receipts_.matches(app, packageID)) return Find{app, {ExtensionEvidence::Kind::receipt, packageID}};
    }
  }
  return std::nullopt;
}

}  // namespace quarn
