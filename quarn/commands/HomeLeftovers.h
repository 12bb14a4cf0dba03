#pragma once

#include <vector>

#include "QuarnCore/ownership/Leftovers.h"
#include "QuarnSystem/FileSizeCalculator.h"
#include "quarn/commands/CommandContext.h"

namespace quarn {

/// The leftovers in the selected home folder, with --all-users in all of them, and in the folders of the volume.
/// Progress is shown. An app of any of these users counts as installed. Without `sizes` they have no sizes.
std::vector<Leftover> leftoversOfHomes(CommandContext& context, const FileSizeCalculator* sizes);

}  // namespace quarn
