#pragma once

#include <string>

#include "quarn/commands/CommandTable.h"

namespace quarn {

/// What a command (or, for null, the program) does and takes; examples first.
std::string helpText(const CommandRow* command);
std::string versionText();
/// Completion scripts and the manual page, made from the table of commands.
std::string bashCompletion();
std::string zshCompletion();
std::string fishCompletion();
std::string manualPage();

}  // namespace quarn
