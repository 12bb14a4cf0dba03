#pragma once

#include "quarn/commands/ExitCode.h"

namespace quarn {

class CommandContext;

// One function per command. The table of commands describes their arguments.
ExitCode runApps(CommandContext& context);
ExitCode runInspect(CommandContext& context);
ExitCode runPlan(CommandContext& context);
ExitCode runOwner(CommandContext& context);
ExitCode runLeftovers(CommandContext& context);
ExitCode runStorage(CommandContext& context);
ExitCode runTop(CommandContext& context);
ExitCode runCloud(CommandContext& context);
ExitCode runReport(CommandContext& context);
ExitCode runVendors(CommandContext& context);
ExitCode runJobs(CommandContext& context);
ExitCode runReceipts(CommandContext& context);
ExitCode runKexts(CommandContext& context);
ExitCode runRPCCommand(CommandContext& context);
ExitCode runSample(CommandContext& context);
ExitCode runCompletions(CommandContext& context);
ExitCode runManual(CommandContext& context);
ExitCode runHelp(CommandContext& context);

}  // namespace quarn
