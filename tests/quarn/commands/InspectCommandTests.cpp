#include <algorithm>

#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "tests/quarn/commands/CommandDocument.h"
#include "tests/support/MacVolume.h"

namespace quarn::inspect_command_tests {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::StartsWith;

TEST(InspectCommand, InspectRequiresAnAppOrAll) {
  const CommandRun run = runQuarn({"inspect", "Lumen Notes", "--all"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("--all cannot be combined with APP"));
}

TEST(InspectCommand, InspectingAllAppsEqualsInspectingEach) {
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

TEST(InspectCommand, AnAppMayHaveTheNameOfACommand) {
  const CommandRun run = runOnSample({"inspect", "apps"});
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_THAT(run.err, HasSubstr("no app \"apps\""));
}

TEST(InspectCommand, AnAmbiguousNameListsTheCandidates) {
  const CommandRun run = runOnSample({"inspect", "kestr"});
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_THAT(run.err, AllOf(HasSubstr("matches several apps"), HasSubstr("/Applications/Kestrel.app"),
                             HasSubstr("/Applications/Kestrel Pro.app")));
}

TEST(InspectCommand, TheErrorDocumentForAnAmbiguousNameListsTheCandidates) {
  const nlohmann::json error = document(runOnSample({"inspect", "kestr", "--json"}))["error"];
  EXPECT_THAT(error["message"].get<std::string>(), StartsWith("\"kestr\" matches several apps"));
  EXPECT_EQ(error["exitCode"], 3);
  EXPECT_EQ(error["candidates"], nlohmann::json::parse(R"([
    {"name": "Kestrel", "bundleIdentifier": "com.kestrelsoft.kestrel", "path": "/Applications/Kestrel.app"},
    {"name": "Kestrel Pro", "bundleIdentifier": "com.kestrelsoft.kestrelpro",
     "path": "/Applications/Kestrel Pro.app"}])"));
}

TEST(InspectCommand, ACandidateWithoutAnIdentifierHasNull) {
  MacVolume volume;
  volume.app("/Applications/One.app", {}).app("/Applications/Two/One.app", {});
  const CommandRun run = runQuarn({"--volume", volume.root(), "--home", "/Users/ann", "plan", "One", "--json"});
  ASSERT_EQ(document(run)["error"]["candidates"].size(), 2U) << run.out;
  EXPECT_TRUE(document(run)["error"]["candidates"][0]["bundleIdentifier"].is_null());
}

TEST(InspectCommand, AnAppIsFoundByNameIdentifierPathAndURL) {
  for (const char* word : {"Lumen Notes", "lumen notes", "com.lumenworks.notes", "/Applications/Lumen Notes.app",
                           "/Applications/Lumen Notes.app/", "file:///Applications/Lumen%20Notes.app/",
                           "file:///Applications/Lumen%20Notes.app"}) {
    const CommandRun run = runOnSample({"inspect", word, "--no-sizes", "--json"});
    EXPECT_EQ(run.exitCode, 0) << word;
    EXPECT_EQ(document(run)["app"]["id"], "com.lumenworks.notes") << word;
  }
}

TEST(InspectCommand, AnUnknownAppGetsASuggestion) {
  EXPECT_THAT(runOnSample({"inspect", "Lumen Note5"}).err, HasSubstr("did you mean \"Lumen Notes\"?"));
}

TEST(InspectCommand, OneArtifactIsCountedInTheSingular) {
  MacVolume volume;
  volume.app("/Applications/Lone.app", {.bundleIdentifier = "com.example.lone"});
  const CommandRun run = runQuarn({"--volume", volume.root(), "--home", "/Users/ann", "inspect", "Lone"});
  EXPECT_THAT(run.out, HasSubstr("\n1 artifact, "));
  EXPECT_THAT(runOnSample({"inspect", "Lumen Notes"}).out, HasSubstr(" artifacts, "));
}

std::int64_t allocated(const nlohmann::json& size) { return size["allocatedBytes"]; }

TEST(InspectCommand, FilesInSeveralFindsCountOnceInTheTotal) {
  const nlohmann::json found = document(runOnSample({"inspect", "Tessera Studio", "--json"}));
  std::int64_t sum = 0;
  std::int64_t elsewhere = 0;  // without the receipt, whose items other finds hold but for one
  for (const nlohmann::json& artifact : found["artifacts"]) {
    sum += allocated(artifact["size"]);
    if (artifact["kind"] != "receipt") elsewhere += allocated(artifact["size"]);
  }
  const nlohmann::json files = document(runOnSample({"top", "/Applications/Tessera Studio", "--files", "--json"}));
  for (const nlohmann::json& file : files["items"]) {
    if (file["name"] == "Read Me.rtf") elsewhere += allocated(file["size"]);
  }
  EXPECT_LT(elsewhere, sum);
  EXPECT_EQ(allocated(found["together"]["size"]), elsewhere);
  EXPECT_EQ(found["together"]["isExact"], true);
}

TEST(InspectCommand, AFindInsideAnotherIsListedBelowIt) {
  const std::string text = runOnSample({"inspect", "Slack"}).out;
  const std::size_t holder = text.find("~/Library/Application Support/Slack\n");
  const std::size_t held = text.find("~/Library/Application Support/Slack/Cache\n");
  ASSERT_NE(holder, std::string::npos) << text;
  ASSERT_LT(holder, held) << text;
  const std::string between = text.substr(holder, held - holder);
  EXPECT_THAT(between, HasSubstr("└ "));
  const auto marks = [](const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = part.find("└ "); at != std::string::npos; at = part.find("└ ", at + 1)) ++count;
    return count;
  };
  const nlohmann::json found = document(runOnSample({"inspect", "Slack", "--json"}));
  EXPECT_EQ(found["insideOf"]["cache:user:/Users/ann/Library/Application%20Support/Slack/Cache"],
            "applicationSupport:user:/Users/ann/Library/Application%20Support/Slack");
  EXPECT_EQ(marks(text), found["insideOf"].size());
  EXPECT_THAT(text, HasSubstr("(" + std::to_string(found["insideOf"].size()) + " inside others), "));
}

TEST(InspectCommand, AFileWithSeveralNamesCountsOnceInTheTotal) {
  MacVolume volume;
  volume.app("/Applications/Lone.app", {.bundleIdentifier = "com.example.lone"})
      .file("~/Library/Caches/com.example.lone/a", 64_KiB)
      .hardLink("~/Library/Caches/com.example.lone/b", "~/Library/Caches/com.example.lone/a")
      .hardLink("~/Library/Logs/com.example.lone/c", "~/Library/Caches/com.example.lone/a")
      .file("~/Library/Logs/com.example.lone/d", 4_KiB);
  std::vector<std::string> words{"--volume", volume.root(), "inspect", "Lone", "--bytes"};
  EXPECT_THAT(runQuarn(words).out, HasSubstr("1 file found under several names (hard links) and counted once.\n"));
  words.emplace_back("--json");
  const nlohmann::json found = document(runQuarn(words));
  std::int64_t sum = 0;
  for (const nlohmann::json& artifact : found["artifacts"]) sum += allocated(artifact["size"]);
  EXPECT_EQ(allocated(found["together"]["size"]), sum - 2 * 64_KiB);
  EXPECT_EQ(found["together"]["linkedFiles"], 1);
}

TEST(InspectCommand, FindsThatMerelyResembleTheAppAreMarkedAndNeverLookSafe) {
  const std::string text = runOnSample({"inspect", "Lumen Notes", "--color", "always"}).out;
  EXPECT_THAT(text, HasSubstr("0.45? Heuristic: LumenNotes"));
  EXPECT_THAT(text, HasSubstr("0.95  Cache"));
  EXPECT_THAT(text, HasSubstr("? marks what merely resembles the app"));
  const auto styleBefore = [&](std::string_view words) {
    const std::size_t escape = text.rfind('\x1B', text.find(words));
    return text.substr(escape, text.find('m', escape) + 1 - escape);
  };
  EXPECT_EQ(styleBefore("Heuristic: LumenNotes"), styleBefore("0.90  Container")) << "the colour of caution";
  EXPECT_NE(styleBefore("Heuristic: LumenNotes"), styleBefore("0.95  Cache"));
}

}  // namespace
}  // namespace quarn::inspect_command_tests
