#include <fmt/format.h>

#include "quarn/commands/Help.h"

namespace quarn {
namespace {

constexpr std::string_view kGenerated = "<!-- Generated from the table of commands by `make pages`; do not edit. -->\n";

// Escapes "|", which would end the cell of a table.
std::string cell(std::string_view text) {
  std::string result;
  for (const char character : text) result += character == '|' ? std::string("\\|") : std::string(1, character);
  return result;
}

std::string optionNames(const OptionRow& option) {
  const std::string argument = option.argument.empty() ? "" : " " + std::string(option.argument);
  std::string names = option.shortName.empty() ? "" : fmt::format("`{}{}`, ", option.shortName, argument);
  return names + fmt::format("`{}{}`", option.name, argument);
}

std::string optionTable(std::span<const OptionRow> options) {
  std::string text = "| option | meaning |\n| --- | --- |\n";
  for (const OptionRow& option : options) {
    text += fmt::format("| {} | {}{} |\n", optionNames(option), cell(option.help),
                        option.isRepeatable ? "; may be repeated" : "");
  }
  return text;
}

std::string argumentTable(std::span<const PositionalRow> positionals) {
  std::string text = "| argument | meaning |\n| --- | --- |\n";
  for (const PositionalRow& row : positionals) {
    text +=
        fmt::format("| `{}` | {}{} |\n", cell(row.name), cell(row.help), row.isRepeatable ? "; may be repeated" : "");
  }
  return text;
}

std::string exampleBlock(std::span<const ExampleRow> examples) {
  std::string text;
  for (const ExampleRow& row : examples) text += fmt::format("\n# {}\n{}\n", row.meaning, row.line);
  return "```sh" + text + "```\n";
}

}  // namespace

std::string commandPage(const CommandRow& command) {
  std::string text = std::string(kGenerated) + fmt::format("# quarn {}\n\n{}.\n", command.name, command.summary);
  if (!command.description.empty()) text += fmt::format("\n{}\n", command.description);
  if (!command.details.empty()) text += fmt::format("\n{}\n", command.details);
  text += "\n" + exampleBlock(command.examples);
  text += fmt::format("\n## Usage\n\n`{}`\n", synopsis(command));
  if (!command.positionals.empty()) text += "\n" + argumentTable(command.positionals);
  if (!command.options.empty()) text += "\n" + optionTable(command.options);
  return text + "\n[Global options](README.md#global-options), [exit codes](README.md#exit-codes).\n";
}

std::string commandIndexPage() {
  std::string text = std::string(kGenerated) + "# Commands\n\n| command | description |\n| --- | --- |\n";
  for (const CommandRow& command : commandTable()) {
    text += fmt::format("| [{0}]({0}.md) | {1} |\n", command.name, command.summary);
  }
  text +=
      "\nThe examples are written for a Mac. On other systems, pass the volume and the user first, as here for the\n"
      "sample volume:\n\n```sh\nquarn sample mac\nquarn --volume mac --home /Users/ann storage\n```\n";
  text +=
      "\n## Global options\n\nGlobal options may precede or follow the command. The options of a command must follow "
      "it.\n\n" +
      optionTable(globalOptions());
  text += "\n## Exit codes\n\n| code | meaning |\n| --- | --- |\n";
  for (const ExitCodeRow& row : exitCodeTable()) {
    text += fmt::format("| {} | {} |\n", static_cast<int>(row.code), row.meaning);
  }
  return text;
}

}  // namespace quarn
