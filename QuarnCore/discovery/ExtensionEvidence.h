#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "QuarnCore/vendors/VendorProfileRegistry.h"
#include "QuarnModels/AppEntity.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/ReceiptSnapshot.h"

namespace quarn {

/// Why a kernel extension belongs to an app.
struct ExtensionEvidence {
  enum class Kind : std::uint8_t { vendorProfile, receipt };

  Kind kind = Kind::vendorProfile;
  std::string name;  ///< the profile's display name, or the package identifier

  /// "Vendor-Profil" or "Receipt".
  [[nodiscard]] std::string summaryText() const;
  /// The summary, ": " and the name.
  [[nodiscard]] std::string detailText() const;
  friend bool operator==(const ExtensionEvidence&, const ExtensionEvidence&) = default;
};

/// Looks for what ties kernel extensions to some apps: vendor profiles that name an extension's path, and receipts that
/// list it. Made once for an operation: the apps' profiles are matched and the receipts are read once, however many
/// extensions are asked about. Keeps a reference to the apps.
class ExtensionEvidenceSearch {
 public:
  struct Find {
    const AppEntity& app;
    ExtensionEvidence evidence;
  };

  /// `home` is what "~" in a profile's path stands for.
  ExtensionEvidenceSearch(const std::vector<AppEntity>& apps, const VendorProfileRegistry& profiles,
                          ReceiptSnapshot receipts, const FileURL& home, FileManager files);
  ~ExtensionEvidenceSearch();
  ExtensionEvidenceSearch(const ExtensionEvidenceSearch&) = delete;
  ExtensionEvidenceSearch& operator=(const ExtensionEvidenceSearch&) = delete;

  /// Evidence for the extension at a URL. A profile of any app, in the order of the apps, comes before a receipt: what
  /// a vendor knows of its own extensions outweighs an installer's list.
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
