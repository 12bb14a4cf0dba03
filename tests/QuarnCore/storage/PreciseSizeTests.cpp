#include <cerrno>

#include <gmock/gmock.h>

#include "tests/QuarnCore/storage/DashboardVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::precise_size_tests {
namespace {

using ::testing::ElementsAre;
using Category = StorageCategoryID;

std::optional<std::int64_t> bytes(const DashboardVolume& volume, Category category) {
  const auto size = volume.dashboard().calculatePreciseSize(category, Cancellation::never());
  return size ? std::optional(size->logicalBytes) : std::nullopt;
}

TEST(InitialOverview, ListsEightEmptyCategoriesInOrderBesideTheVolume) {
  DashboardVolume volume;
  volume.file("~/Pictures/a", 1);
  const StorageOverview overview = volume.dashboard().initialOverview();
  VolumeInfo expected = VolumeInfoClient::live(volume.files()).systemVolume();
  expected.freeBytes = overview.volume.freeBytes;  // the machine's other work changes it at any moment
  EXPECT_EQ(overview.volume, expected);
  std::vector<Category> categories;
  for (const StorageCategory& category : overview.categories) {
    EXPECT_EQ(category.size, SizeInfo{});
    categories.push_back(category.id);
  }
  EXPECT_THAT(categories, ElementsAre(Category::apps, Category::documents, Category::photos, Category::communication,
                                      Category::games, Category::development, Category::systemData, Category::other));
}

// A dashboard with these clients instead of the live ones.
StorageDashboardService dashboard(const DashboardVolume& volume, VolumeInfoClient info, FileSizeCalculator sizes) {
  const FileManager files = volume.files();
  return {std::move(info),
          std::move(sizes),
          StorageSignatureRegistry(),
          VolumeLocationChecker::live(files),
          VendorPathHintIndex(VendorProfileRegistry(), files.homeDirectory(), files),
          QuarantineManager::live(files),
          files};
}

TEST(InitialOverview, AnErrorOfTheVolumeReachesTheCaller) {
  const DashboardVolume volume;
  const VolumeInfoClient broken{.systemVolume = []() -> VolumeInfo { throwFileError(EIO, "statfs", "/"); }};
  try {
    (void)dashboard(volume, broken, FileSizeCalculator::live(volume.files())).initialOverview();
    FAIL() << "nothing was thrown";
  } catch (const FileError& error) {
    EXPECT_EQ(error.error(), EIO);
    EXPECT_EQ(error.operation(), "statfs");
  }
}

TEST(PreciseSize, OfFreeSpaceIsAbsentWithoutTouchingTheDisk) {
  const DashboardVolume volume;
  EXPECT_EQ(dashboard(volume, {}, {}).calculatePreciseSize(Category::free, Cancellation::never()), std::nullopt)
      << "clients without functions would throw";
}

TEST(PreciseSize, IsAbsentWhenNoRootExists) {
  const DashboardVolume volume;
  for (const Category category : allCases<Category>()) EXPECT_EQ(bytes(volume, category), std::nullopt);
}

TEST(PreciseSize, OfAnEmptyRootIsZero) {
  DashboardVolume volume;
  volume.folder("~/Music");
  EXPECT_EQ(bytes(volume, Category::photos), 0);
}

TEST(PreciseSize, AddsTheRootsThatExistHiddenItemsIncluded) {
  DashboardVolume volume;
  volume.file("~/Pictures/a", 1).file("~/Pictures/.b", 2).file("~/Music/.c/d", 4).file("~/Elsewhere/e", 8);
  volume.file("~/Movies/Lib.app/f", 16);
  const auto size = volume.dashboard().calculatePreciseSize(Category::photos, Cancellation::never());
  ASSERT_TRUE(size);
  EXPECT_EQ(size->logicalBytes, 1 + 2 + 4 + 16);
  EXPECT_EQ(size->allocatedBytes % 512, 0);
  EXPECT_GT(size->allocatedBytes, 0);
}

TEST(PreciseSize, NestedRootsAreAddedEach) {
  DashboardVolume volume;
  volume.file("~/Library/Mobile Documents/com~apple~CloudDocs/Desktop/a", 1);
  EXPECT_EQ(bytes(volume, Category::documents), 2);
}

TEST(PreciseSize, OfGamesIncludesFoldersWithMarkers) {
  DashboardVolume volume;
  volume.gameMarker("marker");
  volume.file("/Users/Shared/Found/marker", 1).file("/Users/Shared/Found/a", 2);
  EXPECT_EQ(bytes(volume, Category::games), 3);
}

TEST(PreciseSize, OfSystemDataSkipsItsExclusions) {
  DashboardVolume volume;
  volume.file("~/Library/a", 1).file("~/Library/Mail/b", 2).file("~/.Trash/c", 4).file("/usr/local/d", 8);
  volume.file("/usr/e", 16).file("/Users/bob/f", 32).file("~/Library/CloudStorage/Box/g", 64);
  EXPECT_EQ(bytes(volume, Category::systemData), 1 + 4 + 16 + 32);
}

TEST(PreciseSize, ARootThatIsALinkCountsNothingOfItsTarget) {
  DashboardVolume volume;
  volume.file("/Data/a", 1).link("~/Pictures", "/Data").link("~/Music", "/nowhere");
  EXPECT_EQ(bytes(volume, Category::photos), 0) << "the link exists, the dangling one does not";
}

TEST(PreciseSize, OtherVolumesAreSkippedAsInTheScan) {
  DashboardVolume volume;
  volume.file("/Volumes/External/Pictures/a", 1).link("~/Pictures", "/Volumes/External/Pictures");
  volume.file("/Volumes/External/Lib/steamapps/game", 2).file("~/Games/b", 4);
  volume.text("/Users/Shared/Steam/steamapps/libraryfolders.vdf", "\"path\" \"/Volumes/External/Lib\"\n");
  EXPECT_EQ(bytes(volume, Category::photos), std::nullopt);
  const std::int64_t listed = static_cast<std::int64_t>(std::string("\"path\" \"/Volumes/External/Lib\"\n").size());
  EXPECT_EQ(bytes(volume, Category::games), 4 + listed);
  EXPECT_EQ(volume.scanned()[Category::games], 4 + listed);
  EXPECT_THAT(volume.shortened(volume.dashboard().preciseRoots(Category::games)),
              ElementsAre("~/Games", "/Users/Shared/Steam/steamapps"));
}

TEST(PreciseSize, ARootUnderTheNameOfTheSystemVolumeCounts) {
  DashboardVolume volume;
  volume.link("/Volumes/Macintosh HD", "/").file("/Data/a", 1).link("~/Pictures", "/Volumes/Macintosh HD/Data");
  EXPECT_THAT(volume.shortened(volume.dashboard().preciseRoots(Category::photos)), ElementsAre("~/Pictures"));
}

TEST(PreciseSize, FilesAreRootsToo) {
  DashboardVolume volume;
  volume.file("~/.zshrc", 1).file("~/.config/a", 2);
  EXPECT_EQ(bytes(volume, Category::other), 3);
}

TEST(PreciseSize, ASizingErrorEndsTheCall) {
  DashboardVolume volume;
  volume.file("~/Pictures/a", 1).folder("~/Music").mode("~/Music", 0000);
  const UnprivilegedUser user;
  try {
    (void)bytes(volume, Category::photos);
    FAIL() << "nothing was thrown";
  } catch (const FileError& error) {
    EXPECT_EQ(error.error(), EACCES);
    EXPECT_EQ(error.path(), "/Users/ann/Music");
  }
}

TEST(PreciseSize, CancelledTheSizeSoFarIsReturned) {
  DashboardVolume volume;
  volume.file("~/Pictures/a", 1).file("~/Movies/b", 2).file("~/Music/c", 4);
  const Cancellation cancellation;
  FileSizeCalculator sizes = FileSizeCalculator::live(volume.files());
  const auto real = sizes.itemSizeExcluding;
  sizes.itemSizeExcluding = [&](const FileURL& at, const auto& excluding, bool allowSlow, bool includeHidden) {
    if (at.lastPathComponent() == "Movies") cancellation.cancel();
    return real(at, excluding, allowSlow, includeHidden);
  };
  const auto size = dashboard(volume, {}, sizes).calculatePreciseSize(Category::photos, cancellation);
  ASSERT_TRUE(size);
  EXPECT_EQ(size->logicalBytes, 3);
}

// Records how each root is sized; sizes cloud roots with given values.
struct RecordedSizing {
  std::vector<std::string> calls{};
  bool walkFails = false;
  std::optional<SizeInfo> resourceSize{};
  bool quickSizeFails = true;

