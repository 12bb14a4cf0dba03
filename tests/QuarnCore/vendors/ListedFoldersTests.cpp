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
  const std::vector<ListedFolders::Entry>& entries = *listed;
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_EQ(entries[0].item.url.path(), "/f/a");
  EXPECT_EQ(entries[0].item.type, FileType::directory);
  EXPECT_EQ(entries[1].item.url.path(), "/f/b");
}

TEST(ListedFolders, NamesAreComposed) {
  MacVolume volume;
  volume.file("/f/Cafe\u0301");
  ListedFolders folders(volume.files());
  const ListedFolders::Entries listed = folders.visibleEntries(FileURL("/f"));
  ASSERT_EQ(listed->size(), 1U);
  EXPECT_EQ(listed->front().name, "Caf\u00E9");
  EXPECT_EQ(listed->front().item.url.path(), "/f/Cafe\u0301");
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

void askForMissing(ListedFolders& folders, const std::string& folder, int items) {
  for (int i = 0; i < items; ++i) EXPECT_EQ(folders.existingURL(folder + "/no" + std::to_string(i)), std::nullopt);
}

TEST(ListedFolders, AfterThreeLookupsTheNamesInTheFolderDismissOthers) {
  for (const int lookups : {2, 3}) {
    MacVolume volume;
    volume.file("/f/a").file("/f/.hidden").file("/f/sub/b");
    ListedFolders folders(volume.files());
    askForMissing(folders, "/f", lookups);
    volume.file("/f/later").file("/f/later folder/in");
    const bool isListed = lookups == 3;
    EXPECT_EQ(folders.existingURL("/f/later").has_value(), !isListed);
    EXPECT_EQ(folders.existingURL("/f/later folder/in").has_value(), !isListed);
    EXPECT_TRUE(folders.existingURL("/f/a"));
    EXPECT_TRUE(folders.existingURL("/f/.hidden"));
    EXPECT_TRUE(folders.existingURL("/f/sub/b"));
  }
}

TEST(ListedFolders, FoldersOnTheWayCountAsLookupsToo) {
  MacVolume volume;
  volume.file("/f/a");
  ListedFolders folders(volume.files());
  for (const char* path : {"/f/1/x", "/f/2/x", "/f/3/x"}) EXPECT_EQ(folders.existingURL(path), std::nullopt);
  volume.file("/f/later");
  EXPECT_EQ(folders.existingURL("/f/later"), std::nullopt);
}

TEST(ListedFolders, TheTopFolderIsNotListed) {
  MacVolume volume;
  volume.file("/f/a");
  ListedFolders folders(volume.files());
  askForMissing(folders, "", 5);
  volume.file("/later");
  EXPECT_TRUE(folders.existingURL("/later"));
}

TEST(ListedFolders, NamesThatDecideNothingLeaveEachItemToALookup) {
  MacVolume volume;
  volume.file("/f/\xC3\xA9");
  ListedFolders folders(volume.files());
  askForMissing(folders, "/f", 5);
  volume.file("/f/later");
  EXPECT_TRUE(folders.existingURL("/f/later"));
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
