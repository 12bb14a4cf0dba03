#include <fmt/format.h>

#include "quarn/commands/Help.h"

namespace quarn {
namespace {

std::string words(std::span<const OptionRow> options) {
  std::string text;
  for (const OptionRow& option : options) text += (text.empty() ? "" : " ") + std::string(option.name);
  return text;
}

std::string commandNames() {
  std::string text;
  for (const CommandRow& command : commandTable()) text += (text.empty() ? "" : " ") + std::string(command.name);
  return text;
}

std::string spaced(std::string_view choices) {
  std::string text(choices);
  for (char& character : text) {
    if (character == '|') character = ' ';
  }
  return text;
}

// Quoted for a shell word in single quotes.
std::string shellQuoted(std::string_view text) {
  std::string result = "'";
  for (const char character : text) result += character == '\'' ? std::string("'\\''") : std::string(1, character);
  return result + "'";
}

std::string escapedForRoff(std::string_view text) {
  std::string result;
  for (const char character : text) {
    if (character == '\\')
      result += "\\e";
    else if (character == '-')
      result += "\\-";
    else
      result += character;
  }
  return result.starts_with('.') || result.starts_with('\'') ? "\\&" + result : result;
}

std::string roffOptions(std::span<const OptionRow> options) {
  std::string text;
  for (const OptionRow& option : options) {
    text +=
        fmt::format(".TP\n.B {} {}\n{}.\n", escapedForRoff(option.name), option.argument, escapedForRoff(option.help));
  }
  return text;
}

std::string roffCommand(const CommandRow& command) {
  std::string text = fmt::format(".SS {}\n{}.\n", command.name, escapedForRoff(command.summary));
  if (!command.description.empty()) text += escapedForRoff(command.description) + "\n";
  for (const PositionalRow& positional : command.positionals) {
    text += fmt::format(".TP\n.I {}\n{}.\n", positional.name, escapedForRoff(positional.help));
  }
  text += roffOptions(command.options);
  for (const ExampleRow& example : command.examples) {
    text += fmt::format(".PP\n.EX\n{}\n.EE\n{}.\n", escapedForRoff(example.line), escapedForRoff(example.meaning));
  }
  return text;
}

}  // namespace

std::string bashCompletion() {
  std::string cases;
  std::string choices;
  for (const CommandRow& command : commandTable()) {
    cases += fmt::format("    {}) words=\"{}\" ;;\n", command.name, words(command.options));
    for (const OptionRow& option : command.options) {
      if (!option.choices.empty())
        choices += fmt::format("    {}) words=\"{}\" ;;\n", option.name, spaced(option.choices));
    }
  }
  return fmt::format(R"(_quarn() {{
  local current="${{COMP_WORDS[COMP_CWORD]}}" previous="${{COMP_WORDS[COMP_CWORD-1]}}" command="" words="" word
  for word in "${{COMP_WORDS[@]:1:COMP_CWORD-1}}"; do
    case " {0} " in *" $word "*) command="$word"; break ;; esac
  done
  case "$command" in
    "") words="{0}" ;;
{1}  esac
  words="$words {2}"
  case "$previous" in
    --color) words="auto always never" ;;
{3}    --volume|--resources|--log) COMPREPLY=($(compgen -f -- "$current")); return ;;
  esac
  COMPREPLY=($(compgen -W "$words" -- "$current"))
}}
complete -F _quarn quarn
)",
                     commandNames(), cases, words(globalOptions()), choices);
}

std::string zshCompletion() {
  std::string commands;
  std::string cases;
  for (const CommandRow& command : commandTable()) {
    commands += fmt::format("    {}\n", shellQuoted(fmt::format("{}:{}", command.name, command.summary)));
    cases += fmt::format("    {}) options+=({}) ;;\n", command.name, words(command.options));
  }
  return fmt::format(R"(#compdef quarn
_quarn() {{
  local -a commands options
  local word
  commands=(
{0}  )
  options=({1})
  for word in "${{words[@]:1:$((CURRENT-2))}}"; do
    case "$word" in
{2}    esac
  done
  if [[ "$PREFIX" == -* ]]; then compadd -- $options
  elif (( CURRENT == 2 )); then _describe command commands
  else _files
  fi
}}
_quarn "$@"
)",
                     commands, words(globalOptions()), cases);
}

std::string fishCompletion() {
  std::string text = "complete -c quarn -f\n";
  const auto optionLine = [](const OptionRow& option, const std::string& condition) {
    std::string line =
        fmt::format("complete -c quarn{} -l {} -d {}", condition, option.name.substr(2), shellQuoted(option.help));
    if (!option.argument.empty())
      line += option.choices.empty() ? " -r" : fmt::format(" -x -a {}", shellQuoted(spaced(option.choices)));
    return line + "\n";
  };
  for (const OptionRow& option : globalOptions()) text += optionLine(option, "");
  for (const CommandRow& command : commandTable()) {
    text += fmt::format("complete -c quarn -n __fish_use_subcommand -a {} -d {}\n", command.name,
                        shellQuoted(command.summary));
    const std::string condition = fmt::format(" -n '__fish_seen_subcommand_from {}'", command.name);
    for (const OptionRow& option : command.options) text += optionLine(option, condition);
  }
  return text;
}

std::string manualPage() {
  std::string text =
      ".TH QUARN 1\n.SH NAME\nquarn \\- what an application left on a Mac's disk, and where the space goes\n"
      ".SH SYNOPSIS\n.B quarn\n.I command\n[options]\n.SH COMMANDS\n";
  for (const CommandRow& command : commandTable()) text += roffCommand(command);
  text += ".SH OPTIONS OF EVERY COMMAND\n" + roffOptions(globalOptions());
  return text +
         ".SH EXIT STATUS\n0 ok, 1 failure, 2 usage, 3 not found or ambiguous, 4 incomplete (something could not be "
         "read), 130 interrupted.\n";
}

}  // namespace quarn
