#include "quarn/rpc/Methods.h"
#include "quarn/wire/UsualOptions.h"

namespace quarn {
namespace {

using Association = KernelExtensionAssociationService::Association;

std::vector<Artifact> scanArtifacts(const Context& context, const AppEntity& app, const EntitlementsInfo& entitlements,
                                    const std::optional<ArtifactScanner::Options>& options) {
  return context.services.artifactScanner().scan(app, entitlements, options.value_or(usualScanOptions()),
                                                 context.request.cancellation);
}

std::vector<Artifact> userHeuristicSearch(const Context& context, const AppEntity& app, std::int64_t maxDepth,
                                          std::int64_t maxResults) {
  return context.services.artifactScanner().userHeuristicSearch(app, maxDepth, maxResults,
                                                                context.request.cancellation);
}

std::vector<Artifact> systemHeuristicSearch(const Context& context, const AppEntity& app, std::int64_t maxDepth,
                                            std::int64_t maxResults) {
  return context.services.artifactScanner().systemHeuristicSearch(app, maxDepth, maxResults,
                                                                  context.request.cancellation);
}

std::vector<Artifact> documentsHeuristicSearch(const Context& context, const AppEntity& app, std::int64_t maxDepth,
                                               std::int64_t maxResults) {
  return context.services.artifactScanner().documentsHeuristicSearch(app, maxDepth, maxResults,
                                                                     context.request.cancellation);
}

std::vector<Artifact> launchdArtifacts(const Context& context, const AppEntity& app,
                                       const std::vector<LaunchdEntry>& entries) {
  return context.services.artifactScanner().launchdArtifacts(app, entries);
}

std::vector<Artifact> receiptArtifacts(const Context& context, const std::vector<ReceiptInfo>& receipts) {
  return context.services.artifactScanner().receiptArtifacts(receipts);
}

std::vector<Artifact> kernelExtensionArtifacts(const Context& context, const AppEntity& app, bool includeMacOS) {
  return context.services.kernelExtensionAssociation().kernelExtensionArtifacts(app, includeMacOS,
                                                                                context.request.cancellation);
}

std::optional<Association> association(const Context& context, const std::vector<KernelExtensionInfo>& kernelExtensions,
                                       const std::vector<AppEntity>& apps) {
  return context.services.kernelExtensionAssociation().association(kernelExtensions, apps);
}

std::optional<AppEntity> associatedApp(const Context& context, const std::vector<KernelExtensionInfo>& kernelExtensions,
                                       const std::vector<AppEntity>& apps) {
  return context.services.kernelExtensionAssociation().associatedApp(kernelExtensions, apps);
}

std::map<std::string, Association> associations(const Context& context,
                                                const std::vector<KernelExtensionInfo>& kernelExtensions,
                                                const std::vector<AppEntity>& apps) {
  return context.services.kernelExtensionAssociation().associations(kernelExtensions, apps);
}

std::string kernelExtensionArtifactID(const Context& context, const FileURL& url) {
  return context.services.kernelExtensionAssociation().artifactID(url);
}

// clang-format off
constexpr std::array kDiscoveryMethods{
    method<&scanArtifacts>("ArtifactScanner.scan", "app", "entitlements", "options"),
    method<&userHeuristicSearch>("ArtifactScanner.userHeuristicSearch", "app", "maxDepth", "maxResults"),
    method<&systemHeuristicSearch>("ArtifactScanner.systemHeuristicSearch", "app", "maxDepth", "maxResults"),
    method<&documentsHeuristicSearch>("ArtifactScanner.documentsHeuristicSearch", "app", "maxDepth", "maxResults"),
    method<&launchdArtifacts>("ArtifactScanner.launchdArtifacts", "app", "entries"),
    method<&receiptArtifacts>("ArtifactScanner.receiptArtifacts", "receipts"),
    method<&kernelExtensionArtifacts>("KernelExtensionAssociationService.kernelExtensionArtifacts", "app", "includeMacOS"),
    method<&association>("KernelExtensionAssociationService.association", "kernelExtensions", "apps"),
    method<&associatedApp>("KernelExtensionAssociationService.associatedApp", "kernelExtensions", "apps"),
    method<&associations>("KernelExtensionAssociationService.associations", "kernelExtensions", "apps"),
    method<&kernelExtensionArtifactID>("KernelExtensionAssociationService.artifactID", "url"),
};
// clang-format on

}  // namespace

std::span<const MethodRow> discoveryMethods() { return kDiscoveryMethods; }

}  // namespace quarn
