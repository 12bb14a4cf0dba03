#include <fcntl.h>
#include <gmock/gmock.h>

#include "QuarnPlatform/files/FolderOpener.h"
#include "QuarnPlatform/walking/DirectoryEnumerator.h"
#include "tests/macos/emulation/Emulation.h"
#include "tests/support/MacVolume.h"

namespace quarn::folder_opener_tests_darwin {
namespace {

using ::testing::ElementsAre;

constexpr std::uint64_t kDataVolume = 0x1000099;
constexpr std::uint64_t kRootOfVolume = 2;

// A system volume as a walk sees it: /Users is joined by a firmlink, and the data volume's own root is below /System.
class VolumeGroup : public ::testing::Test {
 protected:
  VolumeGroup() {
    const darwin::ItemOfOtherVolume root{.realDevice = kDataVolume, .inode = kRootOfVolume};
    const darwin::ItemOfOtherVolume firmlink{.realDevice = kDataVolume, .inode = 0};
    volume_.text("/Users/ann/file", "x").text("/System/Volumes/Data/Users/ann/file", "x");
    volume_.xattr("/System/Volumes/Data", darwin::kVolumeAttribute, darwin::bytesOf(root));
    volume_.xattr("/Users", darwin::kVolumeAttribute, darwin::bytesOf(firmlink));
  }

  [[nodiscard]] FileDescriptor folder(std::string_view path) const {
    return FileDescriptor(::open(volume_.host(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  }

  MacVolume volume_;
};

TEST_F(VolumeGroup, AFirmlinkIsEntered) {
  const FileDescriptor root = folder("/");
  EXPECT_TRUE(FolderOpener(root.get()).open(root.get(), "Users").descriptor.isOpen());
}

TEST_F(VolumeGroup, TheDataVolumesRootIsAnotherDevice) {
  const FileDescriptor root = folder("/");
  const FileDescriptor volumes = folder("/System/Volumes");
  EXPECT_EQ(FolderOpener(root.get()).open(volumes.get(), "Data").error, EXDEV);
}

TEST_F(VolumeGroup, AFolderThatHappensToHaveInodeTwoIsEntered) {
  const darwin::ItemOfOtherVolume root{.realDevice = kDataVolume, .inode = kRootOfVolume};
  volume_.folder("/a/b").xattr("/a", darwin::kVolumeAttribute, darwin::bytesOf(root));
  volume_.xattr("/a/b", darwin::kVolumeAttribute, darwin::bytesOf(root));
  const FileDescriptor parent = folder("/a");
  EXPECT_TRUE(FolderOpener(parent.get()).open(parent.get(), "b").descriptor.isOpen());
}

TEST_F(VolumeGroup, AWalkOfTheWholeVolumeMeetsEachFileOnce) {
  std::vector<std::string> files;
  DirectoryEnumerator items(volume_.files(), FileURL("/"), {});
  while (const auto* item = items.next()) {
    if (item->type() == FileType::regular) files.push_back(item->url().path());
  }
  EXPECT_THAT(files, ElementsAre("/Users/ann/file"));
}

}  // namespace
}  // namespace quarn::folder_opener_tests_darwin
