#include <fmt/format.h>

#include "quarn/commands/Arguments.h"
#include "quarn/commands/Help.h"

namespace quarn {
namespace {

std::string spaced(const std::vector<std::string>& words) { return fmt::format("{}", fmt::join(words, " ")); }

std::string spaced(std::string_view choices) { return spaced(choiceWords(choices)); }

std::string names(std::span<const OptionRow> options) {
  std::vector<std::string> words;
  for (const OptionRow& option : options) {
    if (!option.shortName.empty()) words.emplace_back(option.shortName);
    words.emplace_back(option.name);
  }
  return spaced(words);
}

/// "-o|--output", a pattern for `case`.
std::string pattern(const OptionRow& option) {
  return (option.shortName.empty() ? "" : std::string(option.shortName) + "|") + std::string(option.name);
}

std::string shellQuoted(std::string_view text) {
  std::string result = "'";
  for (const char character : text) result += character == '\'' ? std::string("'\\''") : std::string(1, character);
  return result + "'";
}

// The fixed choices for the positionals of a command.
std::string positionalWords(const CommandRow& command) {
  std::vector<std::string> words;
  for (const PositionalRow& row : command.positionals) {
    const std::vector<std::string> choices = row.isCommand ? commandNames() : choiceWords(row.choices);
    words.insert(words.end(), choices.begin(), choices.end());
  }
  return spaced(words);
}

bool takesHostPath(const CommandRow& command) {
  for (const PositionalRow& row : command.positionals) {
    if (row.isHostPath) return true;
  }
  return false;
}

/// Builds the branches of a `case` over the option before the word to complete. `line` formats the branch of an
/// option that takes an argument.
template <class Line>
std::string argumentCases(Line line) {
  std::string text;
  const auto add = [&](std::span<const OptionRow> options) {
    for (const OptionRow& option : options) {
      if (!option.argument.empty()) text += line(option);
    }
  };
  add(globalOptions());
  for (const CommandRow& command : commandTable()) add(command.options);
  return text;
}

}  // namespace

std::string bashCompletion() {
  std::string cases;
  for (const CommandRow& command : commandTable()) {
    cases += fmt::format("    {}) words=\"{}\" files={} ;;\n", command.name,
                         spaced({positionalWords(command), names(command.options)}), takesHostPath(command) ? 1 : 0);
  }
  const std::string arguments = argumentCases([](const OptionRow& option) {
    if (option.isHostPath) {
      return fmt::format(
          "    {}) compopt -o filenames 2>/dev/null; COMPREPLY=($(compgen -f -- \"$current\")); return ;;\n",
          pattern(option));
    }
    return fmt::format("    {}) COMPREPLY=($(compgen -W \"{}\" -- \"$current\")); return ;;\n", pattern(option),
                       spaced(option.choices));
  });
  return fmt::format(R"(_quarn() {{
  local current="${{COMP_WORDS[COMP_CWORD]}}" previous="${{COMP_WORDS[COMP_CWORD-1]}}" command="" words="" files=0 word
  COMPREPLY=()
  case "$previous" in
{0}  esac
  for word in "${{COMP_WORDS[@]:1:COMP_CWORD-1}}"; do
    case " {1} " in *" $word "*) command="$word"; break ;; esac
  done
  case "$command" in
    "") words="{1}" ;;
{2}  esac
  COMPREPLY=($(compgen -W "$words {3}" -- "$current"))
  if [ "$files" = 1 ]; then
    compopt -o filenames 2>/dev/null
    COMPREPLY+=($(compgen -f -- "$current"))
  fi
}}
complete -F _quarn quarn
)",
                     arguments, spaced(commandNames()), cases, names(globalOptions()));
}

std::string zshCompletion() {
  std::string commands;
  std::string cases;
  for (const CommandRow& command : commandTable()) {
    commands += fmt::format("    {}\n", shellQuoted(fmt::format("{}:{}", command.name, command.summary)));
    cases += fmt::format("      {}) command=$word; options+=({}); choices=({}); files={}; break ;;\n", command.name,
                         names(command.options), positionalWords(command), takesHostPath(command) ? 1 : 0);
  }
  const std::string arguments = argumentCases([](const OptionRow& option) {
    return option.isHostPath
               ? fmt::format("    {}) _files; return ;;\n", pattern(option))
               : fmt::format("    {}) compadd -- {}; return ;;\n", pattern(option), spaced(option.choices));
  });
  return fmt::format(R"(#compdef quarn
_quarn() {{
  local -a commands options choices
  local word command="" files=0
  case "${{words[CURRENT-1]}}" in
{0}  esac
  commands=(
{1}  )
  options=({2})
  for word in "${{words[@]:1:$((CURRENT-2))}}"; do
    case "$word" in
{3}    esac
  done
  if [[ "$PREFIX" == -* ]]; then compadd -- $options
  elif [[ -z "$command" ]]; then _describe command commands
  else
    (( $#choices )) && compadd -- $choices
    (( files )) && _files
  fi
}}
if [[ "$funcstack[1]" == _quarn ]]; then _quarn "$@"; elif (( $+functions[compdef] )); then compdef _quarn quarn; fi
)",
                     arguments, commands, names(globalOptions()), cases);
}

std::string fishCompletion() {
  const std::string all = spaced(commandNames());
  std::string text = "complete -c quarn -f\n";
  const auto optionLine = [](const OptionRow& option, const std::string& condition) {
    std::string line = "complete -c quarn" + condition;
    if (!option.shortName.empty()) line += fmt::format(" -s {}", option.shortName.substr(1));
    line += fmt::format(" -l {} -d {}", option.name.substr(2), shellQuoted(option.help));
    if (option.isHostPath) line += " -r -F";
    if (!option.argument.empty() && !option.isHostPath)
      line += fmt::format(" -x -a {}", shellQuoted(spaced(option.choices)));
    return line + "\n";
  };
  for (const OptionRow& option : globalOptions()) text += optionLine(option, "");
  for (const CommandRow& command : commandTable()) {
    text += fmt::format("complete -c quarn -n 'not __fish_seen_subcommand_from {}' -a {} -d {}\n", all, command.name,
                        shellQuoted(command.summary));
    const std::string condition = fmt::format(" -n '__fish_seen_subcommand_from {}'", command.name);
    for (const OptionRow& option : command.options) text += optionLine(option, condition);
    const std::string words = positionalWords(command);
    if (!words.empty()) text += fmt::format("complete -c quarn{} -a {}\n", condition, shellQuoted(words));
    if (takesHostPath(command)) text += fmt::format("complete -c quarn{} -F\n", condition);
  }
  return text;
}

}  // namespace quarn
