#pragma once

#include <functional>
#include <string>

#include "QuarnModels/AppInspection.h"
#include "QuarnModels/RemovalPlan.h"
#include "quarn/commands/CommandContext.h"

namespace quarn {

/// Inspects the app that the command names. All searches are on unless an option turns them off. Shows the phases as
/// progress.
AppInspection inspectNamedApp(CommandContext& context);
/// Inspects every app in the order of the list and passes each inspection to `consume`.
void inspectAllApps(CommandContext& context, const std::function<void(const AppInspection&)>& consume);

/// "Lumen Notes 4.2.1  com.lumenworks.notes", then the bundle's path on a second line.
std::string appHeading(const AppEntity& app, CommandContext& context);

/// The colour of a risk level.
Style styleOf(RiskLevel risk);

/// The cleanup modes that select an artifact by default.
std::vector<CleanupMode> selectingModes(const Artifact& artifact);

}  // namespace quarn
