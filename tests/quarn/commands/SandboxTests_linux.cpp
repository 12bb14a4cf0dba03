#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "quarn/commands/Sandbox.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"

namespace quarn::sandbox_tests_linux {
namespace {

/// What a call gives in a process of its own that has entered the sandbox: 0 or the errno. -1 when the system cannot
/// confine.
int confined(const SandboxRules& rules, const std::function<bool()>& call) {
  const pid_t child = ::fork();
  if (child == 0) {
    const SandboxState state = enterSandbox(rules);
    if (!state.filesAreConfined || !state.callsAreConfined) ::_exit(255);
    errno = 0;
    ::_exit(call() ? 0 : errno);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  const int code = WIFEXITED(status) ? WEXITSTATUS(status) : 254;
  return code == 255 ? -1 : code;
}

bool opens(const std::string& path, int flags) {
  const int descriptor = ::open(path.c_str(), flags | O_CLOEXEC, 0644);
  return descriptor >= 0;
}

class Sandbox : public testing::Test {
 protected:
  Sandbox() {
    inspected_.text("/file", "inside").text("/folder/file", "inside");
    other_.text("/file", "outside");
    output_.text("/old", "old");
    if (confined(rules_, [] { return true; }) == -1) isAvailable_ = false;
  }
  void SetUp() override {
    if (!isAvailable_) GTEST_SKIP() << "this system cannot confine a process, or a sanitizer needs it not to";
  }
  [[nodiscard]] int errorOf(const std::function<bool()>& call) const { return confined(rules_, call); }

  MacVolume inspected_;
  MacVolume other_;
  MacVolume output_;
  SandboxRules rules_{.readable = {inspected_.root(), "/usr/lib", "/nowhere"}, .writable = {output_.root()}};
  bool isAvailable_ = true;
};

TEST_F(Sandbox, TheVolumeCanBeReadAndNothingElse) {
  EXPECT_EQ(errorOf([&] { return opens(inspected_.host("/folder/file"), O_RDONLY); }), 0);
  EXPECT_EQ(errorOf([&] { return opens(inspected_.root(), O_RDONLY | O_DIRECTORY); }), 0);
  EXPECT_EQ(errorOf([&] { return opens(other_.host("/file"), O_RDONLY); }), EACCES);
  EXPECT_EQ(errorOf([&] { return opens("/etc/passwd", O_RDONLY); }), EACCES);
  EXPECT_EQ(errorOf([&] { return opens("/", O_RDONLY | O_DIRECTORY); }), EACCES);
}

TEST_F(Sandbox, TheVolumeCannotBeWritten) {
  EXPECT_EQ(errorOf([&] { return opens(inspected_.host("/file"), O_WRONLY); }), EACCES);
  EXPECT_EQ(errorOf([&] { return opens(inspected_.host("/new"), O_WRONLY | O_CREAT); }), EACCES);
  EXPECT_EQ(errorOf([&] { return ::unlink(inspected_.host("/file").c_str()) == 0; }), EACCES);
  EXPECT_EQ(errorOf([&] { return ::truncate(inspected_.host("/file").c_str(), 0) == 0; }), EPERM);
  EXPECT_EQ(errorOf([&] { return ::chmod(inspected_.host("/file").c_str(), 0) == 0; }), EPERM);
  EXPECT_EQ(errorOf([&] { return ::mkdir(inspected_.host("/new").c_str(), 0755) == 0; }), EPERM);
  EXPECT_EQ(errorOf([&] { return ::link(inspected_.host("/file").c_str(), output_.host("/x").c_str()) == 0; }), EPERM);
}

TEST_F(Sandbox, TheOutputsFolderTakesAFileThatReplacesAnother) {
  EXPECT_EQ(errorOf([&] {
              return opens(output_.host("/new"), O_RDWR | O_CREAT | O_EXCL) &&
                     std::rename(output_.host("/new").c_str(), output_.host("/old").c_str()) == 0 &&
                     ::unlink(output_.host("/old").c_str()) == 0;
            }),
            0);
}

TEST_F(Sandbox, ProgramsProcessesAndTheNetworkAreRefused) {
  EXPECT_EQ(errorOf([] { return ::execl("/bin/true", "true", nullptr) == 0; }), EPERM);
  EXPECT_EQ(errorOf([] { return ::fork() >= 0; }), EPERM);
  EXPECT_EQ(errorOf([] { return ::socket(AF_INET, SOCK_STREAM, 0) >= 0; }), EPERM);
  EXPECT_EQ(errorOf([] { return ::socket(AF_UNIX, SOCK_STREAM, 0) >= 0; }), EPERM);
}

TEST_F(Sandbox, ThreadsCanBeStarted) {
  EXPECT_EQ(errorOf([] {
              pthread_t thread{};
              const auto nothing = [](void*) -> void* { return nullptr; };
              return ::pthread_create(&thread, nullptr, nothing, nullptr) == 0 && ::pthread_join(thread, nullptr) == 0;
            }),
            0);
}

TEST_F(Sandbox, RequestsWriteScansOnlyInTheFolderOfScans) {
  output_.folder("/scans");
  const auto answerToWriting = [&](const std::string& file) {
    const std::string request =
        R"({"jsonrpc":"2.0","id":1,"method":"ScanStore.write","params":{"file":")" + file + "\"}}\n";
    return runQuarn({"--volume", inspected_.root(), "rpc", "--scans", output_.host("/scans")}, request).out;
  };
  EXPECT_THAT(answerToWriting(output_.host("/scans/scan")), testing::HasSubstr("\"isComplete\":true"));
  EXPECT_THAT(answerToWriting(output_.host("/scan")), testing::HasSubstr("EACCES"));
  EXPECT_THAT(answerToWriting(inspected_.host("/scan")), testing::HasSubstr("EROFS"));
  EXPECT_FALSE(std::filesystem::exists(output_.host("/scan")));
}

TEST_F(Sandbox, EveryCommandGivesTheSameWithItAndWithout) {
  const std::vector<std::vector<std::string>> commands{{"apps"},
                                                       {"inspect", "Lumen Notes"},
                                                       {"storage", "documents"},
                                                       {"top"},
                                                       {"jobs"},
                                                       {"kexts"},
                                                       {"cloud"},
                                                       {"vendors"},
                                                       {"receipts"},
                                                       {"report", "Lumen Notes", "-o", "/dev/null"}};
  for (std::vector<std::string> words : commands) {
    const CommandRun with = runOnSample(words);
    words.emplace_back("--no-sandbox");
    const CommandRun without = runOnSample(words);
    EXPECT_EQ(with.exitCode, without.exitCode) << words.front() << with.err;
    EXPECT_EQ(with.out, without.out) << words.front();
  }
}

}  // namespace
}  // namespace quarn::sandbox_tests_linux
