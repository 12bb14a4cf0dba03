#include <cerrno>
#include <filesystem>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "QuarnPlatform/files/ReadReport.h"
#include "QuarnPlatform/walking/TreeSizer.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::access_times_tests_linux {
namespace {

/// Items that were read last long ago and changed since, so that the next reading moves their access time.
class ReadingKeepsAccessTimes : public testing::Test {
 protected:
  ReadingKeepsAccessTimes() {
    volume_.text("/t/file", "content").text("/t/folder/inner", "content");
    setTimes();
  }

  void setTimes() const {
    for (const char* item : {"/t/file", "/t/folder", "/t/folder/inner", "/t"}) {
      const timespec times[2] = {{.tv_sec = kLongAgo, .tv_nsec = 0}, {.tv_sec = kLongAgo + 100, .tv_nsec = 0}};
      ::utimensat(AT_FDCWD, volume_.host(item).c_str(), times, 0);
    }
  }

  [[nodiscard]] std::int64_t accessTime(const char* item) const {
    struct stat facts {};
    ::stat(volume_.host(item).c_str(), &facts);
    return facts.st_atim.tv_sec;
  }

  void readAll(const FileManager& files) const {
    (void)files.readFileIfPossible(FileURL("/t/file"), 100);
    (void)files.contentsOrNone(FileURL("/t"), HiddenItems::include);
    (void)TreeSizer::total(files, FileURL("/t"), {});
  }

  /// Gives the volume to another user, who lets everyone read it. False if this user must not.
  [[nodiscard]] bool giveAwayAll() const {
    constexpr uid_t kSomeoneElse = 65534;
    namespace fs = std::filesystem;
    if (::geteuid() != 0) return false;
    bool isDone = true;
    const auto giveAway = [&](const fs::path& item) {
      isDone = ::chown(item.c_str(), kSomeoneElse, kSomeoneElse) == 0 && isDone;
      fs::permissions(item, fs::perms::all & ~fs::perms::group_write & ~fs::perms::others_write);
    };
    giveAway(volume_.root());
    for (const auto& entry : fs::recursive_directory_iterator(volume_.root())) giveAway(entry.path());
    setTimes();
    return isDone;
  }

  static constexpr std::int64_t kLongAgo = 1'000'000'000;
  MacVolume volume_;
};

TEST_F(ReadingKeepsAccessTimes, OfFilesAndFoldersAlike) {
  readAll(volume_.files());
  for (const char* item : {"/t/file", "/t/folder", "/t"}) EXPECT_EQ(accessTime(item), kLongAgo) << item;
}

// The system grants it for the user's own items alone.
TEST_F(ReadingKeepsAccessTimes, OrReadsNothingWhereThatIsAskedFor) {
  if (!giveAwayAll()) GTEST_SKIP() << "only root can give files to another user";
  const UnprivilegedUser user;
  const FileManager files = FileManager::mounted(volume_.root(), FileURL("/Users/ann"), AccessTimes::keepOrFail);
  if (files.accessTimes() == AccessTimes::keepIfPermitted) GTEST_SKIP() << "nothing here has an access time to keep";
  const auto report = std::make_shared<ReadReport>();
  EXPECT_EQ(files.reportingTo(report).readFileIfPossible(FileURL("/t/file"), 100), std::nullopt);
  EXPECT_EQ(report->count(UnreadableCause::permission), 1U);
  EXPECT_EQ(accessTime("/t/file"), kLongAgo);
  EXPECT_FALSE(files.mount().mayKeepAccessTimes);
}

TEST_F(ReadingKeepsAccessTimes, ReadingGoesOnWhereNoAccessTimesIsNotGranted) {
  if (!giveAwayAll()) GTEST_SKIP() << "only root can give files to another user";
  const UnprivilegedUser user;
  EXPECT_EQ(volume_.files().readFileIfPossible(FileURL("/t/file"), 100), "content");
}

}  // namespace
}  // namespace quarn::access_times_tests_linux
