#include <algorithm>
#include <cerrno>

#include <gmock/gmock.h>

#include "QuarnPlatform/walking/FolderListing.h"
#include "tests/support/MacVolume.h"
#include "tests/support/MemoryVolume.h"

namespace quarn {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A folder "/f" of a volume, listed directly.
class Listing : public ::testing::Test {
 protected:
  FileDescriptor open() const { return volume.files().openDirectory(FileURL("/f"), Links::doNotFollow); }

  FolderListing listed(const WalkOptions& options, int level = 1) const {
    FolderListing listing;
    FolderLister(options).list(open().get(), level, isAbandoned, listing);
    return listing;
  }

  static std::vector<std::string> names(const FolderListing& listing) {
    std::vector<std::string> result;
    for (const FolderListing::Entry& entry : listing.entries) result.emplace_back(listing.name(entry));
    return result;
  }

  MacVolume volume = volumeInMemory();
  std::atomic<bool> isAbandoned = false;
};

TEST_F(Listing, IsInByteOrderAlsoWhereNamesBeginAlikeOrAreShort) {
  volume.file("/f/b").file("/f/aaaaaaaab").file("/f/aaaaaaaaa").file("/f/aaaaaaaa").file("/f/B").file("/f/\xC3\xA9");
  EXPECT_THAT(names(listed({})), ElementsAre("B", "aaaaaaaa", "aaaaaaaaa", "aaaaaaaab", "b", "\xC3\xA9"));
}

// Sizes beyond which the common prefix is skipped, and beyond which the keys are sorted by their bytes.
TEST_F(Listing, OfABigFolderIsInTheSameOrder) {
  for (const int count : {70, 4200}) {
    std::vector<std::string> expected;
    for (int i = 0; i < count; ++i) {
      const std::string name = "a common beginning " + std::to_string(i * 7919 % 100'003) + (i % 3 == 0 ? "" : " x");
      expected.push_back(name);
      volume.file("/f/" + name);
    }
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(names(listed({})), expected) << count;
    volume.remove("/f");
  }
}

TEST_F(Listing, LeavesOutHiddenItemsWhenAskedTo) {
  volume.file("/f/.hidden").file("/f/a");
  EXPECT_THAT(names(listed({.hidden = HiddenItems::skip})), ElementsAre("a"));
  EXPECT_THAT(names(listed({})), ElementsAre(".hidden", "a"));
}

TEST_F(Listing, NamesTheFoldersThatAreEntered) {
  volume.file("/f/a").folder("/f/b").folder("/f/c.app").folder("/f/d").link("/f/e", "d");
  EXPECT_THAT(listed({.packages = PackageContents::enter}).folders, ElementsAre(1, 2, 3));
  EXPECT_THAT(listed({.packages = PackageContents::skip}).folders, ElementsAre(1, 3));
  EXPECT_THAT(listed({.maximumLevel = 3}, 3).folders, ElementsAre(1, 2, 3));
  EXPECT_THAT(listed({.maximumLevel = 3}, 4).folders, IsEmpty()) << "deeper than the walk goes";
}

TEST_F(Listing, WantsSizesOnlyOfFilesAndOnlyWhereTheWalkReads) {
  volume.folder("/f/a");
  EXPECT_FALSE(listed({.facts = EnumeratedFacts::sizes}).wantsSizes);
  volume.file("/f/b");
  EXPECT_TRUE(listed({.facts = EnumeratedFacts::sizes}).wantsSizes);
  EXPECT_FALSE(listed({}).wantsSizes);
  EXPECT_FALSE(listed({.facts = EnumeratedFacts::sizes, .maximumLevel = 1}, 2).wantsSizes);
}

TEST_F(Listing, SizesAreReadForAStretchOfEntriesAndWhatCannotBeReadKeepsItsError) {
  volume.file("/f/a", 1).folder("/f/b").file("/f/c", 3).file("/f/d", 4).file("/f/e", 5);
  const WalkOptions options{.facts = EnumeratedFacts::sizes};
  FolderLister lister(options);
  FolderListing listing;
  const FileDescriptor folder = open();
  lister.list(folder.get(), 1, isAbandoned, listing);
  volume.remove("/f/c");
  lister.readSizes(folder.get(), listing, 0, 4);
  EXPECT_EQ(listing.entries[0].sizes.logicalBytes, 1);
  EXPECT_FALSE(listing.entries[1].hasSizes()) << "a folder has none";
  EXPECT_EQ(listing.entries[1].sizesError, 0);
  EXPECT_FALSE(listing.entries[2].hasSizes());
  EXPECT_EQ(listing.entries[2].sizesError, ENOENT);
  EXPECT_EQ(listing.entries[3].sizes.logicalBytes, 4);
  EXPECT_FALSE(listing.entries[4].hasSizes()) << "not asked for";
  EXPECT_EQ(listing.entries[4].sizesError, 0);
}

TEST_F(Listing, AnAbandonedOneIsNotRead) {
  volume.file("/f/a");
  isAbandoned = true;
  EXPECT_THAT(names(listed({})), IsEmpty());
}

TEST_F(Listing, ACancelledOneIsNotReadNorAreItsSizes) {
  volume.file("/f/a", 1);
  WalkOptions options{.facts = EnumeratedFacts::sizes, .cancellation = Cancellation()};
  FolderLister lister(options);
  FolderListing listing;
  const FileDescriptor folder = open();
  lister.list(folder.get(), 1, isAbandoned, listing);
  ASSERT_EQ(listing.entries.size(), 1U);
  options.cancellation.cancel();
  lister.readSizes(folder.get(), listing, 0, 1);
  EXPECT_FALSE(listing.entries[0].hasSizes());
  EXPECT_THAT(names(listed(options)), IsEmpty());
}

TEST_F(Listing, AListerIsUsedAgainWithoutATraceOfTheFolderBefore) {
  for (int i = 0; i < 100; ++i) volume.file("/f/" + std::to_string(i));
  const WalkOptions options;
  FolderLister lister(options);
  FolderListing listing;
  lister.list(open().get(), 1, isAbandoned, listing);
  EXPECT_EQ(listing.entries.size(), 100U);
  volume.remove("/f").folder("/f/only");
  listing.clear();
  lister.list(open().get(), 1, isAbandoned, listing);
  EXPECT_THAT(names(listing), ElementsAre("only"));
  EXPECT_THAT(listing.folders, ElementsAre(0));
}

// Beyond 16,384 files another thread reads sizes while the folder is still listed; the rest is read afterwards.
TEST_F(Listing, SizesReadEarlyAndLateAreTheSame) {
  constexpr int kFiles = 20'000;
  for (int i = 0; i < kFiles; ++i) volume.sparse("/f/" + std::to_string(i), i);
  const WalkOptions options{.facts = EnumeratedFacts::sizes, .readAheadThreads = 1};
  FolderLister lister(options);
  FolderListing listing;
  const FileDescriptor folder = open();
  lister.list(folder.get(), 1, isAbandoned, listing);
  ASSERT_EQ(listing.entries.size(), static_cast<std::size_t>(kFiles));
  lister.readSizes(folder.get(), listing, 0, listing.entries.size());
  for (const FolderListing::Entry& entry : listing.entries) {
    EXPECT_EQ(std::to_string(entry.sizes.logicalBytes), listing.name(entry));
  }
}

}  // namespace
}  // namespace quarn
