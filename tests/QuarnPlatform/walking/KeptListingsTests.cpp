#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "QuarnPlatform/walking/DirectoryEnumerator.h"
#include "QuarnPlatform/walking/FolderListing.h"
#include "QuarnPlatform/walking/KeptListings.h"
#include "tests/QuarnPlatform/walking/Sizing.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::kept_listings_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Place = KeptListings::Place;

/// An ordered walk that keeps what it lists, and what comes of it. Every rule holds whatever the number of threads.
class Keeping : public SizingWithThreads {
 protected:
  [[nodiscard]] WalkOptions walkOptions() {
    return {
        .hidden = HiddenItems::skip, .packages = PackageContents::skip, .kept = &kept, .readAheadThreads = GetParam()};
  }
  /// The names that an ordered walk yields.
  std::vector<std::string> walk(std::string_view root, const WalkOptions& options) {
    DirectoryEnumerator items(files(), FileURL(root), options);
    std::vector<std::string> names;
    while (const DirectoryEnumerator::Item* item = items.next()) {
      EXPECT_FALSE(item->sizes().has_value()) << "they were not asked for";
      names.emplace_back(item->name());
    }
    return names;
  }
  std::vector<std::string> walk(std::string_view root) { return walk(root, walkOptions()); }

  /// The items of a kept folder as text.
  [[nodiscard]] std::vector<std::string> items(const std::string& path) const {
    std::vector<std::string> texts;
    const Place place = kept.find(path);
    if (place.folder == KeptListings::kNone) return {"not kept"};
    for (const auto& [item, sizes] : kept.items(place.folder)) {
      const bool isFile = item.type() == FileType::regular;
      texts.push_back(std::string(kept.name(item)) + (isFile ? " " + std::to_string(sizes.logicalBytes) : "/") +
                      (item.isHidden() ? " hidden" : ""));
    }
    return texts;
  }
  [[nodiscard]] bool isInKept(std::string_view path) const { return kept.find(path).isInKept; }

  /// The bytes of a tree, counted with what is kept.
  [[nodiscard]] std::int64_t sized(std::string_view root, HiddenItems hidden = HiddenItems::include) const {
    TreeSizer::Options sizing = options(hidden);
    sizing.kept = &kept;
    return TreeSizer::total(files(), FileURL(root), sizing).logicalBytes;
  }

  KeptListings kept;
};

INSTANTIATE_TEST_SUITE_P(WithHelpers, Keeping, ::testing::Values(0U, 1U, 7U));

TEST_P(Keeping, FoldersAreKeptWithTheSizesOfTheirFilesAndWithHiddenItems) {
  volume.file("/t/b", 5).file("/t/a/.h", 7).file("/t/a/c/d", 9).file("/t/.x/y", 1).link("/t/a/l", "c").fifo("/t/a/p");
  volume.folder("/t/empty");
  EXPECT_THAT(walk("/t"), ElementsAre("a", "c", "d", "l", "p", "b", "empty"));
  EXPECT_THAT(items("/t"), ElementsAre(".x/ hidden", "a/", "b 5", "empty/"));
  EXPECT_THAT(items("/t/a"), ElementsAre(".h 7 hidden", "c/"));
  EXPECT_THAT(items("/t/a/c"), ElementsAre("d 9"));
  EXPECT_THAT(items("/t/empty"), IsEmpty());
  EXPECT_THAT(items("/t/.x"), ElementsAre("not kept"));
  for (const char* other : {"/", "/t/a/d", "/t/b", "/u", "/t/", "/t/aa"}) {
    EXPECT_EQ(items(other), other == std::string_view("/t/") ? items("/t") : std::vector<std::string>{"not kept"});
  }
}

// The walk that counts enters the first folder itself, and so learns whether it is on another device.
TEST_P(Keeping, TheRootIsInNoKeptFolder) {
  volume.file("/t/a/b/c").file("/u/d/e");
  (void)walk("/t");
  (void)walk("/u");
  EXPECT_FALSE(isInKept("/t"));
  EXPECT_TRUE(isInKept("/t/a"));
  EXPECT_TRUE(isInKept("/t/a/b"));
  EXPECT_FALSE(isInKept("/t/a/b/c"));
  EXPECT_FALSE(isInKept("/u"));
  EXPECT_TRUE(isInKept("/u/d"));
}

TEST_P(Keeping, TheWholeVolumeCanBeKept) {
  volume.file("/t/a", 3);
  (void)walk("/");
  EXPECT_THAT(items("/t"), ElementsAre("a 3"));
  EXPECT_TRUE(isInKept("/t"));
  EXPECT_FALSE(isInKept("/"));
}

