#include "quarn/commands/Arguments.h"

#include <algorithm>
#include <charconv>

#include <CLI/CLI.hpp>

#include "quarn/commands/FilterTable.h"
#include "quarn/commands/Suggestions.h"

namespace quarn {
namespace {

std::vector<std::string> optionNames(const CommandRow* command) {
  std::vector<std::string> names;
  for (const OptionRow& option : globalOptions()) names.emplace_back(option.name);
  if (command == nullptr) return names;
  for (const OptionRow& option : command->options) names.emplace_back(option.name);
  return names;
}

void addOption(CLI::App& parser, const OptionRow& row, Arguments& arguments) {
  const std::string name(row.name);
  const std::string names = row.shortName.empty() ? name : std::string(row.shortName) + "," + name;
  if (row.argument.empty()) {
    parser.add_flag_callback(names, [&arguments, name] { arguments.options[name] = {""}; });
    return;
  }
  CLI::Option* option = parser.add_option_function<std::vector<std::string>>(
      names, [&arguments, name](const std::vector<std::string>& values) {
        auto& all = arguments.options[name];
        all.insert(all.end(), values.begin(), values.end());
      });
  option->type_size(1)->expected(1)->allow_extra_args(false)->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
}

long wholeNumber(std::string_view option, const std::string& text) {
  long value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) {
    throw UsageError(std::string(option) + ": expected a whole number, got \"" + text + "\"");
  }
  if (value < 0) throw UsageError(std::string(option) + ": expected 0 or more, got " + text);
  return value;
}

void checkChoice(const std::string& prefix, const std::string& value, std::string_view choices) {
  const std::vector<std::string> words = choiceWords(choices);
  if (words.empty() || std::find(words.begin(), words.end(), value) != words.end()) return;
  throw UsageError(
      withSuggestion(prefix + "expected " + std::string(choices) + ", got \"" + value + "\"", value, words));
}

void checkOptions(std::span<const OptionRow> rows, const Arguments& arguments) {
  for (const OptionRow& row : rows) {
    const std::vector<std::string> values = arguments.texts(row.name);
    for (const std::string& value : values) {
      checkChoice(std::string(row.name) + ": ", value, row.choices);
      if (row.isNumber) wholeNumber(row.name, value);
    }
    const bool isOneTooMany = values.size() > 1 && !row.isRepeatable;
    if (isOneTooMany) throw UsageError(std::string(row.name) + " cannot be given twice");
  }
}

void checkPositionals(const Arguments& arguments) {
  const auto& rows = arguments.command->positionals;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const bool isGiven = i < arguments.positionals.size();
    if (isGiven) checkChoice("", arguments.positionals[i], rows[i].choices);
    if (isGiven || !rows[i].isRequired) continue;
    throw UsageError(std::string(arguments.command->name) + " requires " + std::string(rows[i].name) + ": " +
                     std::string(rows[i].help));
  }
  const bool takesMany = !rows.empty() && rows.back().isRepeatable;
  if (takesMany || arguments.positionals.size() <= rows.size()) return;
  throw UsageError("unexpected argument \"" + arguments.positionals[rows.size()] + "\" for " +
                   std::string(arguments.command->name));
}

// True for an option or a positional.
bool isGiven(std::string_view name, const Arguments& arguments) {
  if (arguments.has(name)) return true;
  if (arguments.command == nullptr) return false;
  const auto& rows = arguments.command->positionals;
  const auto row = std::find_if(rows.begin(), rows.end(), [&](const PositionalRow& any) { return any.name == name; });
  return row != rows.end() && static_cast<std::size_t>(row - rows.begin()) < arguments.positionals.size();
}

void checkExclusions(std::span<const OptionRow> rows, const Arguments& arguments) {
  for (const OptionRow& row : rows) {
    if (!arguments.has(row.name)) continue;
    for (const std::string& other : choiceWords(row.excludes)) {
      if (!isGiven(other, arguments)) continue;
      throw UsageError(std::string(row.name) + " cannot be combined with " + other);
    }
  }
}

void checkLines(const Arguments& arguments) {
  if (!arguments.has("--ndjson") || arguments.command->hasList) return;
  throw UsageError(std::string(arguments.command->name) + " does not support --ndjson: it prints no list");
}

void check(const Arguments& arguments) {
  checkOptions(globalOptions(), arguments);
  checkExclusions(globalOptions(), arguments);
  if (arguments.command == nullptr) return;
  checkOptions(arguments.command->options, arguments);
  checkPositionals(arguments);
  checkExclusions(arguments.command->options, arguments);
  checkLines(arguments);
}

const CommandRow* firstCommandWith(std::string_view option) {
  const auto table = commandTable();
  const auto found = std::find_if(table.begin(), table.end(),
                                  [&](const CommandRow& row) { return optionRow(option, &row) != nullptr; });
  return found == table.end() ? nullptr : &*found;
}

// A filter of other lists.
void refuseFilter(const std::string& name, const CommandRow& command) {
  const bool isFilter =
      std::any_of(kFilterOptions.begin(), kFilterOptions.end(), [&](const OptionRow& row) { return row.name == name; });
  const std::string taken = filterNames(command);
  if (isFilter && !taken.empty()) {
    throw UsageError("the list of " + std::string(command.name) + " does not take " + name + "; it takes " + taken);
  }
}

