#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnModels/RawValue.h"
#include "quarn/commands/CommandTable.h"

namespace quarn {

/// The command line is invalid. `what()` names the option and suggests a similar one.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// What sets an option, the weakest first.
enum class SourceKind : std::uint8_t { builtIn, file, environment, commandLine };

template <>
struct RawValues<SourceKind> {
  static constexpr std::array<std::string_view, 4> kStrings{"builtIn", "file", "environment", "commandLine"};
};

/// Where the value of an option comes from: "QUARN_VOLUME", or a file and its line.
struct OptionSource {
  SourceKind kind = SourceKind::builtIn;
  std::string place{};
};

/// The parsed command line.
struct Arguments {
  const CommandRow* command = nullptr;                                   ///< null if there is none
  std::map<std::string, std::vector<std::string>, std::less<>> options;  ///< by name; empty text for a switch
  std::vector<std::string> positionals;
  std::map<std::string, OptionSource, std::less<>> sources{};  ///< of the options that the command line does not have

  [[nodiscard]] bool has(std::string_view option) const { return options.find(option) != options.end(); }
  /// The argument of the last occurrence.
  [[nodiscard]] std::optional<std::string> text(std::string_view option) const;
  [[nodiscard]] std::vector<std::string> texts(std::string_view option) const;
  /// The argument as a number; `otherwise` if the option is absent. Throws UsageError unless it is an integer of 0 or
  /// more.
  [[nodiscard]] long number(std::string_view option, long otherwise) const;
};

/// Parses the words after the program's name. Words after "--" are positionals. Throws UsageError.
Arguments parseArguments(const std::vector<std::string>& words);
/// The same, but on an error `arguments` keeps what was parsed so far, including the command.
void parseArguments(const std::vector<std::string>& words, Arguments& arguments);

std::vector<std::string> commandNames();

}  // namespace quarn
