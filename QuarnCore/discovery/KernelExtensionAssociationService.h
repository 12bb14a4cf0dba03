#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "QuarnCore/discovery/ExtensionEvidence.h"
#include "QuarnCore/vendors/VendorProfileRegistry.h"
#include "QuarnModels/Artifact.h"
#include "QuarnModels/SystemRecords.h"
#include "QuarnPlatform/base/RecordHash.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnSystem/KernelExtensionService.h"
#include "QuarnSystem/ReceiptScanner.h"

namespace quarn {

/// Associates kernel extensions with apps. The location of an extension does not reveal its app, so this uses
/// evidence: a vendor profile that names the extension's path, or an installer receipt that lists it. Each operation
/// reads the receipts once. Never throws.
class KernelExtensionAssociationService {
 public:
  using Evidence = ExtensionEvidence;

  /// The app of an extension, and the evidence.
  struct Association {
    std::string appID{};  ///< `id` of the app
    std::string appName{};
    Evidence evidence{};

    /// The `detailText` of the evidence.
    [[nodiscard]] std::string evidenceText() const { return evidence.detailText(); }
    friend bool operator==(const Association&, const Association&) = default;
  };

  /// `home` replaces "~" in the paths of profiles; extensions below it have user scope.
  KernelExtensionAssociationService(VendorProfileRegistry vendorProfiles, ReceiptScanner receiptScanner,
                                    KernelExtensionService kernelExtensionService, FileURL home, FileManager files);

  /// The app's extensions as artifacts, in listing order, with the sizes of the listing. If cancelled, those found
  /// so far.
  [[nodiscard]] std::vector<Artifact> kernelExtensionArtifacts(
      const AppEntity& app, bool includeMacOS, const Cancellation& cancellation = Cancellation::never()) const;
  /// The same, for a caller that already has a snapshot of the receipts.
  [[nodiscard]] std::vector<Artifact> kernelExtensionArtifacts(
      const AppEntity& app, bool includeMacOS, const ReceiptSnapshot& receipts,
      const Cancellation& cancellation = Cancellation::never()) const;

  /// The app that an extension belongs to. Profile evidence for any app, in order, precedes receipt evidence.
  [[nodiscard]] std::optional<Association> association(const KernelExtensionInfo& kernelExtension,
                                                       const std::vector<AppEntity>& apps) const;
  /// The association of the first extension that has one.
  [[nodiscard]] std::optional<Association> association(const std::vector<KernelExtensionInfo>& kernelExtensions,
                                                       const std::vector<AppEntity>& apps) const;
  /// The app of the association.
  [[nodiscard]] std::optional<AppEntity> associatedApp(const KernelExtensionInfo& kernelExtension,
                                                       const std::vector<AppEntity>& apps) const;
  [[nodiscard]] std::optional<AppEntity> associatedApp(const std::vector<KernelExtensionInfo>& kernelExtensions,
                                                       const std::vector<AppEntity>& apps) const;
  /// The associations of all extensions that have one, by the path of the extension.
  [[nodiscard]] std::map<std::string, Association> associations(
      const std::vector<KernelExtensionInfo>& kernelExtensions, const std::vector<AppEntity>& apps) const;

  /// Returns the function `kernelExtensionArtifacts` for many apps, without the extensions of macOS. It lists the
  /// extensions once. Use it from one thread.
  [[nodiscard]] std::function<std::vector<Artifact>(const AppEntity& app)> forManyApps(
      ReceiptSnapshot receipts, const Cancellation& cancellation) const;

  /// The id of the artifact for an extension at `url`.
  [[nodiscard]] std::string artifactID(const FileURL& url) const;

 private:
  VendorProfileRegistry vendorProfiles_;
  ReceiptScanner receiptScanner_;
  KernelExtensionService kernelExtensionService_;
  FileURL home_;
  FileManager files_;
};

}  // namespace quarn

/// Hashes all fields, consistent with `==`.
template <>
struct std::hash<quarn::KernelExtensionAssociationService::Association> {
  std::size_t operator()(const quarn::KernelExtensionAssociationService::Association& record) const {
    const auto& [appID, appName, evidence] = record;
    return quarn::hashOfFields(appID, appName, evidence);
  }
};
