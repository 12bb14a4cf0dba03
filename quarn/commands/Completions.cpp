#include <fmt/format.h>
#include <fmt/ranges.h>  // fmt::join, since fmt 11

#include "quarn/commands/Arguments.h"
#include "quarn/commands/Help.h"

namespace quarn {
namespace {

constexpr std::string_view kFolderArgument = "DIR";
constexpr std::string_view kAppArgument = "APP";

// Without bash-completion, the words are as they were typed, with quotes and backslashes. What is offered after an open
// quote must not end it or run a command.
constexpr std::string_view kBashHelpers = R"sh(_quarn_plain() {
  local text="$1"
  case "$text" in
    \"*|\'*) text="${text:1}"; text="${text%[\"\']}" ;;
    *) text="${text//\\/}" ;;
  esac
  case "$text" in "~/"*) text="$HOME/${text:2}" ;; esac
  printf '%s' "$text"
}
_quarn_offer() {
  local begin="$(_quarn_plain "$current")" quote="" line
  case "$current" in \"*|\'*) quote="${current:0:1}" ;; esac
  while IFS= read -r line; do
    case "$line" in "$begin"*) ;; *) continue ;; esac
    case "$quote$line" in \"*[\"\\\$\`!]*|\'*\'*) continue ;; esac
    if [ -z "$quote" ]; then printf -v line %q "$line"; fi
    COMPREPLY+=("$line")
  done
}
_quarn_files() {
  local line
  compopt -o filenames 2>/dev/null
  while IFS= read -r line; do COMPREPLY+=("$line"); done < <(compgen "$1" -- "$(_quarn_plain "$current")")
}
_quarn_apps() {
  local -a options=()
  local i word value
  for ((i = 1; i < COMP_CWORD; ++i)); do
    word="${COMP_WORDS[i]}"
    case "$word" in --volume|--home|--scan) ;; *) continue ;; esac
    value="${COMP_WORDS[i+1]}"
    if [ "$value" = "=" ]; then value="${COMP_WORDS[i+2]}"; fi
    options+=("$word" "$(_quarn_plain "$value")")
  done
  "${COMP_WORDS[0]}" apps --names --quiet "${options[@]}" 2>/dev/null
}
)sh";

constexpr std::string_view kZshHelpers = R"sh(_quarn_apps() {
  local -a given names
  local i word
  for ((i = 2; i < CURRENT; ++i)); do
    word="${(Q)words[i]}"
    case "$word" in
      --volume|--home|--scan) given+=("$word" "${${(Q)words[i+1]}/#\~\//$HOME/}") ;;
      --volume=*|--home=*|--scan=*) given+=("${word%%=*}" "${${word#*=}/#\~\//$HOME/}") ;;
    esac
  done
  names=(${(f)"$("${words[1]}" apps --names --quiet $given 2>/dev/null)"})
  compadd -- $names
}
)sh";

constexpr std::string_view kFishHelpers = R"(function __quarn_apps
  set -l words (commandline -opc)
  set -l given
  for i in (seq 2 (count $words))
    switch $words[$i]
      case --volume --home --scan
        set given $given $words[$i] $words[(math $i + 1)]
      case '--volume=*' '--home=*' '--scan=*'
        set given $given $words[$i]
    end
  end
  command -q $words[1]; and $words[1] apps --names --quiet $given 2>/dev/null
end
)";

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
    std::vector<std::string> choices = row.isCommand ? commandNames() : choiceWords(row.choices);
    if (row.isCommand) choices.emplace_back(kOptionsTopic);
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

// Folders are the arguments DIR; other host paths are files.
bool takesFolder(const OptionRow& option) { return option.isHostPath && option.argument == kFolderArgument; }

bool takesApp(const OptionRow& option) { return option.argument == kAppArgument; }

bool takesApp(const CommandRow& command) {
  return !command.positionals.empty() && command.positionals.front().name == kAppArgument;
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

// A global option, or one of a command with that `condition`.
std::string fishOption(const OptionRow& option, const std::string& condition) {
  std::string line = "complete -c quarn" + condition;
  if (!option.shortName.empty()) line += fmt::format(" -s {}", option.shortName.substr(1));
  line += fmt::format(" -l {} -d {}", option.name.substr(2), shellQuoted(option.help));
  if (option.argument.empty()) return line + "\n";
  if (takesFolder(option)) return line + " -x -a '(__fish_complete_directories)'\n";
  if (option.isHostPath) return line + " -r -F\n";
  const std::string words = takesApp(option) ? "(__quarn_apps)" : spaced(option.choices);
  return line + fmt::format(" -x -a {}\n", shellQuoted(words));
}

}  // namespace

