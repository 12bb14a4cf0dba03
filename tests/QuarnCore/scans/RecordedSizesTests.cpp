#include <gmock/gmock.h>

#include "QuarnCore/scans/RecordedSizes.h"
#include "tests/QuarnCore/storage/DashboardVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::recorded_sizes_tests {
namespace {

std::shared_ptr<RecordedFolders> recordOf(const DashboardVolume& volume) {
  auto folders = std::make_shared<RecordedFolders>();
  (void)volume.dashboard().calculatePartitionedCategorySizes({}, Cancellation::never(), folders.get());
  folders->finish();
  return folders;
}

SizeInfo sizeOf(const FileSizeCalculator& sizes, const FileURL& url) {
  return sizes.itemSize(url, /*allowSlow=*/true, /*includeHidden=*/true, Cancellation::never());
}

// No look at the volume: the answers of one scan belong to one moment.
TEST(RecordedSizes, ARecordedFolderKeepsItsSizeAndItsTimeWhenItIsGone) {
  DashboardVolume volume;
  volume.file("~/Documents/a/b", 5).modified("~/Documents/a/b", 2'000'000'000);
  const auto folders = recordOf(volume);
  const FileURL url = volume.url("~/Documents/a");
  const FileSizeCalculator sizes = recordedSizes(folders, volume.files());
  volume.remove("~/Documents/a");
  EXPECT_EQ(sizeOf(sizes, url).logicalBytes, 5);
  EXPECT_EQ(recordedChanges(folders, volume.files())(url), Date(std::chrono::seconds(2'000'000'000)));
}

TEST(RecordedSizes, EverySpellingOfAFolderHasTheSizeOfTheRecord) {
  DashboardVolume volume;
  volume.file("~/Documents/a/b", 5).link("/shortcut", "Users/ann/Documents");
  const FileSizeCalculator sizes = recordedSizes(recordOf(volume), volume.files());
  volume.file("~/Documents/a/later", 100);
  for (const char* path : {"/Users/ann/Documents/a", "/Users/ann/Documents/a/.", "/Users/ann/Documents/../Documents/a",
                           "/Users/ann/Documents/a/../../Documents/a", "/shortcut/a", "/shortcut/./a"}) {
    EXPECT_EQ(sizeOf(sizes, FileURL(path)).logicalBytes, 5) << path;
  }
}

TEST(RecordedSizes, FilesLinksAndPathsThroughLinksHaveTheSizesThatAWalkFinds) {
  DashboardVolume volume;
  volume.file("~/Documents/a/b", 5).file("~/Documents/c", 7);
  volume.link("~/Documents/to a", "a").link("~/Documents/to c", "c").link("/shortcut", "Users/ann/Documents");
  const auto folders = recordOf(volume);
  const FileSizeCalculator sizes = recordedSizes(folders, volume.files());
  const FileSizeCalculator live = FileSizeCalculator::live(volume.files());
  for (const char* path :
       {"~/Documents", "~/Documents/a", "~/Documents/a/b", "~/Documents/c", "~/Documents/to a", "~/Documents/to c",
        "/shortcut", "/shortcut/a", "/shortcut/to a", "/shortcut/c", "/Users/ann/../ann/Documents/a"}) {
    const FileURL url = volume.url(path);
    EXPECT_EQ(sizeOf(sizes, url), sizeOf(live, url)) << path;
    EXPECT_EQ(recordedChanges(folders, volume.files())(url), newestChange(volume.files(), url)) << path;
  }
}

TEST(RecordedSizes, AFolderThatTheRecordCouldNotReadIsReadAgain) {
  DashboardVolume volume;
  volume.file("~/Documents/Closed/a", 5).mode("~/Documents/Closed", 0000);
  const auto folders = [&] {
    const UnprivilegedUser user;
    return recordOf(volume);
  }();
  volume.mode("~/Documents/Closed", 0700);
  const FileURL url = volume.url("~/Documents/Closed");
  ASSERT_TRUE(folders->find(url.path()));
  EXPECT_EQ(sizeOf(recordedSizes(folders, volume.files()), url).logicalBytes, 5);
}

TEST(RecordedSizes, ExclusionsAndHiddenItemsCountAsInAWalk) {
  DashboardVolume volume;
  volume.file("~/Documents/a/b/c", 5).file("~/Documents/a/d", 70).file("~/Documents/.hidden/e", 900);
  volume.file("~/Documents/a/.f", 11'000).file("~/Documents/a/b/.g/h", 130'000).file("/private/var/db/x", 17);
  volume.link("~/Documents/to a", "a").link("~/Documents/to d", "a/d").link("/var", "private/var");
  volume.link("/shortcut", "Users/ann/Documents").fifo("~/Documents/pipe");
  const auto folders = recordOf(volume);
  const FileSizeCalculator kept = recordedSizes(folders, volume.files());
  const FileSizeCalculator live = FileSizeCalculator::live(volume.files());
  const std::vector<std::vector<std::string>> exclusions{{},
                                                         {"~/Documents/a"},
                                                         {"~/Documents/a/b", "~/Documents/a", "~/Documents/a/d"},
                                                         {"~/Documents/a/d", "~/Documents/.hidden"},
                                                         {"~/Documents"},
                                                         {"~"},
                                                         {"/"},
                                                         {"~/Documents/to a", "~/Documents/to d", "~/Documents/pipe"},
                                                         {"~/Documents/to a/d", "~/Documents/a/.f/no", "/shortcut/a"},
                                                         {"~/Documents/absent", "~/Pictures"},
                                                         {"/private/var/db", "/var/db/x"}};
  for (const char* root : {"~/Documents", "~/Documents/a", "/shortcut/a", "~", "/", "/private", "/private/var"}) {
    for (const auto& paths : exclusions) {
      std::vector<FileURL> urls;
      for (const std::string& path : paths) urls.push_back(volume.url(path));
      for (const bool includeHidden : {true, false}) {
        const auto size = [&](const FileSizeCalculator& sizes) {
          return sizes.itemSizeExcluding(volume.url(root), urls, /*allowSlow=*/true, includeHidden,
                                         Cancellation::never());
        };
        EXPECT_EQ(size(kept), size(live)) << root << testing::PrintToString(paths) << includeHidden;
      }
    }
  }
}

TEST(RecordedSizes, WithoutAWalkAndInOneFolderHiddenItemsCountAsOnTheVolume) {
  DashboardVolume volume;
  volume.file("~/Documents/a/b", 5).file("~/Documents/a/.c", 70).file("~/Documents/.hidden/e", 900);
  const FileSizeCalculator kept = recordedSizes(recordOf(volume), volume.files());
  const FileSizeCalculator live = FileSizeCalculator::live(volume.files());
  const auto sizesOf = [&](const FileSizeCalculator& sizes, const FileURL& url, bool includeHidden) {
    const Cancellation never = Cancellation::never();
    std::vector<std::optional<SizeInfo>> result{sizes.enumeratingDirectorySize(url, includeHidden, never)};
    try {
      result.emplace_back(sizes.itemSize(url, /*allowSlow=*/false, includeHidden, never));
    } catch (const FileError&) {
      result.emplace_back();  // a folder has no size without a walk
    }
    return result;
  };
  for (const char* path : {"~/Documents", "~/Documents/a", "~/Documents/a/b", "~/Documents/.hidden"}) {
    for (const bool includeHidden : {true, false}) {
      const FileURL url = volume.url(path);
      EXPECT_EQ(sizesOf(kept, url, includeHidden), sizesOf(live, url, includeHidden)) << path << includeHidden;
    }
  }
}

// As above, a look at the volume would find nothing.
TEST(RecordedSizes, ExcludedFoldersAreThoseOfTheRecord) {
  DashboardVolume volume;
  volume.file("~/Documents/a/b/c", 5).file("~/Documents/a/d", 70).file("~/Documents/e", 900);
  const FileSizeCalculator sizes = recordedSizes(recordOf(volume), volume.files());
  volume.remove("~/Documents/a");
  const std::vector<FileURL> excluded{volume.url("~/Documents/a/b")};
  EXPECT_EQ(
      sizes.itemSizeExcluding(volume.url("~/Documents"), excluded, true, true, Cancellation::never()).logicalBytes,
      970);
}

}  // namespace
}  // namespace quarn::recorded_sizes_tests
