#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "QuarnCore/scans/Scan.h"
#include "QuarnPlatform/json/JSONLibrary.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/quarn/commands/FaultShim.h"
#include "tests/support/MacVolume.h"
#include "tests/support/Sanitizers.h"

namespace quarn::fault_tests_linux {
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

/// Runs the command on the sample volume; `fault` as the shim takes it.
class FaultyRun {
 public:
  CommandRun operator()(const Words& words, const std::string& fault) {
    return shim_.run(sampleFolder(), words, fault);
  }
  /// How many calls failed in the last run.
  [[nodiscard]] std::uintmax_t failures() const { return shim_.marks(); }

 private:
  FaultShim shim_;
};

struct Fault {
  std::string call;
  int error;
};

/// Every errno with which a disk or the system fails, for each call that reads.
std::vector<Fault> faults() {
  std::vector<Fault> all;
  for (const char* call : {"openat2", "open", "getdents64", "fstatat", "pread", "xattr"}) all.push_back({call, EIO});
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
  std::map<std::string, int> hits;
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
      ++hits[textOf(words)];
      ++hits[fault.call];
      EXPECT_TRUE(isToldOrWhole(run, whole)) << run.exitCode << run.out << run.err;
      if (run.exitCode == 4) {
        EXPECT_THAT(run.err, HasSubstr("could not be read"));
      }
    }
    EXPECT_GE(hits[textOf(words)], 10) << textOf(words);
  }
  for (const Fault& fault : faults()) EXPECT_GT(hits[fault.call], 0) << fault.call;
}

TEST(FailingDisk, WithoutThreadsEverythingIsRead) {
  FaultyRun faulty;
  for (const Words& words : commands()) {
    const CommandRun whole = faulty(words, "pread:5:n1000000000");
    const CommandRun run = faulty(words, "pthread_create:11:e1");
    EXPECT_EQ(run.exitCode, 0) << textOf(words) << run.err;
    EXPECT_EQ(run.out, whole.out);
  }
}

TEST(FailingDisk, AFolderThatMayBeAPackageIsUnread) {
  FaultyRun faulty;
  for (const Words& words : {Words{"storage", "--ndjson"}, Words{"top"}}) {
    const CommandRun run = faulty(words, "xattr:5:e1");
    EXPECT_EQ(run.exitCode, 4) << run.err;
    EXPECT_THAT(run.err, HasSubstr("could not be read"));
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
    std::uintmax_t hits = 0;
    const CommandRun whole = faulty(words, "pread:5:n1000000000");
    for (const char* call : {"openat2", "open", "getdents64", "fstatat", "pread"}) {
      SCOPED_TRACE(textOf(words) + call);
      const CommandRun run = faulty(words, faultText({call, EINTR}, "e2"));
      EXPECT_EQ(run.exitCode, 0) << run.err;
      EXPECT_EQ(run.out, whole.out);
      hits += faulty.failures();
    }
    EXPECT_GT(hits, 20u) << textOf(words);
  }
}

/// The commands that read most, for sweeps.
const std::vector<Words>& sweeps() {
  static const std::vector<Words> all{
      {"inspect", "Lumen Notes"}, {"storage", "--ndjson"}, {"top"}, {"report", "Lumen Notes", "-o", "/dev/null"}};
  return all;
}

/// Lets one call fail, further and further into the run, until a run comes through untouched. The steps grow, because a
/// long run makes 100,000 calls; `make hostile` takes smaller steps. Returns the number of runs with a failure.
int sweep(FaultyRun& faulty, const Words& words, const Fault& fault) {
  const CommandRun whole = faulty(words, "pread:5:n1000000000");
  int hits = 0;
  for (std::uint64_t n = 1;; n *= 2, ++hits) {
    SCOPED_TRACE(textOf(words) + faultText(fault, "n" + std::to_string(n)));
    const CommandRun run = faulty(words, faultText(fault, "n" + std::to_string(n)));
    EXPECT_TRUE(isToldOrWhole(run, whole)) << run.exitCode << "\n" << run.out << run.err;
    if (faulty.failures() == 0) return hits;
  }
}

