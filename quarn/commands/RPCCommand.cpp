#include <algorithm>
#include <cerrno>
#include <filesystem>

#include <unistd.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/commands/CommandContext.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/HostOutput.h"
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

// 0 for a folder.
int problemOfFolder(const std::string& folder) {
  std::error_code error;
  const auto status = std::filesystem::status(folder, error);
  if (std::filesystem::is_directory(status)) return 0;
  return error ? error.value() : ENOTDIR;
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
  const Services& services = context.services();
  if (const std::optional<std::string> folder = context.arguments().text("--scans")) {
    refuseOnVolume("--scans", *folder, services.files.hostFolder());
    if (const int problem = problemOfFolder(*folder)) throwFileError(problem, "open", *folder);
  }
  const int error = runRPC(services, STDIN_FILENO, STDOUT_FILENO, concurrency(context.arguments()));
  if (error != 0) throwFileError(error, "write", "standard output");
  return ExitCode::ok;
}

constexpr std::array kRPCOptions{
    OptionRow{.name = "--scans",
              .argument = "DIR",
              .help = "Folder of the scans that ScanStore.write, .open and .diff may use; the sandbox refuses others",
              .isHostPath = true},
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
