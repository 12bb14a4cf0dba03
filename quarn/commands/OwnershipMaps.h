#pragma once

#include <vector>

#include "QuarnCore/ownership/OwnershipMap.h"
#include "QuarnCore/ownership/UsersMap.h"
#include "quarn/commands/CommandContext.h"

namespace quarn {

/// Whose everything on the volume is, with every installed app; places are shown as progress.
OwnershipMap mapOfVolume(CommandContext& context);
/// The same for the selected home folder, and with --all-users for all of them: an app of any user is installed.
UsersMap mapOfUsers(CommandContext& context);

}  // namespace quarn