TEST(FailingDisk, EachSingleFailureIsSurvivedAndSaid) {
  FaultyRun faulty;
  for (const Words& words : sweeps()) {
    for (const Fault& fault : {Fault{"openat2", EIO},
                               {"open", EIO},
                               {"getdents64", EIO},
                               {"fstatat", EIO},
                               {"pread", EIO},
                               {"xattr", EIO},
                               {"pthread_create", EAGAIN}}) {
      const bool readsFiles = words.front() != "top";
      EXPECT_GT(sweep(faulty, words, fault), fault.call == "pread" && !readsFiles ? -1 : 0)
          << textOf(words) << fault.call;
    }
  }
}

// The walk that sizes a package opens it itself. Few calls are made, so each of them can fail once.
TEST(FailingDisk, APackageThatCannotBeOpenedForItsSizeIsSaid) {
  MacVolume volume;
  volume.file("~/Documents/Drawings.app/Contents/drawing", 5000).file("~/Documents/letter", 100);
  FaultShim shim;
  const auto top = [&](const std::string& when) { return shim.run(volume.root(), {"top"}, "openat2:5:" + when); };
  const CommandRun whole = top("n1000000000");
  ASSERT_EQ(whole.exitCode, 0) << whole.err;
  EXPECT_THAT(whole.out, HasSubstr("Drawings.app"));
  std::uint64_t failures = 0;
  for (std::uint64_t n = 1;; ++n) {
    const CommandRun run = top("n" + std::to_string(n));
    EXPECT_TRUE(isToldOrWhole(run, whole)) << n << "\n" << run.out << run.err;
    if (shim.marks() == 0) break;
    ++failures;
  }
  EXPECT_GT(failures, 5U);
}

/// Scans the sample volume while calls fail.
class FaultyScan {
 public:
  FaultyScan() { folder_.folder("/scans"); }

  CommandRun operator()(const std::string& fault) { return faulty_({"scan", "-o", file()}, fault); }
  [[nodiscard]] std::uintmax_t failures() const { return faulty_.failures(); }
  [[nodiscard]] std::string file() const { return folder_.host("/scans/scan"); }

  /// What the file holds, without the moments of its making.
  [[nodiscard]] ScanContent content() const {
    const Scan scan = Scan::open(file());
    scan.readAll();
    ScanContent content = scan.content();
    content.facts.startedAt = content.facts.finishedAt = {};
    content.facts.volume.freeBytes = 0;
    for (ScannedApp& app : content.apps) app.inspection.inspectedAt = {};
    return content;
  }
  [[nodiscard]] std::ptrdiff_t filesBeside() const {
    const std::filesystem::directory_iterator entries(folder_.host("/scans"));
    return std::distance(begin(entries), end(entries)) - 1;
  }

 private:
  FaultyRun faulty_;
  MacVolume folder_;
};

// Exit code 0 means that everything is in the file, 4 that the file says what is missing, and any other that the old
// file is still there.
void expectWholeOrSaid(FaultyScan& scan, const CommandRun& run, const ScanContent& whole) {
  EXPECT_TRUE(run.exitCode == 0 || run.exitCode == 1 || run.exitCode == 3 || run.exitCode == 4) << run.exitCode;
  EXPECT_TRUE(run.exitCode == 0 || !run.err.empty());
  EXPECT_EQ(scan.filesBeside(), 0) << "a temporary file is left";
  if (run.exitCode == 4) {
    EXPECT_FALSE(scan.content().unreadable.empty()) << run.err;
  } else {
    EXPECT_EQ(scan.content(), whole) << run.err;
  }
}

