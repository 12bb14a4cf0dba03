#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/files/HostFile.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::host_file_tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class HostFile : public testing::Test {
 protected:
  [[nodiscard]] std::string at(const std::string& name) const { return folder_.root() + "/out/" + name; }
  static std::string read(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  [[nodiscard]] std::vector<std::string> names() const {
    std::vector<std::string> result;
    for (const auto& entry : std::filesystem::directory_iterator(folder_.root() + "/out")) {
      result.push_back(entry.path().filename().string());
    }
    std::sort(result.begin(), result.end());
    return result;
  }
  static int errorOf(const std::function<void()>& action, const std::string& path) {
    try {
      action();
    } catch (const FileError& error) {
      EXPECT_EQ(error.path(), path);
      EXPECT_EQ(error.operation(), "write");
      return error.error();
    }
    return 0;
  }
  static int errorOfWriting(const std::string& file, std::string_view content = "new") {
    return errorOf([&] { writeHostFile(file, content); }, file);
  }
  static int errorOfChecking(const std::string& file) {
    return errorOf([&] { checkHostFile(file); }, file);
  }
  static mode_t modeOf(const std::string& file) {
    struct stat facts {};
    ::stat(file.c_str(), &facts);
    return facts.st_mode & 07777;
  }

  MacVolume folder_ = MacVolume();
  MacVolume& made_ = folder_.folder("/out");
};

TEST_F(HostFile, WritesTheWholeContentAndNoOtherFile) {
  writeHostFile(at("page.html"), "content");
  EXPECT_EQ(read(at("page.html")), "content");
  EXPECT_THAT(names(), ElementsAre("page.html"));
}

TEST_F(HostFile, AnExistingFileIsReplacedAndKeepsItsPermissions) {
  folder_.text("/out/page.html", "a longer old content").mode("/out/page.html", 0600);
  writeHostFile(at("page.html"), "new");
  EXPECT_EQ(read(at("page.html")), "new");
  EXPECT_EQ(modeOf(at("page.html")), 0600U);
}

TEST_F(HostFile, ANewFileHasThePermissionsOfTheUmask) {
  const mode_t before = ::umask(027);
  writeHostFile(at("page.html"), "new");
  EXPECT_EQ(::umask(before), 027U);
  EXPECT_EQ(modeOf(at("page.html")), 0640U);
}

TEST_F(HostFile, NobodyElseReadsAFileThatIsNotFinished) {
  folder_.text("/out/page.html", "old").mode("/out/page.html", 0644);
  for (const char* name : {"page.html", "new.html"}) {
    ReplacedHostFile file(at(name));
    EXPECT_EQ(std::filesystem::path(file.temporary()).parent_path(), std::filesystem::path(at(name)).parent_path());
    EXPECT_EQ(modeOf(file.temporary()), 0600U);
    file.commit();
    EXPECT_FALSE(std::filesystem::exists(file.temporary()));
  }
  EXPECT_EQ(modeOf(at("page.html")), 0644U);
}

TEST_F(HostFile, OnlyARegularFileIsReplaced) {
  folder_.fifo("/out/pipe");
  EXPECT_EQ(errorOf([&] { const ReplacedHostFile file(at("pipe")); }, at("pipe")), EINVAL);
  EXPECT_THAT(names(), ElementsAre("pipe"));
}

TEST_F(HostFile, ALinksTargetIsWrittenAndTheLinkStays) {
  folder_.text("/out/real.html", "old").link("/out/page.html", "real.html");
  writeHostFile(at("page.html"), "new");
  EXPECT_EQ(read(at("real.html")), "new");
  EXPECT_TRUE(std::filesystem::is_symlink(at("page.html")));
  EXPECT_THAT(names(), ElementsAre("page.html", "real.html"));
}

TEST_F(HostFile, AMissingTargetOfALinkIsCreated) {
  folder_.link("/out/page.html", "further.html").link("/out/further.html", "../out/real.html");
  writeHostFile(at("page.html"), "new");
  EXPECT_EQ(read(at("real.html")), "new");
  EXPECT_TRUE(std::filesystem::is_symlink(at("page.html")));
  EXPECT_THAT(names(), ElementsAre("further.html", "page.html", "real.html"));
}

TEST_F(HostFile, AFolderIsRefusedByTheCheckAndStays) {
  folder_.folder("/out/page.html");
  for (const std::string& file : {at("page.html"), at("page.html/"), at("other/")}) {
    EXPECT_EQ(errorOfChecking(file), EISDIR) << file;
    EXPECT_EQ(errorOfWriting(file), EISDIR) << file;
  }
  EXPECT_THAT(names(), ElementsAre("page.html"));
}

