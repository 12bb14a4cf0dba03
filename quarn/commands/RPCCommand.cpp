#include <unistd.h>

#include "quarn/commands/CommandContext.h"
#include "quarn/commands/Commands.h"
#include "quarn/rpc/Server.h"

namespace quarn {
namespace {

ExitCode serveRPC(CommandContext& context) {
  if (context.arguments().has("--describe")) {
    context.print(describeInterface() + "\n");
    return ExitCode::ok;
  }
  const int error = runRPC(context.services(), STDIN_FILENO, STDOUT_FILENO);
  if (error != 0) throwFileError(error, "write", "standard output");
  return ExitCode::ok;
}

constexpr std::array kRPCOptions{
    OptionRow{.name = "--scans",
              .argument = "DIR",
              .help = "Let ScanStore.write and ScanStore.open use files in DIR; the sandbox refuses others",
              .isHostPath = true},
    OptionRow{.name = "--describe", .help = "Print the interface as JSON and exit"},
};
constexpr std::array kRPCExamples{
    ExampleRow{.line = "quarn --volume /mnt/mac rpc", .meaning = "serve requests on standard input"},
    ExampleRow{.line = "quarn rpc --describe", .meaning = "the interface as JSON"},
};
constexpr CommandRow kRPCRow{.name = "rpc",
                             .summary = "Serve every operation over JSON-RPC on standard input and output",
                             .options = kRPCOptions,
                             .examples = kRPCExamples,
                             .run = serveRPC,
                             .needsVolume = false};

}  // namespace

const CommandRow& rpcCommand() { return kRPCRow; }

}  // namespace quarn
