// Linux lists names and types, so the sizes are read after the listing.
#include <cerrno>

#include <gmock/gmock.h>

#include "tests/QuarnPlatform/walking/Listing.h"

namespace quarn::folder_listing_tests_linux {
namespace {

using ::testing::IsEmpty;

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

}  // namespace
}  // namespace quarn::folder_listing_tests_linux
