#include <algorithm>
#include <sstream>

#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/commands/CommandTable.h"
#include "tests/quarn/commands/CommandDocument.h"

namespace quarn::command_line_tests {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

TEST(CommandLine, HelpShowsExamplesBeforeOptionsForEveryCommand) {
  for (const CommandRow& command : commandTable()) {
    const CommandRun run = runQuarn({std::string(command.name), "--help"});
    EXPECT_EQ(run.exitCode, 0) << command.name;
    for (const OptionRow& option : command.options) EXPECT_THAT(run.out, HasSubstr(std::string(option.name)));
    if (command.examples.empty()) continue;
    const auto example = run.out.find(command.examples.front().line);
    EXPECT_LT(example, run.out.find("Usage:")) << command.name;
  }
}

TEST(CommandLine, HelpOfTheProgramNamesEveryCommand) {
  const CommandRun run = runQuarn({"--help"});
  EXPECT_EQ(run.exitCode, 0);
  for (const CommandRow& command : commandTable()) EXPECT_THAT(run.out, HasSubstr(std::string(command.summary)));
  EXPECT_THAT(run.out, HasSubstr("quarn help options"));
}

std::size_t columnsOf(std::string_view line) {
  const auto isContinuation = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; };
  return line.size() - static_cast<std::size_t>(std::count_if(line.begin(), line.end(), isContinuation));
}

TEST(CommandLine, HelpOfACommandFitsATerminalOf24LinesOf80Columns) {
  for (const CommandRow& command : commandTable()) {
    const std::string text = runQuarn({"help", std::string(command.name)}).out;
    EXPECT_LE(std::count(text.begin(), text.end(), '\n'), 24) << text;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) EXPECT_LE(columnsOf(line), 80U) << line;
    for (const OptionRow& option : command.options) EXPECT_THAT(text, HasSubstr(std::string(option.name)));
    EXPECT_THAT(text, HasSubstr("quarn help options")) << command.name;
    EXPECT_EQ(text.find("--forensic"), std::string::npos) << command.name;
  }
}

TEST(CommandLine, HelpOfTheOptionsListsTheGlobalOnesAndTheExitCodes) {
  const CommandRun run = runQuarn({"help", "options"});
  EXPECT_EQ(run.exitCode, 0);
  for (const OptionRow& option : globalOptions()) EXPECT_THAT(run.out, HasSubstr(std::string(option.name)));
  EXPECT_THAT(run.out, HasSubstr("130 interrupted"));
  for (const char* names : {"\n  -q, --quiet ", "\n  -v, --verbose ", "\n  -h, --help ", "\n  -V, --version "}) {
    EXPECT_THAT(run.out, HasSubstr(names));
  }
}

TEST(CommandLine, WithoutArgumentsItPrintsTheHelpAndExitsWithAUsageError) {
  const CommandRun run = runQuarn({});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.out, HasSubstr("Commands:"));
}