// The parser reports an option that precedes its command as unknown.
[[noreturn]] void refuseOption(const std::string& word, const CommandRow* given) {
  const std::string name = word.substr(0, word.find('='));
  const CommandRow* command = given != nullptr ? given : firstCommandWith(name);
  const OptionRow* row = optionRow(name, command);
  if (row == nullptr && given != nullptr) refuseFilter(name, *given);
  if (row == nullptr) throw UsageError(withSuggestion("unknown option " + word, name, optionNames(given)));
  const std::string argument = row->argument.empty() ? "" : " " + std::string(row->argument);
  throw UsageError(name + " must follow the command: quarn " + std::string(command->name) + " " + name + argument);
}

void refuseLeftovers(const std::vector<std::string>& leftovers, const Arguments& arguments) {
  for (const std::string& word : leftovers) {
    if (word.starts_with('-') && word.size() > 1) refuseOption(word, arguments.command);
  }
  if (arguments.command == nullptr && !leftovers.empty()) {
    throw UsageError(
        withSuggestion("unknown command \"" + leftovers.front() + "\"", leftovers.front(), commandNames()));
  }
}

// Searches the options of all commands.
const OptionRow* anyOptionRow(std::string_view name) {
  for (const CommandRow& command : commandTable()) {
    if (const OptionRow* row = optionRow(name, &command)) return row;
  }
  return nullptr;
}

// The parser would accept "--json=no" and turn the switch off.
void refuseValuesOfSwitches(const std::vector<std::string>& words) {
  for (const std::string& word : words) {
    const std::size_t equals = word.find('=');
    if (!word.starts_with('-') || equals == std::string::npos) continue;
    const OptionRow* row = anyOptionRow(std::string_view(word).substr(0, equals));
    if (row != nullptr && row->argument.empty()) throw UsageError(std::string(row->name) + " takes no value");
  }
}

// The parser's own message for a missing argument names the type, not the meaning.
[[noreturn]] void refuseMissingArgument(const std::string& problem, const CommandRow* command) {
  const OptionRow* row = optionRow(std::string_view(problem).substr(0, problem.find(':')), command);
  if (row == nullptr) throw UsageError(problem);
  throw UsageError(std::string(row->name) + " requires " + std::string(row->argument) + ": " + std::string(row->help));
}

void parseOptions(CLI::App& parser, const std::vector<std::string>& words, const Arguments& arguments) {
  try {
    std::vector<std::string> reversed(words.rbegin(), words.rend());
    parser.parse(reversed);
  } catch (const CLI::ArgumentMismatch& error) {
    refuseMissingArgument(error.what(), arguments.command);
  } catch (const CLI::ParseError& error) {
    refuseValuesOfSwitches(words);
    throw UsageError(error.what());
  }
  refuseValuesOfSwitches(words);
}

// True if a word may be the option, also with a value ("--name=value") or among other short ones ("-qv").
bool mayName(const std::vector<std::string>& words, const OptionRow& row) {
  return std::any_of(words.begin(), words.end(), [&](const std::string& word) {
    const bool isShort = word.size() > 1 && word[0] == '-' && word[1] != '-';
    return word.starts_with(row.name) || (isShort && !row.shortName.empty());
  });
}

void addOptions(CLI::App& parser, std::span<const OptionRow> rows, const std::vector<std::string>& words,
                Arguments& arguments) {
  for (const OptionRow& row : rows) {
    if (mayName(words, row)) addOption(parser, row, arguments);
  }
}

// The parser gets only the commands and options that the line may name: describing all of them takes longer than most
// lines do.
void describe(CLI::App& parser, const std::vector<std::string>& words, Arguments& arguments) {
  parser.set_help_flag();
  parser.allow_extras();
  parser.fallthrough();
  addOptions(parser, globalOptions(), words, arguments);
  for (const CommandRow& row : commandTable()) {
    if (std::find(words.begin(), words.end(), row.name) == words.end()) continue;
    CLI::App* command = parser.add_subcommand(std::string(row.name));
    command->set_help_flag();
    command->allow_extras();
    command->preparse_callback([&arguments, &row](std::size_t) { arguments.command = &row; });
    addOptions(*command, row.options, words, arguments);
  }
  parser.require_subcommand(0, 1);
}

}  // namespace

std::optional<std::string> Arguments::text(std::string_view option) const {
  const auto found = options.find(option);
  return found == options.end() ? std::nullopt : std::optional<std::string>(found->second.back());
}

std::vector<std::string> Arguments::texts(std::string_view option) const {
  const auto found = options.find(option);
  return found == options.end() ? std::vector<std::string>() : found->second;
}

long Arguments::number(std::string_view option, long otherwise) const {
  const std::optional<std::string> given = text(option);
  return given ? wholeNumber(option, *given) : otherwise;
}

std::vector<std::string> commandNames() {
  std::vector<std::string> names;
  for (const CommandRow& command : commandTable()) names.emplace_back(command.name);
  return names;
}

Arguments parseArguments(const std::vector<std::string>& words) {
  Arguments arguments;
  parseArguments(words, arguments);
  return arguments;
}

void parseArguments(const std::vector<std::string>& words, Arguments& arguments) {
  const auto end = std::find(words.begin(), words.end(), "--");
  CLI::App parser;
  const std::vector<std::string> parsed(words.begin(), end);
  describe(parser, parsed, arguments);
  parseOptions(parser, parsed, arguments);
  arguments.positionals = parser.remaining(true);
  refuseLeftovers(arguments.positionals, arguments);
  // Words after "--" are never options.
  if (end != words.end()) arguments.positionals.insert(arguments.positionals.end(), end + 1, words.end());
  // `--help` works even if the rest of the line is wrong.
  if (!arguments.has("--help")) check(arguments);
}

}  // namespace quarn