std::string bashCompletion() {
  std::string cases;
  for (const CommandRow& command : commandTable()) {
    cases += fmt::format("    {}) words=\"{}\" files={} apps={} ;;\n", command.name,
                         spaced({positionalWords(command), names(command.options)}), takesHostPath(command) ? 1 : 0,
                         takesApp(command) ? 1 : 0);
  }
  const std::string arguments = argumentCases([](const OptionRow& option) {
    if (takesFolder(option)) return fmt::format("    {}) _quarn_files -d; return ;;\n", pattern(option));
    if (option.isHostPath) return fmt::format("    {}) _quarn_files -f; return ;;\n", pattern(option));
    if (takesApp(option)) return fmt::format("    {}) _quarn_offer < <(_quarn_apps); return ;;\n", pattern(option));
    return fmt::format("    {}) COMPREPLY=($(compgen -W \"{}\" -- \"$current\")); return ;;\n", pattern(option),
                       spaced(option.choices));
  });
  return std::string(kBashHelpers) + fmt::format(R"(_quarn() {{
  local current="${{COMP_WORDS[COMP_CWORD]}}" previous="${{COMP_WORDS[COMP_CWORD-1]}}" command="" words="" files=0 apps=0 word
  COMPREPLY=()
  if [ "$current" = "=" ]; then current=""
  elif [ "$previous" = "=" ]; then previous="${{COMP_WORDS[COMP_CWORD-2]}}"
  fi
  case "$previous" in
{0}  esac
  for word in "${{COMP_WORDS[@]:1:COMP_CWORD-1}}"; do
    case " {1} " in *" $word "*) command="$word"; break ;; esac
  done
  case "$command" in
    "") words="{1}" ;;
{2}  esac
  case "$current" in
    \"*|\'*) ;;
    *) COMPREPLY=($(compgen -W "$words {3}" -- "$current")) ;;
  esac
  case "$current" in -*) return ;; esac
  if [ "$apps" = 1 ]; then _quarn_offer < <(_quarn_apps); fi
  if [ "$files" = 1 ]; then _quarn_files -f; fi
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
    cases += fmt::format("      {}) command=$word; options+=({}); choices=({}); files={}; apps={}; break ;;\n",
                         command.name, names(command.options), positionalWords(command), takesHostPath(command) ? 1 : 0,
                         takesApp(command) ? 1 : 0);
  }
  const std::string arguments = argumentCases([](const OptionRow& option) {
    if (takesFolder(option)) return fmt::format("    {}) _files -/; return ;;\n", pattern(option));
    if (option.isHostPath) return fmt::format("    {}) _files; return ;;\n", pattern(option));
    if (takesApp(option)) return fmt::format("    {}) _quarn_apps; return ;;\n", pattern(option));
    return fmt::format("    {}) compadd -- {}; return ;;\n", pattern(option), spaced(option.choices));
  });
  return "#compdef quarn\n" + std::string(kZshHelpers) +
         fmt::format(R"(_quarn() {{
  local -a commands options choices
  local word command="" previous="${{words[CURRENT-1]}}" files=0 apps=0
  if [[ "$PREFIX" == --*=* ]]; then
    previous="${{PREFIX%%=*}}"
    compset -P '*='
  fi
  case "$previous" in
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
    (( apps )) && _quarn_apps
    (( files )) && _files
  fi
}}
if [[ "$funcstack[1]" == _quarn ]]; then _quarn "$@"; elif (( $+functions[compdef] )); then compdef _quarn quarn; fi
)",
                     arguments, commands, names(globalOptions()), cases);
}

std::string fishCompletion() {
  const std::string all = spaced(commandNames());
  std::string text = std::string(kFishHelpers) + "complete -c quarn -f\n";
  for (const OptionRow& option : globalOptions()) text += fishOption(option, "");
  for (const CommandRow& command : commandTable()) {
    text += fmt::format("complete -c quarn -n 'not __fish_seen_subcommand_from {}' -a {} -d {}\n", all, command.name,
                        shellQuoted(command.summary));
    const std::string condition = fmt::format(" -n '__fish_seen_subcommand_from {}'", command.name);
    for (const OptionRow& option : command.options) text += fishOption(option, condition);
    const std::string words = positionalWords(command);
    if (!words.empty()) text += fmt::format("complete -c quarn{} -a {}\n", condition, shellQuoted(words));
    if (takesApp(command)) text += fmt::format("complete -c quarn{} -a '(__quarn_apps)'\n", condition);
    if (takesHostPath(command)) text += fmt::format("complete -c quarn{} -F\n", condition);
  }
  return text;
}

}  // namespace quarn
