#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "tests/quarn/commands/CommandDocument.h"
#include "tests/quarn/commands/FaultShim.h"
#include "tests/support/MacVolume.h"

namespace quarn::interrupt_tests_linux {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using Words = std::vector<std::string>;

// Every command here lists folders more often than this.
constexpr int kLate = 1'000;
constexpr int kEarly = 300;
// The program receives the signal on another thread, so up to sixteen threads go on for a few calls, each of which
// waits 10 ms.
constexpr std::uintmax_t kMostCallsAfterwards = 400;

/// A volume on which every command lists many folders.
class InterruptedProgram : public testing::Test {
 protected:
  InterruptedProgram() {
    for (int i = 0; i < 1'000; ++i) volume_.file("~/Documents/f" + std::to_string(i) + "/a", 5'000);
    for (int i = 0; i < 300; ++i) volume_.file("~/Library/Caches/com.gone" + std::to_string(i) + ".Editor/d/a", 5'000);
    for (int i = 0; i < 20; ++i) {
      const std::string number = std::to_string(i);
      volume_.app("/Applications/App" + number + ".app", {.bundleIdentifier = "com.example.app" + number});
    }
  }

  /// Runs a command that gets SIGINT when it lists a folder for the `call`th time.
  CommandRun interrupted(const Words& words, int call) {
    return shim_.run(volume_.root(), words, "getdents64:interrupt:n" + std::to_string(call));
  }

  MacVolume volume_;
  FaultShim shim_;
};

TEST_F(InterruptedProgram, EveryLongCommandEndsSoonSaysSoAndExitsWith130) {
  const std::string scan = volume_.root() + ".scan";
  for (const Words& words :
       {Words{"top"}, Words{"top", "/", "--children"}, Words{"storage"}, Words{"storage", "documents"}, Words{"tree"},
        Words{"leftovers"}, Words{"leftovers", "--size"}, Words{"inspect", "--all"}, Words{"report", "-o", "-"},
        Words{"scan", "-o", scan}}) {
    for (const int call : {kEarly, kLate}) {
      SCOPED_TRACE(words.front() + " " + words.back() + " " + std::to_string(call));
      const CommandRun run = interrupted(words, call);
      EXPECT_EQ(run.exitCode, 130);
      EXPECT_THAT(run.out + run.err, HasSubstr("interrupted"));
      EXPECT_LT(shim_.marks(), kMostCallsAfterwards);
    }
  }
  EXPECT_FALSE(std::filesystem::exists(scan)) << "an interrupted scan leaves no file";
}

TEST_F(InterruptedProgram, AScanKeepsTheOldFileAndExportsNothing) {
  const MacVolume folder;
  const std::string scan = folder.root() + "/scan";
  const std::string tables = folder.root() + "/tables";
  ASSERT_EQ(runQuarn({"--volume", volume_.root(), "--home", "/Users/ann", "scan", "-o", scan}).exitCode, 0);
  const auto before = std::filesystem::last_write_time(scan);
  const CommandRun run = interrupted({"scan", "-o", scan, "--export", tables, "--json"}, kLate);
  EXPECT_EQ(run.exitCode, 130);
  EXPECT_TRUE(document(run)["file"].is_null());
  EXPECT_FALSE(document(run)["isComplete"]);
  EXPECT_EQ(std::filesystem::last_write_time(scan), before);
  EXPECT_TRUE(std::filesystem::is_empty(tables)) << "those of the old scan are not asked for";
  EXPECT_EQ(interrupted({"scan", "--export", tables}, kLate).exitCode, 130) << "there is no scan to export";
  EXPECT_TRUE(std::filesystem::is_empty(tables));
}

TEST_F(InterruptedProgram, WhatWasFoundIsPrinted) {
  const CommandRun top = interrupted({"top"}, kLate);
  EXPECT_THAT(top.out, AllOf(HasSubstr("~/Documents/f"), HasSubstr("\nIncomplete: interrupted.\n")));
  const nlohmann::json storage = document(interrupted({"storage", "--json"}, kLate));
  EXPECT_FALSE(storage["isComplete"]);
  std::int64_t found = 0;
  for (const char* category : {"documents", "systemData"}) {
    found += storage["categories"][category]["allocatedBytes"].get<std::int64_t>();
  }
  EXPECT_GT(found, 0);
  EXPECT_LT(found, 1'300 * 8'192) << "of 1,300 files with 8,192 bytes each";
  const CommandRun json = interrupted({"top", "--json"}, kLate);
  EXPECT_GT(document(json)["items"].size(), 0U);
  EXPECT_EQ(json.err, "quarn: interrupted: the answer is incomplete\n");
}

}  // namespace
}  // namespace quarn::interrupt_tests_linux
