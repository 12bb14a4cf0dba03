#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/vendors/ListedFolders.h"
#include "QuarnPlatform/files/ReadReport.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::listed_folders_tests {
namespace {

TEST(ListedFolders, ShowTheVisibleEntriesInTheirOrder) {
  MacVolume volume;
  volume.file("/f/b").folder("/f/a").file("/f/.hidden");
  ListedFolders folders(volume.files());
  const ListedFolders::Entries listed = folders.visibleEntries(FileURL("/f"));
  const std::vector<DirectoryEntry>& entries = *listed;
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_EQ(entries[0].url.path(), "/f/a");
  EXPECT_EQ(entries[0].type, FileType::directory);
  EXPECT_EQ(entries[1].url.path(), "/f/b");
}

TEST(ListedFolders, AFolderIsListedOnceForAllPatterns) {
  MacVolume volume;
  volume.file("/f/a");
  ListedFolders folders(volume.files());
  EXPECT_EQ(folders.visibleEntries(FileURL("/f"))->size(), 1U);
  EXPECT_TRUE(folders.visibleEntries(FileURL("/missing"))->empty());
  volume.file("/f/b").file("/missing/c");
  EXPECT_EQ(folders.visibleEntries(FileURL("/f"))->size(), 1U);
  EXPECT_TRUE(folders.visibleEntries(FileURL("/missing"))->empty());
}

TEST(ListedFolders, NothingIsLookedUpBelowAFolderThatWasMissing) {
  MacVolume volume;
  volume.file("/f/a");
  ListedFolders folders(volume.files());
  EXPECT_EQ(folders.existingURL("/f/a"), FileURL("/f/a"));
  EXPECT_EQ(folders.existingURL("/missing/x/a"), std::nullopt);
  volume.file("/f/b").file("/missing/x/b").file("/missing/y/b");
  EXPECT_EQ(folders.existingURL("/f/b"), FileURL("/f/b"));
  EXPECT_EQ(folders.existingURL("/missing/x/b"), std::nullopt);
  EXPECT_EQ(folders.existingURL("/missing/y/b"), std::nullopt);
}

TEST(ListedFolders, AMissingFolderDismissesNothingBesideIt) {
  MacVolume volume;
  volume.file("/missing folder/a");
  ListedFolders folders(volume.files());
  EXPECT_EQ(folders.existingURL("/missing/a"), std::nullopt);
  EXPECT_EQ(folders.existingURL("/missing/b"), std::nullopt);
  EXPECT_EQ(folders.existingURL("/missing folder/a"), FileURL("/missing folder/a"));
  volume.folder("/missing");
  EXPECT_TRUE(folders.existingURL("/missing")) << "the folder itself is not below it";
  EXPECT_EQ(folders.existingURL("/missing/../missing folder/a"), FileURL("/missing/../missing folder/a"));
}

TEST(ListedFolders, AFolderIsFoundThroughLinksAndAFileIsNone) {
  MacVolume volume;
  volume.file("/real/a").link("/linked", "/real").link("/dangling", "/nowhere");
  ListedFolders folders(volume.files());
  EXPECT_EQ(folders.existingURL("/linked/a"), FileURL("/linked/a"));
  EXPECT_EQ(folders.existingURL("/dangling/a"), std::nullopt);
  EXPECT_EQ(folders.existingURL("/real/a/b"), std::nullopt);
}

TEST(ListedFolders, AClosedFolderIsReportedOnceAndNotTakenForMissing) {
  MacVolume volume;
  volume.file("/closed/in/a").file("/closed/in/b").mode("/closed", 0);
  const auto report = std::make_shared<ReadReport>();
  {
    const UnprivilegedUser user;
    ListedFolders folders(volume.files().reportingTo(report));
    EXPECT_EQ(folders.existingURL("/closed/in/a"), std::nullopt);
    EXPECT_EQ(folders.existingURL("/closed/in/b"), std::nullopt);
  }
  volume.mode("/closed", 0755);
  EXPECT_EQ(report->count(UnreadableCause::permission), 1U);
}

TEST(ListedFolders, ABigFolderIsNotKept) {
  constexpr int kMany = 5000;
  MacVolume volume;
  for (int i = 0; i < kMany; ++i) volume.file("/f/" + std::to_string(i));
  ListedFolders folders(volume.files());
  EXPECT_EQ(folders.visibleEntries(FileURL("/f"))->size(), std::size_t{kMany});
  volume.file("/f/more");
  EXPECT_EQ(folders.visibleEntries(FileURL("/f"))->size(), std::size_t{kMany} + 1);
}

}  // namespace
}  // namespace quarn::listed_folders_tests