TEST_P(Keeping, ARootBehindALinkIsKeptWhereItIs) {
  volume.file("/real/t/a", 3).link("/way", "real");
  (void)walk("/way/t");
  EXPECT_THAT(items("/real/t"), ElementsAre("a 3"));
  EXPECT_THAT(items("/way/t"), ElementsAre("not kept"));
}

TEST_P(Keeping, PackagesAndWhatIsTooDeepAreNotKept) {
  volume.file("/t/p.app/a").file("/t/q/b").bundleBit("/t/q").file("/t/1/2/3/c");
  WalkOptions options = walkOptions();
  options.maximumLevel = 2;
  EXPECT_THAT(walk("/t", options), ElementsAre("1", "2", "3", "p.app", "q"));
  for (const char* path : {"/t/p.app", "/t/q", "/t/1/2"}) EXPECT_THAT(items(path), ElementsAre("not kept")) << path;
  EXPECT_THAT(items("/t/1"), ElementsAre("2/"));
}

TEST_P(Keeping, WhatTheConsumerSkipsIsNotKept) {
  volume.file("/t/a/b").file("/t/c/d");
  DirectoryEnumerator walk(files(), FileURL("/t"), walkOptions());
  while (const DirectoryEnumerator::Item* item = walk.next()) {
    if (item->name() == "a") walk.skipDescendants();
  }
  EXPECT_THAT(items("/t"), ElementsAre("a/", "c/"));
  EXPECT_THAT(items("/t/a"), ElementsAre("not kept"));
  EXPECT_THAT(items("/t/c"), ElementsAre("d 0"));
}

TEST_P(Keeping, AWalkThatEndsEarlyKeepsTheFoldersThatItIsIn) {
  volume.file("/t/a/b/1", 1).file("/t/a/b/2", 2).file("/t/a/c/d").file("/t/e/f");
  for (int i = 0; i < 1500; ++i) volume.file("/t/a/b/x" + std::to_string(i));
  DirectoryEnumerator walk(files(), FileURL("/t"), walkOptions());
  for (const char* name : {"a", "b", "1"}) EXPECT_EQ(walk.next()->name(), name);
  walk.end();
  EXPECT_EQ(walk.next(), nullptr);
  EXPECT_THAT(items("/t"), ElementsAre("a/", "e/"));
  EXPECT_THAT(items("/t/a"), ElementsAre("b/", "c/"));
  EXPECT_THAT(items("/t/a/b"), SizeIs(1502));
  EXPECT_THAT(items("/t/a/c"), ElementsAre("not kept"));
  EXPECT_THAT(items("/t/e"), ElementsAre("not kept"));
}

TEST_P(Keeping, AWalkMayEndBeforeItYieldsAndWhileItOffersAFolder) {
  volume.file("/t/a/b", 1);
  volume.file("/u/c/d", 1);
  DirectoryEnumerator unused(files(), FileURL("/t"), walkOptions());
  unused.end();
  EXPECT_THAT(items("/t"), ElementsAre("a/"));
  EXPECT_THAT(items("/t/a"), ElementsAre("not kept"));
  DirectoryEnumerator offering(files(), FileURL("/u"), walkOptions());
  EXPECT_EQ(offering.next()->name(), "c");
  offering.end();
  EXPECT_EQ(offering.next(), nullptr);
  EXPECT_THAT(items("/u"), ElementsAre("c/"));
  DirectoryEnumerator missing(files(), FileURL("/missing"), walkOptions());
  missing.end();
  EXPECT_THAT(items("/missing"), ElementsAre("not kept"));
}

TEST_P(Keeping, AFolderThatCannotBeReadIsNotKeptAndReportedOnce) {
  volume.file("/t/closed/a").file("/t/names/b").file("/t/open/c", 4).mode("/t/closed", 0).mode("/t/names", 0444);
  {
    const UnprivilegedUser user;
    EXPECT_THAT(walk("/t"), ElementsAre("closed", "names", "b", "open", "c"));
    EXPECT_THAT(report->items(), SizeIs(1)) << "nobody asked the walk for the sizes of files";
    EXPECT_EQ(sized("/t"), 4);
  }
  for (const char* path : {"/t/closed", "/t/names"}) EXPECT_THAT(items(path), ElementsAre("not kept")) << path;
  std::vector<std::string> paths;
  for (const UnreadableItem& item : report->items()) paths.push_back(item.path);
  EXPECT_THAT(paths, ::testing::UnorderedElementsAre("/t/closed", "/t/names/b"));
  volume.mode("/t/closed", 0755).mode("/t/names", 0755);
}

