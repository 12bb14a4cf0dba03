#include <limits>

#include <gmock/gmock.h>
#include <unistd.h>

#include "QuarnPlatform/files/ReadReport.h"
#include "tests/QuarnCore/folders/TopItemsFixture.h"
#include "tests/support/ItemSizes.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::top_files_recursively_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Options = TopItemsService::SearchOptions;

constexpr long kMost = std::numeric_limits<long>::max();
const Options kAll{.limit = 100, .maxDepth = 100, .maxVisited = 1'000'000};

std::vector<TopItem> found(const TopItemsVolume& volume, const std::vector<std::string>& roots,
                           const Options& options = kAll) {
  return volume.service().topFilesRecursively(volume.urls(roots), options, Cancellation::never());
}

TEST(TopFilesRecursively, FindsFilesAtEveryDepthLargestFirst) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 1).sparse("/f/b/c", 4).sparse("/f/b/d/e", 2).file("/f/g", 8'192);
  EXPECT_THAT(lines(found(volume, {"/f"})), ElementsAre("/f/g 8192 8192", "/f/b/c 0 4", "/f/b/d/e 0 2", "/f/a 0 1"));
}

TEST(TopFilesRecursively, WithoutAPositiveLimitTheDiskIsNotTouched) {
  TopItemsVolume volume;
  volume.sparse("/closed/a", 1).mode("/closed", 0000);
  const auto report = std::make_shared<ReadReport>();
  const TopItemsService service({}, volume.files().reportingTo(report));
  const UnprivilegedUser user;
  for (const long limit : {0L, -1L, std::numeric_limits<long>::min()}) {
    Options options = kAll;
    options.limit = limit;
    EXPECT_THAT(service.topFilesRecursively(volume.urls({"/closed"}), options, Cancellation::never()), IsEmpty());
  }
  EXPECT_EQ(report->count(), 0u) << "the unreadable root was not even looked at";
}

TEST(TopFilesRecursively, AHugeLimitTakesNoMemory) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 1);
  EXPECT_THAT(names(found(volume, {"/f"}, {.limit = 1'000'000'000, .maxDepth = kMost, .maxVisited = kMost})),
              ElementsAre("a"));
  EXPECT_THAT(names(found(volume, {"/f"}, {.limit = kMost, .maxDepth = kMost, .maxVisited = kMost})), ElementsAre("a"));
}

TEST(TopFilesRecursively, DepthOneIsTheDirectEntriesAndDepthZeroIsNothing) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 1).sparse("/f/b/c", 2).sparse("/f/b/d/e", 4).sparse("/f/P.app/x", 8);
  const auto upTo = [&](long depth) {
    return names(found(volume, {"/f"}, {.limit = 9, .maxDepth = depth, .maxVisited = 99}));
  };
  EXPECT_THAT(upTo(0), IsEmpty());
  EXPECT_THAT(upTo(-1), IsEmpty());
  EXPECT_THAT(upTo(std::numeric_limits<long>::min()), IsEmpty());
  EXPECT_THAT(upTo(1), ElementsAre("a", "P.app"));
  EXPECT_THAT(upTo(2), ElementsAre("c", "a", "P.app"));
  EXPECT_THAT(upTo(3), ElementsAre("e", "c", "a", "P.app"));
}

TEST(TopFilesRecursively, DepthCountsFromEachRoot) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 1).sparse("/deep/er/root/b", 2).sparse("/deep/er/root/c/d", 4);
  EXPECT_THAT(names(found(volume, {"/f", "/deep/./er//root"}, {.limit = 9, .maxDepth = 1, .maxVisited = 99})),
              ElementsAre("b", "a"));
}

TEST(TopFilesRecursively, DepthIsThatOfStandardisedPaths) {
  TopItemsVolume volume;
  volume.sparse("/private/etc/hosts", 1).sparse("/private/lone/a", 2).link("/etc", "private/etc");
  const auto upTo = [&](const std::string& root, long depth) {
    return names(found(volume, {root}, {.limit = 9, .maxDepth = depth, .maxVisited = 99}));
  };
  EXPECT_THAT(upTo("/", 2), ElementsAre("hosts")) << "\"/etc/hosts\" is two deep, \"/private/lone/a\" three";
  EXPECT_THAT(upTo("/", 1), IsEmpty());
  EXPECT_THAT(upTo("/", 3), ElementsAre("a", "hosts"));
  EXPECT_THAT(upTo("/private", 1), ElementsAre("hosts")) << "both are two components long";
  EXPECT_THAT(upTo("/private/etc", 1), ElementsAre("hosts"));
  EXPECT_THAT(upTo("/private/etc", 0), IsEmpty());
}

