#include <gtest/gtest.h>

#include "quarn/commands/Arguments.h"

namespace quarn {
namespace {

TEST(Nearest, IsTheCandidateWithTheFewestSlips) {
  const std::vector<std::string> candidates{"bash", "zsh", "fish", "inspect", "storage"};
  const std::vector<std::pair<std::string, std::string>> rows{{"bsah", "bash"},       {"bas", "bash"},
                                                              {"bassh", "bash"},      {"zhs", "zsh"},
                                                              {"inspekt", "inspect"}, {"sotrgae", "storage"}};
  for (const auto& [word, meant] : rows) EXPECT_EQ(nearest(word, candidates), meant) << word;
}

TEST(Nearest, IsAbsentWhenNoneIsNear) {
  EXPECT_EQ(nearest("tcsh", {"bash", "fish"}), std::nullopt);
  EXPECT_EQ(nearest("", {"bash"}), std::nullopt);
  EXPECT_EQ(nearest("bash", {}), std::nullopt);
}

TEST(Arguments, NumbersAreWholeAndNotNegative) {
  EXPECT_EQ(parseArguments({"top", "--limit", "7"}).number("--limit", 20), 7);
  EXPECT_EQ(parseArguments({"top"}).number("--limit", 20), 20);
  EXPECT_EQ(parseArguments({"top", "--limit", "0"}).number("--limit", 20), 0);
  for (const char* text : {"-1", "1.5", "1e3", " 1", "1 ", "", "99999999999999999999", "0x10"}) {
    EXPECT_THROW((void)parseArguments({"top", "--limit", text}).number("--limit", 20), UsageError) << text;
  }
}

TEST(Arguments, ARepeatedOptionKeepsAllAndCountsByItsLast) {
  const Arguments arguments = parseArguments({"plan", "--select", "a", "App", "--select=b"});
  EXPECT_EQ(arguments.texts("--select"), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(arguments.text("--select"), "b");
  EXPECT_EQ(arguments.positionals, (std::vector<std::string>{"App"}));
}

TEST(Arguments, EveryOptionOfEveryCommandIsTakenBeforeAndBehindItsWords) {
  for (const CommandRow& command : commandTable()) {
    for (const auto& options : {globalOptions(), command.options}) {
      for (const OptionRow& option : options) {
        std::vector<std::string> words{std::string(command.name), std::string(option.name)};
        const std::string value = option.choices.empty() ? "1" : choiceWords(option.choices).front();
        if (!option.argument.empty()) words.push_back(value);
        words.emplace_back("--help");
        const Arguments arguments = parseArguments(words);
        EXPECT_EQ(arguments.command, &command);
        EXPECT_EQ(arguments.text(option.name), option.argument.empty() ? "" : value)
            << command.name << " " << option.name;
      }
    }
  }
}

TEST(CommandTable, OptionsHaveOneMeaningEach) {
  for (const CommandRow& command : commandTable()) {
    for (const OptionRow& option : command.options) {
      for (const OptionRow& global : globalOptions()) EXPECT_NE(option.name, global.name) << command.name;
      EXPECT_EQ(optionRow(option.name, &command), &option);
    }
    EXPECT_EQ(commandRow(command.name), &command);
  }
  EXPECT_EQ(commandRow("none"), nullptr);
  EXPECT_EQ(optionRow("--mode", commandRow("apps")), nullptr);
}

}  // namespace
}  // namespace quarn
