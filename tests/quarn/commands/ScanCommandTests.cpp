#include <algorithm>
#include <filesystem>
#include <set>

#include <gmock/gmock.h>

#include "QuarnCore/scans/Scan.h"
#include "tests/quarn/commands/CommandDocument.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/ChangedDatabase.h"
#include "tests/support/GoldenFile.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

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

TEST_F(ScanCommand, NoWayToTheInspectedVolumeIsWritten) {
  MacVolume volume;
  const std::string volumePath = volume.root();
  std::filesystem::create_symlink(volumePath + "/Users", at("link"));
  std::filesystem::create_symlink(volumePath + "/Users/new", at("new"));
  volume.folder("~");
  const std::string relative = std::filesystem::proximate(volumePath).string();
  for (const std::string& target :
       {at("link/made"), at("new"), relative + "/made",
        volumePath + "/../" + std::filesystem::path(volumePath).filename().string() + "/made"}) {
    for (const char* option : {"-o", "--export"}) {
      EXPECT_EQ(runQuarn({"--volume", volumePath, "scan", option, target}).exitCode, 2) << option << " " << target;
      EXPECT_EQ(runQuarn({"scan", option, target}, "", {"QUARN_VOLUME=" + volumePath}).exitCode, 2) << target;
    }
  }
  EXPECT_FALSE(std::filesystem::exists(volumePath + "/made"));
  EXPECT_FALSE(std::filesystem::exists(volumePath + "/Users/made"));
  EXPECT_FALSE(std::filesystem::exists(volumePath + "/Users/new"));
  std::filesystem::create_symlink(at(""), volume.host("~/out"));
  EXPECT_EQ(runQuarn({"--volume", volumePath, "scan", "-o", volume.host("~/out/scan")}).exitCode, 0)
      << "the link is on the volume, the file is not";
}

TEST_F(ScanCommand, WhatCouldNotBeReadIsSaidByTheScanAndByEveryAnswerFromIt) {
  MacVolume volume;
  volume.file("~/Documents/a", 5'000).file("~/Closed/b", 5'000).mode("~/Closed", 0000);
  folder_.mode("/scans", 0777);
  const UnprivilegedUser user;
  EXPECT_EQ(runQuarn({"--volume", volume.root(), "scan", "-o", at("scan")}).exitCode, 4);
  for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
           {"storage"}, {"apps"}, {"leftovers"}, {"top"}, {"report", "-o", "-"}, {"scan", "--export", at("tables")}}) {
    std::vector<std::string> asked = words;
    asked.insert(asked.end(), {"--scan", at("scan")});
    const CommandRun run = runQuarn(asked);
    EXPECT_EQ(run.exitCode, 4) << words.front();
    EXPECT_THAT(run.err, HasSubstr("permission denied: /Users/ann/Closed")) << words.front();
  }
  EXPECT_THAT(runQuarn({"report", "-o", "-", "--scan", at("scan")}).out, HasSubstr("/Closed"));
  const CommandRun closed = runQuarn({"top", "~/Closed", "--scan", at("scan")});
  EXPECT_THAT(closed.err, HasSubstr("the scan does not have /Users/ann/Closed"));
}

