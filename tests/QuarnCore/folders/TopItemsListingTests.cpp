#include <cerrno>
#include <limits>

#include <gmock/gmock.h>

#include "tests/QuarnCore/folders/TopItemsFixture.h"
#include "tests/support/FileErrors.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::top_items_listing_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

constexpr bool kSlow = true;
constexpr bool kQuick = false;
constexpr bool kHidden = true;
constexpr bool kVisible = false;
const Cancellation kNever = Cancellation::never();

TEST(Children, AreTheSizedEntriesInListingOrder) {
  TopItemsVolume volume;
  volume.sparse("/f/b", 1).sparse("/f/c/d/e", 2).sparse("/f/a", 4).sparse("/f/P.app/x", 8).file("/f/z", 8'192);
  EXPECT_THAT(lines(volume.service().children(volume.url("/f"), kSlow, kVisible, kNever)),
              ElementsAre("/f/P.app 0 8", "/f/a 0 4", "/f/b 0 1", "/f/c 0 2", "/f/z 8192 8192"));
}

TEST(Children, WithoutSlowSizingOnlyFilesHaveASize) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 4).folder("/f/b").folder("/f/P.app").link("/f/link", "a").fifo("/f/pipe");
  EXPECT_THAT(lines(volume.service().children(volume.url("/f"), kQuick, kVisible, kNever)), ElementsAre("/f/a 0 4"));
}

TEST(Children, HiddenOnesAndTheirBytesCountOnDemand) {
  TopItemsVolume volume;
  volume.sparse("/f/.a", 1).sparse("/f/b/.c", 2).sparse("/f/b/d", 4);
  EXPECT_THAT(lines(volume.service().children(volume.url("/f"), kSlow, kVisible, kNever)), ElementsAre("/f/b 0 4"));
  EXPECT_THAT(lines(volume.service().children(volume.url("/f"), kSlow, kHidden, kNever)),
              ElementsAre("/f/.a 0 1", "/f/b 0 6"));
}

TEST(Children, LinksAreListedWithNothing) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 4)
      .link("/f/to-a", "a")
      .link("/f/to-folder", "/f")
      .link("/f/dangling", "nowhere")
      .fifo("/f/pipe");
  EXPECT_THAT(lines(volume.service().children(volume.url("/f"), kSlow, kVisible, kNever)),
              ElementsAre("/f/a 0 4", "/f/dangling 0 0", "/f/pipe 0 0", "/f/to-a 0 0", "/f/to-folder 0 0"));
}

TEST(Children, OfAMissingFolderAreNone) {
  TopItemsVolume volume;
  volume.link("/dangling", "nowhere");
  EXPECT_THAT(volume.service().children(volume.url("/missing"), kSlow, kVisible, kNever), IsEmpty());
  EXPECT_THAT(volume.service().children(volume.url("/dangling"), kSlow, kVisible, kNever), IsEmpty());
}

TEST(Children, OfALinkToAFolderAreTheFoldersUnderTheLinksName) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 4).link("/link", "/f");
  EXPECT_THAT(lines(volume.service().children(volume.url("/link"), kSlow, kVisible, kNever)),
              ElementsAre("/link/a 0 4"));
}

TEST(Children, OfAnUnreadableFolderThrow) {
  TopItemsVolume volume;
  volume.file("/f/a").folder("/closed").mode("/closed", 0000);
  const TopItemsService service = volume.service();
  const UnprivilegedUser user;
  EXPECT_EQ(errorOf([&] { (void)service.children(volume.url("/closed"), kSlow, kVisible, kNever); }), EACCES);
  EXPECT_EQ(errorOf([&] { (void)service.children(volume.url("/f/a"), kSlow, kVisible, kNever); }), ENOTDIR);
  EXPECT_EQ(errorOf([&] { (void)service.topChildren(volume.url("/closed"), 1, kSlow, kVisible, kNever); }), EACCES);
  EXPECT_EQ(errorOf([&] { (void)service.topChildren(volume.url("/closed"), 0, kSlow, kVisible, kNever); }), EACCES);
  EXPECT_EQ(errorOf([&] { (void)service.topFiles(volume.url("/closed"), 1, kVisible, kNever); }), EACCES);
  EXPECT_EQ(errorOf([&] { (void)service.topFiles(volume.url("/f/a"), 1, kVisible, kNever); }), ENOTDIR);
}

