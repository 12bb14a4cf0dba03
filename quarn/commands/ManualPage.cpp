#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "quarn/commands/Help.h"
#include "quarn/services/Version.h"

namespace quarn {
namespace {

constexpr std::size_t kManualWidth = 78;
// The date of the last change to the page's content.
constexpr std::string_view kDate = "2026-11-21";

std::string escapedForRoff(std::string_view text) {
  std::string result;
  for (const char character : text) {
    switch (character) {
      case '\\': result += "\\e"; break;
      case '-': result += "\\-"; break;
      case '\'': result += "\\(aq"; break;
      default: result += character;
    }
  }
  return result.starts_with('.') ? "\\&" + result : result;
}

// Puts each sentence on its own line, as roff expects.
std::string roffText(std::string_view text) {
  std::string result;
  std::string line;
  const auto flush = [&] {
    if (!line.empty()) result += line + "\n";
    line.clear();
  };
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(' '), text.size());
    const std::string word = escapedForRoff(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.size() + word.size() >= kManualWidth) flush();
    line += (line.empty() ? "" : " ") + word;
    if (word.ends_with('.')) flush();
  }
  flush();
  return result;
}

std::string sentence(std::string_view text) { return roffText(std::string(text) + "."); }

std::string roffOptions(std::span<const OptionRow> options) {
  std::string text;
  for (const OptionRow& option : options) {
    const std::string shortName = option.shortName.empty() ? "" : escapedForRoff(option.shortName) + ", ";
    text += fmt::format(".TP\n\\fB{}{}\\fR{}\n{}", shortName, escapedForRoff(option.name),
                        option.argument.empty() ? "" : fmt::format(" \\fI{}\\fR", option.argument),
                        sentence(std::string(option.help) + (option.isRepeatable ? "; may be repeated" : "")));
  }
  return text;
}

std::string roffCommand(const CommandRow& command) {
  std::string text = fmt::format(".SS {}\n{}", command.name, sentence(command.summary));
  text += roffText(command.description);
  if (!command.details.empty()) text += ".PP\n" + roffText(command.details);
  for (const PositionalRow& positional : command.positionals) {
    text += fmt::format(".TP\n.I {}\n{}", positional.name, sentence(positional.help));
  }
  text += roffOptions(command.options);
  for (const ExampleRow& example : command.examples) {
    text += fmt::format(".PP\n{}:\n.PP\n.in +4n\n.EX\n{}\n.EE\n.in\n", escapedForRoff(example.meaning),
                        escapedForRoff(example.line));
  }
  return text;
}

std::string exitStatus() {
  std::string text = ".SH EXIT STATUS\n";
  for (const ExitCodeRow& row : exitCodeTable()) {
    text += fmt::format(".TP\n.B {}\n{}", static_cast<int>(row.code), sentence(row.meaning));
  }
  return text;
}

std::string environment() {
  std::string text = ".SH ENVIRONMENT\n";
  // clang-format off
  constexpr std::array<std::pair<std::string_view, std::string_view>, 7> kVariables{{
      {"QUARN_VOLUME", "The mounted volume to inspect; \\-\\-volume takes precedence"},
      {"QUARN_HOME", "The home folder on that volume, unless \\-\\-volume or \\-\\-home is given"},
      {"QUARN_CONFIG", "The configuration file to read; if empty, none is read"},
      {"NO_COLOR", "If set, turns colours off unless \\-\\-color turns them on"},
      {"TERM", "If \"dumb\", turns colours off"},
      {"COLUMNS", "Width of the output if it is not a terminal"},
      {"LC_ALL, LC_MESSAGES, LANG", "Locale; \\-\\-locale takes precedence"},
  }};
  // clang-format on
  for (const auto& [name, meaning] : kVariables) text += fmt::format(".TP\n.B {}\n{}.\n", name, meaning);
  return text;
}

}  // namespace

std::string manualPage() {
  std::string text = fmt::format(
      ".TH QUARN 1 {} \"quarn {}\"\n.SH NAME\nquarn \\- find what an application left on a Mac\\(aqs disk\n.SH "
      "SYNOPSIS\n"
      ".B quarn\n.I command\n.RI [ options ]\n.SH DESCRIPTION\n{}.SH COMMANDS\n",
      kDate, kVersion,
      roffText("Finds what an application left on a Mac's disk, previews its removal, and shows where the disk's space "
               "goes. Works on the running system or on a mounted volume. Deletes nothing."));
  for (const CommandRow& command : commandTable()) text += roffCommand(command);
  text += ".SH GLOBAL OPTIONS\n" + roffOptions(globalOptions());
  return text + exitStatus() + environment();
}

}  // namespace quarn
