#include <gmock/gmock.h>
#include <unistd.h>

#include "QuarnPlatform/files/FileManager.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"
#include "tests/support/Remedies.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::volume_options_tests {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

TEST(VolumeOptions, AMissingVolumeIsReportedWithTheReason) {
  const CommandRun run = runQuarn({"--volume", "/nowhere/at/all", "--home", "/Users/ann", "apps"});
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_THAT(run.err, HasSubstr("open volume /nowhere/at/all: No such file or directory"));
}

TEST(VolumeOptions, AMissingHomeFolderIsReported) {
  const CommandRun run = runQuarn({"--volume", sampleFolder(), "--home", "/Users/zoe", "apps"});
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_THAT(run.err, HasSubstr("home folder /Users/zoe is not on the volume"));
}

TEST(VolumeOptions, SeveralHomeFoldersAreListedAndASingleOneIsUsed) {
  const CommandRun several = runQuarn({"--volume", sampleFolder(), "apps"});
  EXPECT_EQ(several.exitCode, 2);
  EXPECT_THAT(several.err, AllOf(HasSubstr("/Users/ann"), HasSubstr("/Users/bob"), Not(HasSubstr("/Users/Shared"))));
  MacVolume volume;
  volume.app("/Applications/Only.app", {.bundleIdentifier = "com.example.only"});
  EXPECT_EQ(runQuarn({"--volume", volume.root(), "apps"}).exitCode, 0);
}

TEST(VolumeOptions, ForensicRunsWhereAccessTimesCanBeKept) {
  MacVolume volume;
  volume.app("/Applications/Only.app", {.bundleIdentifier = "com.example.only"}).folder("~");
  EXPECT_EQ(runQuarn({"--forensic", "--volume", volume.root(), "--home", "/Users/ann", "apps"}).exitCode, 0);
}

TEST(VolumeOptions, AMissingResourcesFolderIsRefused) {
  MacVolume volume;
  volume.file("/file");
  for (const auto& [folder, problem] :
       {std::pair("/nope", "No such file or directory"), std::pair("/file", "Not a directory")}) {
    const CommandRun run = runOnSample({"vendors", "--resources", volume.root() + folder});
    EXPECT_EQ(run.exitCode, std::string(folder) == "/nope" ? 3 : 1);
    EXPECT_THAT(run.err, AllOf(HasSubstr(folder), HasSubstr(problem)));
  }
}

TEST(VolumeOptions, AResourcesFolderWithoutProfilesIsRefused) {
  MacVolume folder;
  folder.text("/vendors/maker.json", "{}").text("/storage-signatures.json", "{}");
  for (const char* command : {"vendors", "apps"}) {
    const CommandRun run = runOnSample({command, "--resources", folder.root()});
    EXPECT_EQ(run.exitCode, 3);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(run.err,
              "quarn: --resources: " + folder.root() + " has no vendor profiles (vendors/index.json names them)\n");
  }
}

TEST(VolumeOptions, AHomeThatIsNotAReadableFolderIsRefusedWithTheCause) {
  MacVolume volume;
  volume.file("/Users/ann/file").file("/Users/closed/home/a").mode("/Users/closed", 0000);
  const UnprivilegedUser user;
  const auto problem = [&](const std::string& home) {
    return runQuarn({"--volume", volume.root(), "--home", home, "apps"}).err;
  };
  EXPECT_EQ(problem("/Users/ann/file"), "quarn: home folder /Users/ann/file is not a folder\n");
  EXPECT_EQ(problem("/Users/closed/home"),
            "quarn: home folder /Users/closed/home: Permission denied " + permissionRemedy() + "\n");
  EXPECT_EQ(problem("/Users/zoe"), "quarn: home folder /Users/zoe is not on the volume\n");
}

TEST(VolumeOptions, AnUnreadableUsersFolderIsReported) {
  MacVolume volume;
  volume.file("/Users/ann/a").mode("/Users", 0000);
  const UnprivilegedUser user;
  EXPECT_THAT(runQuarn({"--volume", volume.root(), "apps"}).err, HasSubstr("list /Users: Permission denied"));
}

TEST(VolumeOptions, WithoutAVolumeASystemThatIsNotAMacIsRefused) {
  if (FileManager::host().itemExists(FileURL("/System/Library/CoreServices/SystemVersion.plist"))) {
    GTEST_SKIP() << "this system is a Mac";
  }
  const std::vector<std::vector<std::string>> lines{
      {"apps"}, {"storage"}, {"top"}, {"jobs"}, {"receipts"}, {"kexts"}, {"cloud"}, {"vendors", "--match", "Slack"}};
  for (const std::vector<std::string>& words : lines) {
    const CommandRun run = runQuarn(words);
    EXPECT_EQ(run.exitCode, 2) << words.front();
    EXPECT_EQ(run.err,
              "quarn: this system is not a Mac: name a mounted Mac volume with --volume DIR or QUARN_VOLUME\n");
    EXPECT_EQ(run.out, "");
  }
  EXPECT_EQ(runQuarn({"vendors"}).exitCode, 0);
  EXPECT_EQ(runQuarn({"rpc"}).exitCode, 0);
}

TEST(VolumeOptions, TheEnvironmentNamesTheVolumeUnlessTheCommandLineDoes) {
  MacVolume volume;
  volume.app("/Applications/Only.app", {.bundleIdentifier = "com.example.only"});
  const std::vector<std::string> sample{"QUARN_VOLUME=" + sampleFolder(), "QUARN_HOME=/Users/bob"};
  EXPECT_EQ(runQuarn({"apps"}, "", sample).out,
            runQuarn({"--volume", sampleFolder(), "--home", "/Users/bob", "apps"}).out);
  EXPECT_EQ(runQuarn({"--home", "/Users/ann", "apps"}, "", sample).out, runOnSample({"apps"}).out);
  // The home of another volume must not be looked for on this one.
  EXPECT_EQ(runQuarn({"--volume", volume.root(), "apps"}, "", sample).out,
            runQuarn({"--volume", volume.root(), "apps"}).out);
  EXPECT_EQ(runQuarn({"--volume", volume.root(), "apps"}, "", {"QUARN_VOLUME="}).exitCode, 0);
}

}  // namespace
}  // namespace quarn::volume_options_tests
