#include "QuarnCore/vendors/VendorArtifactDeduplicator.h"
#include "QuarnCore/vendors/VendorPathResolver.h"
#include "quarn/rpc/Methods.h"

namespace quarn {
namespace {

std::vector<VendorProfile> vendorProfiles(const Context& context) {
  return context.services.vendorProfiles().profiles();
}

std::vector<VendorProfile> matchingVendorProfiles(const Context& context, const AppEntity& app) {
  return context.services.vendorProfiles().matchingProfiles(app);
}

std::vector<Artifact> vendorArtifacts(const Context& context, const AppEntity& app) {
  const FileManager files = context.services.files.cancelledBy(context.request.cancellation);
  return context.services.vendorProfiles().artifacts(app, files, files.homeDirectory());
}

std::vector<FileURL> resolvePatterns(const Context& context, const std::vector<std::string>& patterns) {
  const FileManager files = context.services.files.cancelledBy(context.request.cancellation);
  return VendorPathResolver::resolve(patterns, files, files.homeDirectory());
}

bool matchesPattern(const Context& /*context*/, const std::string& pattern, const std::string& text) {
  return VendorPathResolver::matches(pattern, text);
}

std::vector<Artifact> deduplicate(const Context& context, const std::vector<Artifact>& artifacts) {
  return VendorArtifactDeduplicator::deduplicate(artifacts, context.services.files);
}

std::vector<Artifact> inspectDeeply(const Context& context, const AppEntity& app,
                                    const std::vector<Artifact>& existingArtifacts,
                                    const EntitlementsInfo& entitlements) {
  return context.services.deepInspector().inspect(app, existingArtifacts, entitlements, context.request.cancellation);
}

std::vector<UninstallerCandidate> findUninstallers(const Context& context, const AppEntity& app) {
  return context.services.uninstallerDiscovery.findUninstallers(app, context.request.cancellation);
}

// clang-format off
constexpr std::array kVendorMethods{
    method<&vendorProfiles>("VendorProfileRegistry.profiles"),
    method<&matchingVendorProfiles>("VendorProfileRegistry.matchingProfiles", "app"),
    method<&vendorArtifacts>("VendorProfileRegistry.artifacts", "app"),
    method<&resolvePatterns>("VendorPathResolver.resolve", "patterns"),
    method<&matchesPattern>("VendorPathResolver.matches", "pattern", "text"),
    method<&deduplicate>("VendorArtifactDeduplicator.deduplicate", "artifacts"),
    method<&inspectDeeply>("DeepInspectorService.inspect", "app", "existingArtifacts", "entitlements"),
    method<&findUninstallers>("UninstallerDiscoveryService.findUninstallers", "app"),
};
// clang-format on

}  // namespace

std::span<const MethodRow> vendorMethods() { return kVendorMethods; }

}  // namespace quarn
