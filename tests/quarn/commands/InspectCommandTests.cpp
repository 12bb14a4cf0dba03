#include <algorithm>

#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "tests/quarn/commands/CommandDocument.h"
#include "tests/support/MacVolume.h"

namespace quarn {
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

}  // namespace
}  // namespace quarn
