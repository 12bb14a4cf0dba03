#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"
#include "tests/support/Remedies.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::folder_commands_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

TEST(FolderCommands, AnUnreadableFolderIsReportedAndExitsIncomplete) {
  MacVolume volume;
  volume.file("~/Documents/closed/a", 4_KiB).mode("~/Documents/closed", 0000);
  const UnprivilegedUser user;
  const CommandRun run = runQuarn({"--volume", volume.root(), "--home", "/Users/ann", "top", "/Users/ann/Documents"});
  EXPECT_EQ(run.exitCode, 4);
  EXPECT_EQ(run.err, "quarn: 1 item: permission denied: /Users/ann/Documents/closed " + permissionRemedy() + "\n");
}

TEST(FolderCommands, AMissingNamedFolderIsAnError) {
  const CommandRun run = runOnSample({"top", "/Users/ann/Nowhere"});
  EXPECT_EQ(run.exitCode, 3);
  EXPECT_THAT(run.err, HasSubstr("list /Users/ann/Nowhere: No such file or directory"));
}

TEST(FolderCommands, ALinkToAFolderIsResolved) {
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

TEST(FolderCommands, APathThatIsNotAFolderIsRefusedWithTheCause) {
  MacVolume volume;
  volume.file("~/file").link("/loop", "loop").link("/dangling", "nowhere").file("~/closed/in/a").mode("~/closed", 0000);
  const UnprivilegedUser user;
  const std::vector<std::pair<std::string, std::string>> rows{
      {"~/file", "Not a directory"},
      {"/loop", "Too many levels of symbolic links"},
      {"/dangling", "No such file or directory"},
      {"~/closed/in", "Permission denied " + permissionRemedy()}};
  for (const std::string command : {"top", "cloud"}) {
    for (const auto& [path, problem] : rows) {
      const CommandRun run = runQuarn({"--volume", volume.root(), command, path});
      EXPECT_EQ(run.exitCode, path == "/dangling" ? 3 : 1) << path;
      EXPECT_THAT(run.err, HasSubstr(problem)) << path;
      EXPECT_EQ(run.out, "") << path;
    }
  }
}

// Names of the items that `top` lists.
std::vector<std::string> topNames(const MacVolume& volume, std::vector<std::string> words) {
  words.insert(words.begin(), {"--volume", volume.root(), "top", "--json"});
  std::vector<std::string> names;
  const auto document = nlohmann::json::parse(runQuarn(words).out);
  for (const auto& item : document["items"]) names.push_back(item["name"]);
  return names;
}

TEST(Top, RanksBySpaceOnThisDiskUnlessLengthIsAskedFor) {
  MacVolume volume;
  volume.sparse("~/sparse", 40'000'000'000).file("~/real", 8192).file("~/small", 4096);
  volume.sparse("~/Folder/hole", 50'000'000'000).file("~/Folder/a", 12000);
  EXPECT_THAT(topNames(volume, {}), ElementsAre("a", "real", "small", "hole", "sparse"));
  EXPECT_THAT(topNames(volume, {"--by", "length", "--limit", "3"}), ElementsAre("hole", "sparse", "a"));
  EXPECT_THAT(topNames(volume, {"~", "--children", "--limit", "2"}), ElementsAre("Folder", "real"));
  EXPECT_THAT(topNames(volume, {"~", "--children", "--by", "length", "--limit", "2"}), ElementsAre("Folder", "sparse"));
  EXPECT_THAT(topNames(volume, {"~", "--files"}), ElementsAre("real", "small", "sparse"));
}

TEST(Top, ASparseFileShowsTheSpaceThatItTakes) {
  MacVolume volume;
  volume.sparse("~/Disk.img", 40'000'000'000);
  const CommandRun run = runQuarn({"--volume", volume.root(), "top"});
  EXPECT_THAT(run.out, HasSubstr("0 bytes  40.00 GB"));
}

TEST(Top, HiddenItemsCountUnlessTheyAreLeftOut) {
  MacVolume volume;
  volume.file("~/.hidden", 8192).file("~/.folder/in", 16384).file("~/shown", 4096);
  EXPECT_THAT(topNames(volume, {}), ElementsAre("in", ".hidden", "shown"));
  EXPECT_THAT(topNames(volume, {"--no-hidden"}), ElementsAre("shown"));
  EXPECT_THAT(topNames(volume, {"~", "--children"}), ElementsAre(".folder", ".hidden", "shown"));
  EXPECT_THAT(topNames(volume, {"~", "--files", "--no-hidden"}), ElementsAre("shown"));
}

}  // namespace
}  // namespace quarn::folder_commands_tests
