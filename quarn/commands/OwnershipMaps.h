#pragma once

#include <vector>

#include "QuarnCore/ownership/OwnershipMap.h"
#include "quarn/commands/CommandContext.h"

namespace quarn {

/// Whose everything on the volume is, with every installed app; places are shown as progress.
OwnershipMap mapOfVolume(CommandContext& context);

}  // namespace quarn
