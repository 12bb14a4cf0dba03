#include <array>
#include <cstdint>

#include "quarn/commands/Arguments.h"
#include "quarn/commands/Choices.h"
#include "quarn/commands/CommandContext.h"
#include "quarn/commands/Commands.h"
#include "quarn/commands/Help.h"
#include "quarn/commands/Suggestions.h"

namespace quarn {
namespace {

enum class Shell : std::uint8_t { bash, zsh, fish };

}  // namespace

template <>
struct RawValues<Shell> {
  static constexpr std::array<std::string_view, 3> kStrings{"bash", "zsh", "fish"};
};

namespace {

std::string completionScript(Shell shell) {
  switch (shell) {
    case Shell::bash: return bashCompletion();
    case Shell::zsh: return zshCompletion();
    case Shell::fish: return fishCompletion();
  }
  return {};
}

ExitCode runCompletions(CommandContext& context) {
  const std::string& shell = context.arguments().positionals.front();
  context.print(completionScript(fromRawValue<Shell>(shell).value()));
  return ExitCode::ok;
}

ExitCode runManual(CommandContext& context) {
  context.print(manualPage());
  return ExitCode::ok;
}

ExitCode runHelp(CommandContext& context) {
  const auto& words = context.arguments().positionals;
  if (words.empty()) {
    context.print(helpText(nullptr));
    return ExitCode::ok;
  }
  if (words.front() == kOptionsTopic) {
    context.print(optionsHelpText());
    return ExitCode::ok;
  }
  const CommandRow* command = commandRow(words.front());
  if (command == nullptr) {
    throw UsageError(withSuggestion("unknown command \"" + words.front() + "\"", words.front(), commandNames()));
  }
  context.print(helpText(command));
  return ExitCode::ok;
}

constexpr std::array kCompletionsPositionals{
    PositionalRow{.name = "SHELL", .help = kChoiceList<Shell>, .isRequired = true, .choices = kChoices<Shell>}};
constexpr std::array kCompletionsExamples{
    ExampleRow{.line = "quarn completions bash > ~/.local/share/bash-completion/completions/quarn",
               .meaning = "install the completions for bash"},
};
constexpr CommandRow kCompletionsRow{.name = "completions",
                                     .summary = "Print the completion script for a shell",
                                     .positionals = kCompletionsPositionals,
                                     .examples = kCompletionsExamples,
                                     .run = runCompletions,
                                     .readsSettings = false};

constexpr std::array kManualExamples{
    ExampleRow{.line = "quarn manual > quarn.1", .meaning = "write the page; read it with man -l quarn.1"},
};
constexpr CommandRow kManualRow{.name = "manual",
                                .summary = "Print the manual page",
                                .examples = kManualExamples,
                                .run = runManual,
                                .readsSettings = false};

constexpr std::array kHelpPositionals{
    PositionalRow{.name = "COMMAND", .help = "Command to describe, or options: the global options", .isCommand = true}};
constexpr std::array kHelpExamples{
    ExampleRow{.line = "quarn help inspect", .meaning = "the same as quarn inspect --help"},
    ExampleRow{.line = "quarn help options", .meaning = "the options of all commands, and the exit codes"},
};
constexpr CommandRow kHelpRow{.name = "help",
                              .summary = "Print the help of a command",
                              .positionals = kHelpPositionals,
                              .examples = kHelpExamples,
                              .run = runHelp,
                              .readsSettings = false};

}  // namespace

const CommandRow& completionsCommand() { return kCompletionsRow; }
const CommandRow& manualCommand() { return kManualRow; }
const CommandRow& helpCommand() { return kHelpRow; }

}  // namespace quarn
