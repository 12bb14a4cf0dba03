#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "tests/quarn/commands/CommandDocument.h"

namespace quarn {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

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

}  // namespace
}  // namespace quarn
