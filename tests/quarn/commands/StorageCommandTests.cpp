#include <limits>

#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"
#include "tests/support/MemoryVolume.h"

namespace quarn {
namespace {

using ::testing::HasSubstr;

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

}  // namespace
}  // namespace quarn