TEST(TopFilesRecursively, TheBudgetOfVisitsCountsEveryItemAndIsSharedByAllRoots) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 1).folder("/f/b").link("/f/c", "a").sparse("/f/d/e", 2).sparse("/f/z", 4).sparse("/g/a2", 8);
  const auto within = [&](long visits) {
    return names(found(volume, {"/f", "/g"}, {.limit = 9, .maxDepth = 9, .maxVisited = visits}));
  };
  EXPECT_THAT(within(-1), IsEmpty());
  EXPECT_THAT(within(0), IsEmpty());
  EXPECT_THAT(within(1), ElementsAre("a"));
  EXPECT_THAT(within(4), ElementsAre("a")) << "a, the folder b, the link c, the folder d";
  EXPECT_THAT(within(5), ElementsAre("e", "a"));
  EXPECT_THAT(within(6), ElementsAre("z", "e", "a"));
  EXPECT_THAT(within(7), ElementsAre("a2", "z", "e", "a"));
}

TEST(TopFilesRecursively, AnExhaustedBudgetIsNotResetForLaterRoots) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 1).sparse("/f/b", 2).sparse("/f/c", 4).sparse("/g/d", 8).sparse("/h/e", 16);
  EXPECT_THAT(names(found(volume, {"/f", "/g", "/h"}, {.limit = 9, .maxDepth = 9, .maxVisited = 2})),
              ElementsAre("b", "a"));
}

TEST(TopFilesRecursively, ItemsThatAreTooDeepAreVisitsToo) {
  TopItemsVolume volume;
  volume.sparse("/f/a/1", 1).sparse("/f/a/2/3", 1).sparse("/f/z", 2);
  const auto within = [&](long visits) {
    return names(found(volume, {"/f"}, {.limit = 9, .maxDepth = 1, .maxVisited = visits}));
  };
  EXPECT_THAT(within(3), IsEmpty()) << "a, 1, 2";
  EXPECT_THAT(within(4), ElementsAre("z")) << "what lies below the folder that is too deep is not visited";
}

TEST(TopFilesRecursively, HiddenItemsAreFoundOnRequestAndOtherwiseNotVisited) {
  TopItemsVolume volume;
  volume.sparse("/f/.a", 1).sparse("/f/.b/c", 2).sparse("/f/d", 4);
  EXPECT_THAT(names(found(volume, {"/f"}, {.limit = 9, .maxDepth = 9, .maxVisited = 1})), ElementsAre("d"));
  EXPECT_THAT(names(found(volume, {"/f"}, {.limit = 9, .maxDepth = 9, .maxVisited = 9, .includeHidden = true})),
              ElementsAre("d", "c", ".a"));
  EXPECT_THAT(names(found(volume, {"/f/.b"})), ElementsAre("c")) << "a root may be hidden";
}

TEST(TopFilesRecursively, LinksAreNeverListedOrFollowed) {
  TopItemsVolume volume;
  volume.sparse("/huge", 1'000'000)
      .sparse("/f/a", 1)
      .link("/f/link", "/huge")
      .link("/f/folder", "/")
      .link("/f/loop", ".");
  EXPECT_THAT(names(found(volume, {"/f"})), ElementsAre("a"));
}

TEST(TopFilesRecursively, SpecialFilesAreNotListed) {
  TopItemsVolume volume;
  volume.fifo("/f/pipe").socket("/f/socket").sparse("/f/a", 0);
  EXPECT_THAT(names(found(volume, {"/f"})), ElementsAre("a"));
}

TEST(TopFilesRecursively, RootsThatAreMissingFilesOrLinksYieldNothing) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 1).sparse("/file", 9).link("/link", "/f").link("/dangling", "nowhere");
  EXPECT_THAT(names(found(volume, {"/missing", "/dangling", "/file", "/link", "/f"})), ElementsAre("a"));
  EXPECT_THAT(found(volume, {}), IsEmpty());
}

TEST(TopFilesRecursively, TheSameRootTwiceIsSearchedTwice) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 1);
  EXPECT_THAT(names(found(volume, {"/f", "/f"})), ElementsAre("a", "a"));
}

