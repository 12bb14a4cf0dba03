#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/vendors/ListedFolders.h"
#include "tests/support/MacVolume.h"

namespace quarn {
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
}  // namespace quarn
