#include <algorithm>
#include <filesystem>

#include <gmock/gmock.h>

#include "QuarnCore/scans/Scan.h"
#include "tests/quarn/commands/CommandDocument.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/GoldenFile.h"
#include "tests/support/MacVolume.h"

namespace quarn::scan_command_tests {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class ScanCommand : public testing::Test {
 protected:
  [[nodiscard]] std::string at(const std::string& name) const { return folder_.host("/scans/" + name); }

  /// The answer of a command from the volume and from a scan of it, without what one of them could not read.
  static void expectSameAnswer(std::vector<std::string> words, const std::string& scan) {
    words.emplace_back("--json");
    json live = document(runOnSample(words));
    words.insert(words.end(), {"--scan", scan});
    const CommandRun run = runQuarn(words);
    json kept = document(run);
    for (json* answer : {&live, &kept}) {
      ASSERT_TRUE(answer->is_object()) << run.err;
      answer->erase("unreadable");
      answer->erase("inspectedAt");
      if (answer->contains("inspections")) {
        for (json& inspection : (*answer)["inspections"]) inspection.erase("inspectedAt");
      }
      answer->erase("ownership");
      if (answer->contains("volume")) (*answer)["volume"].erase("freeBytes");
      answer->erase("unattributedBytes");
      answer->erase("leftOut");            // a scan does not have the files that a list leaves out
      if (answer->contains("together")) {  // nor the other names of files
        for (const char* name : {"heldFiles", "heldBytes"}) (*answer)["together"].erase(name);
      }
    }
    EXPECT_EQ(kept, live) << testing::PrintToString(words);
  }

  MacVolume folder_;
  MacVolume& made_ = folder_.folder("/scans");
};

TEST_F(ScanCommand, AnswersFromAScanAreThoseOfTheVolume) {
  const CommandRun run = runOnSample({"scan", "-o", at("scan")});
  EXPECT_THAT(run.out, StartsWith("Wrote " + at("scan") + "  ")) << run.err;
  EXPECT_EQ(run.exitCode, runOnSample({"storage"}).exitCode);
  for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
           {"storage"},
           {"storage", "development"},
           {"storage", "systemData"},
           {"storage", "documents", "--roots"},
           {"apps"},
           {"apps", "--sizes"},
           {"leftovers"},
           {"leftovers", "--size"},
           {"top"},
           {"top", "/", "--limit", "50"},
           {"top", "~/Library", "--files", "--no-hidden"},
           {"top", "/Applications", "--children", "--by", "length"},
           {"top", "--category", "documents"},
           {"inspect", "Lumen Notes", "--no-owners"},
           {"inspect", "--all"},
       }) {
    expectSameAnswer(words, at("scan"));
  }
}

TEST_F(ScanCommand, PrintsOneDocumentAndLeavesOneFile) {
  const json answer = document(runOnSample({"scan", "-o", at("scan"), "--json"}));
  EXPECT_EQ(answer["file"], at("scan"));
  EXPECT_EQ(answer["isComplete"], true);
  EXPECT_EQ(answer["bytes"], std::filesystem::file_size(at("scan")));
  EXPECT_EQ(answer["files"], Scan::open(at("scan")).facts().files);
  const std::filesystem::directory_iterator entries(at(""));
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
}

TEST_F(ScanCommand, RefusesToWriteOnTheInspectedVolume) {
  MacVolume volume;
  const CommandRun run = runQuarn({"--volume", volume.root(), "scan", "-o", volume.host("~/scan")});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("is on the inspected volume"));
  const CommandRun exporting = runQuarn({"--volume", volume.root(), "scan", "--export", volume.host("~/tables")});
  EXPECT_EQ(exporting.exitCode, 2);
  EXPECT_FALSE(std::filesystem::exists(volume.host("~/tables")));
}

TEST_F(ScanCommand, RequiresAFile) { EXPECT_EQ(runOnSample({"scan"}).exitCode, 2); }

