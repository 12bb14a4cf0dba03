#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <linux/filter.h>
#include <linux/fs.h>
#include <linux/landlock.h>
#include <linux/seccomp.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "QuarnPlatform/base/FileDescriptor.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/files/OpenHow_linux.h"
#include "QuarnPlatform/walking/TreeSizer.h"
#include "quarn/commands/CallFilter_linux.h"
#include "quarn/commands/Sandbox.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"
#include "tests/support/Sanitizers.h"

namespace quarn::sandbox_tests_linux {
namespace {

/// Runs a function in a process of its own. Returns what it returns, which is below 254, or 254 if a signal ends it.
int inChild(const std::function<int()>& function) {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(function());
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 254;
}

/// 0, the errno of a call that fails, or 252 if it says none.
int errorOfCall(const std::function<bool()>& call) {
  errno = 0;
  if (call()) return 0;
  return errno == 0 ? 252 : errno;
}

/// Which of its confinements a process enters: 1 files, 2 calls.
int confinements() {
  return inChild([] {
    const SandboxState state = enterSandbox({});
    return (state.filesAreConfined ? 1 : 0) + (state.callsAreConfined ? 2 : 0);
  });
}

bool hasLandlock() { return ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) >= 1; }

// Others are skipped where files cannot be confined. This one fails if only our code does not confine them.
TEST(EnteringTheSandbox, ConfinesCallsAlwaysAndFilesWhereTheSystemCan) {
  EXPECT_EQ(confinements(), kIsSanitized ? 0 : hasLandlock() ? 3 : 2);
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
  }
  void SetUp() override {
    if (kIsSanitized) GTEST_SKIP() << "a sanitizer needs a process that is not confined";
    if (!hasLandlock()) GTEST_SKIP() << "this system cannot confine files";
  }
  /// The errno of a call in a process that has entered the sandbox, or 0.
  [[nodiscard]] int errorOf(const std::function<bool()>& call) const {
    return inChild([&] {
      enterSandbox(rules_);
      return errorOfCall(call);
    });
  }

  MacVolume inspected_;
  MacVolume other_;
  MacVolume output_;
  SandboxRules rules_{.readable = {inspected_.root(), "/usr/lib", "/nowhere"}, .writable = {output_.root()}};
};

TEST_F(Sandbox, TheVolumeCanBeReadAndNothingElse) {
  EXPECT_EQ(errorOf([&] { return opens(inspected_.host("/folder/file"), O_RDONLY); }), 0);
  EXPECT_EQ(errorOf([&] { return opens(inspected_.root(), O_RDONLY | O_DIRECTORY); }), 0);
  EXPECT_EQ(errorOf([&] { return opens(other_.host("/file"), O_RDONLY); }), EACCES);
  EXPECT_EQ(errorOf([&] { return opens("/etc/passwd", O_RDONLY); }), EACCES);
}

