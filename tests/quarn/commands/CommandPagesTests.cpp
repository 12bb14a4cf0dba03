#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

#include <gmock/gmock.h>

#include "quarn/commands/Help.h"
#include "tests/support/GoldenFile.h"
#include "tests/support/ProjectFolder.h"

// docs/commands is generated from the table of commands. QUARN_UPDATE_GOLDEN=1 in the environment writes it.

namespace quarn::command_pages_tests {
namespace {

using testing::HasSubstr;

const std::filesystem::path kPages = projectFolder() / "docs/commands";

void compare(const std::string& name, const std::string& page) { EXPECT_TRUE(isGolden(kPages / name, page)); }

TEST(CommandPages, MatchTheTableOfCommands) {
  for (const CommandRow& command : commandTable()) compare(std::string(command.name) + ".md", commandPage(command));
  compare("README.md", commandIndexPage());
}

TEST(CommandPages, ExistOnlyForExistingCommands) {
  std::set<std::string> expected{"README.md"};
  for (const CommandRow& command : commandTable()) expected.insert(std::string(command.name) + ".md");
  std::set<std::string> found;
  for (const auto& entry : std::filesystem::directory_iterator(kPages)) found.insert(entry.path().filename().string());
  EXPECT_EQ(found, expected);
}

TEST(CommandPages, EveryCommandHasAnExample) {
  for (const CommandRow& command : commandTable()) EXPECT_FALSE(command.examples.empty()) << command.name;
}

TEST(CommandPages, APageHoldsUsageArgumentsOptionsAndExamples) {
  constexpr std::array kPositionals{PositionalRow{.name = "FROM", .help = "Where a|b begins", .isRequired = true},
                                    PositionalRow{.name = "TO", .help = "Where it ends", .isRepeatable = true}};
  constexpr std::array kOptions{OptionRow{.name = "--output", .argument = "FILE", .help = "A file", .shortName = "-o"},
                                OptionRow{.name = "--fast", .help = "Less care"}};
  constexpr std::array kExamples{ExampleRow{.line = "quarn go a", .meaning = "to the end"}};
  const CommandRow row{.name = "go",
                       .summary = "Go there",
                       .description = "At once.",
                       .positionals = kPositionals,
                       .options = kOptions,
                       .examples = kExamples,
                       .run = nullptr};
  EXPECT_THAT(commandPage(row), HasSubstr("# quarn go\n\nGo there.\n\nAt once.\n\n"
                                          "```sh\n# to the end\nquarn go a\n```\n\n"
                                          "## Usage\n\n`quarn go [options] FROM [TO…]`\n\n"
                                          "| argument | meaning |\n| --- | --- |\n"
                                          "| `FROM` | Where a\\|b begins |\n"
                                          "| `TO` | Where it ends; may be repeated |\n\n"
                                          "| option | meaning |\n| --- | --- |\n"
                                          "| `-o FILE`, `--output FILE` | A file |\n"
                                          "| `--fast` | Less care |\n\n"));
}

TEST(CommandPages, TheListOfCommandsHoldsTheExitCodes) {
  EXPECT_THAT(commandIndexPage(), HasSubstr("| 0 | success |\n| 1 | failure |\n| 2 | usage error |\n"
                                            "| 3 | not found or ambiguous |\n"
                                            "| 4 | incomplete (something could not be read) |\n"
                                            "| 130 | interrupted |\n"));
}

}  // namespace
}  // namespace quarn::command_pages_tests