TEST_F(ScanCommand, ExportsTheTablesBesideAScan) {
  const CommandRun run = runOnSample({"scan", "--export", at("tables")});
  EXPECT_EQ(run.exitCode, runOnSample({"storage"}).exitCode) << run.err;
  EXPECT_TRUE(std::filesystem::exists(at("tables/scan.sqlite")));
  EXPECT_TRUE(std::filesystem::exists(at("tables/folders.csv")));
  EXPECT_TRUE(std::filesystem::exists(at("tables/apps.ndjson")));
}

TEST_F(ScanCommand, ExportsTheTablesOfAScanThatExists) {
  (void)runOnSample({"scan", "-o", at("scan"), "--export", at("tables")});
  const CommandRun run = runQuarn({"scan", "--scan", at("scan"), "--export", at("again")});
  EXPECT_THAT(run.out, HasSubstr(" files to " + at("again"))) << run.err;
  for (const auto& entry : std::filesystem::directory_iterator(at("tables"))) {
    const std::string name = entry.path().filename().string();
    EXPECT_EQ(contentOf(at("again/" + name)), contentOf(entry.path())) << name;
  }
  EXPECT_EQ(runQuarn({"scan", "--scan", at("scan")}).exitCode, 2);
  EXPECT_EQ(runQuarn({"scan", "--scan", at("scan"), "--export", at("a"), "-o", at("b")}).exitCode, 2);
}

TEST_F(ScanCommand, AMissingFolderAndAnOptionWithoutAnswerAreErrors) {
  (void)runOnSample({"scan", "-o", at("scan")});
  EXPECT_EQ(runQuarn({"top", "/nowhere", "--scan", at("scan")}).exitCode, 3);
  EXPECT_EQ(runQuarn({"top", "--visits", "5", "--scan", at("scan")}).exitCode, 2);
  EXPECT_EQ(runQuarn({"inspect", "Lumen Notes", "--depth", "1", "--scan", at("scan")}).exitCode, 2);
  EXPECT_EQ(runQuarn({"inspect", "Lumen Notes", "--no-sizes", "--scan", at("scan")}).exitCode, 2);
  EXPECT_EQ(runQuarn({"apps", "--scan", at("missing")}).exitCode, 3);
}

TEST_F(ScanCommand, AnOwnerThatTheScanDoesNotHaveIsSaid) {
  (void)runOnSample({"scan", "-o", at("scan")});
  const CommandRun inside =
      runQuarn({"owner", "~/Library/Application Support/Lumen Notes/anything", "--scan", at("scan")});
  EXPECT_EQ(inside.exitCode, 3);
  EXPECT_THAT(inside.err,
              HasSubstr("but that of /Users/ann/Library/Application Support/Lumen Notes, which contains it"));
  const CommandRun elsewhere = runQuarn({"owner", "/usr/local/bin", "--scan", at("scan")});
  EXPECT_EQ(elsewhere.exitCode, 3);
  EXPECT_THAT(elsewhere.err, HasSubstr("does not have the owner of /usr/local/bin"));
  EXPECT_EQ(runQuarn({"owner", "relative", "--scan", at("scan")}).exitCode, 2);
}

TEST_F(ScanCommand, AReportFromAScanIsThatOfTheVolume) {
  (void)runOnSample({"scan", "-o", at("scan")});
  const CommandRun run = runQuarn({"report", "--scan", at("scan"), "-o", at("page.html")});
  EXPECT_EQ(run.out, "Wrote " + at("page.html") + "\n") << run.err;
  EXPECT_EQ(runQuarn({"report", "Lumen Notes", "--scan", at("scan"), "-o", "-"}).exitCode, 2);
  EXPECT_EQ(runOnSample({"report", "--since", at("scan"), "-o", "-"}).exitCode, 2);
}

