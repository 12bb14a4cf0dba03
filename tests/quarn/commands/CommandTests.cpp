#include <algorithm>
#include <limits>

#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "QuarnPlatform/resources/ResourceBundle.h"
#include "quarn/commands/CommandTable.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/GoldenFile.h"
#include "tests/support/MacVolume.h"
#include "tests/support/MemoryVolume.h"
#include "tests/support/ProjectFolder.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

nlohmann::json document(const CommandRun& run) { return nlohmann::json::parse(run.out, nullptr, false); }

TEST(Command, HelpShowsExamplesBeforeOptionsForEveryCommand) {
  for (const CommandRow& command : commandTable()) {
    const CommandRun run = runQuarn({std::string(command.name), "--help"});
    EXPECT_EQ(run.exitCode, 0) << command.name;
    for (const OptionRow& option : command.options) EXPECT_THAT(run.out, HasSubstr(std::string(option.name)));
    if (command.examples.empty()) continue;
    const auto example = run.out.find(command.examples.front().line);
    EXPECT_LT(example, run.out.find("Usage:")) << command.name;
  }
}

TEST(Command, HelpOfTheProgramNamesEveryCommandAndTheExitCodes) {
  const CommandRun run = runQuarn({"--help"});
  EXPECT_EQ(run.exitCode, 0);
  for (const CommandRow& command : commandTable()) EXPECT_THAT(run.out, HasSubstr(std::string(command.summary)));
  EXPECT_THAT(run.out, HasSubstr("130 interrupted"));
  for (const char* names : {"\n  -q, --quiet ", "\n  -v, --verbose ", "\n  -h, --help ", "\n  -V, --version "}) {
    EXPECT_THAT(run.out, HasSubstr(names));
  }
}

TEST(Command, WithoutAnythingItShowsTheHelpAndEndsAsAUsageError) {
  const CommandRun run = runQuarn({});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.out, HasSubstr("Commands:"));
}

