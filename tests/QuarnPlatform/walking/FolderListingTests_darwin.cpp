// macOS gives the sizes with the names.
#include <gmock/gmock.h>

#include "tests/QuarnPlatform/walking/Listing.h"

namespace quarn::folder_listing_tests_darwin {
namespace {

using ::testing::IsEmpty;

TEST_F(Listing, HasTheSizesOfFilesWhereTheWalkReads) {
  volume.file("/f/a", 1).folder("/f/b").file("/f/c", 3);
  const FolderListing read = listed({.facts = EnumeratedFacts::sizes});
  EXPECT_EQ(read.entries[0].sizes.logicalBytes, 1);
  EXPECT_FALSE(read.entries[1].hasSizes()) << "a folder has none";
  EXPECT_EQ(read.entries[2].sizes.logicalBytes, 3);
  EXPECT_FALSE(read.wantsSizes) << "nothing is left to read";
  EXPECT_FALSE(listed({}).entries[0].hasSizes());
  EXPECT_FALSE(listed({.facts = EnumeratedFacts::sizes, .maximumLevel = 1}, 2).entries[0].hasSizes());
}

TEST_F(Listing, ACancelledOneIsNotRead) {
  volume.file("/f/a", 1);
  const WalkOptions options{.facts = EnumeratedFacts::sizes, .cancellation = Cancellation()};
  options.cancellation.cancel();
  EXPECT_THAT(names(listed(options)), IsEmpty());
}

// The sizes of one folder must not stay for the next, in which nobody asks for any.
TEST_F(Listing, AListerThatIsUsedAgainForgetsTheSizes) {
  for (int i = 0; i < 3000; ++i) volume.file("/f/" + std::to_string(i), 1);
  WalkOptions options{.facts = EnumeratedFacts::sizes, .maximumLevel = 1};
  FolderLister lister(options);
  FolderListing listing;
  lister.list(open().get(), 1, isAbandoned, listing);
  for (const FolderListing::Entry& entry : listing.entries) ASSERT_EQ(entry.sizes.logicalBytes, 1);
  listing.clear();
  lister.list(open().get(), 2, isAbandoned, listing);
  for (const FolderListing::Entry& entry : listing.entries) ASSERT_FALSE(entry.hasSizes());
}

}  // namespace
}  // namespace quarn::folder_listing_tests_darwin
