#include "quarn/commands/OwnershipMaps.h"

namespace quarn {

OwnershipMap mapOfVolume(CommandContext& context) {
  const std::vector<AppEntity> apps = context.services().appsService().discoverApps();
  OwnershipMap map = context.services().ownership().map(
      apps, OwnershipService::kEverything,
      [&](std::string_view place) { context.progress("looking at " + std::string(place)); }, context.cancellation());
  context.endProgress();
  return map;
}

}  // namespace quarn