TEST(Children, AnItemThatCannotBeSizedIsSkipped) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 4).sparse("/f/closed/b", 8).mode("/f/closed", 0000).sparse("/f/half/c", 16);
  volume.sparse("/f/half/closed/d", 32).mode("/f/half/closed", 0000);
  const UnprivilegedUser user;
  EXPECT_THAT(lines(volume.service().children(volume.url("/f"), kSlow, kVisible, kNever)),
              ElementsAre("/f/a 0 4", "/f/half 0 16"));
}

TEST(Children, OfSeveralFoldersAreListedFolderByFolder) {
  TopItemsVolume volume;
  volume.sparse("/f/b", 1).sparse("/g/a", 2);
  EXPECT_THAT(names(volume.service().children(volume.urls({"/f", "/missing", "/g", "/f"}), kSlow, kVisible, kNever)),
              ElementsAre("b", "a", "b"));
  EXPECT_THAT(volume.service().children(std::vector<FileURL>(), kSlow, kVisible, kNever), IsEmpty());
}

TEST(Children, OfSeveralFoldersThrowWhenOneCannotBeListed) {
  TopItemsVolume volume;
  volume.file("/f/a").folder("/closed").mode("/closed", 0000);
  const auto folders = volume.urls({"/f", "/closed"});
  const TopItemsService service = volume.service();
  const UnprivilegedUser user;
  EXPECT_EQ(errorOf([&] { (void)service.children(folders, kSlow, kVisible, kNever); }), EACCES);
  EXPECT_EQ(errorOf([&] { (void)service.topChildren(folders, 9, kSlow, kVisible, kNever); }), EACCES);
  EXPECT_EQ(errorOf([&] { (void)service.topFiles(folders, 9, kVisible, kNever); }), EACCES);
}

// Cancels while the item with this name is sized.
FileSizeCalculator cancellingAt(const FileManager& files, std::string name, const Cancellation& cancellation) {
  FileSizeCalculator sizes = FileSizeCalculator::live(files);
  sizes.itemSizeExcluding = [=, real = sizes.itemSizeExcluding](const FileURL& at, const auto& excluding,
                                                                bool allowSlow, bool includeHidden) {
    if (at.lastPathComponent() == name) cancellation.cancel();
    return real(at, excluding, allowSlow, includeHidden);
  };
  return sizes;
}

// Cancels while the first folder is listed. The result is its items; the second folder, which is unreadable, is not
// listed.
TEST(Children, OfSeveralFoldersStopAtTheCancelledFolder) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 1).sparse("/f/b", 2).folder("/closed").mode("/closed", 0000);
  const auto folders = volume.urls({"/f", "/closed"});
  const UnprivilegedUser user;
  for (const int operation : {0, 1, 2}) {
    const Cancellation cancellation;
    const TopItemsService service(cancellingAt(volume.files(), "b", cancellation), volume.files());
    const auto ask = [&] {
      if (operation == 0) return service.children(folders, kSlow, kVisible, cancellation);
      if (operation == 1) return service.topChildren(folders, 9, kSlow, kVisible, cancellation);
      return service.topFiles(folders, 9, kVisible, cancellation);
    };
    EXPECT_THAT(names(ask()), UnorderedElementsAre("a", "b")) << operation;
    EXPECT_THAT(ask(), IsEmpty()) << operation << ": cancelled before it began";
  }
}

TEST(Children, AFolderThatWasNotSizedCompletelyIsOmitted) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 1).sparse("/f/b/x", 2).sparse("/f/c", 4);
  const Cancellation cancellation;
  const TopItemsService service(cancellingAt(volume.files(), "b", cancellation), volume.files());
  EXPECT_THAT(names(service.children(volume.url("/f"), kSlow, kVisible, cancellation)), ElementsAre("a"));
}

