#include "quarn/commands/Help.h"

#include <fmt/format.h>

#include "quarn/services/Version.h"

namespace quarn {
namespace {

constexpr std::size_t kHelpWidth = 90;

std::string exitCodes() {
  std::string text = "Exit codes:";
  std::size_t width = text.size();
  for (const ExitCodeRow& row : exitCodeTable()) {
    const bool isLast = &row == &exitCodeTable().back();
    const std::string words = fmt::format(" {} {}{}", static_cast<int>(row.code), row.meaning, isLast ? "." : ",");
    if (width + words.size() > kHelpWidth) {
      text += "\n ";
      width = 1;
    }
    text += words;
    width += words.size();
  }
  return text + "\n";
}

std::string optionLines(std::span<const OptionRow> options) {
  std::string text;
  for (const OptionRow& option : options) {
    const std::string names =
        (option.shortName.empty() ? "" : std::string(option.shortName) + ", ") + std::string(option.name);
    const std::string left = fmt::format("{} {}", names, option.argument);
    text += fmt::format("  {:<22}{}\n", left, option.help);
  }
  return text;
}

std::string programHelp() {
  std::string text =
      "Finds what an application left on a Mac's disk and shows where the space goes. Deletes nothing.\n\n";
  text += "  quarn apps                     list the applications\n";
  text += "  quarn inspect \"Lumen Notes\"   find everything that belongs to an app\n";
  text += "  quarn storage                  show where the space goes\n\nCommands:\n";
  for (const CommandRow& command : commandTable()) text += fmt::format("  {:<13}{}\n", command.name, command.summary);
  text += "\nGlobal options:\n" + optionLines(globalOptions());
  return text + "\n" + exitCodes();
}

std::string commandHelp(const CommandRow& command) {
  std::string text = fmt::format("{}.\n\n", command.summary);
  for (const ExampleRow& example : command.examples) {
    text += fmt::format("  {}\n      {}\n", example.line, example.meaning);
  }
  if (!command.examples.empty()) text += "\n";
  text += "Usage: " + synopsis(command) + "\n";
  for (const PositionalRow& positional : command.positionals) {
    text += fmt::format("  {:<20}{}\n", positional.name, positional.help);
  }
  if (!command.description.empty()) text += fmt::format("\n{}\n", command.description);
  if (!command.options.empty()) text += "\nOptions:\n" + optionLines(command.options);
  return text + "\nGlobal options:\n" + optionLines(globalOptions()) + "\n" + exitCodes();
}

}  // namespace

std::string synopsis(const CommandRow& command) {
  std::string text = fmt::format("quarn {}", command.name);
  if (!command.options.empty()) text += " [options]";
  for (const PositionalRow& positional : command.positionals) {
    const std::string name = std::string(positional.name) + (positional.isRepeatable ? "…" : "");
    text += positional.isRequired ? " " + name : " [" + name + "]";
  }
  return text;
}

std::string helpText(const CommandRow* command) { return command == nullptr ? programHelp() : commandHelp(*command); }

std::string versionText() { return fmt::format("quarn {}\n", kVersion); }

}  // namespace quarn
