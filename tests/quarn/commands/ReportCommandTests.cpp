#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class ReportCommand : public testing::Test {
 protected:
  [[nodiscard]] std::string file() const { return folder_.root() + "/page.html"; }
  [[nodiscard]] std::string page() const {
    std::ifstream stream(file(), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  [[nodiscard]] std::size_t filesBeside() const {
    const std::filesystem::directory_iterator entries(folder_.root());
    return static_cast<std::size_t>(
        std::count_if(begin(entries), end(entries), [](const auto& entry) { return !entry.is_directory(); }));
  }

  MacVolume folder_;
};

TEST_F(ReportCommand, WritesAReportOfTheVolumeAndPrintsItsName) {
  const CommandRun run = runOnSample({"report", "-o", file()});
  EXPECT_EQ(run.exitCode, 0);
  EXPECT_EQ(run.out, "Wrote " + file() + "\n");
  EXPECT_EQ(run.err, "");
  EXPECT_THAT(page(), HasSubstr("Where the space goes"));
  EXPECT_THAT(page(), HasSubstr("Photos Library.photoslibrary"));
}

TEST_F(ReportCommand, RanksBySpaceOnDiskAndByBytesElsewhere) {
  MacVolume volume;
  volume.file("~/here", 400_KiB).sparse("~/elsewhere", 5'000'000'000);
  runQuarn({"--volume", volume.root(), "report", "-o", file()});
  EXPECT_THAT(page(), HasSubstr("<tr id=\"item-1\"><td class=\"n\">410 KB</td><td class=\"n\">410 KB</td><td "
                                "class=\"path\"><bdi>~/here</bdi>"));
  EXPECT_THAT(page(), Not(HasSubstr("id=\"item-2\"")));
  EXPECT_THAT(page(),
              HasSubstr("<tr id=\"elsewhere-item-1\"><td class=\"n\">0 bytes</td><td class=\"n\">5.00 GB</td>"));
}

TEST_F(ReportCommand, WritesAReportOfAnAppWithThePlanOfEveryMode) {
  EXPECT_EQ(runOnSample({"report", "Lumen Notes", "--output", file()}).exitCode, 0);
  for (const char* mode : {"cacheOnly", "associatedDataOnly", "removeApp", "aggressive"}) {
    EXPECT_THAT(page(), HasSubstr("<code>" + std::string(mode) + "</code>"));
  }
  EXPECT_THAT(page(), HasSubstr("Shared app container: may contain data for multiple apps; review carefully."));
}

TEST_F(ReportCommand, JSONOutputNamesTheFile) {
  const CommandRun run = runOnSample({"report", "-o", file(), "--json"});
  const auto document = nlohmann::json::parse(run.out);
  EXPECT_EQ(document["file"], file());
  EXPECT_EQ(document["bytes"], page().size());
  EXPECT_EQ(document["schemaVersion"], 1);
}

TEST_F(ReportCommand, AHyphenIsStandardOutput) {
  const CommandRun run = runOnSample({"report", "-o", "-"});
  EXPECT_THAT(run.out, StartsWith("<!doctype html>"));
  EXPECT_EQ(runOnSample({"report", "-o", "-", "--json"}).exitCode, 2);
}

TEST_F(ReportCommand, WithoutAFileIsAUsageError) {
  const CommandRun run = runOnSample({"report"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("report requires --output FILE"));
}

TEST_F(ReportCommand, IsNeverWrittenToTheInspectedVolume) {
  folder_.link("/way", sampleFolder() + "/Users/ann");
  for (const std::string& place : {sampleFolder() + "/page.html", folder_.root() + "/way/page.html"}) {
    const CommandRun run = runOnSample({"report", "-o", place});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_THAT(run.err, HasSubstr("--output: " + place + " is on the inspected volume"));
    EXPECT_FALSE(std::filesystem::exists(place));
  }
}

TEST_F(ReportCommand, AnUnwritablePathIsReportedWithTheReasonAndUnchanged) {
  const CommandRun missing = runOnSample({"report", "-o", folder_.root() + "/no/page.html"});
  EXPECT_EQ(missing.exitCode, 3);
  EXPECT_THAT(missing.err, HasSubstr("write " + folder_.root() + "/no/page.html: No such file or directory"));
  const CommandRun folder = runOnSample({"report", "-o", folder_.root()});
  EXPECT_EQ(folder.exitCode, 1);
  EXPECT_THAT(folder.err, HasSubstr("write " + folder_.root() + ": Is a directory"));
  EXPECT_EQ(filesBeside(), 0U);
  const CommandRun full = runOnSample({"report", "-o", "/dev/full"});
  EXPECT_EQ(full.exitCode, 1);
  EXPECT_THAT(full.err, HasSubstr("write /dev/full: No space left on device"));
}

TEST_F(ReportCommand, AnUnknownAppLeavesNoFile) {
  EXPECT_EQ(runOnSample({"report", "Nobody's App", "-o", file()}).exitCode, 3);
  EXPECT_EQ(filesBeside(), 0U);
}

TEST_F(ReportCommand, ListsUnreadItems) {
  folder_.mode("/", 0777);
  MacVolume volume;
  volume.file("~/Documents/closed/a", 4_KiB).mode("~/Documents/closed", 0000);
  const UnprivilegedUser user;
  const CommandRun run = runQuarn({"--volume", volume.root(), "report", "-o", file()});
  EXPECT_EQ(run.exitCode, 4);
  EXPECT_THAT(page(), HasSubstr("<bdi>~/Documents/closed</bdi>"));
}

}  // namespace
}  // namespace quarn
