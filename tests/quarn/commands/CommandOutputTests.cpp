#include <algorithm>
#include <filesystem>

#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "tests/quarn/commands/CommandDocument.h"
#include "tests/support/GoldenFile.h"
#include "tests/support/MacVolume.h"
#include "tests/support/ProjectFolder.h"

namespace quarn::command_output_tests {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

TEST(CommandOutput, JSONIsOneDocumentWithSchemaVersionAndUnreadItems) {
  const std::vector<std::vector<std::string>> commands{{"apps"},
                                                       {"inspect", "Lumen Notes"},
                                                       {"plan", "Lumen Notes"},
                                                       {"storage"},
                                                       {"storage", "games"},
                                                       {"top"},
                                                       {"cloud"},
                                                       {"vendors"},
                                                       {"jobs"},
                                                       {"receipts"},
                                                       {"kexts"}};
  for (std::vector<std::string> words : commands) {
    words.emplace_back("--json");
    const nlohmann::json parsed = document(runOnSample(words));
    ASSERT_TRUE(parsed.is_object()) << words.front();
    EXPECT_EQ(parsed["schemaVersion"], 1) << words.front();
    EXPECT_TRUE(parsed["unreadable"]["causes"].contains("permission")) << words.front();
  }
}

TEST(CommandOutput, NDJSONIsOneValuePerLine) {
  const CommandRun run = runOnSample({"apps", "--ndjson"});
  const auto lines = std::count(run.out.begin(), run.out.end(), '\n');
  EXPECT_EQ(static_cast<std::size_t>(lines), document(runOnSample({"apps", "--json"}))["apps"].size());
  EXPECT_TRUE(nlohmann::json::accept(run.out.substr(0, run.out.find('\n'))));
}

TEST(CommandOutput, AnErrorCanBeJSON) {
  const CommandRun run = runQuarn({"--volume", "/nowhere", "--home", "/Users/ann", "apps", "--json"});
  EXPECT_EQ(document(run)["error"]["name"], "ENOENT");
  EXPECT_EQ(document(run)["error"]["path"], "/nowhere");
  EXPECT_EQ(document(run)["error"]["exitCode"], 3);
}

TEST(CommandOutput, AUsageErrorDocumentHoldsOneSentence) {
  const CommandRun run = runOnSample({"plan", "Lumen Notes", "--mode", "x", "--json"});
  EXPECT_EQ(document(run)["error"]["message"],
            "--mode: expected cacheOnly|associatedDataOnly|removeApp|aggressive, got \"x\"");
  EXPECT_EQ(document(run)["error"]["exitCode"], 2);
  EXPECT_EQ(document(runOnSample({"inspect", "Nobody", "--json"}))["error"]["exitCode"], 3);
}

TEST(CommandOutput, AFullDiskForStandardOutputIsReported) {
  const CommandRun run = runProgram(
      "/bin/sh", {"-c", "\"$0\" --volume \"$1\" --home /Users/ann apps > /dev/full", quarnProgram(), sampleFolder()});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_EQ(run.err, "quarn: write standard output: No space left on device\n");
}

TEST(CommandOutput, ResponsesThatCannotBeWrittenAreAFailureWithTheCause) {
  const CommandRun run = runProgram(
      "/bin/sh", {"-c", "\"$0\" --volume \"$1\" --home /Users/ann rpc > /dev/full", quarnProgram(), sampleFolder()},
      R"({"jsonrpc":"2.0","id":1,"method":"LaunchdScanner.scan"})"
      "\n");
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_EQ(run.err, "quarn: write standard output: No space left on device\n");
}

TEST(CommandOutput, AClosedOutputEndsTheCommandWithoutAMessage) {
  const CommandRun run =
      runProgram("/bin/bash",
                 {"-c", "for i in 1 2 3; do \"$0\" --volume \"$1\" --home /Users/ann receipts --json; done | head -c 1",
                  quarnProgram(), sampleFolder()});
  EXPECT_EQ(run.out, "{");
  EXPECT_EQ(run.err, "");
}

TEST(CommandOutput, NamesNeverReachTheTerminalRaw) {
  const CommandRun run = runOnSample({"apps"});
  EXPECT_THAT(run.out, Not(HasSubstr("\x1B")));
  EXPECT_THAT(run.out, HasSubstr("\\x1B[31m"));
}

TEST(CommandOutput, NamesInDocumentsNeverReachTheTerminalRaw) {
  MacVolume volume;
  volume.file("~/Documents/a\xC2\x9Bz");
  const CommandRun run = runQuarn({"--volume", volume.root(), "top", "--json"});
  EXPECT_THAT(run.out, AllOf(HasSubstr("a\\u009bz"), Not(HasSubstr("\xC2\x9B"))));
  EXPECT_EQ(document(run)["items"][0]["name"], "a\xC2\x9Bz");
}

TEST(CommandOutput, ColoursAreOnlyUsedOnTerminalsUnlessForced) {
  EXPECT_THAT(runOnSample({"inspect", "Lumen Notes"}).out, Not(HasSubstr("\x1B[")));
  EXPECT_THAT(runOnSample({"inspect", "Lumen Notes", "--color", "always"}).out, HasSubstr("\x1B[31m"));
  EXPECT_THAT(runOnSample({"inspect", "Lumen Notes", "--color", "always", "--json"}).out, Not(HasSubstr("\x1B[")));
}

TEST(CommandOutput, ProgressIsOnlyShownOnTerminals) { EXPECT_EQ(runOnSample({"inspect", "Lumen Notes"}).err, ""); }

TEST(CommandOutput, SizesHaveTheSelectedUnits) {
  EXPECT_THAT(runOnSample({"top", "--by", "length", "--limit", "1"}).out, HasSubstr("64.00 GB"));
  EXPECT_THAT(runOnSample({"top", "--by", "length", "--limit", "1", "--iec"}).out, HasSubstr("GiB"));
  EXPECT_THAT(runOnSample({"top", "--by", "length", "--limit", "1", "--bytes"}).out, HasSubstr("64000000000"));
}

TEST(CommandOutput, AnEmptyListPrintsNothingFound) {
  const MacVolume volume;
  const std::vector<std::vector<std::string>> commands{
      {"apps"}, {"inspect", "--all"}, {"jobs"}, {"receipts"}, {"kexts"}, {"top"}, {"cloud"}};
  for (std::vector<std::string> words : commands) {
    words.insert(words.begin(), {"--volume", volume.root(), "--home", "/Users/ann"});
    const CommandRun run = runQuarn(words);
    EXPECT_EQ(run.exitCode, 0) << words[4];
    EXPECT_EQ(run.out, "") << words[4];
    EXPECT_EQ(run.err, "quarn: nothing found\n") << words[4];
    for (const char* silent : {"--quiet", "--json", "--ndjson"}) {
      words.emplace_back(silent);
      EXPECT_EQ(runQuarn(words).err, "") << words[4] << silent;
      words.pop_back();
    }
  }
}

TEST(CommandOutput, TheTextsFollowTheLocale) {
  const CommandRun german = runOnSample({"inspect", "Lumen Notes", "--no-sizes", "--locale", "de_DE"});
  EXPECT_EQ(german.exitCode, 0);
  EXPECT_THAT(german.out,
              AllOf(HasSubstr("Protokolle: hilfreich bei der Fehlersuche, lassen sich meist gefahrlos entfernen."),
                    Not(HasSubstr("Logs: helpful for debugging"))));
  const CommandRun english = runOnSample({"inspect", "Lumen Notes", "--no-sizes"});
  EXPECT_EQ(english.exitCode, 0);
  EXPECT_THAT(english.out, HasSubstr("Logs: helpful for debugging"));
}

TEST(CommandOutput, ALogOnTheInspectedVolumeIsRefused) {
  const CommandRun run = runOnSample({"apps", "--log", sampleFolder() + "/log"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("is on the inspected volume"));
}

TEST(CommandOutput, ALogThatALinkPutsOnTheInspectedVolumeIsRefused) {
  MacVolume volume;
  volume.file("/mac/Users/ann/a").link("/log", "mac/Users/ann/log");
  const CommandRun run = runQuarn({"--volume", volume.root() + "/mac", "apps", "--log", volume.root() + "/log"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_FALSE(volume.files().itemExists(volume.url("/mac/Users/ann/log")));
}

TEST(CommandOutput, AClosedDescriptorIsNotReusedByTheNextFile) {
  MacVolume volume;
  const std::string log = volume.root() + "/log";
  const CommandRun run =
      runProgram("/bin/sh", {"-c", "exec \"$0\" --volume \"$1\" --home /Users/ann --log \"$2\" apps <&- >&-",
                             quarnProgram(), sampleFolder(), log});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("standard output: Bad file descriptor"));
  EXPECT_THAT(volume.files().readFile(FileURL("/log"), 1 << 20), Not(HasSubstr("Lumen Notes")));
}

TEST(CommandOutput, TheOutputsOnTheSampleVolumeMatchTheGoldenFiles) {
  const std::vector<std::pair<std::string, std::vector<std::string>>> cases{
      {"apps.txt", {"apps"}},
      {"inspect.txt", {"inspect", "Lumen Notes", "--bytes"}},
      {"plan.txt", {"plan", "Tessera Studio", "--mode", "aggressive", "--bytes"}},
      {"jobs.txt", {"jobs"}},
      {"receipts.txt", {"receipts"}},
      {"kexts.txt", {"kexts"}},
      {"top.txt", {"top", "--by", "length", "--limit", "8"}},
      {"vendors-match.txt", {"vendors", "--match", "Slack"}},
  };
  const std::filesystem::path folder = projectFolder() / "tests/quarn/commands/golden";
  for (const auto& [name, words] : cases) EXPECT_TRUE(isGolden(folder / name, runOnSample(words).out));
}

TEST(CommandOutput, ALogThatTheDiskDoesNotTakeIsSaid) {
  const CommandRun run = runOnSample({"--log", "/dev/full", "storage"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.err, HasSubstr("the log could not be written whole"));
  EXPECT_EQ(runOnSample({"--log", "/dev/null", "storage"}).err, "");
}

}  // namespace
}  // namespace quarn::command_output_tests
