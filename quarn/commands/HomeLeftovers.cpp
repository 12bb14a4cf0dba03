#include "quarn/commands/HomeLeftovers.h"

#include <string>
#include <unordered_set>
#include <utility>

#include "QuarnCore/ownership/OwnershipService.h"
#include "QuarnSystem/AppDiscoveryClient.h"
#include "quarn/commands/Homes.h"

namespace quarn {
namespace {

// An app in the home folder of one user may have left files in /Library, where all users find them.
std::vector<AppEntity> appsOf(CommandContext& context, const std::vector<FileURL>& homes) {
  const Services& services = context.services();
  std::vector<AppEntity> apps = services.appsService().discoverApps();
  std::unordered_set<std::string> known;
  for (const AppEntity& app : apps) known.insert(app.bundleURL.path());
  for (const FileURL& home : homes) {
    if (context.cancellation().isCancelled()) break;
    const AppDiscoveryClient client = AppDiscoveryClient::live(services.files.withHome(home));
    for (AppEntity& app : client.discoverApplications()) {
      if (known.insert(app.bundleURL.path()).second) apps.push_back(std::move(app));
    }
  }
  return apps;
}

OwnershipMap mapOfHome(CommandContext& context, const std::vector<AppEntity>& apps, const FileURL& home) {
  const Services& services = context.services();
  const FileManager files = services.files.withHome(home);
  const OwnershipService service(services.vendorProfiles(), services.entitlementsReader, LaunchdScanner::live(files),
                                 services.receiptScanner, files);
  return service.map(
      apps, OwnershipService::kEverything,
      [&](std::string_view place) { context.progress("looking at " + std::string(place)); }, context.cancellation());
}

}  // namespace

std::vector<Leftover> leftoversOfHomes(CommandContext& context, const FileSizeCalculator* sizes) {
  const Services& services = context.services();
  const std::vector<FileURL> homes = homesOf(context);
  const std::vector<AppEntity> apps = appsOf(context, homes);
  std::vector<Leftover> all;
  for (std::size_t i = 0; i < homes.size() && !context.cancellation().isCancelled(); ++i) {
    const LeftoverOptions options{.computeSizes = sizes != nullptr, .includeSystem = i == 0};
    addLeftovers(all, findLeftovers(mapOfHome(context, apps, homes[i]), options, services.files.withHome(homes[i]),
                                    sizes != nullptr ? *sizes : services.fileSizeCalculator, context.cancellation()));
  }
  context.endProgress();
  return all;
}

}  // namespace quarn
