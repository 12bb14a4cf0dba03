#include <gmock/gmock.h>

#include "QuarnCore/scans/RecordedSizes.h"
#include "tests/QuarnCore/storage/DashboardVolume.h"

namespace quarn::recorded_sizes_tests {
namespace {

std::shared_ptr<RecordedFolders> recordOf(const DashboardVolume& volume) {
  auto folders = std::make_shared<RecordedFolders>();
  (void)volume.dashboard().calculatePartitionedCategorySizes({}, Cancellation::never(), folders.get());
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

TEST(RecordedSizes, FilesLinksAndPathsThroughLinksHaveTheSizesThatAWalkFinds) {
  DashboardVolume volume;
  volume.file("~/Documents/a/b", 5).file("~/Documents/c", 7);
  volume.link("~/Documents/to a", "a").link("~/Documents/to c", "c").link("/shortcut", "Users/ann/Documents");
  const auto folders = recordOf(volume);
  const FileSizeCalculator sizes = recordedSizes(folders, volume.files());
  const FileSizeCalculator live = FileSizeCalculator::live(volume.files());
  for (const char* path : {"~/Documents", "~/Documents/a", "~/Documents/a/b", "~/Documents/c", "~/Documents/to a",
                           "~/Documents/to c", "/shortcut", "/shortcut/a", "/Users/ann/../ann/Documents/a"}) {
    const FileURL url = volume.url(path);
    EXPECT_EQ(sizeOf(sizes, url), sizeOf(live, url)) << path;
    EXPECT_EQ(recordedChanges(folders, volume.files())(url), newestChange(volume.files(), url)) << path;
  }
}

}  // namespace
}  // namespace quarn::recorded_sizes_tests
