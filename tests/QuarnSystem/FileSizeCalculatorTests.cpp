#include <cerrno>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnPlatform/files/ReadReport.h"
#include "QuarnSystem/FileSizeCalculator.h"
#include "tests/support/DeepTrees.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::file_size_calculator_tests {
namespace {

enum class Slow : std::uint8_t { allowed, notAllowed };

// Shorthands for the sizes of one volume.
class Sizes {
 public:
  explicit Sizes(const MacVolume& volume) : calculator_(FileSizeCalculator::live(volume.files())) {}

  SizeInfo of(std::string_view path, const std::vector<std::string>& excluding = {},
              HiddenItems hidden = HiddenItems::include, Slow slow = Slow::allowed) const {
    std::vector<FileURL> urls;
    for (const std::string& excluded : excluding) urls.emplace_back(excluded);
    return calculator_.itemSizeExcluding(FileURL(path), urls, slow == Slow::allowed, hidden == HiddenItems::include);
  }

  std::int64_t logical(std::string_view path, const std::vector<std::string>& excluding = {},
                       HiddenItems hidden = HiddenItems::include) const {
    return of(path, excluding, hidden).logicalBytes;
  }

  const FileSizeCalculator& calculator() const { return calculator_; }

 private:
  FileSizeCalculator calculator_;
};

// The errno and the path of the FileError that `work` throws; (0, "") if it throws none.
std::pair<int, std::string> errorOf(const std::function<void()>& work) {
  try {
    work();
  } catch (const FileError& error) {
    return {error.error(), error.path()};
  }
  return {0, ""};
}

TEST(FileSizeCalculator, AFileHasItsLengthAndItsBlocks) {
  MacVolume volume;
  volume.file("/a", 10'000).sparse("/sparse", 1_MiB).file("/empty");
  const Sizes sizes(volume);
  EXPECT_EQ(sizes.of("/a").logicalBytes, 10'000);
  EXPECT_GE(sizes.of("/a").allocatedBytes, 10'000);
  EXPECT_EQ(sizes.of("/a").allocatedBytes % 512, 0);
  EXPECT_EQ(sizes.of("/sparse"), (SizeInfo{.allocatedBytes = 0, .logicalBytes = 1_MiB}));
  EXPECT_EQ(sizes.of("/empty"), SizeInfo());
}

TEST(FileSizeCalculator, AFolderCountsItsRegularFilesOnly) {
  MacVolume volume;
  volume.file("/d/a", 1_KiB)
      .file("/d/e/f/b", 2_KiB)
      .file("/d/App.app/Contents/c", 4_KiB)
      .file("/big", 1_MiB)
      .link("/d/link", "/big")
      .link("/d/dangling", "nowhere")
      .link("/d/up", "..")
      .fifo("/d/pipe")
      .socket("/d/socket");
  const Sizes sizes(volume);
  EXPECT_EQ(sizes.logical("/d"), 7_KiB);
  EXPECT_EQ(sizes.of("/d").allocatedBytes, sizes.of("/d/a").allocatedBytes + sizes.of("/d/e/f/b").allocatedBytes +
                                               sizes.of("/d/App.app/Contents/c").allocatedBytes);
}

TEST(FileSizeCalculator, HardLinksCountEachTime) {
  MacVolume volume;
  volume.file("/d/a", 3_KiB).hardLink("/d/b", "/d/a");
  EXPECT_EQ(Sizes(volume).logical("/d"), 6_KiB);
}

TEST(FileSizeCalculator, ALinkOrASpecialFileHasNoSize) {
  MacVolume volume;
  volume.file("/d/a", 1_KiB)
      .link("/toFile", "/d/a")
      .link("/toFolder", "/d")
      .link("/dangling", "nowhere")
      .link("/loop", "loop")
      .fifo("/pipe")
      .socket("/socket");
  const Sizes sizes(volume);
  for (const char* path : {"/toFile", "/toFolder", "/dangling", "/loop", "/pipe", "/socket"}) {
    EXPECT_EQ(sizes.of(path), SizeInfo()) << path;
    EXPECT_EQ(sizes.of(path, {}, HiddenItems::skip, Slow::notAllowed), SizeInfo()) << path;
    EXPECT_EQ(sizes.calculator().enumeratingDirectorySize(FileURL(path), true), SizeInfo()) << path;
  }
}

TEST(FileSizeCalculator, LinksInTheMiddleOfAPathAreFollowed) {
  MacVolume volume;
  volume.file("/d/e/a", 1_KiB).link("/link", "/d");
  EXPECT_EQ(Sizes(volume).logical("/link/e"), 1_KiB);
  EXPECT_EQ(Sizes(volume).logical("/link/e/a"), 1_KiB);
}

TEST(FileSizeCalculator, HiddenItemsAndAllBelowThemAreSkippedOnRequest) {
  MacVolume volume;
  volume.file("/d/a", 1_KiB).file("/d/.b", 2_KiB).file("/d/.c/d", 4_KiB).file("/d/e/.f/g/h", 8_KiB);
  const Sizes sizes(volume);
  EXPECT_EQ(sizes.logical("/d"), 15_KiB);
  EXPECT_EQ(sizes.logical("/d", {}, HiddenItems::skip), 1_KiB);
  EXPECT_EQ(sizes.calculator().enumeratingDirectorySize(FileURL("/d"), true).logicalBytes, 15_KiB);
  EXPECT_EQ(sizes.calculator().enumeratingDirectorySize(FileURL("/d"), false).logicalBytes, 1_KiB);
}

TEST(FileSizeCalculator, TheItemItselfCountsEvenIfHidden) {
  MacVolume volume;
  volume.file("/.d/a", 1_KiB).file("/.d/.b", 2_KiB);
  const Sizes sizes(volume);
  EXPECT_EQ(sizes.logical("/.d", {}, HiddenItems::skip), 1_KiB);
  EXPECT_EQ(sizes.logical("/.d/.b", {}, HiddenItems::skip), 2_KiB);
}

// Exclusions

TEST(FileSizeCalculator, ItemsAtOrBelowAnExcludedPathAreSkipped) {
  MacVolume volume;
  volume.file("/d/a", 1).file("/d/b", 10).file("/d/e/c", 100).file("/d/e/f/g", 1'000).file("/d/e2/h", 10'000);
  const Sizes sizes(volume);
  EXPECT_EQ(sizes.logical("/d"), 11'111);
  EXPECT_EQ(sizes.logical("/d", {"/d/e"}), 10'011);
  EXPECT_EQ(sizes.logical("/d", {"/d/e/"}), 10'011);
  EXPECT_EQ(sizes.logical("/d", {"/d/b"}), 11'101);
  EXPECT_EQ(sizes.logical("/d", {"/d/e/f/g", "/d/a"}), 10'110);
  EXPECT_EQ(sizes.logical("/d", {"/d/e", "/d/e/f", "/d/e2"}), 11);
  EXPECT_EQ(sizes.logical("/d", {"/d/e/f", "/d/e"}), 10'011);
  EXPECT_EQ(sizes.logical("/d", {"/d/missing", "/elsewhere", "/d/a/below"}), 11'111);
}

TEST(FileSizeCalculator, AnExcludedPathIsStandardised) {
  MacVolume volume;
  volume.file("/d/a", 1).file("/d/e/c", 100).file("/x/y", 7).link("/d/to", "/x");
  const Sizes sizes(volume);
  EXPECT_EQ(sizes.logical("/d", {"/d//./e"}), 1);
  EXPECT_EQ(sizes.logical("/d", {"/d/a/../e"}), 1);
  EXPECT_EQ(sizes.logical("/d", {"/d/to/../d/e"}), 1) << "a link before \"..\" is resolved";
  EXPECT_EQ(sizes.logical("/x", {"/d/to/y"}), 7) << "links are not resolved without \"..\"";
}

TEST(FileSizeCalculator, TheItemItselfIsStandardised) {
  MacVolume volume;
  volume.file("/d/a", 1).file("/d/e/c", 100);
  EXPECT_EQ(Sizes(volume).logical("/d/e/../../d//.", {"/d/e"}), 1);
}

TEST(FileSizeCalculator, AnExcludedItemHasNoSize) {
  MacVolume volume;
  volume.file("/d/e/c", 100);
  const Sizes sizes(volume);
  EXPECT_EQ(sizes.of("/d/e", {"/d/e"}), SizeInfo());
  EXPECT_EQ(sizes.of("/d/e", {"/d"}), SizeInfo());
  EXPECT_EQ(sizes.of("/", {"/"}), SizeInfo());
  EXPECT_EQ(sizes.of("/d/e/c", {"/d"}), SizeInfo());
  EXPECT_EQ(sizes.of("/d/e", {"/d"}, HiddenItems::include, Slow::notAllowed), SizeInfo());
  EXPECT_EQ(errorOf([&] { sizes.of("/d/missing", {"/d"}); }), std::pair(ENOENT, std::string("/d/missing")));
}

TEST(FileSizeCalculator, AnExcludedRootFolderExcludesOnlyItself) {
  MacVolume volume;
  volume.file("/d/e/c", 100);
  const Sizes sizes(volume);
  EXPECT_EQ(sizes.logical("/d", {"/"}), 100);
  EXPECT_EQ(sizes.logical("/d/e/c", {"/"}), 100);
  EXPECT_EQ(sizes.logical("/d", {"/", "/d/e"}), 0);
}

TEST(FileSizeCalculator, ExclusionsAndHiddenItemsAreIndependent) {
  MacVolume volume;
  volume.file("/d/a", 1).file("/d/.h/b", 10).file("/d/e/.c", 100);
  EXPECT_EQ(Sizes(volume).logical("/d", {"/d/e"}), 11);
  EXPECT_EQ(Sizes(volume).logical("/d", {"/d/e"}, HiddenItems::skip), 1);
}

TEST(FileSizeCalculator, AnExclusionBelowPrivateAppliesFromEveryRootAbove) {
  MacVolume volume;
  volume.file("/private/var/db/a", 1).file("/private/var/log/b", 10).link("/var", "private/var");
  const Sizes sizes(volume);
  for (const char* excluded : {"/private/var/log", "/var/log"}) {
    EXPECT_EQ(sizes.logical("/private/var", {excluded}), 1) << excluded;
    EXPECT_EQ(sizes.logical("/private", {excluded}), 1) << excluded;
    EXPECT_EQ(sizes.logical("/", {excluded}), 1) << excluded;
  }
}

TEST(FileSizeCalculator, AnExclusionBelowPrivateAppliesOnAVolumeWithoutTheShortNames) {
  MacVolume volume;
  volume.file("/private/var/db/a", 1).file("/private/var/log/b", 10);
  EXPECT_EQ(Sizes(volume).logical("/private/var", {"/private/var/log"}), 1);
  EXPECT_EQ(Sizes(volume).logical("/", {"/private/var/log"}), 1);
  EXPECT_EQ(Sizes(volume).logical("/", {"/var/log"}), 11);
}

// Sizes without walking

TEST(FileSizeCalculator, WithoutAllowSlowOnlyARegularFileHasASize) {
  MacVolume volume;
  volume.file("/d/a", 5);
  const Sizes sizes(volume);
  EXPECT_EQ(sizes.of("/d/a", {}, HiddenItems::include, Slow::notAllowed).logicalBytes, 5);
  EXPECT_EQ(errorOf([&] { sizes.of("/d", {}, HiddenItems::include, Slow::notAllowed); }),
            std::pair(ENOTSUP, std::string("/d")));
  EXPECT_EQ(errorOf([&] { sizes.of("/x", {}, HiddenItems::include, Slow::notAllowed); }),
            std::pair(ENOENT, std::string("/x")));
}

TEST(FileSizeCalculator, OnlyARegularFileHasAResourceSize) {
  MacVolume volume;
  volume.file("/d/a", 5)
      .sparse("/sparse", 1_MiB)
      .folder("/App.app")
      .link("/link", "/d/a")
      .fifo("/pipe")
      .socket("/socket");
  const auto resourceSize = [&](const char* path) {
    return FileSizeCalculator::live(volume.files()).resourceSize(FileURL(path));
  };
  EXPECT_EQ(resourceSize("/d/a"), Sizes(volume).of("/d/a"));
  EXPECT_EQ(resourceSize("/sparse"), (SizeInfo{.allocatedBytes = 0, .logicalBytes = 1_MiB}));
  for (const char* path : {"/d", "/App.app", "/link", "/pipe", "/socket", "/missing", "/d/a/below"}) {
    EXPECT_EQ(resourceSize(path), std::nullopt) << path;
  }
}

TEST(FileSizeCalculator, EnumeratingAFileReturnsItsSize) {
  MacVolume volume;
  volume.file("/a", 5);
  EXPECT_EQ(Sizes(volume).calculator().enumeratingDirectorySize(FileURL("/a"), false), Sizes(volume).of("/a"));
}

TEST(FileSizeCalculator, ItemSizeExcludesNothing) {
  MacVolume volume;
  volume.file("/d/a", 5).file("/d/.b", 7);
  const FileSizeCalculator calculator = FileSizeCalculator::live(volume.files());
  EXPECT_EQ(calculator.itemSize(FileURL("/d"), true, true).logicalBytes, 12);
  EXPECT_EQ(calculator.itemSize(FileURL("/d"), true, false).logicalBytes, 5);
}

// Failures

TEST(FileSizeCalculator, AMissingItemThrowsWithItsPath) {
  MacVolume volume;
  volume.file("/file").link("/dangling", "nowhere");
  const Sizes sizes(volume);
  EXPECT_EQ(errorOf([&] { sizes.of("/missing/x"); }), std::pair(ENOENT, std::string("/missing/x")));
  EXPECT_EQ(errorOf([&] { sizes.of("/file/x"); }), std::pair(ENOTDIR, std::string("/file/x")));
  EXPECT_EQ(errorOf([&] { sizes.of("/dangling/x"); }).first, ENOENT);
  EXPECT_EQ(errorOf([&] { sizes.calculator().enumeratingDirectorySize(FileURL("/missing"), true); }),
            std::pair(ENOENT, std::string("/missing")));
}

TEST(FileSizeCalculator, AnUnreadableFolderThrowsAndASubfolderIsSkippedAndReported) {
  MacVolume volume;
  volume.file("/d/a", 1).file("/d/closed/b", 10).mode("/d/closed", 0000);
  const auto report = std::make_shared<ReadReport>();
  const FileSizeCalculator sizes = FileSizeCalculator::live(volume.files().reportingTo(report));
  const UnprivilegedUser user;
  EXPECT_EQ(sizes.itemSize(FileURL("/d"), true, true).logicalBytes, 1);
  ASSERT_EQ(report->count(), 1U);
  EXPECT_EQ(report->items()[0].path, "/d/closed");
  const std::pair denied(EACCES, std::string("/d/closed"));
  EXPECT_EQ(errorOf([&] { (void)sizes.itemSize(FileURL("/d/closed"), true, true); }), denied);
  EXPECT_EQ(errorOf([&] { (void)sizes.itemSizeExcluding(FileURL("/d/closed"), {FileURL("/d/closed/x")}, true, true); }),
            denied);
  EXPECT_EQ(errorOf([&] { (void)sizes.enumeratingDirectorySize(FileURL("/d/closed"), true); }), denied);
  EXPECT_EQ(sizes.resourceSize(FileURL("/d/closed/b")), std::nullopt);
}

TEST(FileSizeCalculator, NamesThatAreNotUtf8AreSizedAndExcluded) {
  MacVolume volume;
  volume.file("/d/\xFF/a", 1).file("/d/\xFE", 10).file("/d/\x1B[2J", 100);
  EXPECT_EQ(Sizes(volume).logical("/d"), 111);
  EXPECT_EQ(Sizes(volume).logical("/d", {"/d/\xFF"}), 110);
}

TEST(FileSizeCalculator, ADeepTreeIsSizedWholeWithAndWithoutExclusions) {
  MacVolume volume;
  const Comb comb(volume, "/d", 40);
  EXPECT_EQ(Sizes(volume).logical("/d"), comb.bytes());
  EXPECT_EQ(Sizes(volume).logical("/d", {"/d/z"}), comb.bytes() - 5);
}

}  // namespace
}  // namespace quarn::file_size_calculator_tests
