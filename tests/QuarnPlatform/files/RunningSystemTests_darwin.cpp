#include <cerrno>
#include <cstdlib>
#include <optional>
#include <string>

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/files/ReadReport.h"

namespace quarn::running_system_tests_darwin {
namespace {

// Sets a variable of the environment for as long as it lives.
class Variable {
 public:
  Variable(const char* name, const char* value) : name_(name) {
    if (const char* before = std::getenv(name)) before_ = before;
    ::setenv(name, value, 1);
  }
  ~Variable() { before_ ? ::setenv(name_, before_->c_str(), 1) : ::unsetenv(name_); }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;

 private:
  const char* name_;
  std::optional<std::string> before_;
};

FileURL homeOf(uid_t user) {
  const passwd* account = ::getpwuid(user);
  return account != nullptr ? FileURL(account->pw_dir) : FileURL("/nonexistent");
}

TEST(RunningSystem, TheHomeIsTheAccountsWhateverTheEnvironmentSays) {
  const Variable home("HOME", "/somewhere");
  EXPECT_EQ(FileManager::host().homeDirectory(), homeOf(::getuid()));
}

TEST(RunningSystem, UnderSudoTheHomeIsThatOfTheCallersAccount) {
  constexpr uid_t kDaemon = 1;
  const Variable caller("SUDO_UID", "1");
  if (::geteuid() == 0) {
    EXPECT_EQ(FileManager::host().homeDirectory(), homeOf(kDaemon));
  } else {
    EXPECT_EQ(FileManager::host().homeDirectory(), homeOf(::getuid()));
  }
}

TEST(RunningSystem, ACallerThatIsNoNumberIsIgnored) {
  for (const char* text : {"", "1x", "root"}) {
    const Variable caller("SUDO_UID", text);
    EXPECT_EQ(FileManager::host().homeDirectory(), homeOf(::getuid())) << text;
  }
}

TEST(RunningSystem, PrivacyProtectionAndCloudFilesHaveTheirOwnCauses) {
  EXPECT_EQ(unreadableCause(EACCES), UnreadableCause::permission);
  EXPECT_EQ(unreadableCause(EPERM), UnreadableCause::privacy);
  EXPECT_EQ(unreadableCause(EDEADLK), UnreadableCause::onlyInCloud);
}

}  // namespace
}  // namespace quarn::running_system_tests_darwin
