#include <cerrno>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "QuarnPlatform/files/FolderOpener.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::folder_opener_tests {
namespace {

using DeviceCheck = FolderOpener::DeviceCheck;

FileDescriptor openFolder(const std::string& path) {
  return FileDescriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

class FolderOpening : public ::testing::TestWithParam<DeviceCheck> {
 protected:
  void SetUp() override {
    const FileDescriptor root = openFolder("/");
    const bool isMissing = FolderOpener(root.get(), GetParam()).open(root.get(), ".").error == ENOSYS;
    if (isMissing) GTEST_SKIP() << "this system cannot check";
  }
};

TEST_P(FolderOpening, AFolderIsOpened) {
  MacVolume volume;
  volume.folder("/t/folder");
  const FileDescriptor root = openFolder(volume.host("/t"));
  const OpenedFolder opened = FolderOpener(root.get(), GetParam()).open(root.get(), "folder");
  EXPECT_TRUE(opened.descriptor.isOpen());
  EXPECT_EQ(opened.error, 0);
  EXPECT_NE(::fcntl(opened.descriptor.get(), F_GETFD) & FD_CLOEXEC, 0);
}

TEST_P(FolderOpening, ALinkToAFolderIsNotGoneThrough) {
  MacVolume volume;
  volume.folder("/t/folder").link("/t/link", "folder");
  const FileDescriptor root = openFolder(volume.host("/t"));
  const OpenedFolder opened = FolderOpener(root.get(), GetParam()).open(root.get(), "link");
  EXPECT_FALSE(opened.descriptor.isOpen());
  EXPECT_TRUE(opened.error == ENOTDIR || opened.error == ELOOP) << opened.error;
}

TEST_P(FolderOpening, AnItemThatIsNotAFolderIsRefusedAndAPipeDoesNotBlock) {
  MacVolume volume;
  volume.file("/t/file").fifo("/t/pipe");
  const FileDescriptor root = openFolder(volume.host("/t"));
  const FolderOpener opener(root.get(), GetParam());
  EXPECT_EQ(opener.open(root.get(), "file").error, ENOTDIR);
  EXPECT_EQ(opener.open(root.get(), "pipe").error, ENOTDIR);
  EXPECT_EQ(opener.open(root.get(), "missing").error, ENOENT);
}

TEST_P(FolderOpening, AFolderWithoutPermissionIsRefused) {
  MacVolume volume;
  volume.folder("/t/closed").mode("/t/closed", 0000);
  const FileDescriptor root = openFolder(volume.host("/t"));
  const UnprivilegedUser user;
  EXPECT_EQ(FolderOpener(root.get(), GetParam()).open(root.get(), "closed").error, EACCES);
}

// Uses existing mounts, because not every machine may mount: Linux has /dev/pts in /dev.
TEST_P(FolderOpening, AMountPointIsRefusedAsAnotherDevice) {
  const FileDescriptor root = openFolder("/dev");
  const FileDescriptor mounted = openFolder("/dev/pts");
  struct stat outside {};
  struct stat inside {};
  ASSERT_EQ(::fstat(root.get(), &outside), 0);
  ASSERT_EQ(::fstat(mounted.get(), &inside), 0);
  ASSERT_NE(outside.st_dev, inside.st_dev) << "this machine has nothing mounted at /dev/pts";
  const OpenedFolder opened = FolderOpener(root.get(), GetParam()).open(root.get(), "pts");
  EXPECT_FALSE(opened.descriptor.isOpen());
  EXPECT_EQ(opened.error, EXDEV);
}

TEST_P(FolderOpening, AMountPointCanBeTheRoot) {
  const FileDescriptor root = openFolder("/dev/pts");
  EXPECT_TRUE(FolderOpener(root.get(), GetParam()).open(root.get(), ".").descriptor.isOpen());
}

INSTANTIATE_TEST_SUITE_P(EachDeviceCheck, FolderOpening,
                         ::testing::Values(DeviceCheck::bySystem, DeviceCheck::byNumber), [](const auto& check) {
                           return check.param == DeviceCheck::bySystem ? "BySystem" : "ByNumber";
                         });

TEST(FolderOpener, TheCheckThatWorksHereIsChosen) {
  const FileDescriptor root = openFolder("/dev");
  const FolderOpener opener(root.get());
  EXPECT_EQ(opener.open(root.get(), "pts").error, EXDEV);
}

}  // namespace
}  // namespace quarn::folder_opener_tests
