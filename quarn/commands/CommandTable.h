#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/commands/ExitCode.h"

namespace quarn {

class CommandContext;

/// An option as the parser, the help, the completions and the manual page know it.
struct OptionRow {
  std::string_view name;      ///< "--limit"
  std::string_view argument;  ///< "N"; empty for a switch
  std::string_view help;      ///< one sentence without a full stop
  std::string_view choices;   ///< "a|b|c" when only these are taken; else empty
  bool isRepeatable = false;
  std::string_view shortName = "";  ///< "-o"; empty for none
  bool isHostPath = false;          ///< the argument is a file or folder of this machine
  bool isNumber = false;            ///< the argument is a whole number, 0 or more
  std::string_view excludes = "";   ///< "--a|PATH": options and words beside which it would mean nothing
};

/// What a command works on.
struct PositionalRow {
  std::string_view name;  ///< "APP"
  std::string_view help;
  bool isRequired = false;
  bool isRepeatable = false;
  std::string_view choices = "";  ///< "a|b|c" when only these are taken; else empty
  bool isHostPath = false;        ///< a file or folder of this machine
};

struct ExampleRow {
  std::string_view line;
  std::string_view meaning;
};

/// How a command may end, for people.
struct ExitCodeRow {
  ExitCode code;
  std::string_view meaning;
};

struct CommandRow {
  std::string_view name;
  std::string_view summary;      ///< one sentence without a full stop
  std::string_view description;  ///< paragraphs; may be empty
  std::span<const PositionalRow> positionals;
  std::span<const OptionRow> options;
  std::span<const ExampleRow> examples;
  ExitCode (*run)(CommandContext& context);
  bool hasList = false;  ///< whether --ndjson has something to give line by line
};

/// Options that every command takes, before or after its name.
std::span<const OptionRow> globalOptions();
/// The row of a command or of an option (a global one, or the command's, which may be null), by its name, an option's
/// short one too; null for none.
const CommandRow* commandRow(std::string_view name);
const OptionRow* optionRow(std::string_view name, const CommandRow* command);
/// The words of "a|b|c".
std::vector<std::string> choiceWords(std::string_view choices);
/// Every way to end.
std::span<const ExitCodeRow> exitCodeTable();
/// Every command, in the order in which people are shown them.
std::span<const CommandRow> commandTable();

}  // namespace quarn
