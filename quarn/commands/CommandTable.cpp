#include "quarn/commands/CommandTable.h"

#include <algorithm>
#include <array>

#include "quarn/commands/Choices.h"
#include "quarn/commands/Commands.h"
#include "quarn/terminal/SizeText.h"
#include "quarn/terminal/Terminal.h"

namespace quarn {
namespace {

constexpr FixedText kUnitsHelp = FixedText("Print sizes as ") + kChoiceList<SizeUnits>;
constexpr FixedText kColorHelp = FixedText("Use colours: ") + kChoiceList<ColorChoice>;

constexpr std::array kGlobalOptions{
    OptionRow{.name = "--volume",
              .argument = "DIR",
              .help = "Inspect the Mac volume mounted at DIR, not the running system",
              .isHostPath = true},
    OptionRow{.name = "--home",
              .argument = "PATH",
              .help = "Home folder of the inspected user, a path on the Mac: /Users/ann"},
    OptionRow{.name = "--resources",
              .argument = "DIR",
              .help = "Read vendors/ and storage-signatures.json from DIR, not the built-in ones",
              .isHostPath = true},
    OptionRow{.name = "--knowledge",
              .argument = "DIR",
              .help = "Add vendors/ and storage-signatures.json of DIR",
              .isRepeatable = true,
              .isHostPath = true},
    OptionRow{.name = "--locale", .argument = "ID", .help = "Locale for sorting and texts: de_DE"},
    OptionRow{.name = "--json", .help = "Print one JSON document", .excludes = "--ndjson"},
    OptionRow{.name = "--ndjson", .help = "Print lists as one JSON value per line"},
    OptionRow{.name = "--iec", .help = "Print sizes in powers of 1024", .excludes = "--bytes"},
    OptionRow{.name = "--bytes", .help = "Print sizes in bytes"},
    OptionRow{.name = "--units",
              .argument = "UNITS",
              .help = kUnitsHelp,
              .choices = kChoices<SizeUnits>,
              .excludes = "--iec|--bytes"},
    OptionRow{.name = "--color", .argument = "WHEN", .help = kColorHelp, .choices = kChoices<ColorChoice>},
    OptionRow{
        .name = "--quiet", .help = "Print no progress and no warnings", .shortName = "-q", .excludes = "--verbose"},
    OptionRow{
        .name = "--verbose", .help = "Print more detail and every item that could not be read", .shortName = "-v"},
    OptionRow{.name = "--log",
              .argument = "FILE",
              .help = "Append diagnostics to FILE, which must not be on the inspected volume",
              .isHostPath = true},
    OptionRow{.name = "--forensic",
              .help = "Read nothing whose access time would change; refuse where that is impossible"},
    OptionRow{.name = "--no-sandbox", .help = "Do not confine the process to the volume and the output file"},
    OptionRow{.name = "--no-config", .help = "Do not read the configuration file"},
    OptionRow{.name = "--help", .help = "Print the help of the command", .shortName = "-h"},
    OptionRow{.name = "--version", .help = "Print the version", .shortName = "-V"},
};

constexpr std::array kExitCodes{
    ExitCodeRow{.code = ExitCode::ok, .meaning = "success"},
    ExitCodeRow{.code = ExitCode::failure, .meaning = "failure"},
    ExitCodeRow{.code = ExitCode::usage, .meaning = "usage error"},
    ExitCodeRow{.code = ExitCode::notFound, .meaning = "not found or ambiguous"},
    ExitCodeRow{.code = ExitCode::incomplete, .meaning = "incomplete (something could not be read)"},
    ExitCodeRow{.code = ExitCode::interrupted, .meaning = "interrupted"},
};

std::vector<CommandRow> allCommands() {
  std::vector<CommandRow> rows;
  rows.reserve(kCommands.size());
  for (const auto command : kCommands) rows.push_back(command());
  return rows;
}

}  // namespace

const CommandRow* commandRow(std::string_view name) {
  for (const CommandRow& row : commandTable()) {
    if (row.name == name) return &row;
  }
  return nullptr;
}

const OptionRow* optionRow(std::string_view name, const CommandRow* command) {
  const auto isMeant = [name](const OptionRow& row) {
    return !name.empty() && (row.name == name || row.shortName == name);
  };
  const auto global = std::find_if(kGlobalOptions.begin(), kGlobalOptions.end(), isMeant);
  if (global != kGlobalOptions.end()) return &*global;
  if (command == nullptr) return nullptr;
  const auto own = std::find_if(command->options.begin(), command->options.end(), isMeant);
  return own != command->options.end() ? &*own : nullptr;
}

std::vector<std::string> choiceWords(std::string_view choices) {
  std::vector<std::string> result;
  while (!choices.empty()) {
    const std::size_t end = std::min(choices.find('|'), choices.size());
    result.emplace_back(choices.substr(0, end));
    choices.remove_prefix(std::min(end + 1, choices.size()));
  }
  return result;
}

std::span<const ExitCodeRow> exitCodeTable() { return kExitCodes; }
std::span<const OptionRow> globalOptions() { return kGlobalOptions; }

std::span<const CommandRow> commandTable() {
  static const std::vector<CommandRow> commands = allCommands();
  return commands;
}

}  // namespace quarn
