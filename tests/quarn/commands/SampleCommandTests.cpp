#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"

namespace quarn::sample_command_tests {
namespace {

using ::testing::HasSubstr;

TEST(SampleCommand, ASampleIsNeverWrittenOnTheInspectedVolume) {
  MacVolume volume;
  const CommandRun run = runQuarn({"--volume", volume.root(), "sample", volume.root() + "/new"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("/new is on the inspected volume"));
  EXPECT_FALSE(volume.files().itemExists(volume.url("/new")));
}

TEST(SampleCommand, SampleRefusesAFolderThatIsNotEmpty) {
  const CommandRun run = runQuarn({"sample", sampleFolder()});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("Directory not empty"));
}

TEST(SampleCommand, TheHostileVolumeIsWrittenAndRead) {
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
}  // namespace quarn::sample_command_tests
