#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "QuarnCore/discovery/ExtensionEvidence.h"
#include "QuarnCore/vendors/VendorProfileRegistry.h"
#include "QuarnModels/Artifact.h"
#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/KernelExtensionService.h"
#include "QuarnSystem/ReceiptScanner.h"

namespace quarn {

/// Ties kernel extensions, whose places say nothing of their owners, to apps by evidence: a vendor profile that names
/// the extension's path, or an installer receipt that lists it. Each operation reads the receipts once. A plain value;
/// nothing throws.
class KernelExtensionAssociationService {
 public:
  using Evidence = ExtensionEvidence;

  /// The app that an extension belongs to, and why.
  struct Association {
    std::string appID;  ///< the app's `id`
    std::string appName;
    Evidence evidence;

    /// The evidence's `detailText`.
    [[nodiscard]] std::string evidenceText() const { return evidence.detailText(); }
    friend bool operator==(const Association&, const Association&) = default;
  };

  /// `home` is what "~" in a profile's path stands for and where an extension has user scope.
  KernelExtensionAssociationService(VendorProfileRegistry vendorProfiles, ReceiptScanner receiptScanner,
                                    KernelExtensionService kernelExtensionService, FileURL home, FileManager files);

  /// The app's extensions as artifacts, in the listed order, with the sizes that the listing gives.
  [[nodiscard]] std::vector<Artifact> kernelExtensionArtifacts(const AppEntity& app, bool includeMacOS) const;
  /// The same for a caller that has read the receipts already.
  [[nodiscard]] std::vector<Artifact> kernelExtensionArtifacts(const AppEntity& app, bool includeMacOS,
                                                               const ReceiptSnapshot& receipts) const;

  /// Which of the apps an extension belongs to: vendor-profile evidence of any app, in order, before receipt evidence.
  [[nodiscard]] std::optional<Association> association(const KernelExtensionInfo& kernelExtension,
                                                       const std::vector<AppEntity>& apps) const;
  /// That of the first extension, in list order, that has one.
  [[nodiscard]] std::optional<Association> association(const std::vector<KernelExtensionInfo>& kernelExtensions,
                                                       const std::vector<AppEntity>& apps) const;
  /// The app of that association.
  [[nodiscard]] std::optional<AppEntity> associatedApp(const KernelExtensionInfo& kernelExtension,
                                                       const std::vector<AppEntity>& apps) const;
  [[nodiscard]] std::optional<AppEntity> associatedApp(const std::vector<KernelExtensionInfo>& kernelExtensions,
                                                       const std::vector<AppEntity>& apps) const;
  /// The associations of the extensions that have one, by the extension's path.
  [[nodiscard]] std::map<std::string, Association> associations(
      const std::vector<KernelExtensionInfo>& kernelExtensions, const std::vector<AppEntity>& apps) const;

  /// The id that the artifact for an extension at `url` has.
  [[nodiscard]] std::string artifactID(const FileURL& url) const;

 private:
  VendorProfileRegistry vendorProfiles_;
  ReceiptScanner receiptScanner_;
  KernelExtensionService kernelExtensionService_;
  FileURL home_;
  FileManager files_;
};

}  // namespace quarn
