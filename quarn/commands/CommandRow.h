#pragma once

#include <span>
#include <string_view>

#include "quarn/commands/ExitCode.h"

namespace quarn {

class CommandContext;

/// One option. The parser, the help, the completions and the manual page read these rows.
struct OptionRow {
  std::string_view name{};      ///< "--limit"
  std::string_view argument{};  ///< "N"; empty for a switch
  std::string_view help{};      ///< one sentence without a period
  std::string_view choices{};   ///< "a|b|c": the only accepted values; empty for any
  bool isRepeatable = false;
  std::string_view shortName = "";  ///< "-o", or empty
  bool isHostPath = false;          ///< the argument is a file or folder on this machine
  bool isNumber = false;            ///< the argument is an integer of 0 or more
  std::string_view excludes = "";   ///< "--a|PATH": options and positionals that it cannot be combined with
  bool needsVolume = false;         ///< with it, a command that works without a Mac's volume needs one
};

/// A positional argument of a command.
struct PositionalRow {
  std::string_view name{};  ///< "APP"
  std::string_view help{};
  bool isRequired = false;
  bool isRepeatable = false;
  std::string_view choices = "";  ///< "a|b|c": the only accepted values; empty for any
  bool isHostPath = false;        ///< a file or folder on this machine
  bool isCommand = false;         ///< the name of a command
};

struct ExampleRow {
  std::string_view line{};
  std::string_view meaning{};
};

/// A command. Its file defines the row below the function that it runs.
struct CommandRow {
  std::string_view name{};
  std::string_view summary{};      ///< one sentence without a period
  std::string_view description{};  ///< paragraphs; may be empty
  std::string_view details{};      ///< further paragraphs that the help leaves to the manual page; may be empty
  std::span<const PositionalRow> positionals{};
  std::span<const OptionRow> options{};
  std::span<const ExampleRow> examples{};
  ExitCode (*run)(CommandContext& context);
  bool hasList = false;       ///< the command supports --ndjson
  bool needsVolume = true;    ///< the command reports on a Mac's volume; false: it also works without one
  bool usesScreen = false;    ///< the command takes over the terminal
  bool isInEnglish = false;   ///< whatever the locale: the texts go into a page that is in English
  bool readsSettings = true;  ///< the environment and the configuration file apply
};

}  // namespace quarn
