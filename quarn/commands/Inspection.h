#pragma once

#include <functional>
#include <string>

#include "QuarnModels/AppInspection.h"
#include "QuarnModels/RemovalPlan.h"
#include "quarn/commands/CommandContext.h"
#include "quarn/commands/Finds.h"

namespace quarn {

/// Inspects the app that the command names. All searches are on unless an option turns them off. Shows the phases as
/// progress. Sizes with the calculator of `sizes`, if it is not null.
AppInspection inspectNamedApp(CommandContext& context, const FindSizes* sizes = nullptr);
/// Inspects every app in the order of the list and passes each inspection to `consume`.
void inspectAllApps(CommandContext& context, const FindSizes& sizes,
                    const std::function<void(const AppInspection&)>& consume);

/// "Lumen Notes 4.2.1  com.lumenworks.notes", then the bundle's path on a second line.
std::string appHeading(const AppEntity& app, CommandContext& context);

/// The colour of a risk level.
Style styleOf(RiskLevel risk);

/// The cleanup modes that select an artifact by default.
std::vector<CleanupMode> selectingModes(const Artifact& artifact);

}  // namespace quarn