TEST(Children, CancellationReturnsThePartialResult) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 1).sparse("/f/b", 2).sparse("/f/c", 4);
  for (const bool files : {false, true}) {
    const Cancellation cancellation;
    const TopItemsService service(cancellingAt(volume.files(), "b", cancellation), volume.files());
    const auto items = files ? service.topFiles(volume.url("/f"), 9, kVisible, cancellation)
                             : service.topChildren(volume.url("/f"), 9, kSlow, kVisible, cancellation);
    EXPECT_THAT(names(items), ElementsAre("b", "a"));
  }
  const Cancellation cancellation;
  const TopItemsService service(cancellingAt(volume.files(), "b", cancellation), volume.files());
  EXPECT_THAT(names(service.sizedItems(volume.urls({"/f/a", "/f/b", "/f/c"}), 9, kSlow, kVisible, cancellation)),
              ElementsAre("b", "a"));
}

TEST(TopChildren, AreTheLargestFirstByTheLargerOfTheirTwoCounts) {
  TopItemsVolume volume;
  volume.sparse("/f/sparse", 5'000).file("/f/full", 1).sparse("/f/small", 100).sparse("/f/mid", 4'500);
  EXPECT_THAT(names(volume.service().topChildren(volume.url("/f"), 9, kSlow, kVisible, kNever)),
              ElementsAre("sparse", "mid", "full", "small"))
      << "a file of one byte takes a block of 4096";
  EXPECT_THAT(names(volume.service().topChildren(volume.url("/f"), 2, kSlow, kVisible, kNever)),
              ElementsAre("sparse", "mid"));
}

TEST(TopChildren, EqualOnesKeepListingOrder) {
  TopItemsVolume volume;
  volume.sparse("/f/c", 7).sparse("/f/a", 7).sparse("/f/b", 7).sparse("/g/d", 7).sparse("/g/e", 8);
  EXPECT_THAT(names(volume.service().topChildren(volume.urls({"/g", "/f"}), 4, kSlow, kVisible, kNever)),
              ElementsAre("e", "d", "a", "b"));
}

TEST(TopChildren, ALimitMayBeAnything) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 7);
  const TopItemsService service = volume.service();
  for (const long limit : {0L, -1L, std::numeric_limits<long>::min()}) {
    EXPECT_THAT(service.topChildren(volume.url("/f"), limit, kSlow, kVisible, kNever), IsEmpty());
    EXPECT_THAT(service.topChildren(volume.urls({"/f"}), limit, kSlow, kVisible, kNever), IsEmpty());
    EXPECT_THAT(service.topFiles(volume.url("/f"), limit, kVisible, kNever), IsEmpty());
    EXPECT_THAT(service.topFiles(volume.urls({"/f"}), limit, kVisible, kNever), IsEmpty());
    EXPECT_THAT(service.sizedItems(volume.urls({"/f"}), limit, kSlow, kVisible, kNever), IsEmpty());
  }
  for (const long limit : {1'000'000'000L, std::numeric_limits<long>::max()}) {
    EXPECT_EQ(service.topChildren(volume.url("/f"), limit, kSlow, kVisible, kNever).size(), 1u);
    EXPECT_EQ(service.topFiles(volume.url("/f"), limit, kVisible, kNever).size(), 1u);
    EXPECT_EQ(service.sizedItems(volume.urls({"/f"}), limit, kSlow, kVisible, kNever).size(), 1u);
  }
}

TEST(TopFiles, AreTheFilesAndPackagesDirectlyInAFolder) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 1).sparse("/f/folder/b", 2).sparse("/f/P.app/c", 4).sparse("/f/Marked/d", 8);
  volume.bundleBit("/f/Marked")
      .link("/f/link", "a")
      .link("/f/Link.app", "P.app")
      .fifo("/f/pipe")
      .folder("/f/E.framework");
  EXPECT_THAT(lines(volume.service().topFiles(volume.url("/f"), 9, kVisible, kNever)),
              ElementsAre("/f/Marked 0 8", "/f/P.app 0 4", "/f/a 0 1"));
}

TEST(TopFiles, HiddenOnesAndTheHiddenPartsOfPackagesCountOnDemand) {
  TopItemsVolume volume;
  volume.sparse("/f/.a", 1).sparse("/f/P.app/.b", 2).sparse("/f/P.app/c", 4).sparse("/f/.H.app/d", 16);
  EXPECT_THAT(lines(volume.service().topFiles(volume.url("/f"), 9, kVisible, kNever)), ElementsAre("/f/P.app 0 4"));
  EXPECT_THAT(lines(volume.service().topFiles(volume.url("/f"), 9, kHidden, kNever)),
              ElementsAre("/f/.H.app 0 16", "/f/P.app 0 6", "/f/.a 0 1"));
}

