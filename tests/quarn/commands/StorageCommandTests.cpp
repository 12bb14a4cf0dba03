#include <limits>

#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"
#include "tests/support/MemoryVolume.h"

namespace quarn::storage_command_tests {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

TEST(StorageCommand, AnUnknownCategoryGetsASuggestion) {
  const CommandRun run = runOnSample({"storage", "game"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("did you mean games?"));
}

TEST(StorageCommand, ACategoryWithoutFoldersPrintsItsTotalOnly) {
  const MacVolume volume;
  const CommandRun run = runQuarn({"--volume", volume.root(), "--home", "/Users/ann", "storage", "games"});
  EXPECT_EQ(run.out, "games  0 bytes on disk, 0 bytes long\n\n");
  EXPECT_EQ(run.err, "quarn: nothing found\n");
}

TEST(StorageCommand, SizesThatDoNotFitAreAnErrorWithTheFolder) {
  MacVolume volume = volumeInMemory();
  constexpr std::int64_t kHuge = std::numeric_limits<std::int64_t>::max() - 1;
  volume.sparse("/Users/ann/Documents/a", kHuge).sparse("/Users/ann/Documents/b", kHuge);
  const CommandRun run = runQuarn({"--volume", volume.root(), "storage", "documents", "--json"});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("the sizes in /Users/ann/Documents add up to more than 8 EiB"));
  const auto error = nlohmann::json::parse(run.out)["error"];
  EXPECT_EQ(error["path"], "/Users/ann/Documents");
  EXPECT_EQ(error["name"], "EOVERFLOW");
}

TEST(StorageCommand, ACategoryHasTheTotalOfTheOverviewAndItsFoldersAddUpToIt) {
  const auto overview = nlohmann::json::parse(runOnSample({"storage", "--json"}).out)["categories"];
  ASSERT_EQ(overview.size(), 8u);
  for (const auto& [category, size] : overview.items()) {
    const auto document = nlohmann::json::parse(runOnSample({"storage", category, "--json"}).out);
    EXPECT_EQ(document["size"], size) << category;
    std::int64_t sum = 0;
    for (const auto& root : document["roots"]) sum += root["size"]["allocatedBytes"].get<std::int64_t>();
    EXPECT_EQ(sum, size["allocatedBytes"]) << category;
    EXPECT_GT(sum, 0) << category;
  }
}

TEST(StorageCommand, ListedRootsIncludeItemsOfOtherCategories) {
  MacVolume volume;
  volume.file("~/Documents/letter", 4096)
      .file("~/Documents/node_modules/a", 8192)
      .file("~/Documents/Saves.app/a", 4096);
  const auto sizeOf = [&](std::vector<std::string> words) {
    words.insert(words.begin(), {"--volume", volume.root(), "storage", "documents", "--json"});
    return nlohmann::json::parse(runQuarn(words).out)["size"]["allocatedBytes"];
  };
  volume.file("~/Documents/Library.photoslibrary/a", 16384);
  EXPECT_EQ(sizeOf({"--roots"}), 32768);
  EXPECT_EQ(sizeOf({}), 16384);
  EXPECT_EQ(runOnSample({"storage", "--roots"}).exitCode, 2);
}

TEST(StorageCommand, AFolderThatIsNotAMountedVolumeHasNoCapacity) {
  const CommandRun text = runOnSample({"storage"});
  EXPECT_THAT(text.out, HasSubstr(" in a folder, not a mounted volume\n"));
  EXPECT_THAT(text.out, Not(HasSubstr("unattributed")));
  const auto document = nlohmann::json::parse(runOnSample({"storage", "--json"}).out);
  EXPECT_TRUE(document["volume"]["totalBytes"].is_null());
  EXPECT_TRUE(document["volume"]["freeBytes"].is_null());
  EXPECT_TRUE(document["unattributedBytes"].is_null());
}

TEST(StorageCommand, AMountedVolumeHasACapacity) {
  // A mount point with few files, on Linux and on a Mac. Its other folders may be mount points with many, so one of
  // them is the home.
  const std::string volume = "/dev";
  const FileManager files = FileManager::mounted(volume, FileURL("/"));
  ASSERT_TRUE(files.mount().isMountPoint);
  const std::string home = files.itemExists(FileURL("/pts")) ? "/pts" : "/fd";
  const CommandRun text = runQuarn({"--volume", volume, "--home", home, "storage"});
  EXPECT_THAT(text.out, AllOf(HasSubstr(" used, "), HasSubstr("unattributed")));
  const auto document = nlohmann::json::parse(runQuarn({"--volume", volume, "--home", home, "storage", "--json"}).out);
  EXPECT_GT(document["volume"]["totalBytes"], 0);
  EXPECT_TRUE(document["unattributedBytes"].is_number());
}

}  // namespace
}  // namespace quarn::storage_command_tests
