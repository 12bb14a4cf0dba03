#include "quarn/commands/CommandLine.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>

#include <nlohmann/json.hpp>

#include "quarn/commands/CommandContext.h"
#include "quarn/commands/Help.h"
#include "quarn/output/TerminalText.h"

namespace quarn {
namespace {

/// An error as it is told: for programs with its kind, for people as one line.
struct Failure {
  ExitCode code;
  std::string problem;
  const FileError* file = nullptr;
};

int tell(const Failure& failure, bool asJSON) {
  if (asJSON) {
    nlohmann::ordered_json error{{"message", failure.problem}, {"exitCode", static_cast<int>(failure.code)}};
    if (failure.file != nullptr) {
      error["path"] = failure.file->path();
      error["errno"] = failure.file->error();
      error["name"] = errnoName(failure.file->error());
    }
    const nlohmann::ordered_json document{{"schemaVersion", kSchemaVersion}, {"error", std::move(error)}};
    std::puts(document.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace).c_str());
  }
  std::fprintf(stderr, "quarn: %s\n", failure.problem.c_str());
  return static_cast<int>(failure.code);
}

ExitCode run(const Arguments& arguments) {
  if (arguments.has("--version")) {
    std::fputs(versionText().c_str(), stdout);
    return ExitCode::ok;
  }
  if (arguments.command == nullptr || arguments.has("--help")) {
    std::fputs(helpText(arguments.command).c_str(), stdout);
    return arguments.command != nullptr || arguments.has("--help") ? ExitCode::ok : ExitCode::usage;
  }
  CommandContext context(arguments);
  return arguments.command->run(context);
}

// What is buffered may meet a full disk or a reader that is gone only now.
int flushed(ExitCode code) {
  const bool isWritten = std::fflush(stdout) == 0 && std::ferror(stdout) == 0;
  return static_cast<int>(isWritten || code != ExitCode::ok ? code : ExitCode::failure);
}

}  // namespace

int runCommandLine(const std::vector<std::string>& words) {
  const bool asJSON = std::find(words.begin(), words.end(), "--json") != words.end();
  try {
    return flushed(run(parseArguments(words)));
  } catch (const UsageError& error) {
    return tell({ExitCode::usage, escapedForTerminal(error.what()) + "\nTry: quarn --help"}, asJSON);
  } catch (const CommandError& error) {
    return tell({error.code(), error.what()}, asJSON);
  } catch (const FileError& error) {
    return tell({ExitCode::failure, escapedForTerminal(error.what()), &error}, asJSON);
  }
}

}  // namespace quarn
