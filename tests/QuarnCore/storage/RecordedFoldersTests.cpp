#include <algorithm>
#include <functional>
#include <random>
#include <vector>

#include <gmock/gmock.h>

#include "QuarnCore/storage/RecordedFolders.h"
#include "QuarnPlatform/paths/Path.h"
#include "tests/QuarnCore/storage/DashboardVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::recorded_folders_tests {
namespace {

using ::testing::ElementsAre;

RecordedFolders::Record recordOf(const RecordedFolders& folders, std::string_view path) {
  const auto position = folders.find(path);
  EXPECT_TRUE(position) << path;
  return position ? folders.at(*position) : RecordedFolders::Record{};
}

void scan(const DashboardVolume& volume, RecordedFolders& folders) {
  (void)volume.dashboard().calculatePartitionedCategorySizes({}, Cancellation::never(), &folders);
  folders.finish();
}

std::vector<std::string> keptNames(const RecordedFolders& folders) {
  std::vector<std::string> names;
  for (const auto& file : folders.largeFiles()) names.push_back(file.name);
  return names;
}

TEST(RecordedFolders, AFolderHasTheNewestChangeOfItselfAndWhatIsBelow) {
  DashboardVolume volume;
  volume.file("~/Pictures/a", 1).file("~/Pictures/sub/b", 2).file("/Elsewhere/c", 4);
  volume.modified("~/Pictures/a", 1'000).modified("~/Pictures/sub/b", 3'000).modified("/Elsewhere/c", 2'000);
  for (const char* folder : {"~/Pictures/sub", "~/Pictures", "~", "/Users", "/Elsewhere", "/"}) {
    volume.modified(folder, 500);
  }
  RecordedFolders folders;
  scan(volume, folders);
  EXPECT_EQ(recordOf(folders, "/Users/ann/Pictures").newest, 3'000);
  EXPECT_EQ(recordOf(folders, "/Elsewhere").newest, 2'000);
  EXPECT_EQ(recordOf(folders, "/Users").newest, 3'000);
  volume.modified("~/Pictures/sub", 5'000).modified("/Elsewhere", 4'000);
  RecordedFolders again;
  scan(volume, again);
  EXPECT_EQ(recordOf(again, "/Users/ann/Pictures").newest, 5'000);
  EXPECT_EQ(recordOf(again, "/Elsewhere").newest, 4'000);
}

TEST(RecordedFolders, PackagesAreMarkedByNameAndByTheBundleBitAlsoWhereTheyAreRoots) {
  DashboardVolume volume;
  volume.file("~/Documents/A.app/x", 1).file("~/Documents/plain/x", 1).file("~/Documents/bit/x", 1);
  volume.file("~/Tool.app/x", 1).bundleBit("~/Documents/bit");
  RecordedFolders folders;
  scan(volume, folders);
  EXPECT_TRUE(recordOf(folders, "/Users/ann/Documents/A.app").isPackage);
  EXPECT_TRUE(recordOf(folders, "/Users/ann/Documents/bit").isPackage);
  EXPECT_TRUE(recordOf(folders, "/Users/ann/Tool.app").isPackage);
  EXPECT_FALSE(recordOf(folders, "/Users/ann/Documents/plain").isPackage);
}

TEST(RecordedFolders, AHiddenRootIsMarkedAndCountsAsHiddenInItsParent) {
  DashboardVolume volume;
  volume.file("~/.cargo/a", 3);
  RecordedFolders folders;
  scan(volume, folders);
  EXPECT_TRUE(recordOf(folders, "/Users/ann/.cargo").isHidden);
  EXPECT_EQ(recordOf(folders, "/Users/ann").hiddenSizes.logicalBytes, 3);
  EXPECT_EQ(recordOf(folders, "/Users/ann/.cargo").hiddenSizes.logicalBytes, 0);
}

TEST(RecordedFolders, HardLinksCountEachTimeAsInTheCategories) {
  DashboardVolume volume;
  volume.file("~/Pictures/a", 5).hardLink("~/Pictures/b", "~/Pictures/a");
  RecordedFolders folders;
  scan(volume, folders);
  EXPECT_EQ(recordOf(folders, "/Users/ann/Pictures").sizes.logicalBytes, 10);
  EXPECT_EQ(recordOf(folders, "/Users/ann/Pictures").files, 2);
}

TEST(RecordedFolders, OnlyTheLargestFilesAreKeptAndTheLimitSaysWhichAreMissing) {
  DashboardVolume volume;
  for (int i = 1; i <= 9; ++i) volume.sparse("~/Pictures/" + std::to_string(i), i * 10);
  RecordedFolders folders(4);
  scan(volume, folders);
  EXPECT_THAT(keptNames(folders), ElementsAre("6", "7", "8", "9"));
  EXPECT_EQ(folders.keptAbove(), 50);
}

TEST(RecordedFolders, OfEquallyLargeFilesAllAreKeptOrNone) {
  DashboardVolume volume;
  for (int i = 1; i <= 9; ++i) volume.sparse("~/Pictures/" + std::to_string(i), i < 8 ? 10 : 20);
  RecordedFolders few(4);
  scan(volume, few);
  EXPECT_THAT(keptNames(few), ElementsAre("8", "9"));
  EXPECT_EQ(few.keptAbove(), 10);
  RecordedFolders all(9);
  scan(volume, all);
  EXPECT_EQ(all.largeFiles().size(), 9u);
  EXPECT_EQ(all.keptAbove(), -1);
}

// Small files are dropped now and then, in batches: which ones stay must not depend on when that happens.
TEST(RecordedFolders, TheLargestFilesAreKeptInWhateverOrderTheyAreMet) {
  const DashboardVolume volume;
  for (const std::size_t most : {1, 2, 7, 100, 299, 300}) {
    for (unsigned seed = 0; seed < 20; ++seed) {
      std::mt19937 random(seed);
      RecordedFolders folders(most);
      const FolderObserver::Folder folder = folders.place("/here", volume.files());
      std::vector<std::int64_t> sizes;
      for (int i = 0; i < 300; ++i) {
        const auto size = static_cast<std::int64_t>(random() % 200);
        sizes.push_back(size);
        if (folders.wants({size, size})) folders.keep(folder, {.name = std::to_string(i), .sizes = {size, size}});
      }
      folders.finish();
      std::sort(sizes.begin(), sizes.end(), std::greater());
      const std::int64_t limit = sizes.size() > most ? sizes[most] : -1;
      EXPECT_EQ(folders.keptAbove(), limit);
      std::vector<std::int64_t> kept;
      for (const RecordedFolders::LargeFile& file : folders.largeFiles()) kept.push_back(file.sizes.logicalBytes);
      std::sort(kept.begin(), kept.end(), std::greater());
      std::erase_if(sizes, [&](std::int64_t size) { return size <= limit; });
      EXPECT_EQ(kept, sizes) << most << " " << seed;
    }
  }
}

TEST(RecordedFolders, FilesThatAreTooSmallAreRefusedBeforeTheyTakeMemory) {
  const DashboardVolume volume;
  RecordedFolders folders(100);
  const FolderObserver::Folder folder = folders.place("/here", volume.files());
  int wanted = 0;
  for (std::int64_t size = 100'000; size > 0; --size) {
    if (!folders.wants({size, size})) continue;
    ++wanted;
    folders.keep(folder, {.name = "file", .sizes = {size, size}});
  }
  EXPECT_LE(wanted, 200);
}

TEST(RecordedFolders, AFileThatIsARootOfTheScanIsInItsFolder) {
  DashboardVolume volume;
  volume.file("~/notes.txt", 7).file("~/.profile", 8);
  RecordedFolders folders;
  scan(volume, folders);
  EXPECT_THAT(keptNames(folders), ElementsAre(".profile", "notes.txt"));
  EXPECT_EQ(recordOf(folders, "/Users/ann").sizes.logicalBytes, 15);
}

TEST(RecordedFolders, AnUnreadableFolderIsRecordedAsNotRead) {
  DashboardVolume volume;
  volume.file("~/Pictures/closed/a", 5).mode("~/Pictures/closed", 0000);
  volume.modified("~/Pictures/closed", 2'000'000'000);
  RecordedFolders folders;
  {
    const UnprivilegedUser user;
    scan(volume, folders);
  }
  volume.mode("~/Pictures/closed", 0755);
  EXPECT_FALSE(recordOf(folders, "/Users/ann/Pictures/closed").isRead);
  EXPECT_EQ(recordOf(folders, "/Users/ann/Pictures/closed").newest, 2'000'000'000);
  EXPECT_TRUE(recordOf(folders, "/Users/ann/Pictures").isRead);
}

TEST(RecordedFolders, NamesThatAreNotUTF8Survive) {
  DashboardVolume volume;
  volume.file("~/Pictures/\xFF\xFE/\x80", 5);
  RecordedFolders folders;
  scan(volume, folders);
  EXPECT_EQ(recordOf(folders, "/Users/ann/Pictures/\xFF\xFE").sizes.logicalBytes, 5);
  EXPECT_THAT(keptNames(folders), ElementsAre("\x80"));
}

TEST(RecordedFolders, EachOfManyFoldersWithSimilarNamesIsFound) {
  DashboardVolume volume;
  const std::vector<std::string> names{"a", "a b", "a-",     "aa",   "aaa", "ab",
                                       "b", "B",   "\u00E4", "\xFF", "a/a", "aa/b/a"};
  for (std::size_t i = 0; i < names.size(); ++i) volume.sparse("~/Pictures/" + names[i] + "/file", 1 << i);
  RecordedFolders folders;
  scan(volume, folders);
  for (std::size_t i = 0; i < names.size(); ++i) {
    const std::int64_t bytes = recordOf(folders, "/Users/ann/Pictures/" + names[i]).sizes.logicalBytes;
    EXPECT_EQ(bytes & (1 << i), 1 << i) << names[i];
  }
  EXPECT_EQ(folders.find("/"), std::optional<std::size_t>(0));
  for (const char* other : {"/Users/ann/Pictures/aaaa", "/Users/ann/Pictures/ ", "/Users/ann/Pictures/\xFF\xFF"}) {
    EXPECT_FALSE(folders.find(other)) << other;
  }
}

// Few folders in a folder are found in another way than many. Every folder is where its path says, with its number.
TEST(RecordedFolders, FoldersAreFoundAmongFewAndAmongMany) {
  for (const int count : {1, 15, 16, 17, 18, 40}) {
    RecordedFolders folders;
    std::vector<std::pair<std::string, FolderObserver::Folder>> entered;
    // In an order that is not that of the names, and with a folder in each.
    for (int i = 0; i < count; ++i) {
      const std::string name = "f" + std::to_string(i * 7 % count);
      const FolderObserver::Folder folder = folders.enter(0, {.name = name});
      entered.emplace_back("/" + name, folder);
      entered.emplace_back("/" + name + "/in", folders.enter(folder, {.name = "in"}));
      folders.add(entered.back().second, {.sizes = {}, .ofHidden = {}, .files = i + 1});
    }
    folders.finish();
    ASSERT_EQ(folders.size(), entered.size() + 1);
    for (const auto& [path, folder] : entered) {
      ASSERT_EQ(folders.find(path), folders.positionOf(folder)) << count << path;
      EXPECT_EQ(folders.at(folders.positionOf(folder)).name, path::lastComponent(path));
    }
    EXPECT_EQ(folders.at(0).descendants, 2 * static_cast<unsigned>(count));
    EXPECT_EQ(folders.at(0).files, std::int64_t{count} * (count + 1) / 2);
    EXPECT_EQ(folders.find("/f"), std::nullopt);
    EXPECT_EQ(folders.find("/zz"), std::nullopt);
    EXPECT_EQ(folders.find("/f0/in/deeper"), std::nullopt);
  }
}

TEST(RecordedFolders, MissingItemsAreNotFound) {
  DashboardVolume volume;
  volume.file("~/Pictures/a", 5);
  RecordedFolders folders;
  scan(volume, folders);
  EXPECT_FALSE(folders.find("/Users/ann/Pictures/a"));
  EXPECT_FALSE(folders.find("/Users/bob"));
}

}  // namespace
}  // namespace quarn::recorded_folders_tests
