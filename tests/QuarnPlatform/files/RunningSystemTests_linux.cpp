// What is Linux's own: the tests of macOS's answers are in the files that end in _darwin.
#include <cerrno>
#include <cstdlib>

#include <gtest/gtest.h>

#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/files/ReadReport.h"

namespace quarn::running_system_tests_linux {
namespace {

TEST(RunningSystem, TheHomeIsTheEnvironments) {
  ASSERT_NE(std::getenv("HOME"), nullptr);
  EXPECT_EQ(FileManager::host().homeDirectory(), FileURL(std::getenv("HOME")));
}

TEST(RunningSystem, APermissionErrorHasTheCausePermissions) {
  EXPECT_EQ(unreadableCause(EPERM), UnreadableCause::permission);
  EXPECT_EQ(unreadableCause(EDEADLK), UnreadableCause::other);
  EXPECT_EQ(unreadableCause(EUCLEAN), UnreadableCause::other);
}

}  // namespace
}  // namespace quarn::running_system_tests_linux
