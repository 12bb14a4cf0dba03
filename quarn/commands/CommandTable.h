#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/commands/CommandRow.h"

namespace quarn {

/// An exit code and its description.
struct ExitCodeRow {
  ExitCode code{};
  std::string_view meaning{};
};

/// Options of all commands; they may precede or follow the command.
std::span<const OptionRow> globalOptions();
/// Find a row by name; null if there is none. `optionRow` also accepts short names, and searches the global options,
/// then those of `command`, which may be null.
const CommandRow* commandRow(std::string_view name);
const OptionRow* optionRow(std::string_view name, const CommandRow* command);
/// Splits "a|b|c".
std::vector<std::string> choiceWords(std::string_view choices);
std::span<const ExitCodeRow> exitCodeTable();
/// All commands, in the order of the help. The span is valid for the lifetime of the process.
std::span<const CommandRow> commandTable();

}  // namespace quarn
