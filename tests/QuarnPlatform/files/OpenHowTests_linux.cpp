#include <cerrno>
#include <cstdint>

#include <fcntl.h>
#include <gtest/gtest.h>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/files/OpenHow_linux.h"
#include "tests/support/MacVolume.h"

namespace quarn::open_how_tests_linux {
namespace {

TEST(OpenHows, NeitherWriteNorCreateNorTruncate) {
  constexpr std::uint64_t kChanging = O_ACCMODE | O_CREAT | O_TRUNC | O_APPEND;
  constexpr std::uint64_t kTemporary = O_TMPFILE & ~O_DIRECTORY;
  ASSERT_FALSE(openHows().empty());
  for (const open_how& how : openHows()) {
    EXPECT_EQ(how.flags & (kChanging | kTemporary), 0U) << how.flags;
    EXPECT_NE(how.flags & O_CLOEXEC, 0U) << how.flags;
    EXPECT_EQ(how.mode, 0U) << how.flags;
  }
}

TEST(OpenHows, NeverLeaveTheFolderThatTheyStartIn) {
  for (const open_how& how : openHows()) {
    const bool staysInRoot = (how.resolve & RESOLVE_IN_ROOT) != 0 && (how.resolve & RESOLVE_NO_MAGICLINKS) != 0;
    const bool takesOneName = (how.resolve & RESOLVE_NO_SYMLINKS) != 0 && (how.resolve & RESOLVE_NO_XDEV) != 0;
    EXPECT_TRUE(staysInRoot || takesOneName) << how.flags;
  }
}

TEST(OpenHows, AnotherWayToOpenIsRefusedBeforeTheCall) {
  const MacVolume volume;
  const FileDescriptor root(::open(volume.root().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  errno = 0;
  EXPECT_EQ(openWithHow(root.get(), ".", O_RDWR | O_TMPFILE | O_CLOEXEC, RESOLVE_IN_ROOT), -1);
  EXPECT_EQ(errno, EINVAL);
  EXPECT_EQ(openWithHow(root.get(), ".", O_PATH | O_CLOEXEC, 0), -1) << "without rules it would leave the folder";
}

}  // namespace
}  // namespace quarn::open_how_tests_linux
