#include "QuarnCore/ownership/AppOwnership.h"
#include "QuarnCore/ownership/ItemOwners.h"
#include "QuarnCore/ownership/Leftovers.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/rpc/Methods.h"

namespace quarn {
namespace {

OwnershipMap mapFor(const Context& context, const std::vector<AppEntity>& apps,
                    const std::optional<OwnershipService::Options>& options) {
  return context.services.ownership().map(apps, options.value_or(OwnershipService::kEverything), nullptr,
                                          context.request.cancellation);
}

std::vector<Ownership> mapVolume(const Context& context, const std::vector<AppEntity>& apps,
                                 const std::optional<OwnershipService::Options>& options) {
  const OwnershipMap map = mapFor(context, apps, options);
  std::vector<Ownership> entries;
  entries.reserve(map.size());
  for (std::size_t i = 0; i < map.size(); ++i) entries.push_back(map.ownership(i));
  return entries;
}

std::vector<ItemOwnership> ownersOf(const Context& context, const std::vector<FileURL>& urls,
                                    const std::vector<AppEntity>& apps,
                                    const std::optional<OwnershipService::Options>& options) {
  const Services& services = context.services;
  const ItemOwners owners(mapFor(context, apps, options), services.receiptScanner.snapshot(),
                          services.storageDashboard(), context.request.cancellation);
  std::vector<ItemOwnership> items;
  items.reserve(urls.size());
  for (const FileURL& url : urls) items.push_back(owners.of(services.files.standardized(url)));
  return items;
}

std::vector<Leftover> leftoversOf(const Context& context, const std::vector<AppEntity>& apps,
                                  const LeftoverOptions& options) {
  const OwnershipMap map = mapFor(context, apps, std::nullopt);
  return findLeftovers(map, options, context.services.files, context.services.fileSizeCalculator,
                       context.request.cancellation);
}

AppOwnership compareInspection(const Context& context, const AppInspection& inspection,
                               const std::vector<AppEntity>& apps) {
  return compareWithMap(inspection, mapFor(context, apps, std::nullopt));
}

std::vector<Artifact> chooseArtifacts(const Context& context, const AppInspection& inspection, CleanupMode mode,
                                      const std::vector<AppEntity>& apps) {
  return chosenArtifacts(inspection, mode, mapFor(context, apps, std::nullopt));
}

// clang-format off
constexpr std::array kOwnershipMethods{
    method<&mapVolume>("OwnershipService.map", "apps", "options"),
    method<&ownersOf>("OwnershipService.owners", "urls", "apps", "options"),
    method<&leftoversOf>("OwnershipService.leftovers", "apps", "options"),
    method<&compareInspection>("OwnershipService.compare", "inspection", "apps"),
    method<&chooseArtifacts>("OwnershipService.chosenArtifacts", "inspection", "mode", "apps"),
};
// clang-format on

}  // namespace

std::span<const MethodRow> ownershipMethods() { return kOwnershipMethods; }

}  // namespace quarn
