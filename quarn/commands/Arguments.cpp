#include "quarn/commands/Arguments.h"

#include <algorithm>
#include <charconv>
#include <numeric>

#include <CLI/CLI.hpp>

namespace quarn {
namespace {

/// Steps that turn one word into the other: a letter more, less or another one, or two neighbours exchanged.
std::size_t editDistance(std::string_view left, std::string_view right) {
  std::vector<std::size_t> beforeLast;
  std::vector<std::size_t> last(right.size() + 1);
  std::iota(last.begin(), last.end(), 0U);
  for (std::size_t i = 1; i <= left.size(); ++i) {
    std::vector<std::size_t> row{i};
    for (std::size_t j = 1; j <= right.size(); ++j) {
      const std::size_t replaced = last[j - 1] + (left[i - 1] == right[j - 1] ? 0 : 1);
      row.push_back(std::min({replaced, last[j] + 1, row[j - 1] + 1}));
      const bool isExchanged = i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1];
      if (isExchanged) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
    }
    beforeLast = std::exchange(last, std::move(row));
  }
  return last.back();
}

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

void checkChoice(std::string_view name, const std::string& value, std::string_view choices) {
  const std::vector<std::string> words = choiceWords(choices);
  if (words.empty() || std::find(words.begin(), words.end(), value) != words.end()) return;
  throw UsageError(
      withSuggestion(std::string(name) + ": \"" + value + "\" is none of " + std::string(choices), value, words));
}

void checkOptions(std::span<const OptionRow> rows, const Arguments& arguments) {
  for (const OptionRow& row : rows) {
    for (const std::string& value : arguments.texts(row.name)) checkChoice(row.name, value, row.choices);
  }
}

void checkPositionals(const Arguments& arguments) {
  const auto& rows = arguments.command->positionals;
  const bool takesMany = !rows.empty() && rows.back().isRepeatable;
  if (!takesMany && arguments.positionals.size() > rows.size()) {
    throw UsageError("\"" + arguments.positionals[rows.size()] + "\" is one word too many for " +
                     std::string(arguments.command->name));
  }
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const bool isGiven = i < arguments.positionals.size();
    if (isGiven) checkChoice(rows[i].name, arguments.positionals[i], rows[i].choices);
    if (isGiven || !rows[i].isRequired) continue;
    throw UsageError(std::string(arguments.command->name) + " takes " + std::string(rows[i].name) + ": " +
                     std::string(rows[i].help));
  }
}

void refuseLeftovers(const std::vector<std::string>& leftovers, const Arguments& arguments) {
  for (const std::string& word : leftovers) {
    if (word.starts_with('-') && word.size() > 1) {
      throw UsageError(
          withSuggestion("unknown option " + word, word.substr(0, word.find('=')), optionNames(arguments.command)));
    }
  }
  if (arguments.command == nullptr && !leftovers.empty()) {
    throw UsageError(
        withSuggestion("unknown command \"" + leftovers.front() + "\"", leftovers.front(), commandNames()));
  }
}

// Of an option that any command takes.
const OptionRow* anyOptionRow(std::string_view name) {
  for (const CommandRow& command : commandTable()) {
    if (const OptionRow* row = optionRow(name, &command)) return row;
  }
  return nullptr;
}

// The parser would take "--json=no" for a way to say no.
void refuseValuesOfSwitches(const std::vector<std::string>& words) {
  for (const std::string& word : words) {
    const std::size_t equals = word.find('=');
    if (!word.starts_with("--") || equals == std::string::npos) continue;
    const OptionRow* row = anyOptionRow(std::string_view(word).substr(0, equals));
    if (row != nullptr && row->argument.empty()) throw UsageError(std::string(row->name) + " takes no value");
  }
}

// The parser's own words for an argument that is missing name a type and no purpose.
[[noreturn]] void refuseMissingArgument(const std::string& problem) {
  const OptionRow* row = anyOptionRow(std::string_view(problem).substr(0, problem.find(':')));
  if (row == nullptr) throw UsageError(problem);
  throw UsageError(std::string(row->name) + " takes " + std::string(row->argument) + ": " + std::string(row->help));
}

void parseOptions(CLI::App& parser, const std::vector<std::string>& words) {
  refuseValuesOfSwitches(words);
  try {
    std::vector<std::string> reversed(words.rbegin(), words.rend());
    parser.parse(reversed);
  } catch (const CLI::ArgumentMismatch& error) {
    refuseMissingArgument(error.what());
  } catch (const CLI::ParseError& error) {
    throw UsageError(error.what());
  }
}

void describe(CLI::App& parser, Arguments& arguments) {
  parser.set_help_flag();
  parser.allow_extras();
  parser.fallthrough();
  for (const OptionRow& option : globalOptions()) addOption(parser, option, arguments);
  for (const CommandRow& row : commandTable()) {
    CLI::App* command = parser.add_subcommand(std::string(row.name));
    command->set_help_flag();
    command->allow_extras();
    for (const OptionRow& option : row.options) addOption(*command, option, arguments);
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
  if (!given) return otherwise;
  long value = 0;
  const auto [end, error] = std::from_chars(given->data(), given->data() + given->size(), value);
  if (error != std::errc() || end != given->data() + given->size()) {
    throw UsageError(std::string(option) + ": \"" + *given + "\" is no whole number");
  }
  if (value < 0) throw UsageError(std::string(option) + ": " + *given + " is below 0");
  return value;
}

std::optional<std::string> nearest(std::string_view word, const std::vector<std::string>& candidates) {
  std::optional<std::string> best;
  std::size_t bestDistance = std::max<std::size_t>(word.size() / 3, 1) + 1;
  for (const std::string& candidate : candidates) {
    const std::size_t distance = editDistance(word, candidate);
    if (distance >= bestDistance) continue;
    bestDistance = distance;
    best = candidate;
  }
  return best;
}

std::string withSuggestion(std::string problem, std::string_view word, const std::vector<std::string>& candidates) {
  if (const std::optional<std::string> meant = nearest(word, candidates)) problem += "; did you mean " + *meant + "?";
  return problem;
}

std::vector<std::string> commandNames() {
  std::vector<std::string> names;
  for (const CommandRow& command : commandTable()) names.emplace_back(command.name);
  return names;
}

Arguments parseArguments(const std::vector<std::string>& words) {
  const auto end = std::find(words.begin(), words.end(), "--");
  Arguments arguments;
  CLI::App parser;
  describe(parser, arguments);
  parseOptions(parser, {words.begin(), end});
  for (const CLI::App* used : parser.get_subcommands()) arguments.command = commandRow(used->get_name());
  arguments.positionals = parser.remaining(true);
  refuseLeftovers(arguments.positionals, arguments);
  // Behind "--" stand names, however they begin.
  if (end != words.end()) arguments.positionals.insert(arguments.positionals.end(), end + 1, words.end());
  checkOptions(globalOptions(), arguments);
  if (arguments.command == nullptr) return arguments;
  checkOptions(arguments.command->options, arguments);
  if (!arguments.has("--help")) checkPositionals(arguments);
  return arguments;
}

}  // namespace quarn