TEST(CommandLine, WithoutACommandJsonOutputIsAnErrorDocument) {
  const CommandRun run = runQuarn({"--json"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_EQ(document(run),
            nlohmann::json::parse(R"({"schemaVersion":1,"error":{"message":"no command given","exitCode":2}})"));
  EXPECT_EQ(run.err, "quarn: no command given\nTry: quarn --help\n");
  const CommandRun lines = runQuarn({"--ndjson"});
  EXPECT_EQ(lines.exitCode, 2);
  EXPECT_EQ(lines.out, "");
}

TEST(CommandLine, TheVersionCanBeAJsonDocument) {
  const std::string version = nlohmann::json::parse(runQuarn({"--version", "--json"}).out)["version"];
  EXPECT_EQ(runQuarn({"--version"}).out, "quarn " + version + "\n");
  EXPECT_EQ(runQuarn({"-V"}).out, "quarn " + version + "\n");
  EXPECT_EQ(runQuarn({"--version", "--json"}).out,
            "{\n  \"schemaVersion\": 1,\n  \"version\": \"" + version + "\"\n}\n");
  EXPECT_EQ(runQuarn({"--version", "--ndjson"}).out, R"({"schemaVersion":1,"version":")" + version + "\"}\n");
}

TEST(CommandLine, AMisspeltCommandGetsASuggestion) {
  const CommandRun run = runQuarn({"inspekt", "Mail"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("unknown command \"inspekt\"; did you mean inspect?"));
}

TEST(CommandLine, AMisspeltOptionGetsASuggestion) {
  EXPECT_THAT(runQuarn({"top", "--limmit", "3"}).err, HasSubstr("unknown option --limmit; did you mean --limit?"));
  EXPECT_THAT(runQuarn({"apps", "--jsn"}).err, HasSubstr("did you mean --json?"));
  EXPECT_EQ(runQuarn({"apps", "--jsn"}).exitCode, 2);
}

TEST(CommandLine, AnInvalidChoiceNamesTheOptionAndGetsASuggestion) {
  const CommandRun run = runOnSample({"plan", "Lumen Notes", "--mode", "removeapp"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, AllOf(HasSubstr("--mode: expected cacheOnly|"), HasSubstr("got \"removeapp\""),
                             HasSubstr("did you mean removeApp?")));
}

TEST(CommandLine, AnInvalidNumberNamesTheOption) {
  const CommandRun run = runOnSample({"top", "--limit", "many"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("--limit: expected a whole number, got \"many\""));
}

TEST(CommandLine, ANegativeNumberNamesTheOption) {
  const CommandRun run = runOnSample({"top", "--limit", "-1"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("--limit: expected 0 or more, got -1"));
}

TEST(CommandLine, AMissingArgumentNamesTheOptionAndItsHelp) {
  EXPECT_THAT(runOnSample({"top", "--limit"}).err,
              HasSubstr("quarn: --limit requires N: List at most N items (default 20)\n"));
  EXPECT_THAT(runOnSample({"report", "-o"}).err, HasSubstr("quarn: --output requires FILE: Write to FILE"));
  EXPECT_THAT(runQuarn({"apps", "--volume"}).err, HasSubstr("quarn: --volume requires DIR: Inspect the Mac volume"));
  EXPECT_THAT(runQuarn({"top", "--depth"}).err,
              HasSubstr("quarn: --depth requires N: Search at most N levels deep (default no limit)"));
}

TEST(CommandLine, ASwitchTakesNoValue) {
  const CommandRun run = runOnSample({"apps", "--json=no"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("--json takes no value"));
}

TEST(CommandLine, AnArgumentMayFollowAnEqualsSign) {
  EXPECT_THAT(runOnSample({"plan", "Lumen Notes", "--mode=cacheOnly"}).out, HasSubstr("Plan: cacheOnly."));
  EXPECT_THAT(runOnSample({"top", "--limt=3"}).err, HasSubstr("did you mean --limit?"));
}

TEST(CommandLine, WordsAfterTwoHyphensAreNames) {
  EXPECT_THAT(runOnSample({"inspect", "--", "--json"}).err, HasSubstr("no app \"--json\""));
  EXPECT_EQ(runOnSample({"inspect", "--", "--json"}).out, "");
  EXPECT_EQ(runOnSample({"inspect", "--no-sizes", "--", "Lumen Notes"}).exitCode, 0);
  EXPECT_EQ(runOnSample({"inspect", "-weird"}).exitCode, 2);
}

TEST(CommandLine, AnInvalidPositionalGetsASuggestion) {
  const std::vector<std::pair<std::vector<std::string>, std::string>> rows{
      {{"storage", "gams"}, "quarn: expected apps|"},
      {{"storage", "gams"}, "did you mean games?"},
      {{"completions", "bsah"}, "did you mean bash?"},
      {{"vendors", "chek", "/tmp"}, "quarn: expected check, got \"chek\"; did you mean check?\n"},
      {{"plan", "Slack", "--mode", "cache"}, "did you mean cacheOnly?"},
      {{"APPS"}, "unknown command \"APPS\"; did you mean apps?"},
      {{"kexts", "--macos"}, "unknown option --macos; did you mean --include-macos?"},
      {{"report", "--out", "x"}, "unknown option --out; did you mean --output?"},
      {{"help", "inspct"}, "did you mean inspect?"},
      {{"apps", "--color", "nevr"}, "did you mean never?"},
      {{"top", "--category", "photo"}, "did you mean photos?"}};
  for (const auto& [words, problem] : rows) {
    const CommandRun run = runOnSample(words);
    EXPECT_EQ(run.exitCode, 2) << problem;
    EXPECT_THAT(run.err, HasSubstr(problem));
    EXPECT_EQ(run.out, "");
  }
}

TEST(CommandLine, AUsageErrorPointsToTheHelpOfTheCommand) {
  EXPECT_THAT(runQuarn({"top", "--limit", "x"}).err, HasSubstr("\nTry: quarn top --help\n"));
  EXPECT_THAT(runQuarn({"tpo"}).err, HasSubstr("\nTry: quarn --help\n"));
  EXPECT_THAT(runQuarn({"--volume", "sample", "top", "--limit", "abc"}).err, HasSubstr("\nTry: quarn top --help\n"));
  EXPECT_THAT(runQuarn({"--volume", "sample", "top", "--limit"}).err, HasSubstr("\nTry: quarn top --help\n"));
  EXPECT_THAT(runQuarn({"inspect"}).err, HasSubstr("\nTry: quarn inspect --help\n"));
}

TEST(CommandLine, AMissingAppIsAUsageError) {
  const CommandRun run = runQuarn({"inspect"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("inspect requires APP"));
}

TEST(CommandLine, AnExtraArgumentIsAUsageError) {
  EXPECT_THAT(runQuarn({"apps", "extra"}).err, HasSubstr("unexpected argument \"extra\" for apps"));
}

TEST(CommandLine, GlobalOptionsMayPrecedeOrFollowTheCommand) {
  const CommandRun before = runQuarn({"--volume", sampleFolder(), "--home", "/Users/ann", "--json", "apps"});
  const CommandRun behind = runQuarn({"apps", "--volume", sampleFolder(), "--home", "/Users/ann", "--json"});
  EXPECT_EQ(before.exitCode, 0);
  EXPECT_EQ(before.out, behind.out);
}

TEST(CommandLine, AnOptionTakesExactlyOneArgument) {
  EXPECT_THAT(runOnSample({"plan", "--mode", "cacheOnly", "Lumen Notes"}).out, HasSubstr("Plan: cacheOnly."));
  EXPECT_THAT(runOnSample({"--locale", "en", "top", "--limit", "1", "~/Movies"}).out, HasSubstr("~/Movies/"));
  EXPECT_THAT(runOnSample({"report", "-o", "-", "Lumen Notes"}).out,
              HasSubstr("<title>What belongs to Lumen Notes</title>"));
}

}  // namespace
}  // namespace quarn::command_line_tests