TEST_F(ScanCommand, AFileThatIsNotAScanIsNamed) {
  folder_.text("/scans/text", "not a scan");
  const CommandRun run = runQuarn({"apps", "--scan", at("text")});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_EQ(run.err, "quarn: " + at("text") + " is not a scan (\"quarn scan -o FILE\" writes one)\n");
}

class DiffCommand : public ScanCommand {
 protected:
  /// The difference between before and after a change, with these options.
  CommandRun diff(const std::vector<std::string>& options) {
    (void)runQuarn({"--volume", volume_.root(), "scan", "-o", at("old")});
    volume_.file("~/Pictures/trip/film", 3'000'000).app("/Applications/New.app", {.name = "New", .version = "1"});
    (void)runQuarn({"--volume", volume_.root(), "scan", "-o", at("new")});
    std::vector<std::string> words{"diff", at("old"), at("new")};
    words.insert(words.end(), options.begin(), options.end());
    return runQuarn(words);
  }

  MacVolume volume_;
};

TEST_F(DiffCommand, ListsWhatGrewAndWhatIsNew) {
  volume_.file("~/Pictures/trip/photo", 10);
  const CommandRun run = diff({});
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_THAT(run.out, HasSubstr("~/Pictures/trip"));
  EXPECT_THAT(run.out, HasSubstr("photos"));
  EXPECT_THAT(run.out, HasSubstr("AFTER  CATEGORY\n"));
  EXPECT_THAT(run.out, HasSubstr("AFTER  FOLDER\n"));
  EXPECT_THAT(run.out, HasSubstr("new app       New 1\n"));
}

TEST_F(DiffCommand, ExitsWithOneOnlyIfAskedAndOnlyIfSomethingDiffers) {
  EXPECT_EQ(diff({"--exit-code"}).exitCode, 1);
  EXPECT_EQ(runQuarn({"diff", at("new"), at("new"), "--exit-code"}).exitCode, 0);
  EXPECT_EQ(runQuarn({"diff", at("new"), at("new")}).out, "No difference.\n");
}

TEST_F(DiffCommand, PrintsADocumentAndLines) {
  const json answer = document(diff({"--json", "--min-size", "2000000"}));
  ASSERT_EQ(answer["newApps"].size(), 1U);
  EXPECT_EQ(answer["newApps"][0]["name"], "New");
  EXPECT_EQ(answer["categories"][0]["id"], "photos");
  const CommandRun lines = runQuarn({"diff", at("old"), at("new"), "--ndjson"});
  EXPECT_THAT(lines.out, HasSubstr("{\"kind\":\"newApp\",\"name\":\"New\""));
  EXPECT_THAT(lines.out, HasSubstr("{\"kind\":\"folder\","));
}

TEST_F(DiffCommand, AReportHasWhatChanged) {
  volume_.file("~/Pictures/trip/photo", 10);
  (void)diff({});
  const CommandRun run = runQuarn({"report", "--scan", at("new"), "--since", at("old"), "-o", "-"});
  EXPECT_THAT(run.out, HasSubstr("<h2 id=\"changes\">What changed</h2>")) << run.err;
  EXPECT_THAT(run.out, HasSubstr("<bdi>~/Pictures/trip</bdi>"));
  EXPECT_THAT(run.out, HasSubstr("<h3>New apps</h3>\n<ul class=\"plain\">\n<li><bdi>New 1</bdi></li>"));
  const CommandRun without = runQuarn({"report", "--scan", at("new"), "-o", "-"});
  EXPECT_THAT(without.out, Not(HasSubstr("What changed")));
}

TEST_F(DiffCommand, RequiresTwoScans) {
  EXPECT_EQ(runQuarn({"diff"}).exitCode, 2);
  EXPECT_EQ(runQuarn({"diff", at("missing"), at("missing")}).exitCode, 3);
}

}  // namespace
}  // namespace quarn::scan_command_tests
