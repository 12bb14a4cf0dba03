#pragma once

#include <string>

#include "quarn/commands/CommandTable.h"

namespace quarn {

/// The help of a command, or of the program if null. Starts with examples. That of a command fits a terminal of 24
/// lines of 80 columns; the manual page also has the row's details.
std::string helpText(const CommandRow* command);
/// The global options and the exit codes.
std::string optionsHelpText();
/// The word that `quarn help` takes for them.
inline constexpr std::string_view kOptionsTopic = "options";
std::string versionText();
/// "quarn top [options] [PATH…]".
std::string synopsis(const CommandRow& command);
/// Completion scripts and the manual page, generated from the table of commands.
std::string bashCompletion();
std::string zshCompletion();
std::string fishCompletion();
std::string manualPage();
/// The pages of docs/commands in Markdown: one command, and the index. Generated from the same table.
std::string commandPage(const CommandRow& command);
std::string commandIndexPage();

}  // namespace quarn
