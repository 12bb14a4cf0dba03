#include <algorithm>

#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "tests/quarn/commands/CommandDocument.h"
#include "tests/support/MacVolume.h"

namespace quarn::plan_command_tests {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

TEST(PlanCommand, APlanSaysThatItIsAPreview) {
  EXPECT_THAT(runOnSample({"plan", "Lumen Notes"}).out, HasSubstr("quarn never executes a plan"));
  EXPECT_EQ(document(runOnSample({"plan", "Lumen Notes", "--json"}))["isCarriedOut"], false);
}

TEST(PlanCommand, APlanForSelectedArtifactsContainsOnlyThose) {
  const nlohmann::json whole = document(runOnSample({"plan", "Lumen Notes", "--json"}));
  const std::string id = whole["selectedArtifacts"][1]["id"];
  const nlohmann::json plan = document(runOnSample({"plan", "Lumen Notes", "--select", id, "--json"}));
  ASSERT_EQ(plan["selectedArtifacts"].size(), 1U);
  EXPECT_EQ(plan["selectedArtifacts"][0]["id"], id);
  EXPECT_EQ(plan["estimatedBytes"], plan["selectedArtifacts"][0]["size"]["allocatedBytes"]);
}

TEST(PlanCommand, AnUnknownSelectionListsTheChoices) {
  const CommandRun run = runOnSample({"plan", "Lumen Notes", "--select", "cache:user:/nowhere"});
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_THAT(run.err, AllOf(HasSubstr("no artifact \"cache:user:/nowhere\""), HasSubstr("appBundle:system:")));
}

TEST(PlanCommand, AStepCountsWhatSeveralItemsHoldOnce) {
  const nlohmann::json plan = document(runOnSample({"plan", "Tessera Studio", "--mode", "aggressive", "--json"}));
  for (const nlohmann::json& operation : plan["operations"]) {
    if (operation["type"] != "moveToTrash") continue;
    std::int64_t outermost = 0;
    for (const char* folder : {"/Applications/Tessera Studio", "/Library/Application Support", "/Library/Extensions"}) {
      const nlohmann::json children = document(runOnSample({"top", folder, "--children", "--json"}));
      for (const nlohmann::json& item : children["items"]) {
        const bool isPlanned =
            std::find(operation["urls"].begin(), operation["urls"].end(), item["url"]) != operation["urls"].end();
        if (isPlanned) outermost += item["size"]["allocatedBytes"].get<std::int64_t>();
      }
    }
    EXPECT_EQ(operation["together"]["size"]["allocatedBytes"], outermost);
    EXPECT_LT(plan["together"]["size"]["allocatedBytes"], plan["estimatedBytes"]);
    return;
  }
  FAIL() << "no step moves to the Trash";
}

TEST(PlanCommand, SpaceThatFurtherNamesHoldIsSaid) {
  MacVolume volume;
  volume.app("/Applications/Lone.app", {.bundleIdentifier = "com.example.lone"})
      .file("~/Library/Caches/com.example.lone/a", 64_KiB)
      .hardLink("~/Library/Caches/com.example.lone/.b", "~/Library/Caches/com.example.lone/a")
      .file("~/Library/Caches/com.example.lone/c", 4_KiB);
  const std::vector<std::string> words{"--volume", volume.root(), "plan", "Lone", "--mode", "cacheOnly", "--bytes"};
  const std::string alone = runQuarn(words).out;
  EXPECT_THAT(
      alone, AllOf(HasSubstr("\nEstimated: 69632\n1 file found under several names"), Not(HasSubstr("further names"))));
  volume.hardLink("~/Documents/a", "~/Library/Caches/com.example.lone/a");
  EXPECT_THAT(runQuarn(words).out, HasSubstr("65536 in 1 file with further names elsewhere"));
}

TEST(PlanCommand, FindsThatMerelyResembleTheAppStandApartWithAWarning) {
  const std::string text = runOnSample({"plan", "Lumen Notes", "--mode", "cacheOnly"}).out;
  const std::size_t warning = text.find("! These merely resemble the app.", text.find("Move to quarantine"));
  ASSERT_NE(warning, std::string::npos) << text;
  EXPECT_LT(text.find("~/Library/Caches/com.lumenworks.notes\n"), warning);
  EXPECT_GT(text.find("~/Library/Caches/LumenNotes\n"), warning);
  const nlohmann::json plan = document(runOnSample({"plan", "Lumen Notes", "--mode", "cacheOnly", "--json"}));
  EXPECT_EQ(plan["uncertainArtifacts"].size(), 5U);
}

}  // namespace
}  // namespace quarn::plan_command_tests