TEST(TopFilesRecursively, UnreadableFoldersAreSkippedAndReported) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 1).sparse("/f/closed/b", 2).mode("/f/closed", 0000).sparse("/shut/c", 4).mode("/shut", 0000);
  const auto report = std::make_shared<ReadReport>();
  const TopItemsService service(FileSizeCalculator::live(volume.files()), volume.files().reportingTo(report));
  const UnprivilegedUser user;
  EXPECT_THAT(names(service.topFilesRecursively(volume.urls({"/shut", "/f"}), kAll, Cancellation::never())),
              ElementsAre("a"));
  EXPECT_EQ(report->count(UnreadableCause::permission), 2u);
}

TEST(TopFilesRecursively, PackagesAreItemsAndNotEntered) {
  TopItemsVolume volume;
  volume.sparse("/f/P.app/Contents/a", 1).sparse("/f/P.app/.hidden", 2).sparse("/f/Marked/b", 4).bundleBit("/f/Marked");
  volume.sparse("/f/E.framework/c", 8);
  EXPECT_THAT(lines(found(volume, {"/f"})), ElementsAre("/f/E.framework/c 0 8", "/f/Marked 0 0", "/f/P.app 0 0"))
      << "folders have no size of their own";
  Options slow = kAll;
  slow.allowSlowForPackages = true;
  EXPECT_THAT(lines(found(volume, {"/f"}, slow)), ElementsAre("/f/E.framework/c 0 8", "/f/Marked 0 4", "/f/P.app 0 1"));
  slow.includeHidden = true;
  EXPECT_THAT(lines(found(volume, {"/f"}, slow)), ElementsAre("/f/E.framework/c 0 8", "/f/Marked 0 4", "/f/P.app 0 1"))
      << "the hidden parts of a package never count";
}

TEST(TopFilesRecursively, APackageThatIsARootIsWalked) {
  TopItemsVolume volume;
  volume.sparse("/P.app/Contents/a", 1).sparse("/P.app/Plug.bundle/b", 2);
  EXPECT_THAT(lines(found(volume, {"/P.app"})), ElementsAre("/P.app/Contents/a 0 1", "/P.app/Plug.bundle 0 0"));
}

TEST(TopFilesRecursively, APackageThatCannotBeSizedHasNothing) {
  TopItemsVolume volume;
  volume.folder("/f/P.app").mode("/f/P.app", 0000);
  Options slow = kAll;
  slow.allowSlowForPackages = true;
  const UnprivilegedUser user;
  EXPECT_THAT(lines(found(volume, {"/f"}, slow)), ElementsAre("/f/P.app 0 0"));
}

TEST(TopFilesRecursively, SparseFilesRankByTheirLengthUnlessAllocationIsPreferred) {
  TopItemsVolume volume;
  volume.sparse("/f/sparse", 1'000'000).file("/f/full", 500'000).file("/f/tiny", 1).file("/f/empty");
  Options allocated = kAll;
  allocated.preferAllocatedSize = true;
  const std::vector<TopItem> items = found(volume, {"/f"}, allocated);
  EXPECT_THAT(names(items), ElementsAre("sparse", "full", "tiny", "empty"));
  EXPECT_EQ(items[0].size, (SizeInfo{.allocatedBytes = 1'000'000, .logicalBytes = 1'000'000}))
      << "content without known space is taken to need its length";
  EXPECT_EQ(items[3].size, SizeInfo{});
  EXPECT_EQ(found(volume, {"/f"})[0].size, (SizeInfo{.allocatedBytes = 0, .logicalBytes = 1'000'000}));
}

TEST(TopFilesRecursively, WithPreferredAllocationOnlyTheAllocatedSizeRanks) {
  TopItemsVolume volume;
  volume.file("/f/half", 8'192).file("/f/full", 12'288);
  ASSERT_EQ(::truncate(volume.host("/f/half").c_str(), 1'000'000), 0);
  Options allocated = kAll;
  allocated.preferAllocatedSize = true;
  EXPECT_THAT(lines(found(volume, {"/f"}, allocated)), ElementsAre("/f/full 12288 12288", "/f/half 8192 1000000"));
  EXPECT_THAT(names(found(volume, {"/f"})), ElementsAre("half", "full"));
}

TEST(TopFilesRecursively, WithKeptZerosAFileWithoutBlocksRanksLast) {
  TopItemsVolume volume;
  volume.sparse("/f/hole", 1'000'000).file("/f/real", 4'096);
  Options options = kAll;
  options.preferAllocatedSize = true;
  EXPECT_THAT(lines(found(volume, {"/f"}, options)), ElementsAre("/f/hole 1000000 1000000", "/f/real 4096 4096"));
  options.keepsZeroAllocation = true;
  EXPECT_THAT(lines(found(volume, {"/f"}, options)), ElementsAre("/f/real 4096 4096", "/f/hole 0 1000000"));
}

TEST(TopFilesRecursively, APackagesSizesAreNotAdjusted) {
  TopItemsVolume volume;
  volume.sparse("/f/P.app/a", 1'000'000).file("/f/b", 1);
  Options options = kAll;
  options.allowSlowForPackages = true;
  options.preferAllocatedSize = true;
  EXPECT_THAT(names(found(volume, {"/f"}, options)), ElementsAre("b", "P.app"))
      << "its values were absent before it was walked";
}

TEST(TopFilesRecursively, EqualOnesKeepDiscoveryOrderAndTheFirstFoundOfTheSmallestIsReplaced) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 5).sparse("/f/b", 5).sparse("/f/c", 5).sparse("/f/d", 6).sparse("/g/e", 6).sparse("/g/f", 5);
  const auto best = [&](long limit) {
    return names(found(volume, {"/f", "/g"}, {.limit = limit, .maxDepth = 9, .maxVisited = 99}));
  };
  EXPECT_THAT(best(6), ElementsAre("d", "e", "a", "b", "c", "f"));
  EXPECT_THAT(best(3), ElementsAre("d", "e", "c"));
  EXPECT_THAT(best(2), ElementsAre("d", "e"));
  EXPECT_THAT(best(1), ElementsAre("d"));
}

