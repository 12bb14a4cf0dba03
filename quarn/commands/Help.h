#pragma once

#include <string>

#include "quarn/commands/CommandTable.h"

namespace quarn {

/// What a command (or, for null, the program) does and takes; examples first.
std::string helpText(const CommandRow* command);
std::string versionText();
/// "quarn top [options] [PATH…]".
std::string synopsis(const CommandRow& command);
/// Completion scripts and the manual page, made from the table of commands.
std::string bashCompletion();
std::string zshCompletion();
std::string fishCompletion();
std::string manualPage();
/// The pages of docs/commands: a command's, and the one that lists them all; Markdown, made from the same table.
std::string commandPage(const CommandRow& command);
std::string commandIndexPage();

}  // namespace quarn
