#include <array>
#include <cerrno>
#include <cstdint>
#include <memory>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/files/ProcessPolicies.h"
#include "QuarnPlatform/files/ReadReport.h"
#include "QuarnPlatform/walking/TreeSizer.h"
#include "tests/macos/emulation/Emulation.h"
#include "tests/support/MacVolume.h"

namespace quarn::access_times_tests_darwin {
namespace {

using ::testing::ElementsAre;

// Items that were read last long ago and changed since, so that the next reading moves their access time.
class AccessTimesOfTheProcess : public ::testing::Test {
 protected:
  AccessTimesOfTheProcess() {
    volume_.text("/t/file", "content").folder("/t/folder");
    for (const char* item : {"/t/file", "/t/folder", "/t"}) {
      const timespec times[2] = {{.tv_sec = kLongAgo, .tv_nsec = 0}, {.tv_sec = kLongAgo + 100, .tv_nsec = 0}};
      ::utimensat(AT_FDCWD, volume_.host(item).c_str(), times, 0);
    }
  }
  ~AccessTimesOfTheProcess() override {
    ::setiopolicy_np(IOPOL_TYPE_VFS_ATIME_UPDATES, IOPOL_SCOPE_PROCESS, IOPOL_ATIME_UPDATES_DEFAULT);
  }
  AccessTimesOfTheProcess(const AccessTimesOfTheProcess&) = delete;
  AccessTimesOfTheProcess& operator=(const AccessTimesOfTheProcess&) = delete;

  [[nodiscard]] std::int64_t accessTime(const char* item) const {
    struct stat facts {};
    ::stat(volume_.host(item).c_str(), &facts);
    return facts.st_atime;
  }
  [[nodiscard]] FileManager forensic() const {
    return FileManager::mounted(volume_.root(), FileURL("/Users/ann"), AccessTimes::keepOrFail);
  }

  static constexpr std::int64_t kLongAgo = 1'000'000'000;
  MacVolume volume_;
};

TEST_F(AccessTimesOfTheProcess, AreKeptOnceItAskedForThat) {
  EXPECT_FALSE(volume_.files().mount().mayKeepAccessTimes);
  ASSERT_TRUE(keepAccessTimes());
  EXPECT_TRUE(volume_.files().mount().mayKeepAccessTimes);
  EXPECT_EQ(forensic().readFileIfPossible(FileURL("/t/file"), 100), "content");
  EXPECT_EQ(TreeSizer::total(forensic(), FileURL("/t"), {}).logicalBytes, 7);
  for (const char* item : {"/t/file", "/t/folder", "/t"}) EXPECT_EQ(accessTime(item), kLongAgo) << item;
}

TEST_F(AccessTimesOfTheProcess, NothingIsReadIfTheyMustBeKeptAndItDidNotAsk) {
  const FileManager files = forensic();
  ASSERT_EQ(files.accessTimes(), AccessTimes::keepOrFail) << "this file system keeps no access times";
  const auto report = std::make_shared<ReadReport>();
  EXPECT_EQ(files.reportingTo(report).readFileIfPossible(FileURL("/t/file"), 100), std::nullopt);
  EXPECT_THAT(report->items(), ElementsAre(UnreadableItem{"/t/file", UnreadableCause::permission, EACCES}));
  EXPECT_EQ(accessTime("/t/file"), kLongAgo);
}

TEST_F(AccessTimesOfTheProcess, AVolumeWhereNoneCanChangeIsReadThoughItDidNotAsk) {
  for (const auto flag : std::array<std::uint32_t, 2>{MNT_RDONLY, MNT_NOATIME}) {
    volume_.xattr("/", darwin::kMountAttribute, darwin::bytesOf(flag));
    const FileManager files = forensic();
    EXPECT_EQ(files.accessTimes(), AccessTimes::keepIfPermitted) << flag;
    EXPECT_EQ(files.readFileIfPossible(FileURL("/t/file"), 100), "content") << flag;
  }
}

}  // namespace
}  // namespace quarn::access_times_tests_darwin
