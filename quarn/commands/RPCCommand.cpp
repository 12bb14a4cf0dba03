#include <algorithm>

#include <unistd.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/commands/CommandContext.h"
#include "quarn/commands/Commands.h"
#include "quarn/rpc/Server.h"
#include "quarn/rpc/TypeModel.h"

namespace quarn {
namespace {

constexpr std::size_t kMostConcurrent = 64;

std::size_t concurrency(const Arguments& arguments) {
  if (arguments.has("--serial")) return 1;
  const long wanted = arguments.number("--max-concurrent", static_cast<long>(usualConcurrency()));
  return std::clamp<std::size_t>(static_cast<std::size_t>(wanted), 1, kMostConcurrent);
}

ExitCode serveRPC(CommandContext& context) {
  if (context.arguments().has("--describe")) {
    context.print(documentText(openRPCDocument(), 2));
    return ExitCode::ok;
  }
  if (const std::optional<std::string> language = context.arguments().text("--types")) {
    context.print(*language == "python" ? pythonTypes(openRPCDocument()) : typeScriptTypes(openRPCDocument()));
    return ExitCode::ok;
  }
  const int error = runRPC(context.services(), STDIN_FILENO, STDOUT_FILENO, concurrency(context.arguments()));
  if (error != 0) throwFileError(error, "write", "standard output");
  return ExitCode::ok;
}

constexpr std::array kRPCOptions{
    OptionRow{.name = "--describe", .help = "Print the interface as an OpenRPC document and exit"},
    OptionRow{.name = "--types",
              .argument = "LANGUAGE",
              .help = "Print the types of the interface for a language and exit",
              .choices = "typescript|python"},
    OptionRow{.name = "--max-concurrent",
              .argument = "N",
              .help = "Run at most N requests at the same time (default: processors, at least 2)",
              .isNumber = true},
    OptionRow{.name = "--serial",
              .help = "Run one request at a time, and answer in the order of the requests",
              .excludes = "--max-concurrent"},
};
constexpr std::array kRPCExamples{
    ExampleRow{.line = "quarn --volume /mnt/mac rpc", .meaning = "serve requests on standard input"},
    ExampleRow{.line = "quarn rpc --types typescript", .meaning = "the types for a client in TypeScript"},
    ExampleRow{.line = "quarn rpc --describe", .meaning = "the interface as an OpenRPC document"},
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
