#pragma once

#include <string>
#include <vector>

namespace quarn {

/// Runs the command that the words behind the program's name ask for; the process's exit status. The only place that
/// turns errors into messages: for people on standard error, with --json as a document on standard output.
int runCommandLine(const std::vector<std::string>& words);

}  // namespace quarn
