#include <filesystem>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

#include "QuarnPlatform/files/FileManager.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::volume_options_tests_linux {
namespace {

// On a Mac a process may keep the access times of everyone's items.
TEST(VolumeOptions, ForensicRefusesWhereAccessTimesCannotBeKept) {
  MacVolume volume;
  volume.app("/Applications/Only.app", {.bundleIdentifier = "com.example.only"}).folder("~");
  if (::geteuid() != 0) GTEST_SKIP() << "only root can give a folder to another user";
  const VolumeMount mount = volume.files().mount();
  const bool canChange = !mount.isReadOnly && !mount.keepsAccessTimes;
  std::filesystem::permissions(volume.root(), std::filesystem::perms(0755));
  ASSERT_EQ(::chown(volume.root().c_str(), 65534, 65534), 0);
  const UnprivilegedUser user;
  const CommandRun run = runQuarn({"--forensic", "--volume", volume.root(), "--home", "/Users/ann", "apps"});
  EXPECT_EQ(run.exitCode, canChange ? 1 : 0) << run.err;
  EXPECT_EQ(run.err.find("would change access times") != std::string::npos, canChange) << run.err;
}

}  // namespace
}  // namespace quarn::volume_options_tests_linux
