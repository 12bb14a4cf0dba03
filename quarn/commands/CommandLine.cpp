#include "quarn/commands/CommandLine.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "QuarnPlatform/JSONLibrary.h"
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
  std::string hint = "";  ///< one more line for people; may be empty
};

std::string helpHint(const CommandRow* command) {
  return "Try: quarn " + (command == nullptr ? "" : std::string(command->name) + " ") + "--help";
}

int tell(const Failure& failure, bool asJSON, const UnreadSummary& unread) {
  if (asJSON) {
    nlohmann::ordered_json error{{"message", failure.problem}, {"exitCode", static_cast<int>(failure.code)}};
    if (failure.file != nullptr) {
      error["path"] = failure.file->path();
      error["errno"] = failure.file->error();
      error["name"] = errnoName(failure.file->error());
    }
    nlohmann::ordered_json document{{"schemaVersion", kSchemaVersion}, {"error", std::move(error)}};
    if (unread.count() > 0) document["unreadable"] = toJSON(unread);
    std::fputs(documentText(document, 2).c_str(), stdout);
    std::fflush(stdout);
  }
  std::fprintf(stderr, "quarn: %s\n", failure.problem.c_str());
  if (!failure.hint.empty()) std::fprintf(stderr, "%s\n", failure.hint.c_str());
  return static_cast<int>(failure.code);
}

ExitCode run(const Arguments& arguments, UnreadSummary& unread) {
  if (arguments.has("--version")) {
    std::fputs(versionText().c_str(), stdout);
    return ExitCode::ok;
  }
  if (arguments.command == nullptr || arguments.has("--help")) {
    std::fputs(helpText(arguments.command).c_str(), stdout);
    return arguments.command != nullptr || arguments.has("--help") ? ExitCode::ok : ExitCode::usage;
  }
  CommandContext context(arguments);
  try {
    return arguments.command->run(context);
  } catch (const std::exception&) {
    // What was not found may lie where nothing could be read.
    unread = context.unread();
    context.tellUnread();
    throw;
  }
}

// What is buffered may meet a full disk or a reader that is gone only now.
int flushed(ExitCode code) {
  if (std::fflush(stdout) == 0) return static_cast<int>(code);
  std::fprintf(stderr, "quarn: write standard output: %s\n", std::strerror(errno));
  return static_cast<int>(code == ExitCode::ok ? ExitCode::failure : code);
}

}  // namespace

int runCommandLine(const std::vector<std::string>& words) {
  const bool asJSON = std::find(words.begin(), words.end(), "--json") != words.end();
  Arguments arguments;
  UnreadSummary unread;
  try {
    parseArguments(words, arguments);
    return flushed(run(arguments, unread));
  } catch (const UsageError& error) {
    return tell({ExitCode::usage, escapedForTerminal(error.what()), nullptr, helpHint(arguments.command)}, asJSON,
                unread);
  } catch (const CommandError& error) {
    return tell({error.code(), error.what()}, asJSON, unread);
  } catch (const FileError& error) {
    return tell({ExitCode::failure, escapedForTerminal(error.what()), &error}, asJSON, unread);
  }
}

}  // namespace quarn