TEST(TopFiles, OfAMissingFolderAreNone) {
  const TopItemsVolume volume;
  EXPECT_THAT(volume.service().topFiles(volume.url("/missing"), 9, kVisible, kNever), IsEmpty());
}

TEST(TopFiles, APackageThatCannotBeSizedIsSkipped) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 1).folder("/f/P.app").mode("/f/P.app", 0000);
  const UnprivilegedUser user;
  EXPECT_THAT(names(volume.service().topFiles(volume.url("/f"), 9, kVisible, kNever)), ElementsAre("a"));
}

TEST(TopFiles, OfSeveralFoldersAreTheLargestOfEachAndThenOfAll) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 7).sparse("/f/b", 7).sparse("/f/c", 9).sparse("/g/d", 7).sparse("/g/e", 8);
  EXPECT_THAT(names(volume.service().topFiles(volume.urls({"/f", "/missing", "/g"}), 3, kVisible, kNever)),
              ElementsAre("c", "e", "a"));
  EXPECT_THAT(names(volume.service().topFiles(volume.urls({"/f", "/f"}), 3, kVisible, kNever)),
              ElementsAre("c", "c", "a"));
}

TEST(SizedItems, AreTheGivenItemsThemselves) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 1).sparse("/f/b/c", 2).sparse("/P.app/d", 4);
  EXPECT_THAT(
      lines(volume.service().sizedItems(volume.urls({"/f/a", "/f", "/P.app", "/f/b"}), 9, kSlow, kVisible, kNever)),
      ElementsAre("/P.app 0 4", "/f 0 3", "/f/b 0 2", "/f/a 0 1"));
  EXPECT_THAT(names(volume.service().sizedItems(volume.urls({"/f/a", "/f", "/P.app"}), 2, kSlow, kVisible, kNever)),
              ElementsAre("P.app", "f"));
}

TEST(SizedItems, MissingItemsAndDanglingLinksAreSkippedAndOtherLinksAreEmpty) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 1).link("/dangling", "nowhere").link("/link", "/f");
  const auto urls = volume.urls({"/missing", "/dangling", "/link", "/f/a"});
  EXPECT_THAT(lines(volume.service().sizedItems(urls, 9, kSlow, kVisible, kNever)),
              ElementsAre("/f/a 0 1", "/link 0 0"));
  EXPECT_THAT(lines(volume.service().sizedItems(urls, 9, kQuick, kVisible, kNever)), ElementsAre("/f/a 0 1"));
}

TEST(SizedItems, WithoutSlowSizingFoldersAreSkipped) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 1);
  EXPECT_THAT(names(volume.service().sizedItems(volume.urls({"/f", "/f/a"}), 9, kQuick, kVisible, kNever)),
              ElementsAre("a"));
}

TEST(SizedItems, AHiddenItemCountsButNotTheHiddenItemsInIt) {
  TopItemsVolume volume;
  volume.sparse("/.f/a", 1).sparse("/.f/.b", 2);
  EXPECT_THAT(lines(volume.service().sizedItems(volume.urls({"/.f"}), 9, kSlow, kVisible, kNever)),
              ElementsAre("/.f 0 1"));
  EXPECT_THAT(lines(volume.service().sizedItems(volume.urls({"/.f"}), 9, kSlow, kHidden, kNever)),
              ElementsAre("/.f 0 3"));
}

TEST(SizedItems, UnreadableOnesAreSkipped) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 1).folder("/closed").mode("/closed", 0000);
  const UnprivilegedUser user;
  EXPECT_THAT(names(volume.service().sizedItems(volume.urls({"/closed", "/f"}), 9, kSlow, kVisible, kNever)),
              ElementsAre("f"));
}

TEST(SizedItems, EqualItemsKeepTheirOrderAndRepetitionsStay) {
  TopItemsVolume volume;
  volume.sparse("/a", 1).sparse("/b", 1);
  EXPECT_THAT(names(volume.service().sizedItems(volume.urls({"/b", "/a", "/b"}), 9, kSlow, kVisible, kNever)),
              ElementsAre("b", "a", "b"));
}

}  // namespace
}  // namespace quarn::top_items_listing_tests
