#include <cerrno>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/discovery/ArtifactSizing.h"
#include "tests/support/ItemSizes.h"
#include "tests/support/MacVolume.h"

namespace quarn::artifact_sizing_tests {
namespace {

using ::testing::ElementsAre;

constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();

Artifact artifact(const MacVolume& volume, const std::vector<std::string>& paths) {
  Artifact made;
  for (const std::string& path : paths) made.urls.push_back(volume.url(path));
  return made;
}

std::optional<SizeInfo> sized(Artifact artifact, const MacVolume& volume, const FileSizeCalculator& calculator) {
  std::vector<Artifact> artifacts{std::move(artifact)};
  sizeArtifacts(artifacts, calculator, volume.files());
  return artifacts[0].size;
}

std::optional<SizeInfo> sized(Artifact artifact, const MacVolume& volume) {
  return sized(std::move(artifact), volume, FileSizeCalculator::live(volume.files()));
}

FileSizeCalculator everyItemIs(const SizeInfo& size) {
  return sizesBy([size](const FileURL&, const std::vector<FileURL>&, bool, bool) { return size; });
}

TEST(ArtifactSizing, AddsAllItemsOfAnArtifactComponentByComponent) {
  MacVolume volume;
  volume.file("~/a", 8_KiB).sparse("~/b/c", 1_MiB).file("~/b/d/e", 4_KiB);
  EXPECT_EQ(sized(artifact(volume, {"~/a", "~/b"}), volume), (SizeInfo{12_KiB, 12_KiB + 1_MiB}));
}

TEST(ArtifactSizing, ASizeThatIsThereAlreadyIsKept) {
  MacVolume volume;
  volume.file("~/a", 8_KiB);
  Artifact made = artifact(volume, {"~/a"});
  made.size = SizeInfo{0, 7};
  EXPECT_EQ(sized(made, volume), (SizeInfo{0, 7}));
}

TEST(ArtifactSizing, MissingItemsAddNothingAndAreNotSized) {
  MacVolume volume;
  volume.file("~/a").link("~/dangling", "nowhere");
  std::vector<std::string> asked;
  const FileSizeCalculator calculator = sizesBy([&](const FileURL& at, const std::vector<FileURL>&, bool, bool) {
    asked.push_back(at.path());
    return SizeInfo{1, 2};
  });
  EXPECT_EQ(sized(artifact(volume, {"~/missing", "~/a", "~/dangling"}), volume, calculator), (SizeInfo{1, 2}));
  EXPECT_THAT(asked, ElementsAre("/Users/ann/a"));
}

TEST(ArtifactSizing, AnArtifactOfMissingItemsOrOfNoneHasTheSizeZero) {
  const MacVolume volume;
  EXPECT_EQ(sized(artifact(volume, {"~/gone", "/gone"}), volume), (SizeInfo{0, 0}));
  EXPECT_EQ(sized(artifact(volume, {}), volume), (SizeInfo{0, 0}));
}

TEST(ArtifactSizing, HiddenItemsAreSkippedExceptTheItemItself) {
  MacVolume volume;
  volume.file("~/folder/seen", 4_KiB).file("~/folder/.hidden", 4_KiB).file("~/.asked", 8_KiB);
  EXPECT_EQ(sized(artifact(volume, {"~/folder"}), volume), (SizeInfo{4_KiB, 4_KiB}));
  EXPECT_EQ(sized(artifact(volume, {"~/.asked"}), volume), (SizeInfo{8_KiB, 8_KiB}));
}

TEST(ArtifactSizing, AsksForSlowSizesWithoutHiddenItemsAndWithNothingExcluded) {
  MacVolume volume;
  volume.folder("~/a");
  int calls = 0;
  const FileSizeCalculator calculator =
      sizesBy([&](const FileURL&, const std::vector<FileURL>& excluding, bool allowSlow, bool hidden) {
        ++calls;
        EXPECT_TRUE(excluding.empty());
        EXPECT_TRUE(allowSlow);
        EXPECT_FALSE(hidden);
        return SizeInfo{};
      });
  sized(artifact(volume, {"~/a"}), volume, calculator);
  EXPECT_EQ(calls, 1);
}

TEST(ArtifactSizing, AFailureCountsAsNothingFound) {
  MacVolume volume;
  volume.folder("~/bad").file("~/good", 4_KiB);
  const FileSizeCalculator live = FileSizeCalculator::live(volume.files());
  FileSizeCalculator failing = live;
  failing.itemSizeExcluding = [live](const FileURL& at, const std::vector<FileURL>& excluding, bool slow, bool hidden) {
    if (at.lastPathComponent() == "bad") throwFileError(EACCES, "list", at.path());
    return live.itemSizeExcluding(at, excluding, slow, hidden);
  };
  EXPECT_EQ(sized(artifact(volume, {"~/bad", "~/good"}), volume, failing), (SizeInfo{4_KiB, 4_KiB}));
}

TEST(ArtifactSizing, EveryArtifactIsSizedInOrder) {
  MacVolume volume;
  volume.file("~/a").file("~/b");
  std::vector<Artifact> artifacts{artifact(volume, {"~/b"}), artifact(volume, {"~/a", "~/b"})};
  sizeArtifacts(artifacts, everyItemIs({1, 10}), volume.files());
  EXPECT_EQ(artifacts[0].size, (SizeInfo{1, 10}));
  EXPECT_EQ(artifacts[1].size, (SizeInfo{2, 20}));
}

TEST(ArtifactSizing, AFolderReachedOnManyWaysIsWalkedOnceAndCountsEachTime) {
  MacVolume volume;
  volume.file("~/big/inner/file");
  Artifact made;
  for (int i = 0; i < 500; ++i) {
    volume.link("~/l" + std::to_string(i), "big");
    made.urls.push_back(volume.url("~/l" + std::to_string(i) + "/inner"));
  }
  int walks = 0;
  const FileSizeCalculator counting = sizesBy([&](const FileURL&, const auto&, bool, bool) {
    ++walks;
    return SizeInfo{3, 4};
  });
  std::vector<Artifact> artifacts{made};
  sizeArtifacts(artifacts, counting, volume.files());
  EXPECT_EQ(walks, 1);
  EXPECT_EQ(artifacts.front().size, (SizeInfo{1500, 2000}));
}

TEST(ArtifactSizing, ASumMayReachTheLargestCount) {
  MacVolume volume;
  volume.file("~/a");
  EXPECT_EQ(sized(artifact(volume, {"~/a"}), volume, everyItemIs({kMost, kMost})), (SizeInfo{kMost, kMost}));
}

TEST(ArtifactSizing, ASumThatDoesNotFitIsAnError) {
  MacVolume volume;
  volume.file("~/a").file("~/b");
  EXPECT_THROW((void)sized(artifact(volume, {"~/a", "~/b"}), volume, everyItemIs({kMost, 0})), SizeOverflow);
  EXPECT_THROW((void)sized(artifact(volume, {"~/a", "~/b"}), volume, everyItemIs({0, kMost})), SizeOverflow);
}

}  // namespace
}  // namespace quarn::artifact_sizing_tests
