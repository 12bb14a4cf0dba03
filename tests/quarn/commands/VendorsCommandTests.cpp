#include <gmock/gmock.h>

#include "QuarnPlatform/resources/ResourceBundle.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"
#include "tests/support/ProjectFolder.h"

namespace quarn::vendors_command_tests {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

TEST(VendorsCommand, VendorsCheckReportsTheErrorsOfEachFile) {
  MacVolume volume;
  volume.text("/good.json", R"({"id":"good","displayName":"Good","match":{"bundleIDs":[],"bundleIDPrefixes":[],)"
                            R"("nameContains":[]},"artifacts":[],"carveOuts":[]})");
  volume.text("/bad.json", R"({"id":"bad","displayName":"Bad","match":{"bundleIDs":[],"bundleIDPrefixes":[]},)"
                           R"("artifacts":[],"carveOuts":[]})");
  const CommandRun run = runQuarn({"vendors", "check", volume.root()});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.out, AllOf(HasSubstr("match.nameContains: missing"), HasSubstr("good.json  good")));
}

TEST(VendorsCommand, VendorsCheckOfAMissingFolderExitsAsNotFound) {
  const CommandRun run = runQuarn({"vendors", "check", "/nowhere"});
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_THAT(run.err, HasSubstr("list /nowhere: No such file or directory"));
}

constexpr std::string_view kEmptyProfile =
    R"({"id":"maker","displayName":"Maker","match":{"bundleIDs":[],"bundleIDPrefixes":[],"nameContains":[]},)"
    R"("artifacts":[],"carveOuts":[]})";

TEST(VendorsCommand, VendorsCheckTakesSeveralProductsOfAVendorWithoutAnIndex) {
  MacVolume volume;
  volume.text("/maker.json", kEmptyProfile).text("/maker.tool.json", kEmptyProfile);
  EXPECT_EQ(runQuarn({"vendors", "check", volume.root()}).exitCode, 0);
  volume.text("/makers.json", kEmptyProfile);
  const CommandRun run = runQuarn({"vendors", "check", volume.root()});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.out, HasSubstr("id \"maker\" differs from the file name"));
}

TEST(VendorsCommand, VendorsCheckComparesAnIndexWithTheFiles) {
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

TEST(VendorsCommand, VendorsCheckOfAFolderWithoutProfilesIsAnError) {
  const MacVolume folder;
  const CommandRun run = runQuarn({"vendors", "check", folder.root()});
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "quarn: " + folder.root() + " has no profiles (files that end in .json)\n");
}

TEST(VendorsCommand, MatchingAnAppNeedsAVolumeOfAMac) {
  const CommandRun run = runQuarn({"vendors", "--match", "Slack"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("name a mounted Mac volume with --volume DIR"));
  EXPECT_EQ(runQuarn({"vendors"}).exitCode, 0);
}

TEST(VendorsCommand, VendorsCheckFindsTheShippedProfilesGood) {
  const std::string sources = (projectFolder() / "QuarnCore/vendors/resources/vendors").string();
  EXPECT_EQ(runQuarn({"vendors", "check", sources}).exitCode, 0);
  EXPECT_EQ(runQuarn({"vendors", "check", ResourceBundle::shipped().folder() + "/vendors"}).exitCode, 0);
}

TEST(VendorsCommand, VendorsCheckDoesNotWaitForAPipe) {
  MacVolume folder;
  folder.fifo("/profiles/pipe.json");
  const CommandRun run = runQuarn({"vendors", "check", folder.root() + "/profiles"});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.out, HasSubstr("not a regular file"));
}

}  // namespace
}  // namespace quarn::vendors_command_tests