TEST_F(HostFile, AMissingFolderIsRefusedByTheCheckAndNotCreated) {
  EXPECT_EQ(errorOfChecking(at("no/page.html")), ENOENT);
  EXPECT_EQ(errorOfWriting(at("no/page.html")), ENOENT);
  EXPECT_THAT(names(), IsEmpty());
}

TEST_F(HostFile, AFolderThatIsAFileIsRefused) {
  folder_.text("/out/file", "x");
  EXPECT_EQ(errorOfChecking(at("file/page.html")), ENOTDIR);
  EXPECT_EQ(read(at("file")), "x");
}

TEST_F(HostFile, AnUnwritableFolderIsRefusedByTheCheck) {
  folder_.mode("/out", 0555);
  const UnprivilegedUser user;
  EXPECT_EQ(errorOfChecking(at("page.html")), EACCES);
  EXPECT_EQ(errorOfWriting(at("page.html")), EACCES);
}

TEST_F(HostFile, CheckingWritesNothing) {
  folder_.text("/out/old.html", "old");
  checkHostFile(at("page.html"));
  checkHostFile(at("old.html"));
  EXPECT_THAT(names(), ElementsAre("old.html"));
  EXPECT_EQ(read(at("old.html")), "old");
}

TEST_F(HostFile, ADeviceIsWrittenToAndStaysADevice) {
  writeHostFile("/dev/null", "new");
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
  EXPECT_EQ(errorOfWriting("/dev/full"), ENOSPC);
  EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
}

/// Limits the file size of the process, to simulate a full disk.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    ::getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit{bytes, before_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  ~FileSizeLimit() { ::setrlimit(RLIMIT_FSIZE, &before_); }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit before_{};
};

TEST_F(HostFile, AFailedWriteLeavesTheOldFileAndNothingElse) {
  folder_.text("/out/page.html", "old");
  {
    const FileSizeLimit limit(1000);
    EXPECT_EQ(errorOfWriting(at("page.html"), std::string(5000, 'x')), EFBIG);
    EXPECT_EQ(errorOfWriting(at("other.html"), std::string(5000, 'x')), EFBIG);
  }
  EXPECT_EQ(read(at("page.html")), "old");
  EXPECT_THAT(names(), ElementsAre("page.html"));
}

TEST_F(HostFile, ResolvesLinksWhenItChecksForAFolder) {
  folder_.folder("/mac/Users").link("/out/way", "../mac/Users");
  const std::string volume = folder_.root() + "/mac";
  EXPECT_TRUE(liesInHostFolder(volume + "/page.html", volume));
  EXPECT_TRUE(liesInHostFolder(at("way/page.html"), volume));
  EXPECT_TRUE(liesInHostFolder(volume + "/Users/../page.html", volume + "/"));
  EXPECT_FALSE(liesInHostFolder(volume + "/../out/page.html", volume));
  folder_.link("/out/new", "further").link("/out/further", "../mac/Users/nothing").link("/out/loop", "loop");
  EXPECT_TRUE(liesInHostFolder(at("new"), volume)) << "writing through the link would make a file there";
  EXPECT_FALSE(liesInHostFolder(at("loop"), volume));
  EXPECT_FALSE(liesInHostFolder(volume + "2/page.html", volume));
}

TEST_F(HostFile, ASignalThatEndsTheProcessLeavesNothingBehind) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    const pid_t child = ::fork();
    if (child == 0) {
      // Tests that run in the background inherit ignored signals.
      ::signal(signal, SIG_DFL);
      const ReplacedHostFile unfinished(at("page.html"));
      for (;;) ::pause();
    }
    while (names().empty()) ::usleep(1000);
    ::kill(child, signal);
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << status;
    EXPECT_THAT(names(), IsEmpty());
  }
}

TEST_F(HostFile, AnIgnoredSignalStaysIgnoredWhileAFileIsWritten) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    const pid_t child = ::fork();
    if (child == 0) {
      ::signal(signal, SIG_IGN);
      ReplacedHostFile file(at("page.html"));
      ::raise(signal);
      file.commit();
      ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_THAT(names(), ElementsAre("page.html"));
  }
}

TEST_F(HostFile, OnlyRegularFilesOfALimitedSizeAreRead) {
  folder_.text("/out/file", "12345").fifo("/out/pipe").folder("/out/folder");
  EXPECT_EQ(readHostFile(at("file"), 5), "12345");
  const auto errorOfReading = [&](const std::string& name, std::size_t most) {
    try {
      (void)readHostFile(at(name), most);
    } catch (const FileError& error) {
      return error.error();
    }
    return 0;
  };
  EXPECT_EQ(errorOfReading("file", 4), EFBIG);
  EXPECT_EQ(errorOfReading("pipe", 5), EINVAL);
  EXPECT_EQ(errorOfReading("folder", 5), EINVAL);
  EXPECT_EQ(errorOfReading("nothing", 5), ENOENT);
}

}  // namespace
}  // namespace quarn::host_file_tests
