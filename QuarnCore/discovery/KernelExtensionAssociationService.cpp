#include "QuarnCore/discovery/KernelExtensionAssociationService.h"

#include <memory>
#include <utility>

#include "QuarnModels/ArtifactIdentity.h"

namespace quarn {
namespace {

using Evidence = KernelExtensionAssociationService::Evidence;

constexpr double kProfileConfidence = 0.75;
constexpr double kReceiptConfidence = 0.65;

ArtifactScope scopeOf(const FileURL& url, const FileURL& home, const FileManager& files) {
  // Compared as text: if the home folder is the root, only the root itself has user scope.
  const std::string path = files.standardizedPath(url);
  const std::string homePath = files.standardizedPath(home);
  return path == homePath || path.starts_with(homePath + '/') ? ArtifactScope::user : ArtifactScope::system;
}

KernelExtensionAssociationService::Association makeAssociation(const AppEntity& app, const Evidence& evidence) {
  return {.appID = app.id, .appName = app.name, .evidence = evidence};
}

Artifact makeArtifact(const KernelExtensionInfo& extension, const Evidence& evidence, ArtifactScope scope) {
  const bool isProfiled = evidence.kind == Evidence::Kind::vendorProfile;
  return identified({.kind = ArtifactKind::kernelExtension,
                     .dataClass = ArtifactDataClass::configuration,
                     .scope = scope,
                     .urls = {extension.url},
                     .size = extension.size,
                     .riskLevel = RiskLevel::danger,
                     .confidence = isProfiled ? kProfileConfidence : kReceiptConfidence,
                     .title = "Kernel Extension: " + extension.name,
                     .explanation = evidence.detailText()});
}

}  // namespace

KernelExtensionAssociationService::KernelExtensionAssociationService(VendorProfileRegistry vendorProfiles,
                                                                     ReceiptScanner receiptScanner,
                                                                     KernelExtensionService kernelExtensionService,
                                                                     FileURL home, FileManager files)
    : vendorProfiles_(std::move(vendorProfiles)),
      receiptScanner_(std::move(receiptScanner)),
      kernelExtensionService_(std::move(kernelExtensionService)),
      home_(std::move(home)),
      files_(std::move(files)) {}

std::vector<Artifact> KernelExtensionAssociationService::kernelExtensionArtifacts(
    const AppEntity& app, bool includeMacOS, const Cancellation& cancellation) const {
  return kernelExtensionArtifacts(app, includeMacOS, receiptScanner_.snapshot(), cancellation);
}

std::vector<Artifact> KernelExtensionAssociationService::kernelExtensionArtifacts(
    const AppEntity& app, bool includeMacOS, const ReceiptSnapshot& receipts, const Cancellation& cancellation) const {
  const std::vector<AppEntity> apps{app};
  const ExtensionEvidenceSearch search(apps, vendorProfiles_, receipts, home_, files_);
  std::vector<Artifact> artifacts;
  for (const KernelExtensionInfo& extension : kernelExtensionService_.installedKernelExtensions(includeMacOS)) {
    if (cancellation.isCancelled()) break;
    const auto found = search.find(extension.url);
    if (found) artifacts.push_back(makeArtifact(extension, found->evidence, scopeOf(extension.url, home_, files_)));
  }
  return artifacts;
}

std::function<std::vector<Artifact>(const AppEntity& app)> KernelExtensionAssociationService::forManyApps(
    ReceiptSnapshot receipts, const Cancellation& cancellation) const {
  using Extensions = std::vector<KernelExtensionInfo>;
  const auto listed = std::make_shared<std::optional<Extensions>>();
  const auto extensions = [ask = kernelExtensionService_, listed](bool includeMacOS) -> const Extensions& {
    if (!*listed) *listed = ask.installedKernelExtensions(includeMacOS);
    return **listed;
  };
  KernelExtensionAssociationService service = *this;
  service.kernelExtensionService_.installedKernelExtensions = extensions;
  return [service, extensions, receipts = std::move(receipts), cancellation](const AppEntity& app) {
    if (extensions(/*includeMacOS=*/false).empty()) return std::vector<Artifact>();
    return service.kernelExtensionArtifacts(app, /*includeMacOS=*/false, receipts, cancellation);
  };
}

std::optional<KernelExtensionAssociationService::Association> KernelExtensionAssociationService::association(
    const KernelExtensionInfo& kernelExtension, const std::vector<AppEntity>& apps) const {
  return association(std::vector{kernelExtension}, apps);
}

std::optional<KernelExtensionAssociationService::Association> KernelExtensionAssociationService::association(
    const std::vector<KernelExtensionInfo>& kernelExtensions, const std::vector<AppEntity>& apps) const {
  const ExtensionEvidenceSearch search(apps, vendorProfiles_, receiptScanner_.snapshot(), home_, files_);
  for (const KernelExtensionInfo& extension : kernelExtensions) {
    if (const auto found = search.find(extension.url)) return makeAssociation(found->app, found->evidence);
  }
  return std::nullopt;
}

std::optional<AppEntity> KernelExtensionAssociationService::associatedApp(const KernelExtensionInfo& kernelExtension,
                                                                          const std::vector<AppEntity>& apps) const {
  return associatedApp(std::vector{kernelExtension}, apps);
}

std::optional<AppEntity> KernelExtensionAssociationService::associatedApp(
    const std::vector<KernelExtensionInfo>& kernelExtensions, const std::vector<AppEntity>& apps) const {
  const ExtensionEvidenceSearch search(apps, vendorProfiles_, receiptScanner_.snapshot(), home_, files_);
  for (const KernelExtensionInfo& extension : kernelExtensions) {
    if (const auto found = search.find(extension.url)) return found->app;
  }
  return std::nullopt;
}

std::map<std::string, KernelExtensionAssociationService::Association> KernelExtensionAssociationService::associations(
    const std::vector<KernelExtensionInfo>& kernelExtensions, const std::vector<AppEntity>& apps) const {
  const ExtensionEvidenceSearch search(apps, vendorProfiles_, receiptScanner_.snapshot(), home_, files_);
  std::map<std::string, Association> result;
  for (const KernelExtensionInfo& extension : kernelExtensions) {
    if (const auto found = search.find(extension.url)) {
      result.try_emplace(extension.url.path(), makeAssociation(found->app, found->evidence));
    }
  }
  return result;
}

std::string KernelExtensionAssociationService::artifactID(const FileURL& url) const {
  return Artifact::makeID(ArtifactKind::kernelExtension, scopeOf(url, home_, files_), {url});
}

}  // namespace quarn