TEST(TopFilesRecursively, CancelledBeforeARootNothingMoreIsSearched) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 1);
  const Cancellation cancellation;
  cancellation.cancel();
  EXPECT_THAT(volume.service().topFilesRecursively(volume.urls({"/f"}), kAll, cancellation), IsEmpty());
}

// The package is left out: its sizing was cut short, and a partial size is wrong.
TEST(TopFilesRecursively, CancellationReturnsThePartialResult) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 1).folder("/f/b.app").sparse("/f/c", 4).sparse("/g/d", 8);
  const Cancellation cancellation;
  const FileSizeCalculator sizes = sizesBy([&](const FileURL&, const auto&, bool, bool) {
    cancellation.cancel();
    return SizeInfo{0, 2};
  });
  Options options = kAll;
  options.allowSlowForPackages = true;
  EXPECT_THAT(
      names(
          TopItemsService(sizes, volume.files()).topFilesRecursively(volume.urls({"/f", "/g"}), options, cancellation)),
      ElementsAre("a"));
}

TEST(TopFilesRecursively, NamesAndUrlsSurviveAnyBytes) {
  TopItemsVolume volume;
  volume.sparse("/f/\xFF\n", 1).chain("/deep", 1'200, "folder");
  std::string deep = "/deep";
  for (int i = 0; i < 1'200; ++i) deep += "/folder";
  volume.sparse(deep + "/a", 2);
  const auto items = found(volume, {"/f", "/deep"}, {.limit = 9, .maxDepth = 5'000, .maxVisited = 5'000});
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(items[0].url.path(), deep + "/a");
  EXPECT_EQ(items[1].name, "\xFF\n");
}

TEST(TopFilesRecursively, OnRequestAnItemBelowSeveralRootsIsMetOnce) {
  TopItemsVolume volume;
  volume.sparse("/f/a", 8).sparse("/f/g/b", 4).sparse("/f/g/h/c", 2).link("/way", "f").link("/inner", "f/g");
  const auto listed = [&](const std::vector<std::string>& roots, bool once) {
    Options options = kAll;
    TopItemsService::Met met;
    options.meetsItemsOnce = once;
    options.met = &met;
    const std::vector<std::string> result = names(found(volume, roots, options));
    EXPECT_EQ(met.items, static_cast<std::int64_t>(result.size()));
    return result;
  };
  EXPECT_THAT(listed({"/f", "/f/g"}, false), ElementsAre("a", "b", "b", "c", "c"));
  for (const std::vector<std::string>& roots : {std::vector<std::string>{"/f", "/f/g"},
                                                {"/f/g/h", "/f", "/f/g"},
                                                {"/f", "/f", "/f"},
                                                {"/", "/f/g"},
                                                {"/f", "/way/g"},
                                                {"/f", "/f/g/h", "/missing"}}) {
    EXPECT_THAT(listed(roots, true), ElementsAre("a", "b", "c")) << roots[0] << " " << roots[1];
  }
  EXPECT_THAT(listed({"/f", "/inner"}, true), ElementsAre("a", "b", "c")) << "a root that is a link is not entered";
}

}  // namespace
}  // namespace quarn::top_files_recursively_tests
