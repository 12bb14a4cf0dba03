#include <gtest/gtest.h>

#include "QuarnSystem/UnionSizes.h"
#include "tests/support/MacVolume.h"

namespace quarn::union_sizes_tests {
namespace {

std::vector<FileURL> urls(const MacVolume& volume, const std::vector<std::string>& paths) {
  std::vector<FileURL> result;
  for (const std::string& path : paths) result.push_back(volume.url(path));
  return result;
}

UnionSize unionOf(const MacVolume& volume, const std::vector<std::string>& paths,
                  HiddenItems hidden = HiddenItems::include) {
  return UnionSizes(volume.files(), hidden).of(urls(volume, paths));
}

TEST(UnionSizes, FilesInSeveralItemsCountOnce) {
  MacVolume volume;
  volume.file("/a/b/one", 4_KiB).file("/a/two", 8_KiB).file("/ab/three", 16_KiB);
  EXPECT_EQ(unionOf(volume, {"/a/b", "/a", "/a/b/one", "/ab", "/a"}).size, (SizeInfo{28_KiB, 28_KiB}));
  EXPECT_EQ(unionOf(volume, {"/a/b/one", "/a/two"}).size, (SizeInfo{12_KiB, 12_KiB}));
  EXPECT_EQ(unionOf(volume, {"/ab", "/", "/a"}).size, (SizeInfo{28_KiB, 28_KiB}));
  EXPECT_EQ(unionOf(volume, {}), UnionSize{});
}

TEST(UnionSizes, AnItemUnderTwoSpellingsOfItsPathCountsOnce) {
  MacVolume volume;
  volume.file("/private/var/folder/one", 4_KiB).link("/var", "private/var").link("/other", "private/var/folder");
  EXPECT_EQ(unionOf(volume, {"/private/var/folder", "/var/folder"}).size.allocatedBytes, 4_KiB);
}

TEST(UnionSizes, AMissingItemCountsNothing) {
  MacVolume volume;
  volume.file("/a", 4_KiB);
  const UnionSize size = unionOf(volume, {"/a", "/nowhere"});
  EXPECT_EQ(size.size.allocatedBytes, 4_KiB);
  EXPECT_TRUE(size.isExact);
}

TEST(UnionSizes, AFileWithSeveralNamesCountsOnce) {
  MacVolume volume;
  volume.file("/a/one", 64_KiB).hardLink("/a/in/two", "/a/one").hardLink("/b/three", "/a/one").file("/b/four", 4_KiB);
  const UnionSize both = unionOf(volume, {"/a", "/b"});
  EXPECT_EQ(both.size, (SizeInfo{68_KiB, 68_KiB}));
  EXPECT_EQ(both.linkedFiles, 1);
  EXPECT_EQ(both.heldFiles, 0);
  const UnionSize file = unionOf(volume, {"/a/one", "/b/three"});
  EXPECT_EQ(file.size.allocatedBytes, 64_KiB);
}

TEST(UnionSizes, SpaceThatANameElsewhereHoldsIsSaid) {
  MacVolume volume;
  volume.file("/a/one", 64_KiB).hardLink("/a/two", "/a/one").hardLink("/b/three", "/a/one").file("/a/four", 4_KiB);
  const UnionSize size = unionOf(volume, {"/a"});
  EXPECT_EQ(size.heldFiles, 1);
  EXPECT_EQ(size.heldBytes, 64_KiB);
  EXPECT_EQ(size.size.allocatedBytes, 68_KiB);
  EXPECT_EQ(unionOf(volume, {"/b"}).heldBytes, 64_KiB);
}

TEST(UnionSizes, HiddenItemsCountIfTheyAreWanted) {
  MacVolume volume;
  volume.file("/a/.hidden", 64_KiB).file("/a/shown", 4_KiB);
  EXPECT_EQ(unionOf(volume, {"/a"}, HiddenItems::skip).size.allocatedBytes, 4_KiB);
  EXPECT_EQ(unionOf(volume, {"/a"}).size.allocatedBytes, 68_KiB);
}

TEST(UnionSizes, TheCalculatorReturnsWhatTheLiveOneReturns) {
  MacVolume volume;
  volume.file("/a/one", 64_KiB).hardLink("/a/two", "/a/one").file("/a/.three", 4_KiB).link("/link", "a");
  const FileSizeCalculator live = FileSizeCalculator::live(volume.files());
  const UnionSizes sizes(volume.files(), HiddenItems::skip);
  for (const char* path : {"/a", "/a/one", "/link"}) {
    for (const bool hidden : {false, true}) {
      EXPECT_EQ(sizes.calculator().itemSize(FileURL(path), true, hidden), live.itemSize(FileURL(path), true, hidden));
    }
  }
  EXPECT_THROW((void)sizes.calculator().itemSize(FileURL("/none"), true, false), FileError);
  EXPECT_THROW((void)sizes.calculator().itemSize(FileURL("/a"), false, false), FileError);
}

TEST(UnionSizes, AFolderThatTheCalculatorSizedIsNotWalkedAgain) {
  MacVolume volume;
  volume.file("/a/one", 64_KiB).hardLink("/a/two", "/a/one");
  const UnionSizes sizes(volume.files(), HiddenItems::skip);
  EXPECT_EQ(sizes.calculator().itemSize(FileURL("/a"), true, false).allocatedBytes, 128_KiB);
  volume.file("/a/later", 4_KiB);
  EXPECT_EQ(sizes.of(urls(volume, {"/a"})).size.allocatedBytes, 64_KiB);
}

TEST(UnionSizes, AnUnknownSizeMakesTheSumInexact) {
  const auto sized = [](const std::string& path) -> std::optional<SizedItem> {
    if (path == "/unknown") return std::nullopt;
    return SizedItem{.size = {1, 2}};
  };
  EXPECT_EQ(unionSize({"/a", "/unknown"}, sized), (UnionSize{.size = {1, 2}, .isExact = false}));
  EXPECT_EQ(unionSize({"/a", "/b"}, sized), (UnionSize{.size = {2, 4}}));
}

}  // namespace
}  // namespace quarn::union_sizes_tests