TEST_F(ScanCommand, WhatIsOnAnotherDeviceIsNoErrorOfTheScan) {
  MacVolume volume;
  volume.file("~/Documents/a", 5'000);
  (void)runQuarn({"--volume", volume.root(), "scan", "-o", at("scan")});
  changeDatabase(at("scan"), "INSERT INTO unreadable VALUES('/Users/ann/Mounted',0,'')");
  const json answer = document(runQuarn({"storage", "--scan", at("scan"), "--json"}));
  EXPECT_THAT(answer["unreadable"].dump(), HasSubstr("/Users/ann/Mounted"));
  EXPECT_THAT(answer["unreadable"].dump(), Not(HasSubstr("EACCES")));
}

TEST_F(ScanCommand, TheTrashIsNotSearchedForTheLargestItemsOfACategory) {
  MacVolume volume;
  volume.file("/Users/ann/.Trash/a", 500'000).file("/Users/bob/.Trash/b", 600'000);
  // For one user, the home folders of others are folders of the system.
  for (const auto& [option, trash] : {std::pair("--home=/Users/ann", "~/.Trash"), {"--all-users", ".Trash"}}) {
    (void)runQuarn({"--volume", volume.root(), "scan", option, "-o", at("scan")});
    std::set<StorageCategoryID> categories;
    for (const ScannedRoot& root : Scan::open(at("scan")).roots()) {
      if (root.isListed && root.url.path().ends_with("/.Trash")) categories.insert(root.category);
    }
    EXPECT_FALSE(categories.empty()) << option;
    for (const StorageCategoryID category : categories) {
      const CommandRun run = runQuarn({"top", "--category", std::string(rawValue(category)), "--scan", at("scan")});
      EXPECT_EQ(run.exitCode, 0) << run.err;
      EXPECT_THAT(run.out, Not(HasSubstr(trash))) << option;
    }
  }
}

// A file that was changed by hand may do so. Otherwise the time would grow with the folders times the files.
TEST_F(ScanCommand, AFolderThatACategoryListsAgainIsSearchedOnce) {
  MacVolume volume;
  volume.file("~/Documents/a", 50'000).file("~/Pictures/b", 5'000);
  (void)runQuarn({"--volume", volume.root(), "scan", "-o", at("scan")});
  changeDatabase(at("scan"),
                 "INSERT INTO category_roots SELECT * FROM category_roots;"
                 "UPDATE category_roots SET path = replace(path, '/Documents', '//Documents') WHERE rowid % 2");
  for (const std::string way : {"--limit=9", "--children", "--files"}) {
    const json answer = document(runQuarn({"top", "--category", "documents", way, "--scan", at("scan"), "--json"}));
    ASSERT_EQ(answer["items"].size(), 1u) << way;
    EXPECT_EQ(answer["items"][0]["name"], "a") << way;
  }
}

TEST_F(ScanCommand, FilesThatTheScanDoesNotHaveAreSaid) {
  MacVolume volume;
  volume.file("~/Documents/a", 50'000).file("~/Documents/b", 5'000);
  (void)runQuarn({"--volume", volume.root(), "scan", "-o", at("scan")});
  EXPECT_THAT(runQuarn({"top", "--scan", at("scan")}).err, Not(HasSubstr("only files larger than")));
  changeDatabase(at("scan"), "UPDATE scan SET kept_above=8192; DELETE FROM large_files WHERE allocated <= 8192");
  for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
           {"top"}, {"top", "~/Documents", "--children"}, {"top", "~/Documents", "--files"}, {"report", "-o", "-"}}) {
    std::vector<std::string> asked = words;
    asked.insert(asked.end(), {"--scan", at("scan")});
    const CommandRun run = runQuarn(asked);
    EXPECT_THAT(run.err, HasSubstr("the scan has only files larger than 8 KB")) << testing::PrintToString(words);
    EXPECT_EQ(run.exitCode, 0) << testing::PrintToString(words);
  }
  EXPECT_THAT(runQuarn({"top", "--limit", "1", "--scan", at("scan")}).err, Not(HasSubstr("only files larger than")));
}