TEST(Command, WithoutACommandAProgramIsToldSoInItsOwnForm) {
  const CommandRun run = runQuarn({"--json"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_EQ(document(run),
            nlohmann::json::parse(R"({"schemaVersion":1,"error":{"message":"no command is given","exitCode":2}})"));
  EXPECT_EQ(run.err, "quarn: no command is given\nTry: quarn --help\n");
  const CommandRun lines = runQuarn({"--ndjson"});
  EXPECT_EQ(lines.exitCode, 2);
  EXPECT_EQ(lines.out, "");
}

TEST(Command, TheVersionIsADocumentForPrograms) {
  const std::string version = nlohmann::json::parse(runQuarn({"--version", "--json"}).out)["version"];
  EXPECT_EQ(runQuarn({"--version"}).out, "quarn " + version + "\n");
  EXPECT_EQ(runQuarn({"-V"}).out, "quarn " + version + "\n");
  EXPECT_EQ(runQuarn({"--version", "--json"}).out,
            "{\n  \"schemaVersion\": 1,\n  \"version\": \"" + version + "\"\n}\n");
  EXPECT_EQ(runQuarn({"--version", "--ndjson"}).out, R"({"schemaVersion":1,"version":")" + version + "\"}\n");
}

TEST(Command, AMisspeltCommandNamesTheNearestOne) {
  const CommandRun run = runQuarn({"inspekt", "Mail"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("unknown command \"inspekt\"; did you mean inspect?"));
}

TEST(Command, AMisspeltOptionNamesTheNearestOne) {
  EXPECT_THAT(runQuarn({"top", "--limmit", "3"}).err, HasSubstr("unknown option --limmit; did you mean --limit?"));
  EXPECT_THAT(runQuarn({"apps", "--jsn"}).err, HasSubstr("did you mean --json?"));
  EXPECT_EQ(runQuarn({"apps", "--jsn"}).exitCode, 2);
}

TEST(Command, AWrongChoiceNamesTheOptionAndTheNearestChoice) {
  const CommandRun run = runOnSample({"plan", "Lumen Notes", "--mode", "removeapp"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, AllOf(HasSubstr("--mode: \"removeapp\" is none of"), HasSubstr("did you mean removeApp?")));
}

TEST(Command, ANumberThatIsNoneNamesTheOption) {
  const CommandRun run = runOnSample({"top", "--limit", "many"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("--limit: \"many\" is no whole number"));
}

TEST(Command, ANumberBelowZeroNamesTheOption) {
  const CommandRun run = runOnSample({"top", "--limit", "-1"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("--limit: -1 is below 0"));
}

TEST(Command, AMissingArgumentNamesTheOptionAndItsPurpose) {
  EXPECT_THAT(runOnSample({"top", "--limit"}).err, HasSubstr("quarn: --limit takes N: How many (20)\n"));
  EXPECT_THAT(runOnSample({"report", "-o"}).err, HasSubstr("quarn: --output takes FILE: Page to write"));
  EXPECT_THAT(runQuarn({"apps", "--volume"}).err, HasSubstr("quarn: --volume takes DIR: Mac volume"));
  EXPECT_THAT(runQuarn({"top", "--depth"}).err, HasSubstr("quarn: --depth takes N: Levels to look at (no limit)"));
}

TEST(Command, ASwitchTakesNoValue) {
  const CommandRun run = runOnSample({"apps", "--json=no"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("--json takes no value"));
}

TEST(Command, AnArgumentMayStandBehindAnEqualsSign) {
  EXPECT_THAT(runOnSample({"plan", "Lumen Notes", "--mode=cacheOnly"}).out, HasSubstr("Plan: cacheOnly."));
  EXPECT_THAT(runOnSample({"top", "--limt=3"}).err, HasSubstr("did you mean --limit?"));
}

TEST(Command, BehindTwoHyphensStandNames) {
  EXPECT_THAT(runOnSample({"inspect", "--", "--json"}).err, HasSubstr("no app \"--json\""));
  EXPECT_EQ(runOnSample({"inspect", "--", "--json"}).out, "");
  EXPECT_EQ(runOnSample({"inspect", "--no-sizes", "--", "Lumen Notes"}).exitCode, 0);
  EXPECT_EQ(runOnSample({"inspect", "-weird"}).exitCode, 2);
}

TEST(Command, AWordOfAClosedSetNamesTheNearest) {
  const std::vector<std::pair<std::vector<std::string>, std::string>> rows{
      {{"storage", "gams"}, "quarn: \"gams\" is none of apps|"},
      {{"storage", "gams"}, "did you mean games?"},
      {{"completions", "bsah"}, "did you mean bash?"},
      {{"vendors", "chek", "/tmp"}, "quarn: \"chek\" is none of check; did you mean check?\n"},
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

TEST(Command, AUsageErrorPointsToTheHelpOfTheCommand) {
  EXPECT_THAT(runQuarn({"top", "--limit", "x"}).err, HasSubstr("\nTry: quarn top --help\n"));
  EXPECT_THAT(runQuarn({"tpo"}).err, HasSubstr("\nTry: quarn --help\n"));
  EXPECT_THAT(runQuarn({"--volume", "sample", "top", "--limit", "abc"}).err, HasSubstr("\nTry: quarn top --help\n"));
  EXPECT_THAT(runQuarn({"--volume", "sample", "top", "--limit"}).err, HasSubstr("\nTry: quarn top --help\n"));
  EXPECT_THAT(runQuarn({"inspect"}).err, HasSubstr("\nTry: quarn inspect --help\n"));
}

TEST(Command, AMissingAppIsAUsageError) {
  const CommandRun run = runQuarn({"inspect"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("inspect takes APP"));
}

TEST(Command, InspectTakesAnAppOrAll) {
  const CommandRun run = runQuarn({"inspect", "Lumen Notes", "--all"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("--all does not go with APP: leave one of them out"));
}

TEST(Command, AllAppsAreInspectedLikeEachByItself) {
  const nlohmann::json apps = document(runOnSample({"apps", "--json"}))["apps"];
  nlohmann::json inspections = document(runOnSample({"inspect", "--all", "--no-sizes", "--json"}))["inspections"];
  ASSERT_EQ(inspections.size(), apps.size());
  for (std::size_t i = 0; i < apps.size(); ++i) EXPECT_EQ(inspections[i]["app"], apps[i]);
  for (const char* name : {"Lumen Notes", "Slack"}) {
    const auto inspection = std::find_if(inspections.begin(), inspections.end(),
                                         [&](const nlohmann::json& one) { return one["app"]["name"] == name; });
    ASSERT_NE(inspection, inspections.end()) << name;
    const nlohmann::json alone = document(runOnSample({"inspect", name, "--no-sizes", "--json"}));
    for (const char* member : {"uninstallers", "artifacts", "selectedByMode"}) {
      EXPECT_EQ((*inspection)[member], alone[member]) << name << ' ' << member;
    }
  }
  const std::string lines = runOnSample({"inspect", "--all", "--no-sizes", "--ndjson"}).out;
  EXPECT_EQ(static_cast<std::size_t>(std::count(lines.begin(), lines.end(), '\n')), apps.size());
}

TEST(Command, OneWordTooManyIsAUsageError) {
  EXPECT_THAT(runQuarn({"apps", "extra"}).err, HasSubstr("\"extra\" is one word too many for apps"));
}

TEST(Command, GlobalOptionsMayStandBeforeAndBehindTheCommand) {
  const CommandRun before = runQuarn({"--volume", sampleFolder(), "--home", "/Users/ann", "--json", "apps"});
  const CommandRun behind = runQuarn({"apps", "--volume", sampleFolder(), "--home", "/Users/ann", "--json"});
  EXPECT_EQ(before.exitCode, 0);
  EXPECT_EQ(before.out, behind.out);
}

TEST(Command, AnOptionTakesOneWordAndLeavesTheNextToTheCommand) {
  EXPECT_THAT(runOnSample({"plan", "--mode", "cacheOnly", "Lumen Notes"}).out, HasSubstr("Plan: cacheOnly."));
  EXPECT_THAT(runOnSample({"--locale", "en", "top", "--limit", "1", "~/Movies"}).out, HasSubstr("~/Movies/"));
  EXPECT_THAT(runOnSample({"report", "-o", "-", "Lumen Notes"}).out,
              HasSubstr("<title>What belongs to Lumen Notes</title>"));
}

TEST(Command, ACommandsNameMayBeAnAppsName) {
  const CommandRun run = runOnSample({"inspect", "apps"});
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_THAT(run.err, HasSubstr("no app \"apps\""));
}

TEST(Command, AVolumeThatDoesNotExistIsNamedWithTheReason) {
  const CommandRun run = runQuarn({"--volume", "/nowhere/at/all", "--home", "/Users/ann", "apps"});
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_THAT(run.err, HasSubstr("open volume /nowhere/at/all: No such file or directory"));
}

TEST(Command, AHomeThatIsNotThereIsNamed) {
  const CommandRun run = runQuarn({"--volume", sampleFolder(), "--home", "/Users/zoe", "apps"});
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_THAT(run.err, HasSubstr("home folder /Users/zoe is not on the volume"));
}

TEST(Command, SeveralHomesAreListedAndOneIsTaken) {
  const CommandRun several = runQuarn({"--volume", sampleFolder(), "apps"});
  EXPECT_EQ(several.exitCode, 2);
  EXPECT_THAT(several.err, AllOf(HasSubstr("/Users/ann"), HasSubstr("/Users/bob"), Not(HasSubstr("/Users/Shared"))));
  MacVolume volume;
  volume.app("/Applications/Only.app", {.bundleIdentifier = "com.example.only"});
  EXPECT_EQ(runQuarn({"--volume", volume.root(), "apps"}).exitCode, 0);
}

TEST(Command, AnAmbiguousNameListsTheCandidates) {
  const CommandRun run = runOnSample({"inspect", "kestr"});
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_THAT(run.err, AllOf(HasSubstr("may mean several apps"), HasSubstr("/Applications/Kestrel.app"),
                             HasSubstr("/Applications/Kestrel Pro.app")));
}

TEST(Command, AnAmbiguousNamesDocumentHoldsTheCandidates) {
  const nlohmann::json error = document(runOnSample({"inspect", "kestr", "--json"}))["error"];
  EXPECT_THAT(error["message"].get<std::string>(), StartsWith("\"kestr\" may mean several apps"));
  EXPECT_EQ(error["exitCode"], 3);
  EXPECT_EQ(error["candidates"], nlohmann::json::parse(R"([
    {"name": "Kestrel", "bundleIdentifier": "com.kestrelsoft.kestrel", "path": "/Applications/Kestrel.app"},
    {"name": "Kestrel Pro", "bundleIdentifier": "com.kestrelsoft.kestrelpro",
     "path": "/Applications/Kestrel Pro.app"}])"));
}

TEST(Command, ACandidateWithoutAnIdentifierHasNone) {
  MacVolume volume;
  volume.app("/Applications/One.app", {}).app("/Applications/Two/One.app", {});
  const CommandRun run = runQuarn({"--volume", volume.root(), "--home", "/Users/ann", "plan", "One", "--json"});
  ASSERT_EQ(document(run)["error"]["candidates"].size(), 2U) << run.out;
  EXPECT_TRUE(document(run)["error"]["candidates"][0]["bundleIdentifier"].is_null());
}

TEST(Command, AnAppIsFoundByNameIdentifierPathAndURL) {
  for (const char* word : {"Lumen Notes", "lumen notes", "com.lumenworks.notes", "/Applications/Lumen Notes.app",
                           "/Applications/Lumen Notes.app/", "file:///Applications/Lumen%20Notes.app/",
                           "file:///Applications/Lumen%20Notes.app"}) {
    const CommandRun run = runOnSample({"inspect", word, "--no-sizes", "--json"});
    EXPECT_EQ(run.exitCode, 0) << word;
    EXPECT_EQ(document(run)["app"]["id"], "com.lumenworks.notes") << word;
  }
}

TEST(Command, AnUnknownAppNamesTheNearest) {
  EXPECT_THAT(runOnSample({"inspect", "Lumen Note5"}).err, HasSubstr("did you mean \"Lumen Notes\"?"));
}

TEST(Command, JSONIsOneDocumentWithTheSchemasVersionAndWhatWasNotRead) {
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

TEST(Command, NDJSONIsAValueALine) {
  const CommandRun run = runOnSample({"apps", "--ndjson"});
  const auto lines = std::count(run.out.begin(), run.out.end(), '\n');
  EXPECT_EQ(static_cast<std::size_t>(lines), document(runOnSample({"apps", "--json"}))["apps"].size());
  EXPECT_TRUE(nlohmann::json::accept(run.out.substr(0, run.out.find('\n'))));
}

TEST(Command, AnErrorIsJSONToo) {
  const CommandRun run = runQuarn({"--volume", "/nowhere", "--home", "/Users/ann", "apps", "--json"});
  EXPECT_EQ(document(run)["error"]["name"], "ENOENT");
  EXPECT_EQ(document(run)["error"]["path"], "/nowhere");
  EXPECT_EQ(document(run)["error"]["exitCode"], 3);
}

TEST(Command, AUsageErrorIsADocumentWithItsOneSentence) {
  const CommandRun run = runOnSample({"plan", "Lumen Notes", "--mode", "x", "--json"});
  EXPECT_EQ(document(run)["error"]["message"],
            "--mode: \"x\" is none of cacheOnly|associatedDataOnly|removeApp|aggressive");
  EXPECT_EQ(document(run)["error"]["exitCode"], 2);
  EXPECT_EQ(document(runOnSample({"inspect", "Nobody", "--json"}))["error"]["exitCode"], 3);
}

TEST(Command, AFullDiskBehindStandardOutputIsSaid) {
  const CommandRun run = runProgram(
      "/bin/sh", {"-c", "\"$0\" --volume \"$1\" --home /Users/ann apps > /dev/full", QUARN_PROGRAM, sampleFolder()});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_EQ(run.err, "quarn: write standard output: No space left on device\n");
}

TEST(Command, AnswersThatADiskDoesNotTakeAreAFailureWithItsCause) {
  const CommandRun run = runProgram(
      "/bin/sh", {"-c", "\"$0\" --volume \"$1\" --home /Users/ann rpc > /dev/full", QUARN_PROGRAM, sampleFolder()},
      R"({"jsonrpc":"2.0","id":1,"method":"LaunchdScanner.scan"})"
      "\n");
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_EQ(run.err, "quarn: write standard output: No space left on device\n");
}

TEST(Command, AReaderThatGoesAwayEndsItQuietly) {
  const CommandRun run =
      runProgram("/bin/bash",
                 {"-c", "for i in 1 2 3; do \"$0\" --volume \"$1\" --home /Users/ann receipts --json; done | head -c 1",
                  QUARN_PROGRAM, sampleFolder()});
  EXPECT_EQ(run.out, "{");
  EXPECT_EQ(run.err, "");
}

TEST(Command, NamesNeverReachTheTerminalRaw) {
  const CommandRun run = runOnSample({"apps"});
  EXPECT_THAT(run.out, Not(HasSubstr("\x1B")));
  EXPECT_THAT(run.out, HasSubstr("\\x1B[31m"));
}

TEST(Command, NorDoTheyReachItRawInADocument) {
  MacVolume volume;
  volume.file("~/Documents/a\xC2\x9Bz");
  const CommandRun run = runQuarn({"--volume", volume.root(), "top", "--json"});
  EXPECT_THAT(run.out, AllOf(HasSubstr("a\\u009bz"), Not(HasSubstr("\xC2\x9B"))));
  EXPECT_EQ(document(run)["items"][0]["name"], "a\xC2\x9Bz");
}

TEST(Command, ColoursAreForTerminalsUnlessAskedFor) {
  EXPECT_THAT(runOnSample({"inspect", "Lumen Notes"}).out, Not(HasSubstr("\x1B[")));
  EXPECT_THAT(runOnSample({"inspect", "Lumen Notes", "--color", "always"}).out, HasSubstr("\x1B[31m"));
  EXPECT_THAT(runOnSample({"inspect", "Lumen Notes", "--color", "always", "--json"}).out, Not(HasSubstr("\x1B[")));
}

TEST(Command, ProgressIsForTerminals) { EXPECT_EQ(runOnSample({"inspect", "Lumen Notes"}).err, ""); }

TEST(Command, SizesComeInTheUnitsAskedFor) {
  EXPECT_THAT(runOnSample({"top", "--limit", "1"}).out, HasSubstr("64.00 GB"));
  EXPECT_THAT(runOnSample({"top", "--limit", "1", "--iec"}).out, HasSubstr("GiB"));
  EXPECT_THAT(runOnSample({"top", "--limit", "1", "--bytes"}).out, HasSubstr("64000000000"));
}

TEST(Command, AnUnreadableFolderIsSaidAndEndsIncomplete) {
  MacVolume volume;
  volume.file("~/Documents/closed/a", 4_KiB).mode("~/Documents/closed", 0000);
  const UnprivilegedUser user;
  const CommandRun run = runQuarn({"--volume", volume.root(), "--home", "/Users/ann", "top", "/Users/ann/Documents"});
  EXPECT_EQ(run.exitCode, 4);
  EXPECT_THAT(run.err, HasSubstr("1 item: permission denied"));
}

TEST(Command, AMissingFolderOfTheUserIsAnError) {
  const CommandRun run = runOnSample({"top", "/Users/ann/Nowhere"});
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_THAT(run.err, HasSubstr("list /Users/ann/Nowhere: No such file or directory"));
}

TEST(Command, AFolderThatIsNamedByALinkIsTheOneThatItLeadsTo) {
  MacVolume volume;
  volume.file("~/Documents/a", 5000).link("/docs", "Users/ann/Documents").link("/tmp", "private/tmp");
  volume.file("/private/tmp/b", 6000);
  const auto run = [&](const std::string& command, const std::string& folder) {
    return nlohmann::json::parse(runQuarn({"--volume", volume.root(), command, folder, "--json"}).out);
  };
  EXPECT_EQ(run("top", "/docs")["items"][0]["url"], "file:///Users/ann/Documents/a");
  EXPECT_EQ(run("top", "/tmp")["items"][0]["url"], "file:///private/tmp/b");
  EXPECT_EQ(run("cloud", "/docs")["folders"][0]["url"], "file:///Users/ann/Documents/");
  EXPECT_EQ(run("cloud", "/docs")["folders"][0]["localBytes"], 8192);
}

TEST(Command, WhatIsNoFolderIsRefusedWithItsCause) {
  MacVolume volume;
  volume.file("~/file").link("/loop", "loop").link("/dangling", "nowhere").file("~/closed/in/a").mode("~/closed", 0000);
  const UnprivilegedUser user;
  const std::vector<std::pair<std::string, std::string>> rows{{"~/file", "Not a directory"},
                                                              {"/loop", "Too many levels of symbolic links"},
                                                              {"/dangling", "No such file or directory"},
                                                              {"~/closed/in", "Permission denied"}};
  for (const std::string command : {"top", "cloud"}) {
    for (const auto& [path, problem] : rows) {
      const CommandRun run = runQuarn({"--volume", volume.root(), command, path});
      EXPECT_EQ(run.exitCode, path == "/dangling" ? 3 : 1) << path;
      EXPECT_THAT(run.err, HasSubstr(problem)) << path;
      EXPECT_EQ(run.out, "") << path;
    }
  }
}

TEST(Command, ResourcesThatAreNotThereAreRefused) {
  MacVolume volume;
  volume.file("/file");
  for (const auto& [folder, problem] :
       {std::pair("/nope", "No such file or directory"), std::pair("/file", "Not a directory")}) {
    const CommandRun run = runOnSample({"vendors", "--resources", volume.root() + folder});
    EXPECT_EQ(run.exitCode, std::string(folder) == "/nope" ? 3 : 1);
    EXPECT_THAT(run.err, AllOf(HasSubstr(folder), HasSubstr(problem)));
  }
}

TEST(Command, AHomeThatIsNoFolderOrClosedIsRefusedWithItsCause) {
  MacVolume volume;
  volume.file("/Users/ann/file").file("/Users/closed/home/a").mode("/Users/closed", 0000);
  const UnprivilegedUser user;
  const auto problem = [&](const std::string& home) {
    return runQuarn({"--volume", volume.root(), "--home", home, "apps"}).err;
  };
  EXPECT_EQ(problem("/Users/ann/file"), "quarn: home folder /Users/ann/file is no folder\n");
  EXPECT_EQ(problem("/Users/closed/home"), "quarn: home folder /Users/closed/home: Permission denied\n");
  EXPECT_EQ(problem("/Users/zoe"), "quarn: home folder /Users/zoe is not on the volume\n");
}

TEST(Command, WhereTheUsersCannotBeListedThatIsTheProblem) {
  MacVolume volume;
  volume.file("/Users/ann/a").mode("/Users", 0000);
  const UnprivilegedUser user;
  EXPECT_THAT(runQuarn({"--volume", volume.root(), "apps"}).err, HasSubstr("list /Users: Permission denied"));
}

TEST(Command, AnUnknownCategoryNamesTheNearest) {
  const CommandRun run = runOnSample({"storage", "game"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("did you mean games?"));
}

TEST(Command, AnEmptyListIsSaidInPlaceOfABareHeading) {
  const MacVolume volume;
  const std::vector<std::vector<std::string>> commands{{"apps"},  {"inspect", "--all"},
                                                       {"jobs"},  {"receipts"},
                                                       {"kexts"}, {"top"},
                                                       {"cloud"}, {"vendors", "check", volume.root()}};
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

TEST(Command, ACategoryWithoutFoldersHasItsTotalAlone) {
  const MacVolume volume;
  const CommandRun run = runQuarn({"--volume", volume.root(), "--home", "/Users/ann", "storage", "games"});
  EXPECT_EQ(run.out, "games  0 bytes on disk, 0 bytes long\n\n");
  EXPECT_EQ(run.err, "quarn: nothing found\n");
}

TEST(Command, OneArtifactIsCountedInTheSingular) {
  MacVolume volume;
  volume.app("/Applications/Lone.app", {.bundleIdentifier = "com.example.lone"});
  const CommandRun run = runQuarn({"--volume", volume.root(), "--home", "/Users/ann", "inspect", "Lone"});
  EXPECT_THAT(run.out, HasSubstr("\n1 artifact, "));
  EXPECT_THAT(runOnSample({"inspect", "Lumen Notes"}).out, HasSubstr(" artifacts, "));
}

TEST(Command, APlanSaysThatNothingIsCarriedOut) {
  EXPECT_THAT(runOnSample({"plan", "Lumen Notes"}).out, HasSubstr("nothing is carried out"));
  EXPECT_EQ(document(runOnSample({"plan", "Lumen Notes", "--json"}))["isCarriedOut"], false);
}

TEST(Command, APlanForChosenArtifactsTakesThoseAlone) {
  const nlohmann::json whole = document(runOnSample({"plan", "Lumen Notes", "--json"}));
  const std::string id = whole["selectedArtifacts"][1]["id"];
  const nlohmann::json plan = document(runOnSample({"plan", "Lumen Notes", "--select", id, "--json"}));
  ASSERT_EQ(plan["selectedArtifacts"].size(), 1U);
  EXPECT_EQ(plan["selectedArtifacts"][0]["id"], id);
  EXPECT_EQ(plan["estimatedBytes"], plan["selectedArtifacts"][0]["size"]["allocatedBytes"]);
}

TEST(Command, AnUnknownSelectionListsTheChoices) {
  const CommandRun run = runOnSample({"plan", "Lumen Notes", "--select", "cache:user:/nowhere"});
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_THAT(run.err, AllOf(HasSubstr("no artifact \"cache:user:/nowhere\""), HasSubstr("appBundle:system:")));
}

TEST(Command, VendorsCheckTellsWhatIsWrongFileByFile) {
  MacVolume volume;
  volume.text("/good.json", R"({"id":"good","displayName":"Good","match":{"bundleIDs":[],"bundleIDPrefixes":[],)"
                            R"("nameContains":[]},"artifacts":[],"carveOuts":[]})");
  volume.text("/bad.json", R"({"id":"bad","displayName":"Bad","match":{"bundleIDs":[],"bundleIDPrefixes":[]},)"
                           R"("artifacts":[],"carveOuts":[]})");
  const CommandRun run = runQuarn({"vendors", "check", volume.root()});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.out, AllOf(HasSubstr("match.nameContains: missing"), HasSubstr("good.json  good")));
}

constexpr std::string_view kEmptyProfile =
    R"({"id":"maker","displayName":"Maker","match":{"bundleIDs":[],"bundleIDPrefixes":[],"nameContains":[]},)"
    R"("artifacts":[],"carveOuts":[]})";

TEST(Command, VendorsCheckTakesSeveralProductsOfAVendorWithoutAnIndex) {
  MacVolume volume;
  volume.text("/maker.json", kEmptyProfile).text("/maker.tool.json", kEmptyProfile);
  EXPECT_EQ(runQuarn({"vendors", "check", volume.root()}).exitCode, 0);
  volume.text("/makers.json", kEmptyProfile);
  const CommandRun run = runQuarn({"vendors", "check", volume.root()});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.out, HasSubstr("id \"maker\" is not the file's name"));
}

TEST(Command, VendorsCheckComparesAnIndexWithTheFiles) {
  MacVolume volume;
  volume.text("/maker.json", kEmptyProfile).text("/maker.tool.json", kEmptyProfile);
  volume.text("/index.json", R"({"version":1,"vendors":[{"id":"maker","file":"maker.json"}]})");
  EXPECT_THAT(runQuarn({"vendors", "check", volume.root()}).out, HasSubstr("index.json does not name this file"));
  volume.text("/index.json", R"({"version":1,"vendors":[{"id":"maker","file":"maker"},)"
                             R"({"id":"maker","file":"maker.tool"},{"id":"maker","file":"maker.gone"}]})");
  const CommandRun missing = runQuarn({"vendors", "check", volume.root()});
  EXPECT_EQ(missing.exitCode, 1);
  EXPECT_THAT(missing.out, HasSubstr("names the missing file \"maker.gone.json\""));
  volume.text("/index.json",
              R"({"version":1,"vendors":[{"id":"maker","file":"maker"},{"id":"maker","file":"maker.tool"}]})");
  EXPECT_EQ(runQuarn({"vendors", "check", volume.root()}).exitCode, 0);
}

TEST(Command, VendorsCheckFindsTheShippedProfilesGood) {
  const std::string sources = (projectFolder() / "QuarnCore/vendors/resources/vendors").string();
  EXPECT_EQ(runQuarn({"vendors", "check", sources}).exitCode, 0);
  EXPECT_EQ(runQuarn({"vendors", "check", ResourceBundle::shipped().folder() + "/vendors"}).exitCode, 0);
}

TEST(Command, TheTextsFollowTheLocale) {
  const CommandRun german = runOnSample({"inspect", "Lumen Notes", "--no-sizes", "--locale", "de_DE"});
  EXPECT_THAT(german.out, Not(HasSubstr("Logs: helpful for debugging")));
  EXPECT_THAT(runOnSample({"inspect", "Lumen Notes", "--no-sizes"}).out, HasSubstr("Logs: helpful for debugging"));
}

TEST(Command, ALogOnTheInspectedVolumeIsRefused) {
  const CommandRun run = runOnSample({"apps", "--log", sampleFolder() + "/log"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("lies on the inspected volume"));
}

TEST(Command, ALogThatALinkWouldPutOnTheInspectedVolumeIsRefused) {
  MacVolume volume;
  volume.file("/mac/Users/ann/a").link("/log", "mac/Users/ann/log");
  const CommandRun run = runQuarn({"--volume", volume.root() + "/mac", "apps", "--log", volume.root() + "/log"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_FALSE(volume.files().itemExists(volume.url("/mac/Users/ann/log")));
}

TEST(Command, AClosedOutputIsNotTakenByTheNextFile) {
  MacVolume volume;
  const std::string log = volume.root() + "/log";
  const CommandRun run =
      runProgram("/bin/sh", {"-c", "exec \"$0\" --volume \"$1\" --home /Users/ann --log \"$2\" apps <&- >&-",
                             QUARN_PROGRAM, sampleFolder(), log});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("standard output: Bad file descriptor"));
  EXPECT_THAT(volume.files().readFile(FileURL("/log"), 1 << 20), Not(HasSubstr("Lumen Notes")));
}

TEST(Command, ASampleIsNeverWrittenOnTheInspectedVolume) {
  MacVolume volume;
  const CommandRun run = runQuarn({"--volume", volume.root(), "sample", volume.root() + "/new"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("/new lies on the inspected volume"));
  EXPECT_FALSE(volume.files().itemExists(volume.url("/new")));
}

TEST(Command, SampleRefusesAFolderThatIsNotEmpty) {
  const CommandRun run = runQuarn({"sample", sampleFolder()});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("Directory not empty"));
}

TEST(Command, TheOutputsOnTheSampleVolumeAreTheGoldenOnes) {
  const std::vector<std::pair<std::string, std::vector<std::string>>> cases{
      {"apps.txt", {"apps"}},
      {"inspect.txt", {"inspect", "Lumen Notes", "--bytes"}},
      {"plan.txt", {"plan", "Tessera Studio", "--mode", "aggressive", "--bytes"}},
      {"jobs.txt", {"jobs"}},
      {"receipts.txt", {"receipts"}},
      {"kexts.txt", {"kexts"}},
      {"top.txt", {"top", "--limit", "8"}},
      {"vendors-match.txt", {"vendors", "--match", "Slack"}},
  };
  const std::filesystem::path folder = projectFolder() / "tests/quarn/commands/golden";
  for (const auto& [name, words] : cases) EXPECT_TRUE(isGolden(folder / name, runOnSample(words).out));
}

TEST(Command, VendorsCheckDoesNotWaitForAPipe) {
  MacVolume folder;
  folder.fifo("/profiles/pipe.json");
  const CommandRun run = runQuarn({"vendors", "check", folder.root() + "/profiles"});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.out, HasSubstr("no regular file"));
}

TEST(Command, ALogThatTheDiskDoesNotTakeIsSaid) {
  const CommandRun run = runOnSample({"--log", "/dev/full", "storage"});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_THAT(run.err, HasSubstr("the log could not be written whole"));
  EXPECT_EQ(runOnSample({"--log", "/dev/null", "storage"}).err, "");
}

TEST(Command, SizesThatDoNotFitAreAnErrorWithTheFolder) {
  MacVolume volume = volumeInMemory();
  constexpr std::int64_t kHuge = std::numeric_limits<std::int64_t>::max() - 1;
  volume.sparse("/Users/ann/Documents/a", kHuge).sparse("/Users/ann/Documents/b", kHuge);
  const CommandRun run = runQuarn({"--volume", volume.root(), "storage", "documents", "--json"});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("the sizes in /Users/ann/Documents add up to more than 8 EiB"));
  const auto error = nlohmann::json::parse(run.out)["error"];
  EXPECT_EQ(error["path"], "/Users/ann/Documents");
  EXPECT_EQ(error["name"], "EOVERFLOW");
}

TEST(Command, AnOverflowIsAnErrorOfOneRequestAndTheServerGoesOn) {
  MacVolume volume = volumeInMemory();
  constexpr std::int64_t kHuge = std::numeric_limits<std::int64_t>::max() - 1;
  volume.sparse("/Users/ann/Documents/a", kHuge).sparse("/Users/ann/Documents/b", kHuge);
  const std::string size =
      R"({"jsonrpc":"2.0","id":1,"method":"FileSizeCalculator.itemSize","params":{"at":"file:///Users/ann/Documents","allowSlow":true,"includeHidden":true}})";
  const CommandRun run =
      runQuarn({"--volume", volume.root(), "rpc"},
               size + "\n" + R"({"jsonrpc":"2.0","id":2,"method":"AppsService.discoverApps"})" + "\n");
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr(R"("id":1,"error":{"code":-32000)"));
  EXPECT_THAT(run.out, HasSubstr("EOVERFLOW"));
  EXPECT_THAT(run.out, HasSubstr(R"("id":2,"result":[])"));
}

TEST(Command, TheHostileVolumeIsWrittenAndRead) {
  MacVolume folder;
  const std::string volume = folder.root() + "/hostile";
  const CommandRun written = runQuarn({"sample", "--hostile", volume, "--json"});
  ASSERT_EQ(written.exitCode, 0) << written.err;
  EXPECT_GE(nlohmann::json::parse(written.out)["kinds"], 14);
  const CommandRun apps = runQuarn({"--volume", volume, "--home", "/Users/ann", "apps"});
  EXPECT_EQ(apps.exitCode, 4) << apps.err;
  EXPECT_THAT(apps.out, HasSubstr("com.example.good"));
}

}  // namespace
}  // namespace quarn
