#pragma once

#include <vector>

#include "QuarnCore/ownership/OwnershipMap.h"
#include "quarn/commands/CommandContext.h"

namespace quarn {

/// Whose everything on the volume is, with every installed app; places are shown as progress.
OwnershipMap mapOfVolume(CommandContext& context);

/// The owners of an entry for people: "Lumen Notes", "A, B and 3 more", "macOS", "Old Editor (not installed)", "–".
std::string ownerText(const Ownership& ownership);

}  // namespace quarn
