#include "quarn/commands/OwnershipMaps.h"

#include "quarn/commands/Homes.h"

namespace quarn {
namespace {

OwnershipService::Progress placeProgress(CommandContext& context) {
  return [&context](std::string_view place) { context.progress("looking at " + std::string(place)); };
}

}  // namespace

OwnershipMap mapOfVolume(CommandContext& context) {
  const std::vector<AppEntity> apps = context.services().appsService().discoverApps();
  OwnershipMap map = context.services().ownership().map(apps, OwnershipService::kEverything, placeProgress(context),
                                                        context.cancellation());
  context.endProgress();
  return map;
}

UsersMap mapOfUsers(CommandContext& context) {
  const Services& services = context.services();
  const std::vector<FileURL> homes = homesOf(context);
  UsersMap map = services.ownership(homes).mapOfUsers(HomeFolders(homes, services.files), services.appsOf(homes),
                                                      OwnershipService::kEverything, placeProgress(context),
                                                      context.cancellation());
  context.endProgress();
  return map;
}

}  // namespace quarn
