#include "quarn/commands/Help.h"

#include <algorithm>

#include <fmt/format.h>

#include "quarn/services/Version.h"

namespace quarn {
namespace {

constexpr std::size_t kHelpWidth = 80;
constexpr std::size_t kNameWidth = 24;     // of the names of options and arguments
constexpr std::size_t kExampleWidth = 34;  // of most example lines
constexpr std::size_t kExampleGap = 4;

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

// Breaks lines between words; keeps the line breaks of the text. All lines but the first begin with `indent` spaces.
std::string wrapped(std::string_view text, std::size_t indent = 0) {
  const std::size_t most = kHelpWidth - indent;
  std::string result;
  std::size_t width = 0;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of(" \n"), text.size());
    const bool breaks = width > 0 && width + 1 + end > most;
    if (width > 0) result += breaks ? "\n" + std::string(indent, ' ') : " ";
    result += text.substr(0, end);
    width = (width == 0 || breaks ? 0 : width + 1) + end;
    if (end < text.size() && text[end] == '\n') {
      result += '\n';
      width = 0;
    }
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return result + "\n";
}

std::string helpLine(std::string_view names, std::string_view help) {
  return fmt::format("  {:<{}}", names, kNameWidth - 2) + wrapped(help, kNameWidth);
}

std::string optionLines(std::span<const OptionRow> options) {
  std::string text;
  for (const OptionRow& option : options) {
    const std::string shortName = option.shortName.empty() ? "" : std::string(option.shortName) + ", ";
    text += helpLine(fmt::format("{}{} {}{}", shortName, option.name, option.argument, option.isRepeatable ? "…" : ""),
                     option.help);
  }
  return text;
}

std::string optionsLine() { return fmt::format("Global options and exit codes: quarn help {}\n", kOptionsTopic); }

std::string programHelp() {
  std::string text =
      "Finds what an application left on a Mac's disk and shows where the space goes. Deletes nothing.\n\n";
  text += "  quarn apps                     list the applications\n";
  text += "  quarn inspect \"Lumen Notes\"   find everything that belongs to an app\n";
  text += "  quarn storage                  show where the space goes\n\nCommands:\n";
  for (const CommandRow& command : commandTable()) text += fmt::format("  {:<13}{}\n", command.name, command.summary);
  return text + "\n" + optionsLine();
}

std::string commandHelp(const CommandRow& command) {
  std::string text = fmt::format("{}.\n\n", command.summary);
  for (const ExampleRow& example : command.examples) {
    const bool fitsOneLine =
        std::max(example.line.size(), kExampleWidth) + kExampleGap + example.meaning.size() < kHelpWidth;
    text += fitsOneLine ? fmt::format("  {:<{}}  {}\n", example.line, kExampleWidth, example.meaning)
                        : fmt::format("  {}\n      {}\n", example.line, example.meaning);
  }
  if (!command.examples.empty()) text += "\n";
  if (!command.description.empty()) text += wrapped(command.description) + "\n";
  text += "Usage: " + synopsis(command) + "\n";
  for (const PositionalRow& positional : command.positionals) text += helpLine(positional.name, positional.help);
  return text + optionLines(command.options) + optionsLine();
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

std::string optionsHelpText() {
  return "Global options may precede or follow the command.\n\n" + optionLines(globalOptions()) + "\n" + exitCodes();
}

std::string versionText() { return fmt::format("quarn {}\n", kVersion); }

}  // namespace quarn