  FileSizeCalculator calculator() {
    const auto name = [](const FileURL& url) { return std::string(url.lastPathComponent()); };
    return {.itemSizeExcluding =
                [this, name](const FileURL& at, const auto& excluding, bool allowSlow, bool includeHidden) {
                  calls.push_back("item " + name(at) + (allowSlow ? " slow" : " quick") +
                                  (includeHidden ? " hidden" : "") + (excluding.empty() ? "" : " excluding"));
                  if (!allowSlow && quickSizeFails) throwFileError(ENOTSUP, "size", at.path());
                  return SizeInfo{0, allowSlow ? 1 : 10};
                },
            .enumeratingDirectorySize =
                [this, name](const FileURL& at, bool includeHidden) {
                  calls.push_back("walk " + name(at) + (includeHidden ? " hidden" : ""));
                  if (walkFails) throwFileError(EACCES, "list", at.path());
                  return SizeInfo{0, 100};
                },
            .resourceSize =
                [this, name](const FileURL& at) {
                  calls.push_back("resource " + name(at));
                  return resourceSize;
                }};
  }
};

std::int64_t documentBytes(const DashboardVolume& volume, RecordedSizing& sizing) {
  const auto size = dashboard(volume, {}, sizing.calculator()).calculatePreciseSize(Category::documents, {});
  return size ? size->logicalBytes : -1;
}

TEST(CloudRoots, AreICloudDriveAndTheProvidersFolders) {
  DashboardVolume volume;
  volume.folder("~/Documents").folder("~/Library/Mobile Documents/com~apple~CloudDocs/Documents");
  volume.folder("~/Library/CloudStorage/Box").folder("~/stuff");
  RecordedSizing sizing;
  EXPECT_EQ(documentBytes(volume, sizing), 1 + 1 + 100 + 100 + 1);
  EXPECT_THAT(sizing.calls,
              ElementsAre("item Documents slow hidden", "item Documents slow hidden", "walk com~apple~CloudDocs hidden",
                          "walk Box hidden", "item stuff slow hidden"));
}

TEST(CloudRoots, OnlyDocumentsHaveThem) {
  DashboardVolume volume;
  volume.folder("~/Library/Mail").folder("~/Library/CloudStorage/Box");
  volume.vendor("slack", {"~/Library/CloudStorage/Box"});
  RecordedSizing sizing;
  const StorageDashboardService service(
      {}, sizing.calculator(), StorageSignatureRegistry(), VolumeLocationChecker::live(volume.files()),
      VendorPathHintIndex(VendorProfileRegistry(volume.vendors), volume.url("~"), volume.files()),
      QuarantineManager::live(volume.files()), volume.files());
  (void)service.calculatePreciseSize(Category::communication, {});
  EXPECT_THAT(sizing.calls, ElementsAre("item Mail slow hidden", "item Box slow hidden"));
}

TEST(CloudRoots, ARootThatCannotBeWalkedFallsBackToItsOwnSize) {
  DashboardVolume volume;
  volume.folder("~/Library/CloudStorage/Box");
  RecordedSizing sizing{.walkFails = true, .resourceSize = SizeInfo{0, 1'000}};
  EXPECT_EQ(documentBytes(volume, sizing), 1'000);
  EXPECT_THAT(sizing.calls, ElementsAre("walk Box hidden", "resource Box"));
}

TEST(CloudRoots, ThenToTheQuickSize) {
  DashboardVolume volume;
  volume.folder("~/Library/CloudStorage/Box");
  RecordedSizing sizing{.walkFails = true, .quickSizeFails = false};
  EXPECT_EQ(documentBytes(volume, sizing), 10);
  EXPECT_THAT(sizing.calls, ElementsAre("walk Box hidden", "resource Box", "item Box quick hidden"));
}

TEST(CloudRoots, AndThenToTheSizeOfAnyOtherRoot) {
  DashboardVolume volume;
  volume.folder("~/Library/CloudStorage/Box");
  RecordedSizing sizing{.walkFails = true};
  EXPECT_EQ(documentBytes(volume, sizing), 1);
  EXPECT_THAT(sizing.calls,
              ElementsAre("walk Box hidden", "resource Box", "item Box quick hidden", "item Box slow hidden"));
}

TEST(CloudRoots, ALinkInTheirPlaceIsNotWalked) {
  DashboardVolume volume;
  volume.folder("/Data/Drive").link("~/Library/Mobile Documents/com~apple~CloudDocs", "/Data/Drive");
  RecordedSizing sizing{.quickSizeFails = false};
  EXPECT_EQ(documentBytes(volume, sizing), 10);
  EXPECT_THAT(sizing.calls, ElementsAre("resource com~apple~CloudDocs", "item com~apple~CloudDocs quick hidden"));
}

TEST(CloudRoots, ARealLinkInTheirPlaceCountsNothing) {
  DashboardVolume volume;
  volume.file("/Data/Drive/a", 1).link("~/Library/Mobile Documents/com~apple~CloudDocs", "/Data/Drive");
  EXPECT_EQ(bytes(volume, Category::documents), 0);
}

TEST(CloudRoots, AnUnreadableOneEndsTheCallWhenNoEstimateYields) {
  DashboardVolume volume;
  volume.folder("~/Library/CloudStorage/Box").mode("~/Library/CloudStorage/Box", 0000);
  const UnprivilegedUser user;
  EXPECT_THROW((void)bytes(volume, Category::documents), FileError);
}

}  // namespace
}  // namespace quarn::precise_size_tests
