#pragma once

#include <functional>
#include <string>

#include "QuarnModels/AppInspection.h"
#include "QuarnModels/RemovalPlan.h"
#include "quarn/commands/CommandContext.h"

namespace quarn {

/// Inspects the app that the command names, with everything on unless its options say otherwise; phases are shown as
/// progress.
AppInspection inspectNamedApp(CommandContext& context);
/// Inspects every app in the same way, in the order in which apps are listed; `consume` gets each as it is ready.
void inspectAllApps(CommandContext& context, const std::function<void(const AppInspection&)>& consume);

/// "Lumen Notes 4.2.1  com.lumenworks.notes" and the bundle's path, on two lines.
std::string appHeading(const AppEntity& app, CommandContext& context);

/// How a risk is shown.
Style styleOf(RiskLevel risk);

/// The cleanup modes that take an artifact by themselves.
std::vector<CleanupMode> selectingModes(const Artifact& artifact);

}  // namespace quarn
