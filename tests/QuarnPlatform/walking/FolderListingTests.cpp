#include <algorithm>

#include <gmock/gmock.h>

#include "tests/QuarnPlatform/walking/Listing.h"

namespace quarn::folder_listing_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST_F(Listing, IsInByteOrderForShortNamesAndCommonPrefixes) {
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

// The name that shares the least with the others counts wherever it is found. In memory the oldest item is found last.
TEST_F(Listing, OfABigFolderIsInOrderIfOneNameIsUnlikeTheOthers) {
  for (const bool isFoundLast : {true, false}) {
    for (const std::string odd : {"a", "a common ending", "z"}) {
      std::vector<std::string> expected{odd};
      if (isFoundLast) volume.file("/f/" + odd);
      for (int i = 100; i < 200; ++i) {
        expected.push_back("a common beginning " + std::to_string(i));
        volume.file("/f/" + expected.back());
      }
      if (!isFoundLast) volume.file("/f/" + odd);
      std::sort(expected.begin(), expected.end());
      EXPECT_EQ(names(listed({})), expected) << odd;
      volume.remove("/f");
    }
  }
}

TEST_F(Listing, OmitsHiddenItemsOnRequest) {
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

TEST_F(Listing, StopsWhenAbandoned) {
  volume.file("/f/a");
  isAbandoned = true;
  EXPECT_THAT(names(listed({})), IsEmpty());
}

TEST_F(Listing, AReusedListerKeepsNothingOfThePreviousFolder) {
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
}  // namespace quarn::folder_listing_tests