TEST_P(Keeping, ABigFolderIsNotKeptButTheFoldersAroundItAre) {
  const auto most = static_cast<int>(KeptListings::kMostItemsOfFolder);
  for (int i = 0; i < most; ++i) volume.file("/t/most/" + std::to_string(i));
  for (int i = 0; i <= most; ++i) volume.file("/t/big/" + std::to_string(i));
  // Sizes of these are read in several pieces, and nobody asks for them.
  for (int i = 0; i < 1500; ++i) volume.file("/t/big/in/" + std::to_string(i)).file("/t/big/in2/." + std::to_string(i));
  volume.file("/t/end/a", 7);
  EXPECT_THAT(walk("/t"), SizeIs(2 * most + 1 + 1500 + 6));
  EXPECT_THAT(items("/t/most"), SizeIs(most));
  EXPECT_THAT(items("/t/big"), ElementsAre("not kept"));
  for (const char* path : {"/t/big/in", "/t/big/in2"}) EXPECT_THAT(items(path), ElementsAre("not kept")) << path;
  EXPECT_THAT(items("/t/end"), ElementsAre("a 7"));
  EXPECT_EQ(sized("/t"), 7);
}

// --- Limits ----------------------------------------------------------------------------------------------------------

FolderListing listingOf(std::size_t items, std::size_t nameLength) {
  FolderListing listing;
  for (std::size_t i = 0; i < items; ++i) {
    listing.entries.push_back({.item = ListedItem(listing.names.size(), nameLength, FileType::directory, {})});
    listing.names.append(nameLength, 'a') += '\0';
  }
  return listing;
}

TEST(KeptListingsLimits, ItemsAndNamesAreLimited) {
  for (const std::size_t nameLength : {1U, 255U}) {
    KeptListings kept;
    constexpr std::size_t kItems = KeptListings::kMostItemsOfFolder - 1;
    const FolderListing one = listingOf(kItems, nameLength);
    std::size_t count = 0;
    for (; kept.reserve(one); ++count) EXPECT_FALSE(kept.isFull());
    const bool areNames = nameLength > 40;
    EXPECT_EQ(count, areNames ? KeptListings::kMostNames / one.names.size() : KeptListings::kMostItems / kItems);
    EXPECT_TRUE(kept.isFull());
    EXPECT_FALSE(kept.reserve(listingOf(1, 1))) << "so that the walk need not read sizes for nothing";
  }
}

TEST(KeptListingsLimits, AFolderIsLimitedWhateverItHolds) {
  KeptListings kept;
  EXPECT_FALSE(kept.reserve(listingOf(KeptListings::kMostItemsOfFolder + 1, 1)));
  EXPECT_FALSE(kept.isFull());
  EXPECT_TRUE(kept.reserve(listingOf(KeptListings::kMostItemsOfFolder, 1)));
}

TEST(KeptListingsLimits, AListingWithoutASizeIsNotKept) {
  KeptListings kept;
  FolderListing listing = listingOf(1, 1);
  listing.names += std::string("b\0c", 4);
  listing.entries.push_back(
      {.item = ListedItem(2, 1, FileType::regular, {}), .sizes = {.allocatedBytes = 1, .logicalBytes = 1}});
  listing.entries.push_back({.item = ListedItem(4, 1, FileType::regular, {}), .sizesError = EACCES});
  ASSERT_TRUE(kept.reserve(listing));
  EXPECT_EQ(kept.add(listing, {}), KeptListings::kNone);
  listing.entries.pop_back();
  EXPECT_EQ(kept.add(listing, {}), 0U);
}

TEST_P(Keeping, AFolderInOneThatIsNotKeptTakesNoRoom) {
  constexpr std::size_t kRoom = 8;
  for (std::size_t taken = 0; taken < KeptListings::kMostItems; taken += KeptListings::kMostItemsOfFolder) {
    const bool isLast = taken + KeptListings::kMostItemsOfFolder == KeptListings::kMostItems;
    ASSERT_TRUE(kept.reserve(listingOf(KeptListings::kMostItemsOfFolder - (isLast ? kRoom : 0), 1)));
  }
  for (std::size_t i = 0; i < KeptListings::kMostItemsOfFolder; ++i) volume.file("/t/big/" + std::to_string(i));
  for (int i = 0; i < 6; ++i) volume.file("/t/big/in/" + std::to_string(i)).file("/t/end/" + std::to_string(i));
  (void)walk("/t");
  EXPECT_THAT(items("/t/end"), SizeIs(6));
}

