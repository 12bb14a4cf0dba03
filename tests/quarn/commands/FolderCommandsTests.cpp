#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"
#include "tests/support/Remedies.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::folder_commands_tests {
namespace {

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

}  // namespace
}  // namespace quarn::folder_commands_tests
