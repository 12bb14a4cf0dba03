#pragma once

#include <string>
#include <vector>

namespace quarn {

/// Runs the command line `words`, without the program's name, and returns the process's exit status. This is the only
/// place that prints errors: on standard error, and with --json also as a document on standard output.
int runCommandLine(const std::vector<std::string>& words);

}  // namespace quarn