// --- Counting --------------------------------------------------------------------------------------------------------

// What is kept is not read again, so a change is not seen, except in the root.
TEST_P(Keeping, KeptFoldersAreCountedAndNotOpened) {
  volume.file("/u/t/a", 1).file("/u/t/b/c", 10).file("/u/t/b/d/e", 100).file("/u/f", 1000).file("/u/t/b/.h", 10'000);
  (void)walk("/u/t");
  EXPECT_EQ(sized("/u"), 11'111);
  EXPECT_EQ(sized("/u", HiddenItems::skip), 1111);
  volume.remove("/u/t/b/c").file("/u/t/b/d/g", 5).file("/u/t/h", 100'000).file("/u/i", 1'000'000);
  EXPECT_EQ(sized("/u"), 1'111'111);
  EXPECT_EQ(sized("/u/t"), 110'111) << "the root of the walk is kept too";
  EXPECT_EQ(sized("/u/t/b/d"), 105) << "a root is always read";
  TreeSizer::Options plain = options();
  EXPECT_EQ(TreeSizer::total(files(), FileURL("/u"), plain).logicalBytes, 1'111'106);
}

TEST_P(Keeping, WhatIsNotKeptInKeptFoldersIsOpened) {
  volume.file("/t/a/b/p.app/x/y", 1).file("/t/a/b/.h/z", 10).file("/t/a/q/c", 100).bundleBit("/t/a/q");
  volume.file("/t/1/2/3/4/5/6/d", 1000).file("/t/1/2/3/other/7/e", 10'000);
  WalkOptions walking = walkOptions();
  walking.maximumLevel = 3;
  (void)walk("/t", walking);
  EXPECT_EQ(sized("/t"), 11'111);
  volume.file("/t/1/2/3/4/new", 100'000);
  EXPECT_EQ(sized("/t"), 111'111);
  EXPECT_EQ(sized("/t", HiddenItems::skip), 111'101);
}

TEST_P(Keeping, AFolderThatVanishesInAKeptOneIsReportedWithItsPath) {
  volume.file("/t/a/b/c/.h/d", 1).file("/t/a/e", 10);
  (void)walk("/t");
  volume.remove("/t/a/b");
  EXPECT_EQ(sized("/t"), 10);
  ASSERT_THAT(report->items(), SizeIs(1));
  EXPECT_EQ(report->items()[0].path, "/t/a/b/c/.h");
  EXPECT_EQ(report->items()[0].cause, UnreadableCause::vanished);
}

/// Leaves out folders named "out", and those named "only" unless they are packages, and counts files in packages to
/// another total.
struct ByPackage : PlainAttribution {
  [[nodiscard]] bool needsPackages() const override { return true; }
  [[nodiscard]] std::optional<Step> folder(const Step& parent, std::string_view name, bool isPackage) const override {
    if (name == "out" || (name == "only" && !isPackage)) return std::nullopt;
    return isPackage ? Step{.bucket = 1} : parent;
  }
};

TEST_P(Keeping, KeptFoldersAreJudgedLikeOthers) {
  volume.file("/t/a/p.app/x", 1).file("/t/a/q/y", 10).bundleBit("/t/a/q").file("/t/a/n/z", 100);
  volume.file("/t/out/v", 1000).file("/t/a/out/w", 1000).file("/t/a/n/o", 10'000);
  volume.file("/t/a/only/u", 1000).file("/t/b/only/s", 100'000).bundleBit("/t/b/only");
  const TreeSizer::Totals plain = TreeSizer::totals(files(), FileURL("/t"), ByPackage(), {}, options());
  EXPECT_EQ(plain[0].logicalBytes, 10'100);
  EXPECT_EQ(plain[1].logicalBytes, 100'011);
  (void)walk("/t");
  TreeSizer::Options sizing = options();
  sizing.kept = &kept;
  EXPECT_EQ(TreeSizer::totals(files(), FileURL("/t"), ByPackage(), {}, sizing), plain);
}

TEST_P(Keeping, AWalkThatNeedsMoreThanIsKeptReadsEveryFolder) {
  volume.file("/t/a/b", 1).hardLink("/t/a/c", "/t/a/b");
  (void)walk("/t");
  volume.file("/t/a/d", 10);
  EXPECT_EQ(sized("/t"), 2);
  LinkedNames linked;
  TreeSizer::Options sizing = options();
  sizing.kept = &kept;
  sizing.linked = &linked;
  EXPECT_EQ(TreeSizer::total(files(), FileURL("/t"), sizing).logicalBytes, 12);
}

}  // namespace
}  // namespace quarn::kept_listings_tests
