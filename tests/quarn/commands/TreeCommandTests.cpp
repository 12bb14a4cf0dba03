#include <map>
#include <string>

#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "tests/quarn/commands/CommandDocument.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::tree_command_tests {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

CommandRun tree(const MacVolume& volume, std::vector<std::string> words) {
  words.insert(words.begin(), {"--volume", volume.root(), "tree"});
  return runQuarn(words);
}

nlohmann::json treeDocument(const MacVolume& volume, std::vector<std::string> words) {
  words.emplace_back("--json");
  return document(tree(volume, words))["tree"];
}

std::vector<std::string> urlsIn(const nlohmann::json& branch) {
  std::vector<std::string> urls;
  for (const auto& child : branch["branches"]) urls.push_back(child["url"].get<std::string>().substr(7));
  return urls;
}

TEST(TreeCommand, DrawsTheLargestBranchesWithTheirShares) {
  MacVolume volume;
  volume.file("~/Movies/film", 60_KiB).file("~/Movies/Clips/clip", 20_KiB).file("~/Notes/a", 8_KiB);
  EXPECT_EQ(tree(volume, {"--bytes", "--no-owners"}).out,
            "ON DISK              BRANCH      OWNER  CATEGORY\n"
            "  90112  ██████████  ~/\n"
            "  81920  █████████▏  ├ Movies/          photos\n"
            "  61440  ██████▉     │ ├ film           photos\n"
            "  20480  ██▎         │ └ Clips/         photos\n"
            "  20480  ██▎         │   └ clip         photos\n"
            "   8192  ▉           └ Notes/           documents\n"
            "   8192  ▉             └ a              documents\n");
}

TEST(TreeCommand, ShowsAsManyLevelsAndBranchesAsAreWanted) {
  MacVolume volume;
  volume.file("~/a/b/c/file", 32_KiB).file("~/d", 16_KiB).file("~/e", 8_KiB).file("~/f", 4_KiB);
  const nlohmann::json found = treeDocument(volume, {"--depth", "1", "--top", "2"});
  EXPECT_THAT(urlsIn(found), ElementsAre("/Users/ann/a/", "/Users/ann/d"));
  EXPECT_EQ(found["branches"][0]["branches"].size(), 0U);
  EXPECT_EQ(found["rest"]["size"]["allocatedBytes"], 12_KiB);
  EXPECT_EQ(found["rest"]["files"], 2);
  EXPECT_THAT(tree(volume, {"--depth", "1", "--top", "2", "--bytes"}).out, HasSubstr("└ the rest, 2 files"));
}

TEST(TreeCommand, NamesTheOwnerAndTheCategoryOfABranch) {
  MacVolume volume;
  volume.app("/Applications/Lone.app", {.bundleIdentifier = "com.example.lone", .name = "Lone"})
      .file("~/Library/Caches/com.example.lone/cache", 8_KiB);
  const nlohmann::json apps = treeDocument(volume, {"/Applications"});
  EXPECT_EQ(apps["category"], "apps");
  EXPECT_EQ(apps["branches"][0]["owner"], "Lone");
  EXPECT_EQ(apps["branches"][0]["branches"].size(), 0U) << "a package is one branch";
  const nlohmann::json caches = treeDocument(volume, {"~/Library/Caches"});
  EXPECT_EQ(caches["branches"][0]["owner"], "Lone");
  EXPECT_TRUE(treeDocument(volume, {"~/Library/Caches", "--no-owners"})["branches"][0]["owner"].is_null());
}

TEST(TreeCommand, AFileWithSeveralNamesCountsOnceInEachFolderAndAbove) {
  MacVolume volume;
  volume.file("~/a/one", 64_KiB).hardLink("~/a/two", "~/a/one").hardLink("~/b/three", "~/a/one").file("~/b/c", 4_KiB);
  const nlohmann::json found = treeDocument(volume, {});
  EXPECT_EQ(found["size"]["allocatedBytes"], 68_KiB);
  EXPECT_EQ(found["branches"][0]["size"]["allocatedBytes"], 68_KiB) << "b";
  EXPECT_EQ(found["branches"][1]["size"]["allocatedBytes"], 64_KiB) << "a";
  EXPECT_THAT(tree(volume, {}).out,
              HasSubstr("\n1 file found under several names (hard links) and counted once in each folder.\n"));
}

