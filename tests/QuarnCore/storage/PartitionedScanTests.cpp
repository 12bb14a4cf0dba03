#include <gmock/gmock.h>

#include "QuarnPlatform/files/ListingCount.h"
#include "QuarnPlatform/files/ReadReport.h"
#include "tests/QuarnCore/storage/DashboardVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::partitioned_scan_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;
using Category = StorageCategoryID;

// Sizes are powers of two, so that a total identifies its files.

TEST(PartitionedScan, EveryCategoryButFreeHasAnEntry) {
  const DashboardVolume volume;
  const auto sizes = volume.dashboard().calculatePartitionedCategorySizes({}, Cancellation::never());
  const std::map<Category, SizeInfo> expected{
      {Category::apps, {}},  {Category::documents, {}},   {Category::photos, {}},     {Category::communication, {}},
      {Category::games, {}}, {Category::development, {}}, {Category::systemData, {}}, {Category::other, {}}};
  EXPECT_EQ(sizes, expected);
}

TEST(PartitionedScan, AddsAllocatedAndLogicalBytes) {
  DashboardVolume volume;
  volume.sparse("~/Pictures/sparse", 1'000'000).file("~/Pictures/full", 8'192).file("~/Pictures/sub/full", 4'096);
  const auto sizes = volume.dashboard().calculatePartitionedCategorySizes({}, Cancellation::never());
  EXPECT_EQ(sizes.at(Category::photos), (SizeInfo{.allocatedBytes = 12'288, .logicalBytes = 1'012'288}));
}

TEST(PartitionedScan, EachRootCountsForItsCategory) {
  DashboardVolume volume;
  volume.file("~/Pictures/a", 1).file("~/Library/Mail/a", 2).file("~/.cargo/a", 4).file("~/Games/a", 8);
  volume.file("~/Documents/a", 16).file("/Applications/a", 32).file("~/.config/a", 64).file("/usr/a", 128);
  volume.file("/Elsewhere/a", 256).file("/Users/a", 512).file("/a", 1024);
  EXPECT_THAT(volume.scanned(),
              ElementsAre(Pair(Category::apps, 32), Pair(Category::documents, 16), Pair(Category::photos, 1),
                          Pair(Category::communication, 2), Pair(Category::games, 8), Pair(Category::development, 4),
                          Pair(Category::systemData, 128), Pair(Category::other, 64)));
}

TEST(PartitionedScan, ByRootEachByteCountsInTheRootThatHoldsIt) {
  DashboardVolume volume;
  volume.file("~/Documents/a", 16).file("~/Documents/A.app/x", 8).file("~/Pictures/a", 1).file("~/.cargo/a", 4);
  volume.folder("~/Music");
  std::map<std::string, SizeInfo> byRoot;
  std::map<Category, SizeInfo> sums;
  for (const auto& [url, sizes, home] : volume.dashboard().calculatePartitionedRoots({}, Cancellation::never())) {
    for (const auto& [category, size] : sizes) {
      byRoot[url.path()] += size;
      sums[category] += size;
    }
  }
  EXPECT_EQ(sums, volume.dashboard().calculatePartitionedCategorySizes({}, Cancellation::never()));
  EXPECT_EQ(byRoot["/Users/ann/Documents"].logicalBytes, 24);
  EXPECT_EQ(byRoot["/Users/ann/Pictures"].logicalBytes, 1);
  EXPECT_FALSE(byRoot.contains("/Users/ann/Music")) << "it has no bytes";
}

TEST(PartitionedScan, HiddenItemsCount) {
  DashboardVolume volume;
  volume.file("~/Pictures/.a", 1).file("~/Pictures/.b/c", 2).file("/usr/.a/.b", 4).file("~/Documents/A.app/.x/y", 8);
  EXPECT_THAT(volume.scanned(),
              ElementsAre(Pair(Category::documents, 8), Pair(Category::photos, 3), Pair(Category::systemData, 4)));
}

TEST(PartitionedScan, LinksAndSpecialFilesCountNothing) {
  DashboardVolume volume;
  volume.file("/Elsewhere/big", 1).link("~/Pictures/link", "/Elsewhere").link("~/Pictures/file", "/Elsewhere/big");
  volume.link("~/Pictures/Lib.abc", "/Elsewhere").fifo("~/Pictures/pipe.abc").socket("/usr/socket");
  volume.extension("abc", Category::games);
  EXPECT_THAT(volume.scanned(), IsEmpty());
}

TEST(PartitionedScan, AnEmptyExtensionInTheDictionaryMatchesNamesWithoutOne) {
  DashboardVolume volume;
  volume.file("~/Documents/none", 1).file("~/Documents/none.", 2).file("~/Documents/a.b", 4);
  volume.file("~/Docs.d/x.y/a.b", 8).file("~/Docs.d/whole/a.b", 16).file("~/Docs.d/none", 32);
  volume.extension("", Category::games);
  // Except "Docs.d", the names of the roots have no extension either.
  EXPECT_THAT(volume.scanned(), ElementsAre(Pair(Category::documents, 8), Pair(Category::games, 1 + 2 + 4 + 16 + 32)));
}

TEST(PartitionedScan, HardLinksCountEachTime) {
  DashboardVolume volume;
  volume.file("~/Pictures/a", 1).hardLink("~/Pictures/b", "~/Pictures/a").hardLink("~/Documents/c", "~/Pictures/a");
  EXPECT_THAT(volume.scanned(), ElementsAre(Pair(Category::documents, 1), Pair(Category::photos, 2)));
}

TEST(PartitionedScan, TheLongestRuleDecides) {
  DashboardVolume volume;
  volume.file("~/Pictures/a", 1)
      .file("~/Pictures/Slack/a", 2)
      .file("~/Pictures/Slack/deep/a", 4)
      .file("~/Pictures/Slack2/a", 8);
  volume.file("~/Pictures/Slack/Game/a", 16);
  volume.vendor("slack", {"~/Pictures/Slack"});
  volume.vendor("steam", {"~/Pictures/Slack/Game"});
  EXPECT_THAT(volume.scanned(),
              ElementsAre(Pair(Category::photos, 9), Pair(Category::communication, 6), Pair(Category::games, 16)));
}

TEST(PartitionedScan, ARuleForAFileAppliesToThatFile) {
  DashboardVolume volume;
  volume.file("~/Pictures/a", 1)
      .file("/Data/notes", 2)
      .file("/Data/other", 4)
      .link("~/notes", "/Data/notes")
      .link("~/all", "/Data");
  volume.link("/Applications", "Data/notes");
  EXPECT_THAT(volume.scanned(), ElementsAre(Pair(Category::documents, 6), Pair(Category::photos, 1)))
      << "of two rules for one place that of documents comes before that of apps";
}

TEST(PartitionedScan, EqualPrefixesGoToTheEarlierCategoryAndPlainOnesBeforeLinkedOnes) {
  DashboardVolume volume;
  volume.file("/Data/a", 1).link("~/Library/Mail", "/Data").link("~/stuff", "/Data").link("~/Games", "/Data");
  EXPECT_THAT(volume.scanned(), ElementsAre(Pair(Category::communication, 1)));
  DashboardVolume plain;
  plain.file("~/.cargo/a", 1).link("~/Pictures", ".cargo");
  EXPECT_THAT(plain.scanned(), ElementsAre(Pair(Category::development, 1)));
}

TEST(PartitionedScan, TheDictionaryTakesPrecedenceOverRules) {
  DashboardVolume volume;
  volume.extension("abc", Category::games);
  volume.file("~/Pictures/a.abc", 1).file("~/Pictures/b.ABC", 2).file("~/Pictures/abc", 4).file("~/Pictures/.abc", 8);
  volume.file("~/Pictures/c.abc.txt", 16)
      .file("~/.config/d.abc", 32)
      .file("~/Pictures/e.abcd", 64)
      .file("~/Pictures/f.a bc", 128);
  EXPECT_THAT(volume.scanned(),
              ElementsAre(Pair(Category::photos, 4 + 8 + 16 + 64 + 128), Pair(Category::games, 1 + 2 + 32)));
}

TEST(PartitionedScan, ExtensionsAreLowerCasedBeyondLatinLetters) {
  DashboardVolume volume;
  volume.extension("\u00C4k", Category::games);
  volume.file("~/Pictures/a.\u00E4\u212A", 1).file("~/Pictures/b.\u00C4K", 2).file("~/Pictures/c.ak", 4);
  EXPECT_THAT(volume.scanned(), ElementsAre(Pair(Category::photos, 4), Pair(Category::games, 3)))
      << "the Kelvin sign's lower case is k";
}

TEST(PartitionedScan, AFolderWithAnExtensionOfTheDictionaryCountsWhole) {
  DashboardVolume volume;
  volume.extension("abc", Category::games);
  volume.extension("def", Category::development);
  volume.file("~/Pictures/Lib.abc/a", 1)
      .file("~/Pictures/Lib.abc/sub/b.def", 2)
      .file("~/Pictures/Lib.abc/In.def/.c", 4);
  volume.file("~/Pictures/Lib.abc/In.app/d", 8).file("~/Pictures/e", 16);
  EXPECT_THAT(volume.scanned(), ElementsAre(Pair(Category::photos, 16), Pair(Category::games, 15)));
}

TEST(PartitionedScan, APackageCountsWholeToItsPlacesCategoryUnlessTheDictionaryKnowsIt) {
  DashboardVolume volume;
  volume.extension("abc", Category::games);
  volume.file("~/Pictures/A.app/Contents/x.abc", 1)
      .file("~/Pictures/B.photoslibrary/y", 2)
      .file("~/.config/C.app/z", 4);
  volume.file("~/Pictures/Marked/x.abc", 8).bundleBit("~/Pictures/Marked");
  EXPECT_THAT(volume.scanned(), ElementsAre(Pair(Category::photos, 11), Pair(Category::other, 4)));
  volume.extension("photoslibrary", Category::apps);
  EXPECT_THAT(volume.scanned(),
              ElementsAre(Pair(Category::apps, 2), Pair(Category::photos, 9), Pair(Category::other, 4)));
}

TEST(PartitionedScan, RulesInsideAPackageDoNotApply) {
  DashboardVolume volume;
  volume.file("~/Pictures/A.app/Slack/x", 1).file("~/Pictures/B.abc/Slack/x", 2);
  volume.vendor("slack", {"~/Pictures/A.app/Slack", "~/Pictures/B.abc/Slack"});
  volume.extension("abc", Category::games);
  EXPECT_THAT(volume.scanned(), ElementsAre(Pair(Category::photos, 1), Pair(Category::games, 2)));
}

TEST(PartitionedScan, ARuleForAPackageApplies) {
  DashboardVolume volume;
  volume.file("~/Pictures/A.app/x", 1);
  volume.vendor("slack", {"~/Pictures/A.app"});
  EXPECT_THAT(volume.scanned(), ElementsAre(Pair(Category::communication, 1)));
}

TEST(PartitionedScan, ExtensionsAssignedToFreeCountNowhere) {
  DashboardVolume volume;
  volume.extension("none", Category::free);
  volume.file("~/Pictures/a.none", 1).file("~/Pictures/Lib.none/b", 2).file("~/c.none", 4).file("~/D.none/x", 8);
  volume.file("~/Pictures/P.app/e.none", 16).file("/usr/f.none", 32).file("~/Pictures/rest", 64);
  EXPECT_THAT(volume.scanned(), ElementsAre(Pair(Category::photos, 80), Pair(Category::systemData, 32)))
      << "inside a package and in a fast root nothing is judged by itself";
}

TEST(PartitionedScan, ARootThatIsAFileIsAttributedLikeAFile) {
  DashboardVolume volume;
  volume.extension("abc", Category::games);
  volume.file("~/notes", 1).file("~/notes.abc", 2).file("~/.rc", 4).file("~/.rc.abc", 8).file("/usr", 16);
  EXPECT_THAT(volume.scanned(), ElementsAre(Pair(Category::documents, 1), Pair(Category::games, 10),
                                            Pair(Category::systemData, 16), Pair(Category::other, 4)));
}

TEST(PartitionedScan, ARootThatIsAPackageOrInTheDictionaryIsOneItem) {
  DashboardVolume volume;
  volume.extension("abc", Category::games);
  volume.extension("def", Category::development);
  volume.file("~/A.app/x.def", 1).file("~/B.abc/x.def", 2).file("~/.c.abc/x.def", 4).file("~/.d.app/x.def", 8);
  EXPECT_THAT(volume.scanned(),
              ElementsAre(Pair(Category::documents, 1), Pair(Category::games, 6), Pair(Category::other, 8)));
}

TEST(PartitionedScan, AFastRootThatIsOneItemIsAttributedLikeOne) {
  DashboardVolume volume;
  volume.extension("abc", Category::games);
  volume.file("/Users/bob.abc/x", 1).file("/Users/eve.app/Library/x.abc", 2).file("/Users/joe/x.abc", 4);
  EXPECT_THAT(volume.scanned(), ElementsAre(Pair(Category::games, 1), Pair(Category::systemData, 6)));
}

TEST(PartitionedScan, FastRootsSkipItemsOfOtherCategories) {
  DashboardVolume volume;
  volume.file("~/Library/a", 1)
      .file("~/Library/Mail/a", 2)
      .file("~/Library/Developer/a", 4)
      .file("~/Library/CloudStorage/loose", 8);
  volume.file("~/Library/CloudStorage/.hidden/a", 16).file("~/Library/CloudStorage/Box/a", 32);
  volume.file("~/Library/Mobile Documents/com~apple~CloudDocs/a", 64).file("~/Library/Mobile Documents/other/a", 128);
  volume.file("/System/Applications/a", 256).file("/System/Library/CoreServices/Applications/a", 512);
  volume.file("/System/Library/a", 1024).file("/usr/local/a", 2048).file("/Library/Application Support/Logic/a", 4096);
  EXPECT_THAT(volume.scanned(),
              ElementsAre(Pair(Category::apps, 256 + 512), Pair(Category::documents, 32 + 64),
                          Pair(Category::photos, 4096), Pair(Category::communication, 2),
                          Pair(Category::development, 4 + 2048), Pair(Category::systemData, 1 + 128 + 1024)))
      << "what lies loose in CloudStorage is excluded and nobody's";
}

TEST(PartitionedScan, TheQuarantineIsWalkedSeparately) {
  DashboardVolume volume;
  const std::string quarantine = "~/Library/Application Support/Quarn/Quarantine";
  volume.file(quarantine + "/a.abc", 1).file(quarantine + "/Lib.app/b", 2);
  volume.extension("abc", Category::games);
  EXPECT_THAT(volume.scanned(), ElementsAre(Pair(Category::systemData, 3)));
  volume.gameMarker("marker");
  volume.file("~/Library/Application Support/marker", 4).file("~/Library/Application Support/b", 8);
  EXPECT_THAT(volume.scanned(), ElementsAre(Pair(Category::games, 12), Pair(Category::systemData, 3)))
      << "inside an enumerated root it is still nobody's data";
}

TEST(PartitionedScan, ARootInsideAPackageDoesNotCountForThePackage) {
  DashboardVolume volume;
  volume.file("/Data/Lib.app/inner/a", 1)
      .file("/Data/Lib.app/b", 2)
      .link("~/data", "/Data")
      .link("/System", "Data/Lib.app/inner");
  EXPECT_THAT(volume.scanned(), ElementsAre(Pair(Category::documents, 2), Pair(Category::systemData, 1)));
}

TEST(PartitionedScan, NothingIsCountedTwiceOrLostThroughLinksToRootsAndTheirParents) {
  for (const char* target :
       {"/", "/Users", "/Users/ann", "/Users/ann/Library", "/private", "/private/var", "/var", "/System"}) {
    DashboardVolume volume;
    volume.file("~/Library/Mail/a", 1).file("~/Library/b", 2).file("~/Pictures/c", 4).file("/private/var/d", 8);
    volume.file("/System/Library/e", 16).file("/usr/local/f", 32).file("~/.config/g", 64).file("/Users/bob/h", 128);
    volume.link("/var", "private/var").link("~/everything", target);
    const auto scanned = volume.scanned();
    EXPECT_EQ(scanned.at(Category::communication), 1) << target;
    EXPECT_EQ(scanned.at(Category::systemData), 2 + 8 + 16 + 128) << target;
    EXPECT_EQ(scanned.at(Category::photos), 4) << target;
    EXPECT_EQ(scanned.at(Category::development), 32) << target;
    const bool walksHome = std::string_view("/Users/ann").starts_with(target);
    EXPECT_EQ(scanned.contains(Category::other) ? scanned.at(Category::other) : 0, walksHome ? 0 : 64) << target;
    EXPECT_EQ(scanned.contains(Category::documents) ? scanned.at(Category::documents) : 0, walksHome ? 64 : 0)
        << target;
  }
}

TEST(PartitionedScan, AHomeOfTheAutomounterIsCountedOnce) {
  DashboardVolume volume("/private/var/automount/Users/ann");
  volume.file("~/Pictures/a", 1).file("~/Library/b", 2).file("~/Library/Mail/c", 4).file("/private/var/d", 8);
  volume.link("/var", "private/var");
  EXPECT_THAT(volume.scanned(),
              ElementsAre(Pair(Category::photos, 1), Pair(Category::communication, 4), Pair(Category::systemData, 10)));
}

TEST(PartitionedScan, UnreadableFoldersAreSkippedAndReported) {
  DashboardVolume volume;
  volume.file("~/Pictures/open/a", 1).file("~/Pictures/closed/a", 2).mode("~/Pictures/closed", 0000);
  volume.file("~/Movies/a", 4).mode("~/Movies", 0000).file("/usr/a", 8).mode("/usr", 0000).file("~/Music/a", 16);
  const auto report = std::make_shared<ReadReport>();
  const auto dashboard = volume.dashboard(volume.files().reportingTo(report));
  const UnprivilegedUser user;
  const auto sizes = dashboard.calculatePartitionedCategorySizes({}, Cancellation::never());
  EXPECT_EQ(sizes.at(Category::photos).logicalBytes, 17);
  EXPECT_EQ(sizes.at(Category::systemData).logicalBytes, 0);
  std::vector<std::string> paths;
  for (const UnreadableItem& item : report->items()) {
    EXPECT_EQ(item.cause, UnreadableCause::permission);
    paths.push_back(item.path);
  }
  EXPECT_THAT(paths, UnorderedElementsAre("/Users/ann/Pictures/closed", "/Users/ann/Movies", "/usr"));
}

TEST(PartitionedScan, DeepFoldersAreCountedToTheirEnd) {
  DashboardVolume volume;
  volume.chain("~/Pictures", 1'500, "folder");
  std::string path = "~/Pictures";
  for (int i = 0; i < 1'500; ++i) path += "/folder";
  volume.file(path + "/a", 1);
  EXPECT_THAT(volume.scanned(), ElementsAre(Pair(Category::photos, 1)));
}

TEST(PartitionedScan, FoldersThatAreSearchedForGamesAreListedOnce) {
  DashboardVolume volume;
  volume.gameMarker("marker");
  constexpr int kFiles = 500;
  for (int i = 0; i < kFiles; ++i) volume.file("~/Library/Application Support/A/B/" + std::to_string(i), 1);
  volume.file("~/Library/Application Support/A/C/marker", 1000);
  const std::uint64_t before = ListingCount::now().entries;
  EXPECT_THAT(volume.scanned(), ElementsAre(Pair(Category::games, 1000), Pair(Category::systemData, kFiles)));
  const std::uint64_t listed = ListingCount::now().entries - before;
  EXPECT_GE(listed, std::uint64_t{kFiles});
  EXPECT_LT(listed, std::uint64_t{kFiles + 100});
}

}  // namespace
}  // namespace quarn::partitioned_scan_tests
