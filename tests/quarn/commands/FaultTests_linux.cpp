#include <cerrno>
#include <cstdint>
#include <filesystem>

#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"

namespace quarn {
namespace {

using testing::HasSubstr;
using Words = std::vector<std::string>;

/// The commands that read a volume in different ways.
const std::vector<Words>& commands() {
  static const std::vector<Words> all{
      {"apps"},  {"inspect", "Lumen Notes"}, {"receipts"}, {"jobs"},
      {"kexts"}, {"storage", "--ndjson"},    {"top"},      {"report", "Lumen Notes", "-o", "/dev/null"}};
  return all;
}

/// Runs the command on the sample volume with the shim preloaded; `fault` as the shim takes it.
class FaultyRun {
 public:
  // The loader separates the names in LD_PRELOAD by spaces, and the build may be in a folder with spaces in its name.
  FaultyRun() { std::filesystem::create_symlink(QUARN_FAULT_SHIM, shim_); }

  CommandRun operator()(Words words, const std::string& fault) {
    std::filesystem::remove(mark_);
    words.insert(words.begin(), {"--volume", sampleFolder(), "--home", "/Users/ann", "--no-sandbox"});
    return runQuarn(words, "",
                    {"LD_PRELOAD=" + shim_, "QUARN_FAULT=" + fault, "QUARN_FAULT_MARK=" + mark_,
                     "ASAN_OPTIONS=verify_asan_link_order=0"});
  }
  /// How many calls failed in the last run.
  [[nodiscard]] std::uintmax_t failures() const {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(mark_, error);
    return error ? 0 : size;
  }

 private:
  MacVolume folder_;
  std::string mark_ = folder_.root() + "/mark";
  std::string shim_ = folder_.root() + "/faults.so";
};

struct Fault {
  std::string call;
  int error;
};

/// Every errno with which a disk or the system fails, for each call that reads.
std::vector<Fault> faults() {
  std::vector<Fault> all;
  for (const char* call : {"openat2", "open", "getdents64", "statx", "pread"}) all.push_back({call, EIO});
  for (const int error : {EMFILE, ENFILE, ENOMEM, ESTALE, ENXIO, EUCLEAN}) {
    all.push_back({"openat2", error});
    all.push_back({"open", error});
  }
  return all;
}

std::string faultText(const Fault& fault, const std::string& when) {
  return fault.call + ":" + std::to_string(fault.error) + ":" + when;
}

std::string textOf(const Words& words) {
  std::string text;
  for (const std::string& word : words) text += word + " ";
  return text;
}

// Either nothing was lost, or the command said that something was.
bool isToldOrWhole(const CommandRun& run, const CommandRun& whole) {
  if (run.exitCode == 0) return run.out == whole.out;
  return (run.exitCode == 1 || run.exitCode == 3 || run.exitCode == 4) && !run.err.empty();
}

TEST(FailingDisk, EveryCommandThatLosesSomethingSaysSo) {
  FaultyRun faulty;
  for (const Words& words : commands()) {
    const CommandRun whole = faulty(words, "pread:5:n1000000000");
    ASSERT_EQ(whole.exitCode, 0) << textOf(words) << whole.err;
    for (const Fault& fault : faults()) {
      SCOPED_TRACE(textOf(words) + faultText(fault, "e1"));
      const CommandRun run = faulty(words, faultText(fault, "e1"));
      if (faulty.failures() == 0) {
        EXPECT_EQ(run.out, whole.out);
        continue;
      }
      EXPECT_TRUE(isToldOrWhole(run, whole)) << run.exitCode << run.out << run.err;
      if (run.exitCode == 4) {
        EXPECT_THAT(run.err, HasSubstr("could not be read"));
      }
    }
  }
}

TEST(FailingDisk, TheItemAndTheErrorAreNamed) {
  FaultyRun faulty;
  const CommandRun run = faulty({"inspect", "--json", "Lumen Notes"}, "pread:5:e1");
  const auto document = nlohmann::json::parse(run.out);
  const auto& unreadable = document["unreadable"];
  ASSERT_GT(unreadable["causes"]["other"], 0) << run.out;
  EXPECT_EQ(unreadable["items"][0]["name"], "EIO");
  const CommandRun verbose = faulty({"--verbose", "receipts"}, "pread:5:e1");
  EXPECT_THAT(verbose.err, HasSubstr("other: /private/var/db/receipts/"));
  EXPECT_THAT(verbose.err, HasSubstr("Input/output error"));
}

TEST(FailingDisk, AnInterruptedCallIsMadeAgain) {
  FaultyRun faulty;
  for (const Words& words : commands()) {
    const CommandRun whole = faulty(words, "pread:5:n1000000000");
    for (const char* call : {"openat2", "open", "getdents64", "statx", "pread"}) {
      SCOPED_TRACE(textOf(words) + call);
      const CommandRun run = faulty(words, faultText({call, EINTR}, "e2"));
      EXPECT_EQ(run.exitCode, 0) << run.err;
      EXPECT_EQ(run.out, whole.out);
    }
  }
}

// One failure at a time, further and further into the run, until a run comes through untouched. The steps grow, so that
// a long run does not take thousands of runs; `make hostile` takes smaller ones.
TEST(FailingDisk, EachSingleFailureIsSurvivedAndSaid) {
  FaultyRun faulty;
  const std::vector<Words> sweeps{
      {"inspect", "Lumen Notes"}, {"storage", "--ndjson"}, {"top"}, {"report", "Lumen Notes", "-o", "/dev/null"}};
  const std::vector<Fault> single{{"openat2", EIO}, {"open", EIO},  {"getdents64", EIO},
                                  {"statx", EIO},   {"pread", EIO}, {"pthread_create", EAGAIN}};
  for (const Words& words : sweeps) {
    const CommandRun whole = faulty(words, "pread:5:n1000000000");
    for (const Fault& fault : single) {
      for (std::uint64_t n = 1;; n += n / 2 + 1) {
        SCOPED_TRACE(textOf(words) + faultText(fault, "n" + std::to_string(n)));
        const CommandRun run = faulty(words, faultText(fault, "n" + std::to_string(n)));
        EXPECT_TRUE(isToldOrWhole(run, whole)) << run.exitCode << "\n" << run.out << run.err;
        if (faulty.failures() == 0) break;
      }
    }
  }
}

// A descriptor limit must not change a result silently.
TEST(FewDescriptors, AResultIsWholeOrSaidToBeIncomplete) {
  for (const Words& words : commands()) {
    const CommandRun whole = runOnSample(words);
    for (int limit = 4; limit <= 20; ++limit) {
      SCOPED_TRACE(textOf(words) + std::to_string(limit));
      Words limited{"-c",           "ulimit -n " + std::to_string(limit) + " && exec \"$0\" \"$@\"",
                    quarnProgram(), "--volume",
                    sampleFolder(), "--home",
                    "/Users/ann"};
      limited.insert(limited.end(), words.begin(), words.end());
      const CommandRun run = runProgram("/bin/sh", limited);
      EXPECT_TRUE(run.exitCode != 0 || run.out == whole.out) << run.out;
      EXPECT_LT(run.exitCode, 128) << run.err;
      EXPECT_TRUE(limit < 20 || run.exitCode == 0) << run.err;
    }
  }
}

}  // namespace
}  // namespace quarn