TEST(FailingDisk, AScanIsWholeOrSaysWhatItLost) {
  FaultyScan scan;
  ASSERT_EQ(scan("pread:5:n1000000000").exitCode, 0);
  const ScanContent whole = scan.content();
  std::map<std::string, int> hits;
  std::vector<Fault> all = faults();
  for (const Fault& fault : {Fault{"pthread_create", EAGAIN}, {"pwrite", ENOSPC}, {"pwrite", EIO}, {"fsync", EIO}}) {
    all.push_back(fault);
  }
  if (!kIsSanitized) all.push_back({"malloc", ENOMEM});
  for (const Fault& fault : all) {
    for (std::uint64_t n = 1;; n *= 4) {
      SCOPED_TRACE(faultText(fault, "n" + std::to_string(n)));
      const CommandRun run = scan(faultText(fault, "n" + std::to_string(n)));
      const bool isTouched = scan.failures() > 0;
      expectWholeOrSaid(scan, run, whole);
      if (!isTouched) break;
      // The next run must find a whole file.
      if (run.exitCode == 4) {
        ASSERT_EQ(scan("pread:5:n1000000000").exitCode, 0);
      }
      ++hits[fault.call];
    }
  }
  for (const Fault& fault : all) EXPECT_GT(hits[fault.call], 0) << fault.call;
}

// The file is synced before it gets its name, and the folder after. Not every file system can sync a folder.
TEST(FailingDisk, AScanThatCannotBeSyncedDoesNotReplaceTheOldOne) {
  FaultyScan scan;
  ASSERT_EQ(scan("pread:5:n1000000000").exitCode, 0);
  const auto before = std::filesystem::last_write_time(scan.file());
  const CommandRun unsynced = scan("fsync:5:n1");
  EXPECT_EQ(unsynced.exitCode, 1);
  EXPECT_THAT(unsynced.err, testing::HasSubstr("Input/output error"));
  EXPECT_EQ(std::filesystem::last_write_time(scan.file()), before);
  EXPECT_EQ(scan.filesBeside(), 0);
  EXPECT_EQ(scan("fsync:5:n2").exitCode, 0);
  EXPECT_EQ(scan.failures(), 1U) << "the folder was not synced";
  EXPECT_NE(std::filesystem::last_write_time(scan.file()), before);
}

TEST(FailingDisk, MissingMemoryIsAnErrorOfTheOperation) {
  if (kIsSanitized) GTEST_SKIP() << "sanitizers replace malloc";
  FaultyRun faulty;
  for (const Words& words : sweeps()) EXPECT_GT(sweep(faulty, words, {"malloc", ENOMEM}), 10) << textOf(words);
}

CommandRun runLimitedTo(int mebibytes, const Words& words) {
  Words limited{"-c", "ulimit -v " + std::to_string(mebibytes * 1024) + " && exec \"$0\" \"$@\"", quarnProgram()};
  limited.insert(limited.end(), words.begin(), words.end());
  return runProgram("/bin/sh", limited);
}

// From too little for the first threads to enough for everything. With less still the system cannot load the program,
// or the libraries end it before `main`.
TEST(LittleMemory, AResultIsWholeOrAnError) {
  if (kIsSanitized) GTEST_SKIP() << "sanitizers reserve more address space than a limit allows";
  std::vector<CommandRun> wholes;
  for (const Words& words : sweeps()) wholes.push_back(runOnSample(words));
  int errors = 0;
  int limits = 0;
  for (int mebibytes = 40; mebibytes <= 90; mebibytes += 2) {
    if (runLimitedTo(mebibytes, {"--version"}).exitCode != 0) continue;
    ++limits;
    for (std::size_t i = 0; i < sweeps().size(); ++i) {
      const Words& words = sweeps()[i];
      SCOPED_TRACE(textOf(words) + std::to_string(mebibytes));
      Words limited{"--volume", sampleFolder(), "--home", "/Users/ann"};
      limited.insert(limited.end(), words.begin(), words.end());
      const CommandRun run = runLimitedTo(mebibytes, limited);
      EXPECT_TRUE(isToldOrWhole(run, wholes[i])) << run.exitCode << "\n" << run.err;
      errors += run.exitCode == 0 ? 0 : 1;
    }
  }
  EXPECT_GT(limits, 10);
  EXPECT_GT(errors, 0);
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
}  // namespace quarn::fault_tests_linux
