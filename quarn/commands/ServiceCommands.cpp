#include <unistd.h>

#include "quarn/commands/CommandContext.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/Help.h"
#include "quarn/rpc/Server.h"

namespace quarn {

ExitCode runRPCCommand(CommandContext& context) {
  if (context.arguments().has("--describe")) {
    context.print(describeInterface() + "\n");
    return ExitCode::ok;
  }
  const int error = runRPC(context.services(), STDIN_FILENO, STDOUT_FILENO);
  if (error != 0) throwFileError(error, "write", "standard output");
  return ExitCode::ok;
}

ExitCode runCompletions(CommandContext& context) {
  const std::string& shell = context.arguments().positionals.front();
  if (shell == "bash") {
    context.print(bashCompletion());
  } else if (shell == "zsh") {
    context.print(zshCompletion());
  } else {
    context.print(fishCompletion());
  }
  return ExitCode::ok;
}

ExitCode runManual(CommandContext& context) {
  context.print(manualPage());
  return ExitCode::ok;
}

}  // namespace quarn