// The system says which names there are. Where openat2 cannot be confined, Landlock refuses that as well.
TEST_F(Sandbox, NothingInAFolderElsewhereCanBeOpened) {
  EXPECT_EQ(errorOf([&] {
              const FileDescriptor folder(::open(other_.root().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
              return folder.isOpen() && ::openat(folder.get(), "file", O_RDONLY | O_CLOEXEC) >= 0;
            }),
            EACCES);
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

TEST_F(Sandbox, OpeningAFileCannotEmptyIt) {
  const std::string file = inspected_.host("/file");
  open_how emptying{.flags = O_RDONLY | O_TRUNC | O_CLOEXEC, .mode = 0, .resolve = 0};
  const std::vector<std::function<bool()>> ways{
      [&] { return opens(file, O_RDONLY | O_TRUNC); },
      [&] { return ::openat(AT_FDCWD, file.c_str(), O_RDONLY | O_TRUNC | O_CLOEXEC) >= 0; },
      [&] { return ::syscall(SYS_open, file.c_str(), O_RDONLY | O_TRUNC | O_CLOEXEC) >= 0; },
      [&] { return ::syscall(SYS_openat2, AT_FDCWD, file.c_str(), &emptying, sizeof emptying) >= 0; }};
  for (std::size_t i = 0; i < ways.size(); ++i) {
    EXPECT_THAT(errorOf(ways[i]), testing::AnyOf(EPERM, EACCES)) << "way " << i;
    EXPECT_EQ(std::filesystem::file_size(file), std::string("inside").size()) << "way " << i;
  }
}

TEST_F(Sandbox, OnlyAProcessThatWritesFilesChangesTheModeOfAnOpenOne) {
  const FileDescriptor file(::open(inspected_.host("/file").c_str(), O_RDONLY | O_CLOEXEC));
  const auto changesMode = [&] { return ::fchmod(file.get(), 0600) == 0; };
  EXPECT_EQ(errorOf(changesMode), 0);
  rules_.writable.clear();
  EXPECT_EQ(errorOf(changesMode), EPERM);
}

TEST_F(Sandbox, TheProcessCannotWriteItsOwnMemoryAsAFile) {
  EXPECT_EQ(errorOf([] { return opens("/proc/self/mem", O_RDWR); }), EACCES);
}

/// The errno of a call in a process with the filter alone, or 0. Works on every system, and with sanitizers.
int errorBehindFilter(const std::function<bool()>& call) {
  return inChild([&] {
    std::vector<sock_filter> lines = callFilter({.opening = OpeningCalls::cannotTruncate});
    const sock_fprog program{static_cast<unsigned short>(lines.size()), lines.data()};
    const bool isFiltered = ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
                            ::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, 0, &program) == 0;
    return isFiltered ? errorOfCall(call) : 253;
  });
}

TEST(FilteredCalls, Openat2TakesOurArgumentsAndNoCopiesOfThem) {
  MacVolume volume;
  volume.text("/file", "inside").folder("/folder");
  const std::string& root = volume.root();
  for (const open_how& how : openHows()) {
    const bool listsOrLooks = (how.flags & (O_PATH | O_DIRECTORY)) != 0;
    const char* name = listsOrLooks ? "folder" : "file";
    const auto opensWith = [&](const open_how* argument) {
      return errorBehindFilter([&] {
        const FileDescriptor folder(::open(root.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
        return ::syscall(SYS_openat2, folder.get(), name, argument, sizeof *argument) >= 0;
      });
    };
    const open_how copy = how;
    EXPECT_EQ(opensWith(&how), 0) << how.flags;
    EXPECT_EQ(opensWith(&copy), EPERM) << how.flags;
  }
  EXPECT_EQ(errorBehindFilter([&] {
              const auto* inside = reinterpret_cast<const std::byte*>(openHows().data()) + sizeof(std::uint64_t);
              return ::syscall(SYS_openat2, AT_FDCWD, root.c_str(), inside, sizeof(open_how)) >= 0;
            }),
            EPERM);
}

// A look-up that openat2 may not make would walk by components, and nobody would notice.
TEST(FilteredCalls, TheVolumeIsLookedUpByOpenat2) {
  MacVolume volume;
  volume.text("/file", "inside").text("/folder/file", "inside");
  const FileManager files = FileManager::mounted(volume.root(), FileURL("/"));
  const auto refusesOpenat = [] {
    sock_filter lines[]{{BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, nr)},
                        {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, SYS_openat},
                        {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ERRNO | EIO},
                        {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW}};
    const sock_fprog program{std::size(lines), lines};
    return ::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, 0, &program) == 0;
  };
  EXPECT_EQ(errorBehindFilter([&] {
              if (!refusesOpenat()) return false;
              return files.facts(FileURL("/file"), Links::follow) &&
                     files.facts(FileURL("/file"), Links::doNotFollow) && files.realPath(FileURL("/folder/file")) &&
                     files.openDirectory(FileURL("/folder"), Links::follow).isOpen() &&
                     TreeSizer::total(files, FileURL("/"), {.threads = 1}).logicalBytes == 12;
            }),
            0);
}

TEST(FilteredCalls, RequestsThatChangeItemsThroughADescriptorAreRefused) {
  MacVolume volume;
  volume.text("/file", "inside");
  const FileDescriptor file(::open(volume.host("/file").c_str(), O_RDONLY | O_CLOEXEC));
  int flags = FS_NODUMP_FL;
  EXPECT_EQ(errorBehindFilter([&] { return ::ioctl(file.get(), FS_IOC_SETFLAGS, &flags) == 0; }), ENOTTY);
}

TEST(FilteredCalls, ATerminalCanBeAskedForItsSizeAndNotTypedInto) {
  const FileDescriptor terminal(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
  ASSERT_TRUE(terminal.isOpen());
  winsize size{};
  const char key = 'x';
  EXPECT_EQ(errorBehindFilter([&] { return ::ioctl(terminal.get(), TIOCGWINSZ, &size) == 0; }), 0);
  EXPECT_EQ(errorBehindFilter([&] { return ::ioctl(terminal.get(), TIOCSTI, &key) == 0; }), EPERM);
}

TEST(FilteredCalls, NewerCallsThatChangeModesAttributesAndMountsAreRefused) {
  for (const long call : {428L, 429L, 430L, 431L, 432L, 433L, 442L, 452L, 463L, 466L, 469L}) {
    EXPECT_EQ(errorBehindFilter([&] { return ::syscall(call, -1, "", 0, 0, 0) >= 0; }), EPERM) << call;
  }
}

TEST(FilteredCalls, ProgramsProcessesAndTheNetworkAreRefused) {
  EXPECT_EQ(errorBehindFilter([] { return ::execl("/bin/true", "true", nullptr) == 0; }), EPERM);
  EXPECT_EQ(errorBehindFilter([] { return ::fork() >= 0; }), EPERM);
  EXPECT_EQ(errorBehindFilter([] { return ::socket(AF_INET, SOCK_STREAM, 0) >= 0; }), EPERM);
  EXPECT_EQ(errorBehindFilter([] { return ::socket(AF_UNIX, SOCK_STREAM, 0) >= 0; }), EPERM);
}

TEST(FilteredCalls, ThreadsCanBeStarted) {
  EXPECT_EQ(errorBehindFilter([] {
              pthread_t thread{};
              const auto nothing = [](void*) -> void* { return nullptr; };
              return ::pthread_create(&thread, nullptr, nothing, nullptr) == 0 && ::pthread_join(thread, nullptr) == 0;
            }),
            0);
}

// Only an older system may refuse to seal it.
TEST(SealedMemory, CannotBeMadeWritableOrReplaced) {
  const int sealing = inChild([] { return errorOfCall(sealOpenHows); });
  ASSERT_THAT(sealing, testing::AnyOf(0, ENOSYS));
  if (sealing == ENOSYS) return;
  const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  void* start = reinterpret_cast<void*>(reinterpret_cast<std::uintptr_t>(openHows().data()) / page * page);
  const std::vector<std::function<bool()>> changes{
      [&] { return ::mprotect(start, page, PROT_READ | PROT_WRITE) == 0; }, [&] { return ::munmap(start, page) == 0; },
      [&] {
        constexpr int kReplacing = MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED;
        return ::mmap(start, page, PROT_READ | PROT_WRITE, kReplacing, -1, 0) != MAP_FAILED;
      },
      [&] { return ::mremap(start, page, 2 * page, MREMAP_MAYMOVE) != MAP_FAILED; }};
  for (std::size_t i = 0; i < changes.size(); ++i) {
    const int error = inChild([&] {
      sealOpenHows();
      return errorOfCall(changes[i]);
    });
    EXPECT_EQ(error, EPERM) << "change " << i;
  }
}

TEST_F(Sandbox, TheOutputsFolderTakesAFileThatReplacesAnother) {
  EXPECT_EQ(errorOf([&] {
              return opens(output_.host("/new"), O_RDWR | O_CREAT | O_EXCL) &&
                     std::rename(output_.host("/new").c_str(), output_.host("/old").c_str()) == 0 &&
                     ::unlink(output_.host("/old").c_str()) == 0;
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
