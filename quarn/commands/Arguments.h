#pragma once

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/commands/CommandTable.h"

namespace quarn {

/// A command line that cannot be understood. `what()` says which option and, where one is near, the one that was meant.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A command line, taken apart by the table of commands. A plain value.
struct Arguments {
  const CommandRow* command = nullptr;                                   ///< null when none was given
  std::map<std::string, std::vector<std::string>, std::less<>> options;  ///< by name; a switch has an empty text
  std::vector<std::string> positionals;

  [[nodiscard]] bool has(std::string_view option) const { return options.find(option) != options.end(); }
  /// The option's last argument.
  [[nodiscard]] std::optional<std::string> text(std::string_view option) const;
  [[nodiscard]] std::vector<std::string> texts(std::string_view option) const;
  /// The option's argument as a whole number that is not negative; throws UsageError for anything else.
  [[nodiscard]] long number(std::string_view option, long otherwise) const;
};

/// Takes the words behind the program's name apart; behind "--" all of them are names. Throws UsageError.
Arguments parseArguments(const std::vector<std::string>& words);
/// The same into `arguments`, which hold, when it throws, what was understood until then: the command at least.
void parseArguments(const std::vector<std::string>& words, Arguments& arguments);

/// The names of all commands.
std::vector<std::string> commandNames();

}  // namespace quarn
