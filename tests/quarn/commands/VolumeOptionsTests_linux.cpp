#include <filesystem>

#include <gmock/gmock.h>
#include <unistd.h>

#include "QuarnPlatform/files/FileManager.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn {
namespace {

using ::testing::HasSubstr;

// On a Mac a process may keep the access times of everyone's items.
TEST(VolumeOptions, ForensicRefusesWhereAccessTimesCannotBeKept) {
  MacVolume volume;
  volume.app("/Applications/Only.app", {.bundleIdentifier = "com.example.only"}).folder("~");
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a folder to another user";
  const VolumeMount mount = volume.files().mount();
  if (mount.isReadOnly || mount.keepsAccessTimes) GTEST_SKIP() << "nothing here has an access time to keep";
  std::filesystem::permissions(volume.root(), std::filesystem::perms(0755));
  ASSERT_EQ(::chown(volume.root().c_str(), 65534, 65534), 0);
  const UnprivilegedUser user;
  const CommandRun run = runQuarn({"--forensic", "--volume", volume.root(), "--home", "/Users/ann", "apps"});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_THAT(run.err, HasSubstr("would change access times"));
}

}  // namespace
}  // namespace quarn
