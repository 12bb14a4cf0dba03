#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "quarn/commands/CommandTable.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/quarn/commands/FaultShim.h"
#include "tests/support/MacVolume.h"
#include "tests/support/Sanitizers.h"

namespace quarn::confinement_tests_linux {
namespace {

using testing::HasSubstr;
using Words = std::vector<std::string>;

/// What follows the name of a command that reads a volume or a scan; `folder` takes what it writes.
Words wordsAfter(std::string_view command, const std::string& folder) {
  if (command == "inspect" || command == "plan") return {"Lumen Notes"};
  if (command == "owner") return {"~/Library/Caches/com.lumenworks.notes"};
  if (command == "tree") return {"~/Library"};
  if (command == "report") return {"-o", folder + "/page.html"};
  if (command == "scan") return {"-o", folder + "/written"};
  return {};
}

bool readsAVolume(const CommandRow& row) {
  constexpr std::array<std::string_view, 5> kOthers{"diff", "sample", "completions", "manual", "help"};
  return row.needsVolume && std::find(kOthers.begin(), kOthers.end(), row.name) == kOthers.end();
}

class Confinement : public testing::Test {
 protected:
  CommandRun runTelling(const Words& words) { return shim_.runTellingConfinement(words); }
  void expectConfined(const Words& words) {
    const CommandRun run = runTelling(words);
    EXPECT_EQ(run.exitCode, 0) << testing::PrintToString(words) << run.err;
    EXPECT_THAT(run.err, HasSubstr(kIsSanitized ? "filter 0" : "filter 2")) << testing::PrintToString(words);
  }

  FaultShim shim_;
  MacVolume folder_;
};

TEST_F(Confinement, IsTurnedOffByAnOption) {
  EXPECT_THAT(runTelling({"--volume", sampleFolder(), "--home", "/Users/ann", "--no-sandbox", "apps"}).err,
              HasSubstr("filter 0"));
}

TEST_F(Confinement, HoldsForEveryCommandThatReadsAVolume) {
  int count = 0;
  for (const CommandRow& row : commandTable()) {
    if (!readsAVolume(row) || row.usesScreen) continue;
    Words words{"--volume", sampleFolder(), "--home", "/Users/ann", std::string(row.name)};
    for (std::string& word : wordsAfter(row.name, folder_.root())) words.push_back(std::move(word));
    expectConfined(words);
    ++count;
  }
  EXPECT_GE(count, 14);
}

TEST_F(Confinement, HoldsForEveryCommandThatReadsAScan) {
  const std::string scan = folder_.root() + "/scan";
  ASSERT_EQ(runOnSample({"scan", "-o", scan}).exitCode, 0);
  for (const std::string_view command : {"apps", "inspect", "owner", "leftovers", "storage", "top", "tree", "report"}) {
    Words words{std::string(command)};
    for (std::string& word : wordsAfter(command, folder_.root())) words.push_back(std::move(word));
    words.insert(words.end(), {"--scan", scan});
    expectConfined(words);
  }
  expectConfined({"scan", "--scan", scan, "--export", folder_.root() + "/tables"});
  expectConfined({"diff", scan, scan});
}

}  // namespace
}  // namespace quarn::confinement_tests_linux
