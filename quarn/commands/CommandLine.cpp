#include "quarn/commands/CommandLine.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

#include "QuarnPlatform/files/ReadReport.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/commands/AppSelection.h"
#include "quarn/commands/CommandContext.h"
#include "quarn/commands/Help.h"
#include "quarn/commands/Settings.h"
#include "quarn/services/Version.h"
#include "quarn/terminal/TerminalText.h"

namespace quarn {
namespace {

using Members = nlohmann::ordered_json;

/// An error, ready for output.
struct Failure {
  ExitCode code;
  std::string problem;
  Members details = Members::object();  ///< more members of the JSON document
  std::string hint = "";                ///< second line on standard error; may be empty
};

std::string helpHint(const CommandRow* command) {
  return "Try: quarn " + (command == nullptr ? "" : std::string(command->name) + " ") + "--help";
}

Members details(const FileError& error) {
  return {{"path", error.path()}, {"errno", error.error()}, {"name", errnoName(error.error())}};
}

Members details(const SizeOverflow& error) {
  return {{"path", error.folder()}, {"errno", EOVERFLOW}, {"name", "EOVERFLOW"}};
}

Members details(const AmbiguousApp& error) {
  Members candidates = Members::array();
  for (const AppEntity& app : error.candidates()) {
    candidates.push_back({{"name", app.name},
                          {"bundleIdentifier", app.bundleIdentifier ? Members(*app.bundleIdentifier) : Members()},
                          {"path", app.bundleURL.path()}});
  }
  return {{"candidates", std::move(candidates)}};
}

void printJSON(const Members& members, int indent) {
  std::fputs(documentText(versioned(members), indent).c_str(), stdout);
}

// "list /Users/bob: Permission denied (run as root)".
std::string problemOf(const FileError& error) {
  const std::string_view remedy = remedyFor(unreadableCause(error.error()));
  return escapedForTerminal(error.what()) + (remedy.empty() ? "" : " (" + std::string(remedy) + ")");
}

int tell(const Failure& failure, bool asJSON, const UnreadSummary& unread) {
  if (asJSON) {
    Members error{{"message", failure.problem}, {"exitCode", static_cast<int>(failure.code)}};
    error.update(failure.details);
    Members members{{"error", std::move(error)}};
    if (unread.count() > 0) members["unreadable"] = toJSON(unread);
    printJSON(members, 2);
    std::fflush(stdout);
  }
  std::fprintf(stderr, "quarn: %s\n", failure.problem.c_str());
  if (!failure.hint.empty()) std::fprintf(stderr, "%s\n", failure.hint.c_str());
  return static_cast<int>(failure.code);
}

ExitCode showVersion(const Arguments& arguments) {
  if (arguments.has("--json") || arguments.has("--ndjson")) {
    printJSON({{"version", kVersion}}, arguments.has("--json") ? 2 : -1);
  } else {
    std::fputs(versionText().c_str(), stdout);
  }
  return ExitCode::ok;
}

ExitCode showHelp(const Arguments& arguments) {
  const bool isAskedFor = arguments.has("--help");
  const bool isForPrograms = arguments.has("--json") || arguments.has("--ndjson");
  if (!isAskedFor && isForPrograms) throw UsageError("no command given");
  std::fputs(helpText(arguments.command).c_str(), stdout);
  return isAskedFor ? ExitCode::ok : ExitCode::usage;
}

ExitCode run(Arguments& arguments, UnreadSummary& unread) {
  if (arguments.has("--version")) return showVersion(arguments);
  if (arguments.command == nullptr || arguments.has("--help")) return showHelp(arguments);
  if (arguments.command->readsSettings) addSettings(arguments);
  CommandContext context(arguments);
  try {
    return arguments.command->run(context);
  } catch (const std::exception&) {
    // The missing item may be in a folder that could not be read.
    unread = context.unread();
    context.tellUnread();
    // An app that was not found because the search was stopped is not missing.
    if (context.isInterrupted()) throw CommandError(ExitCode::interrupted, "interrupted before there was an answer");
    throw;
  }
}

// Buffered output can fail as late as here: the disk is full, or the reader has closed the pipe.
int flushed(ExitCode code) {
  if (std::fflush(stdout) == 0) return static_cast<int>(code);
  std::fprintf(stderr, "quarn: write standard output: %s\n", std::strerror(errno));
  return static_cast<int>(code == ExitCode::ok ? ExitCode::failure : code);
}

}  // namespace

int runCommandLine(const std::vector<std::string>& words) {
  const auto end = std::find(words.begin(), words.end(), "--");
  const bool asJSON = std::find(words.begin(), end, "--json") != end;
  Arguments arguments;
  UnreadSummary unread;
  try {
    parseArguments(words, arguments);
    return flushed(run(arguments, unread));
  } catch (const UsageError& error) {
    return tell(
        {.code = ExitCode::usage, .problem = escapedForTerminal(error.what()), .hint = helpHint(arguments.command)},
        asJSON, unread);
  } catch (const AmbiguousApp& error) {
    return tell({error.code(), error.what(), details(error)}, asJSON, unread);
  } catch (const CommandError& error) {
    return tell({error.code(), error.what()}, asJSON, unread);
  } catch (const FileError& error) {
    const ExitCode code = error.error() == ENOENT ? ExitCode::notFound : ExitCode::failure;
    return tell({code, problemOf(error), details(error)}, asJSON, unread);
  } catch (const SizeOverflow& error) {
    return tell({ExitCode::failure, escapedForTerminal(error.what()), details(error)}, asJSON, unread);
  } catch (const std::bad_alloc&) {
    return tell({ExitCode::failure, "not enough memory"}, asJSON, {});
  } catch (const std::exception& error) {
    return tell({ExitCode::failure, "internal error: " + escapedForTerminal(error.what())}, asJSON, {});
  }
}

}  // namespace quarn
