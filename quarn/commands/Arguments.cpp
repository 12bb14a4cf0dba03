#include "quarn/commands/Arguments.h"

#include <algorithm>
#include <charconv>
#include <numeric>

#include <CLI/CLI.hpp>

namespace quarn {
namespace {

/// Steps of one letter that turn one word into the other.
std::size_t editDistance(std::string_view left, std::string_view right) {
  std::vector<std::size_t> row(right.size() + 1);
  std::iota(row.begin(), row.end(), 0U);
  for (std::size_t i = 1; i <= left.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i);
    for (std::size_t j = 1; j <= right.size(); ++j) {
      const std::size_t replaced = diagonal + (left[i - 1] == right[j - 1] ? 0 : 1);
      diagonal = std::exchange(row[j], std::min({replaced, row[j] + 1, row[j - 1] + 1}));
    }
  }
  return row.back();
}

std::string withSuggestion(std::string problem, std::string_view word, const std::vector<std::string>& candidates) {
  if (const std::optional<std::string> meant = nearest(word, candidates)) problem += "; did you mean " + *meant + "?";
  return problem;
}

std::vector<std::string> splitChoices(std::string_view choices) {
  std::vector<std::string> result;
  while (!choices.empty()) {
    const std::size_t end = std::min(choices.find('|'), choices.size());
    result.emplace_back(choices.substr(0, end));
    choices.remove_prefix(std::min(end + 1, choices.size()));
  }
  return result;
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

void checkChoices(const OptionRow& row, const Arguments& arguments) {
  const std::vector<std::string> choices = splitChoices(row.choices);
  if (choices.empty()) return;
  for (const std::string& value : arguments.texts(row.name)) {
    if (std::find(choices.begin(), choices.end(), value) != choices.end()) continue;
    throw UsageError(withSuggestion(
        std::string(row.name) + ": \"" + value + "\" is none of " + std::string(row.choices), value, choices));
  }
}

void checkPositionals(const Arguments& arguments) {
  const auto& rows = arguments.command->positionals;
  const bool takesMany = !rows.empty() && rows.back().isRepeatable;
  if (!takesMany && arguments.positionals.size() > rows.size()) {
    throw UsageError("\"" + arguments.positionals[rows.size()] + "\" is one word too many for " +
                     std::string(arguments.command->name));
  }
  for (std::size_t i = arguments.positionals.size(); i < rows.size(); ++i) {
    if (!rows[i].isRequired) continue;
    throw UsageError(std::string(arguments.command->name) + " takes " + std::string(rows[i].name) + ": " +
                     std::string(rows[i].help));
  }
}

const CommandRow* findCommand(std::string_view name) {
  const auto table = commandTable();
  const auto row =
      std::find_if(table.begin(), table.end(), [&](const CommandRow& candidate) { return candidate.name == name; });
  return row == table.end() ? nullptr : &*row;
}

std::vector<std::string> commandNames() {
  std::vector<std::string> names;
  for (const CommandRow& command : commandTable()) names.emplace_back(command.name);
  return names;
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

Arguments parseArguments(const std::vector<std::string>& words) {
  Arguments arguments;
  CLI::App parser;
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
  try {
    std::vector<std::string> reversed(words.rbegin(), words.rend());
    parser.parse(reversed);
  } catch (const CLI::ParseError& error) {
    throw UsageError(error.what());
  }
  for (const CLI::App* used : parser.get_subcommands()) arguments.command = findCommand(used->get_name());
  std::vector<std::string> leftovers = parser.remaining(true);
  refuseLeftovers(leftovers, arguments);
  std::erase(leftovers, "--");
  arguments.positionals = std::move(leftovers);
  for (const OptionRow& option : globalOptions()) checkChoices(option, arguments);
  if (arguments.command == nullptr) return arguments;
  for (const OptionRow& option : arguments.command->options) checkChoices(option, arguments);
  if (!arguments.has("--help")) checkPositionals(arguments);
  return arguments;
}

}  // namespace quarn
