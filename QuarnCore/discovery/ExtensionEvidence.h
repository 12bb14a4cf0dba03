#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "QuarnCore/vendors/VendorProfileRegistry.h"
#include "QuarnModels/AppEntity.h"
#include "QuarnPlatform/base/RecordHash.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/ReceiptSnapshot.h"

namespace quarn {

/// The reason why a kernel extension belongs to an app.
struct ExtensionEvidence {
  enum class Kind : std::uint8_t { vendorProfile, receipt };

  Kind kind = Kind::vendorProfile;
  std::string name{};  ///< display name of the profile, or package identifier

  /// "Vendor-Profil" or "Receipt".
  [[nodiscard]] std::string summaryText() const;
  /// The summary, ": " and the name.
  [[nodiscard]] std::string detailText() const;
  friend bool operator==(const ExtensionEvidence&, const ExtensionEvidence&) = default;
};

/// Finds the apps of kernel extensions: through vendor profiles that name the path of an extension, and receipts that
/// list it. Create one per operation: it matches the profiles and reads the receipts once, for any number of
/// extensions. Keeps a reference to the apps.
class ExtensionEvidenceSearch {
 public:
  struct Find {
    const AppEntity& app;
    ExtensionEvidence evidence;
  };

  /// `home` replaces "~" in the paths of profiles.
  ExtensionEvidenceSearch(const std::vector<AppEntity>& apps, const VendorProfileRegistry& profiles,
                          ReceiptSnapshot receipts, const FileURL& home, FileManager files);
  ~ExtensionEvidenceSearch();
  ExtensionEvidenceSearch(const ExtensionEvidenceSearch&) = delete;
  ExtensionEvidenceSearch& operator=(const ExtensionEvidenceSearch&) = delete;

  /// The evidence for an extension. Profile evidence for any app, in order, precedes receipt evidence, because a
  /// vendor profile outweighs a receipt.
  [[nodiscard]] std::optional<Find> find(const FileURL& extension) const;

 private:
  class ProfileClaims;

  [[nodiscard]] std::optional<Find> byProfile(const std::string& path) const;
  [[nodiscard]] std::optional<Find> byReceipt(const std::string& path) const;

  const std::vector<AppEntity>& apps_;
  const ReceiptSnapshot receipts_;
  const FileManager files_;
  std::vector<ProfileClaims> claims_;
};

}  // namespace quarn

/// Hashes all fields, consistent with `==`.
template <>
struct std::hash<quarn::ExtensionEvidence> {
  std::size_t operator()(const quarn::ExtensionEvidence& record) const {
    const auto& [kind, name] = record;
    return quarn::hashOfFields(kind, name);
  }
};
