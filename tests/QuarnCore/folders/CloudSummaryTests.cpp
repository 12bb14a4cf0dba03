#include <limits>

#include <gmock/gmock.h>

#include "tests/QuarnCore/folders/TopItemsFixture.h"
#include "tests/support/ItemSizes.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::cloud_summary_tests {
namespace {

constexpr bool kSizePackages = true;
constexpr bool kLeavePackages = false;

CloudStorageSummary summary(const TopItemsVolume& volume, const std::vector<std::string>& roots, long maxDepth = 99,
                            long maxVisited = 9'999, bool sizesPackages = kLeavePackages) {
  return volume.service().cloudSummary(volume.urls(roots), maxDepth, maxVisited, sizesPackages, Cancellation::never());
}

CloudStorageSummary expected(std::int64_t allocated, std::int64_t logical, std::int64_t cloudOnly) {
  return {.localBytes = allocated, .cloudOnlyBytes = cloudOnly, .allocatedBytes = allocated, .logicalBytes = logical};
}

TEST(CloudSummary, OfNothingIsZero) {
  TopItemsVolume volume;
  volume.folder("/empty");
  EXPECT_EQ(summary(volume, {}), CloudStorageSummary{});
  EXPECT_EQ(summary(volume, {"/empty", "/missing"}), CloudStorageSummary{});
}

TEST(CloudSummary, AFileThatIsHereAddsNothingToTheCloudsShare) {
  TopItemsVolume volume;
  volume.file("/c/exact", 8'192).file("/c/more", 100);
  EXPECT_EQ(summary(volume, {"/c"}), expected(8'192 + 4'096, 8'192 + 100, 0));
}

TEST(CloudSummary, APlaceholderIsOnlyInTheCloud) {
  TopItemsVolume volume;
  volume.sparse("/c/placeholder", 1'000'000);
  EXPECT_EQ(summary(volume, {"/c"}), expected(0, 1'000'000, 1'000'000));
}

TEST(CloudSummary, TheCloudShareIsComputedPerFile) {
  TopItemsVolume volume;
  volume.file("/c/small", 1).sparse("/c/placeholder", 4'095);
  EXPECT_EQ(summary(volume, {"/c"}), expected(4'096, 4'096, 4'095))
      << "what one file takes beyond its length does not make up for what another lacks";
}

TEST(CloudSummary, RootsAddUpAndDepthIsCountedFromEach) {
  TopItemsVolume volume;
  volume.sparse("/c/a", 1)
      .sparse("/c/d/b", 2)
      .sparse("/c/d/e/f", 4)
      .sparse("/far/away/g", 8)
      .sparse("/far/away/h/i", 16);
  EXPECT_EQ(summary(volume, {"/c", "/missing", "/far/away"}).logicalBytes, 31);
  EXPECT_EQ(summary(volume, {"/c", "/far/away"}, 1).logicalBytes, 1 + 8);
  EXPECT_EQ(summary(volume, {"/c", "/far/away"}, 2).logicalBytes, 1 + 2 + 8 + 16);
  EXPECT_EQ(summary(volume, {"/c", "/c"}).logicalBytes, 14);
}

TEST(CloudSummary, WithoutDepthOrVisitsNothingCounts) {
  TopItemsVolume volume;
  volume.sparse("/c/a", 1);
  EXPECT_EQ(summary(volume, {"/c"}, 0), CloudStorageSummary{});
  EXPECT_EQ(summary(volume, {"/c"}, -5), CloudStorageSummary{});
  EXPECT_EQ(summary(volume, {"/c"}, 9, 0), CloudStorageSummary{});
  EXPECT_EQ(summary(volume, {"/c"}, 9, -5), CloudStorageSummary{});
  constexpr long kMost = std::numeric_limits<long>::max();
  EXPECT_EQ(summary(volume, {"/c"}, kMost, kMost).logicalBytes, 1);
}

TEST(CloudSummary, TheBudgetOfVisitsIsSharedByAllRootsAndNotReset) {
  TopItemsVolume volume;
  volume.sparse("/c/a", 1).folder("/c/b").sparse("/c/c", 2).sparse("/d/e", 4);
  EXPECT_EQ(summary(volume, {"/c", "/d"}, 9, 2).logicalBytes, 1);
  EXPECT_EQ(summary(volume, {"/c", "/d"}, 9, 3).logicalBytes, 3);
  EXPECT_EQ(summary(volume, {"/c", "/d"}, 9, 4).logicalBytes, 7);
}

TEST(CloudSummary, HiddenItemsLinksAndSpecialFilesDoNotCount) {
  TopItemsVolume volume;
  volume.sparse("/c/.a", 1)
      .sparse("/c/.b/c", 2)
      .link("/c/link", "/big")
      .sparse("/big", 4)
      .fifo("/c/pipe")
      .sparse("/c/d", 8);
  EXPECT_EQ(summary(volume, {"/c"}).logicalBytes, 8);
  volume.link("/root", "/c");
  EXPECT_EQ(summary(volume, {"/root"}), CloudStorageSummary{}) << "a root that is a link is not walked";
}

TEST(CloudSummary, PackagesCountWholeOnDemandWithoutTheirHiddenParts) {
  TopItemsVolume volume;
  volume.sparse("/c/P.app/a", 1).sparse("/c/P.app/.b", 2).file("/c/Lib.photoslibrary/c", 4).sparse("/c/d", 8);
  EXPECT_EQ(summary(volume, {"/c"}), expected(0, 8, 8));
  EXPECT_EQ(summary(volume, {"/c"}, 99, 99, kSizePackages), expected(4'096, 1 + 4 + 8, 1 + 8));
  EXPECT_EQ(summary(volume, {"/c/P.app"}).logicalBytes, 1) << "a package that is a root is walked";
}

TEST(CloudSummary, UnreadableItemsAreSkipped) {
  TopItemsVolume volume;
  volume.sparse("/c/closed/a", 1).mode("/c/closed", 0000).folder("/c/P.app").mode("/c/P.app", 0000).sparse("/c/b", 2);
  const UnprivilegedUser user;
  EXPECT_EQ(summary(volume, {"/c"}, 99, 99, kSizePackages), expected(0, 2, 2));
}

TEST(CloudSummary, CancelledTheSumSoFarIsReturned) {
  TopItemsVolume volume;
  volume.sparse("/c/a", 1).folder("/c/b.app").sparse("/c/c", 4).sparse("/d/e", 8);
  const Cancellation cancellation;
  const FileSizeCalculator sizes = sizesBy([&](const FileURL&, const auto&, bool, bool) {
    cancellation.cancel();
    return SizeInfo{0, 2};
  });
  const TopItemsService service(sizes, volume.files());
  EXPECT_EQ(service.cloudSummary(volume.urls({"/c", "/d"}), 9, 99, kSizePackages, cancellation), expected(0, 3, 3));
  EXPECT_EQ(service.cloudSummary(volume.urls({"/c", "/d"}), 9, 99, kSizePackages, cancellation), CloudStorageSummary{});
}

TEST(CloudSummary, ASumThatDoesNotFitIsAnError) {
  TopItemsVolume volume;
  volume.folder("/c/a.app").folder("/c/b.app");
  const FileSizeCalculator sizes = sizesBy([](const FileURL&, const auto&, bool, bool) {
    return SizeInfo{std::numeric_limits<std::int64_t>::max(), 0};
  });
  const TopItemsService service(sizes, volume.files());
  EXPECT_THROW((void)service.cloudSummary(volume.urls({"/c"}), 9, 99, kSizePackages, {}), SizeOverflow);
}

}  // namespace
}  // namespace quarn::cloud_summary_tests