TEST(TreeCommand, FiltersLeaveOutBranches) {
  MacVolume volume;
  volume.file("~/a/one", 64_KiB).file("~/b/two", 8_KiB).file("~/c", 4_KiB);
  EXPECT_THAT(urlsIn(treeDocument(volume, {"--min-size", "8KB"})), ElementsAre("/Users/ann/a/", "/Users/ann/b/"));
  EXPECT_THAT(urlsIn(treeDocument(volume, {"--exclude", "a"})), ElementsAre("/Users/ann/b/", "/Users/ann/c"));
}

TEST(TreeCommand, LinesHaveTheDepthOfEachBranch) {
  MacVolume volume;
  volume.file("~/a/one", 64_KiB);
  const std::string lines = tree(volume, {"--ndjson"}).out;
  EXPECT_THAT(lines, AllOf(HasSubstr(R"("url":"file:///Users/ann/")"), HasSubstr(R"("depth":0)"),
                           HasSubstr(R"("url":"file:///Users/ann/a/one")"), HasSubstr(R"("depth":2)")));
}

TEST(TreeCommand, AnswersFromAScan) {
  MacVolume volume;
  volume.app("/Applications/Lone.app", {.bundleIdentifier = "com.example.lone", .name = "Lone"})
      .file("~/Library/Caches/com.example.lone/cache", 8_KiB)
      .file("~/Documents/a", 64_KiB);
  const MacVolume folder;
  const std::string file = folder.root() + "/scan";
  ASSERT_EQ(runQuarn({"--volume", volume.root(), "scan", "-o", file}).exitCode, 0);
  for (const char* path : {"/Users/ann", "/Applications", "/Users/ann/Library/Caches"}) {
    const nlohmann::json scanned = document(runQuarn({"tree", path, "--scan", file, "--json"}))["tree"];
    EXPECT_EQ(scanned, treeDocument(volume, {path})) << path;
  }
  EXPECT_EQ(runQuarn({"tree", "/nowhere", "--scan", file}).exitCode, 3);
}

TEST(TreeCommand, ACategoryIsThatOfTheFolderAndNotOfWhatIsInIt) {
  MacVolume volume;
  volume.app("/Users/ann/Documents/Tool.app", {.bundleIdentifier = "com.example.tool"})
      .file("~/Documents/a", 64_KiB)
      .file("~/.vscode/extensions/one/a", 64_KiB)
      .file("/private/var/log/system.log", 16_KiB)
      .file("~/Library/Application Support/Blocks/launcher_profiles.json", 8_KiB);
  const MacVolume folder;
  const std::string file = folder.root() + "/scan";
  ASSERT_EQ(runQuarn({"--volume", volume.root(), "scan", "-o", file}).exitCode, 0);
  const std::map<std::string, std::string> categories{{"/Users/ann/Documents", "documents"},
                                                      {"/Users/ann/.vscode", "other"},
                                                      {"/private/var/log", "systemData"},
                                                      {"/Users/ann/Library/Application Support/Blocks", "games"}};
  for (const auto& [path, category] : categories) {
    EXPECT_EQ(treeDocument(volume, {path})["category"], category) << path;
    EXPECT_EQ(document(runQuarn({"tree", path, "--scan", file, "--json"}))["tree"]["category"], category) << path;
  }
  const std::string game = "/Users/ann/Library/Application Support/Blocks";
  EXPECT_EQ(treeDocument(volume, {game, "--no-owners"})["category"], "systemData") << "app data is not read";
  EXPECT_EQ(document(runQuarn({"tree", game, "--no-owners", "--scan", file, "--json"}))["tree"]["category"],
            "systemData");
}

TEST(TreeCommand, AnUnreadableFolderIsReported) {
  MacVolume volume;
  volume.file("~/closed/a", 4_KiB).file("~/open", 4_KiB).mode("~/closed", 0000);
  const UnprivilegedUser user;
  const CommandRun run = tree(volume, {"--no-owners"});
  EXPECT_EQ(run.exitCode, 4);
  EXPECT_THAT(run.err, HasSubstr("/Users/ann/closed"));
}

TEST(TreeCommand, NamesAreEscaped) {
  MacVolume volume;
  volume.file("~/a\x1B[2J", 4_KiB);
  EXPECT_THAT(tree(volume, {}).out, AllOf(HasSubstr("a\\x1B[2J"), Not(HasSubstr("\x1B"))));
}

TEST(TreeCommand, AMissingFolderIsAnError) {
  const MacVolume volume;
  EXPECT_EQ(tree(volume, {"/nowhere"}).exitCode, 3);
}

}  // namespace
}  // namespace quarn::tree_command_tests
