#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"

namespace quarn::top_command_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::UnorderedElementsAreArray;

// Names of the items that a line with `top` lists.
std::vector<std::string> namesOf(const std::vector<std::string>& line) {
  std::vector<std::string> names;
  const CommandRun run = runQuarn(line);
  const auto document = nlohmann::json::parse(run.out, nullptr, /*allow_exceptions=*/false);
  EXPECT_TRUE(document.is_object()) << run.err;
  if (!document.is_object()) return names;
  for (const auto& item : document["items"]) names.push_back(item["name"]);
  return names;
}

std::vector<std::string> topNames(const MacVolume& volume, std::vector<std::string> words) {
  words.insert(words.begin(), {"--volume", volume.root(), "top", "--json"});
  return namesOf(words);
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

/// Lines with `top` about a volume and about a scan of it.
class TopOfFolders : public ::testing::Test {
 protected:
  void expectNames(const std::vector<std::string>& folders, const std::vector<std::string>& names) {
    const std::string scan = scans_.folder("/scans").host("/scans/scan");
    ASSERT_EQ(runQuarn({"--volume", volume.root(), "scan", "-o", scan}).exitCode, 0);
    const std::vector<std::vector<std::string>> sources{{"--volume", volume.root(), "top"}, {"top", "--scan", scan}};
    for (std::vector<std::string> line : sources) {
      line.insert(line.end(), folders.begin(), folders.end());
      line.emplace_back("--json");
      EXPECT_THAT(namesOf(line), UnorderedElementsAreArray(names)) << line[0];
    }
  }

  MacVolume volume;

 private:
  MacVolume scans_;
};

// The search of the outer folder stops at the package.
TEST_F(TopOfFolders, ANamedFolderInAPackageInsideAnotherOneIsSearched) {
  volume.file("~/outer/Tool.app/Contents/a", 8192).file("~/outer/b", 4096);
  expectNames({"/Users/ann/outer", "/Users/ann/outer/Tool.app/Contents"}, {"Tool.app", "a", "b"});
  expectNames({"/Users/ann/outer", "/Users/ann/outer/Tool.app"}, {"a", "b"});
}

TEST_F(TopOfFolders, AnItemBelowSeveralNamedFoldersIsListedOnce) {
  volume.file("/o/a", 1).file("/o/i/b", 2).file("/o/i/k/c", 3).file("/o/i/k/d.app/e", 4).file("/o/i2/f", 5);
  const std::vector<std::string> all{"a", "b", "c", "d.app", "f"};
  expectNames({"/o", "/o/i"}, all);
  expectNames({"/o/i/k", "/o", "/o/i"}, all);
  expectNames({"/o", "/o"}, all);
  expectNames({"/", "/o/i", "/o/i"}, all);
  expectNames({"/o/i", "/o/i2"}, {"b", "c", "d.app", "f"});
}

TEST_F(TopOfFolders, EachItemCountsOnceAmongThoseThatAreLeftOut) {
  volume.file("/o/a", 4096).file("/o/i/b", 8192).file("/o/i/c", 12288);
  const CommandRun run = runQuarn({"--volume", volume.root(), "top", "/o", "/o/i", "--limit", "1", "--json"});
  const auto document = nlohmann::json::parse(run.out);
  EXPECT_EQ(document["leftOut"]["rows"], 2);
  EXPECT_EQ(document["leftOut"]["bytes"], 4096 + 8192);
}

}  // namespace
}  // namespace quarn::top_command_tests