TEST_F(ScanCommand, WhatAScanOfLargeFilesLeavesOutIsTheLeastThatMayBeMissing) {
  MacVolume volume;
  volume.file("~/a", 50'000).file("~/b", 40'960).file("~/c", 5'000);
  (void)runQuarn({"--volume", volume.root(), "scan", "-o", at("scan")});
  changeDatabase(at("scan"), "UPDATE scan SET kept_above=8192; DELETE FROM large_files WHERE allocated <= 8192");
  for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
           {"top", "~", "--limit", "1"}, {"top", "~", "--limit", "1", "--files"}, {"top", "--min-size", "50KB"}}) {
    std::vector<std::string> asked = words;
    asked.insert(asked.end(), {"--bytes", "--scan", at("scan")});
    EXPECT_THAT(runQuarn(asked).out, HasSubstr("\nAt least 1 row left out, 40960 on disk.\n"))
        << testing::PrintToString(words);
    asked.emplace_back("--json");
    EXPECT_EQ(document(runQuarn(asked))["leftOut"], (json{{"rows", 1}, {"bytes", 40'960}, {"isExact", false}}));
  }
}

TEST_F(ScanCommand, RequiresAFile) {
  EXPECT_EQ(runOnSample({"scan"}).exitCode, 2);
  EXPECT_EQ(runOnSample({"scan", "-o", ""}).exitCode, 2);
}

TEST_F(ScanCommand, ExportsIntoAFolderThatExistsButNotIntoAFileOrAMissingFolder) {
  folder_.text("/scans/tables/apps.csv", "old").text("/scans/tables/mine", "kept").text("/scans/file", "kept");
  (void)runOnSample({"scan", "--export", at("tables")});
  EXPECT_THAT(contentOf(at("tables/apps.csv")), StartsWith("id,name,"));
  EXPECT_EQ(contentOf(at("tables/mine")), "kept");
  EXPECT_EQ(runOnSample({"scan", "--export", at("file")}).exitCode, 1);
  EXPECT_EQ(contentOf(at("file")), "kept");
  EXPECT_EQ(runOnSample({"scan", "--export", at("missing/tables")}).exitCode, 3);
  EXPECT_FALSE(std::filesystem::exists(at("missing")));
  EXPECT_EQ(runOnSample({"scan", "-o", at("scan"), "--export", at("missing/tables")}).exitCode, 3);
  EXPECT_FALSE(std::filesystem::exists(at("scan"))) << "nothing is scanned for a folder that cannot be made";
}

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

TEST_F(ScanCommand, AScanDoesNotGoToStandardOutput) {
  const CommandRun run = runOnSample({"scan", "-o", "-"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("--output: a scan cannot go to standard output; name a file"));
}

TEST_F(ScanCommand, AFilterByAgeThatAScanCannotAnswerIsRefused) {
  (void)runOnSample({"scan", "-o", at("scan")});
  for (const char* list : {"apps", "top"}) {
    for (const auto& [option, value] :
         {std::pair{"--older-than", "1d"}, std::pair{"--newer-than", "1d"}, std::pair{"--sort", "age"}}) {
      const CommandRun run = runQuarn({list, option, value, "--scan", at("scan")});
      EXPECT_EQ(run.exitCode, 2) << list << option;
      EXPECT_THAT(run.err, HasSubstr("cannot be combined with --scan: a scan does not have when"));
    }
    EXPECT_EQ(runQuarn({list, "--sort", "name", "--scan", at("scan")}).exitCode, 0) << list;
  }
}

TEST_F(ScanCommand, AnInspectionSaysThatTheScanHasNoMapOfOwners) {
  (void)runOnSample({"scan", "-o", at("scan")});
  const auto kept = [&](const std::string& option) {
    return runQuarn({"inspect", "Lumen Notes", option, "--scan", at("scan")}).out;
  };
  EXPECT_THAT(kept("--bytes"),
              HasSubstr("\nThe scan does not have what else is this app's, is shared, or fits another"));
  EXPECT_EQ(kept("--no-owners"), runOnSample({"inspect", "Lumen Notes", "--no-owners"}).out);
  EXPECT_THAT(kept("--json"), Not(HasSubstr("The scan does not have")));
  EXPECT_THAT(runOnSample({"inspect", "Lumen Notes"}).out, Not(HasSubstr("The scan does not have")));
}

TEST_F(ScanCommand, AFolderOfACategoryThatIsALinkIsListedNeitherFromAScanNorFromTheVolume) {
  MacVolume volume;
  volume.file("~/Elsewhere/a", 50'000).link("~/Documents", "Elsewhere");
  (void)runQuarn({"--volume", volume.root(), "scan", "-o", at("scan")});
  for (const std::string way : {"--limit=9", "--children", "--files"}) {
    const json live = document(runQuarn({"--volume", volume.root(), "top", "--category", "documents", way, "--json"}));
    const json kept = document(runQuarn({"top", "--category", "documents", way, "--scan", at("scan"), "--json"}));
    EXPECT_EQ(live["items"], json::array()) << way;
    EXPECT_EQ(kept["items"], json::array()) << way;
  }
}

TEST_F(ScanCommand, TopSaysHowMuchWasLeftOut) {
  MacVolume volume;
  for (int i = 1; i <= 9; ++i) volume.file("~/Pictures/" + std::to_string(i), static_cast<std::size_t>(i) * 4'096);
  volume.file("~/Pictures/P.app/x", 5'000).file("~/Pictures/.hidden", 4'096).file("~/Pictures/empty", 0);
  (void)runQuarn({"--volume", volume.root(), "scan", "-o", at("scan")});
  const auto answers = [&](std::vector<std::string> words) {
    words.insert(words.begin(), {"--volume", volume.root()});
    const CommandRun live = runQuarn(words);
    words.erase(words.begin(), words.begin() + 2);
    words.insert(words.end(), {"--scan", at("scan")});
    return std::pair(live.out, runQuarn(words).out);
  };
  const std::vector<std::string> inPictures{"top", "~/Pictures", "--limit", "3", "--bytes"};
  EXPECT_THAT(answers(inPictures).first, HasSubstr("\n9 rows left out, "));
  for (const std::vector<std::string>& options : std::vector<std::vector<std::string>>{
           {}, {"--children"}, {"--files"}, {"--no-hidden"}, {"--depth", "0"}, {"--min-size", "6KB"}, {"--json"}}) {
    std::vector<std::string> words = inPictures;
    words.insert(words.end(), options.begin(), options.end());
    const auto [live, kept] = answers(words);
    EXPECT_EQ(kept, live) << testing::PrintToString(words);
  }
  EXPECT_THAT(answers({"top", "--limit", "50"}).second, Not(HasSubstr("left out")));
  EXPECT_THAT(answers({"top", "--limit", "0"}).second, Not(HasSubstr("left out")));
}

TEST_F(ScanCommand, AppsWithoutSizesLeaveOutRowsWithoutBytes) {
  (void)runOnSample({"scan", "-o", at("scan")});
  const CommandRun live = runOnSample({"apps", "--limit", "2"});
  EXPECT_EQ(runQuarn({"apps", "--limit", "2", "--scan", at("scan")}).out, live.out);
}

TEST_F(ScanCommand, AnOwnerHasTheURLOfAFolder) {
  (void)runOnSample({"scan", "-o", at("scan")});
  const std::string folder = "/Users/ann/Library/Caches/com.lumenworks.notes";
  const CommandRun live = runOnSample({"owner", folder, "--json"});
  EXPECT_THAT(live.out, HasSubstr("com.lumenworks.notes/\""));
  EXPECT_EQ(runQuarn({"owner", folder, "--json", "--scan", at("scan")}).out, live.out);
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

TEST_F(DiffCommand, TheSmallestSizeDecidesAboutTheExitCodeAndIsAMillionBytes) {
  volume_.file("~/Pictures/a", 10);
  (void)runQuarn({"--volume", volume_.root(), "scan", "-o", at("old")});
  volume_.file("~/Pictures/b", 900'000);
  (void)runQuarn({"--volume", volume_.root(), "scan", "-o", at("new")});
  const auto exitCodeOf = [&](std::vector<std::string> words) {
    words.insert(words.begin(), {"diff", at("old"), at("new"), "--exit-code"});
    return runQuarn(words).exitCode;
  };
  EXPECT_EQ(exitCodeOf({}), 0);
  EXPECT_EQ(exitCodeOf({"--min-size", "800000"}), 1);
  EXPECT_EQ(exitCodeOf({"--min-size", "800000", "--json"}), 1);
  EXPECT_EQ(exitCodeOf({"--min-size", "800000", "--ndjson"}), 1);
  EXPECT_THAT(runQuarn({"report", "--scan", at("new"), "--since", at("old"), "-o", "-"}).out,
              HasSubstr("<p>No difference.</p>"));
  volume_.file("~/Pictures/c", 200'000);
  (void)runQuarn({"--volume", volume_.root(), "scan", "-o", at("new")});
  EXPECT_EQ(exitCodeOf({}), 1);
}

TEST_F(DiffCommand, AScanThatIsDamagedIsAnErrorThatNamesIt) {
  (void)diff({});
  folder_.text("/scans/text", "not a scan");
  for (const auto& files : {std::pair(at("old"), at("text")), std::pair(at("text"), at("new"))}) {
    const CommandRun run = runQuarn({"diff", files.first, files.second, "--exit-code"});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_THAT(run.err, StartsWith("quarn: " + at("text") + " is not a scan"));
  }
}

TEST_F(DiffCommand, EveryKindOfChangeIsALineOfTextAndOfJSON) {
  volume_.app("/Applications/Gone.app", {.name = "Gone", .version = "1"});
  volume_.app("/Applications/Old.app", {.bundleIdentifier = "com.example.old", .name = "Old", .version = "1"});
  volume_.file("~/Movies/film", 2'000'000);
  (void)runQuarn({"--volume", volume_.root(), "scan", "-o", at("old")});
  volume_.remove("/Applications/Gone.app").remove("/Applications/Old.app").remove("~/Movies/film");
  volume_.app("/Applications/Old.app", {.bundleIdentifier = "com.example.old", .name = "Old", .version = "2"});
  volume_.app("/Applications/New.app", {.name = "New\x1B[2J"}).folder("~/Library/Caches/com.gone.Editor");
  volume_.plist("/Library/LaunchDaemons/job.plist", {{"Label", "com.example.job"}, {"Program", "/usr/bin/true"}});
  volume_.plist("/Library/Extensions/Ext.kext/Contents/Info.plist",
                {{"CFBundleIdentifier", "com.example.ext"}, {"CFBundleName", "Ext"}});
  (void)runQuarn({"--volume", volume_.root(), "scan", "-o", at("new")});
  const std::string text = runQuarn({"diff", at("old"), at("new")}).out;
  for (const char* line :
       {"-2.0 MB", "~/Movies", "Old 2 (was 1)", "new app       New", "gone app      Gone 1\n", "new leftovers ",
        "new job       com.example.job  /Library/LaunchDaemons/job.plist\n", "new extension Ext"}) {
    EXPECT_THAT(text, HasSubstr(line));
  }
  EXPECT_THAT(text, Not(HasSubstr("\x1B")));
  EXPECT_THAT(runQuarn({"diff", at("new"), at("old")}).out, HasSubstr("+2.0 MB"));
  const std::string lines = runQuarn({"diff", at("old"), at("new"), "--ndjson"}).out;
  for (const std::string kind :
       {"category", "folder", "newApp", "goneApp", "changedApp", "newLeftover", "newJob", "newExtension"}) {
    EXPECT_THAT(lines, HasSubstr("{\"kind\":\"" + kind + "\","));
  }
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
  (void)diff({});
  EXPECT_EQ(runQuarn({"diff"}).exitCode, 2);
  EXPECT_EQ(runQuarn({"diff", at("old")}).exitCode, 2);
  EXPECT_EQ(runQuarn({"diff", at("old"), at("new"), at("new")}).exitCode, 2);
  EXPECT_EQ(runQuarn({"diff", at("missing"), at("missing")}).exitCode, 3);
}

}  // namespace
}  // namespace quarn::scan_command_tests
