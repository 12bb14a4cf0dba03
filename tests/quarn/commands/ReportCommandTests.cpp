#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>

#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::report_command_tests {
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

// ---- the map

/// The bytes of the map's parts, from the rows of its tables.
struct MapRows {
  std::map<std::string, std::int64_t> categories;
  struct Place {
    std::string category;
    std::int64_t bytes = 0;
    std::string path;
    std::int64_t itemBytes = 0;
  };
  std::vector<Place> places;

  [[nodiscard]] std::vector<std::string> pathsOf(std::string_view category) const {
    std::vector<std::string> paths;
    for (const Place& place : places) {
      if (place.category == category) paths.push_back(place.path);
    }
    return paths;
  }
};

MapRows mapRows(const std::string& page) {
  MapRows rows;
  const std::regex category(
      R"re(<tr id="category-\w+"><th scope="row"><span class="key c\d"></span>([^<]+)</th><td class="n">(\d+)<)re");
  for (std::sregex_iterator row(page.begin(), page.end(), category), end; row != end; ++row) {
    rows.categories[(*row)[1]] = std::stoll((*row)[2]);
  }
  const std::regex place(R"re(<tr id="place-\d+"><td class="w wide">([^<]+)</td><td class="n">(\d+)</td>(.*)</tr>)re");
  const std::regex path(R"re(</span><bdi>([^<]*)</bdi>)re");
  const std::regex item(R"re(</bdi> (\d+))re");
  for (std::sregex_iterator row(page.begin(), page.end(), place), end; row != end; ++row) {
    const std::string cell = (*row)[3];
    std::smatch found;
    std::regex_search(cell, found, path);
    rows.places.push_back({.category = (*row)[1], .bytes = std::stoll((*row)[2]), .path = found[1]});
    for (std::sregex_iterator part(cell.begin(), cell.end(), item); part != end; ++part) {
      rows.places.back().itemBytes += std::stoll((*part)[1]);
    }
  }
  return rows;
}

MapRows mapOf(const MacVolume& volume) {
  return mapRows(runQuarn({"--volume", volume.root(), "--bytes", "report", "-o", "-"}).out);
}

TEST_F(ReportCommand, WhatIsInAMapIsNeverMoreThanWhatItIsIn) {
  const MapRows rows = mapRows(runOnSample({"--bytes", "report", "-o", "-"}).out);
  EXPECT_EQ(rows.categories.size(), 8U);
  EXPECT_GT(rows.places.size(), 30U);
  std::map<std::string, std::int64_t> sums;
  std::size_t divided = 0;
  for (const MapRows::Place& place : rows.places) {
    sums[place.category] += place.bytes;
    EXPECT_LE(place.itemBytes, place.bytes) << place.path;
    divided += place.itemBytes > 0 ? 1U : 0U;
  }
  // Items in a folder may include up to 2 % that its category does not count.
  for (const auto& [category, sum] : sums) EXPECT_LE(sum, rows.categories.at(category) * 51 / 50) << category;
  EXPECT_GT(divided, 20U);
}

TEST_F(ReportCommand, AFolderWithMuchOfItsCategoryGivesWayToWhatIsInIt) {
  MacVolume volume;
  volume.file("/Applications/Big.app/Contents/Resources/data", 600_KiB);
  volume.file("/Applications/Suite/Part.app/Contents/x", 300_KiB)
      .file("/Applications/Suite/Tool.app/Contents/x", 200_KiB);
  volume.file("/Applications/Small/One.app/Contents/x", 100_KiB)
      .file("/Applications/Small/Two.app/Contents/x", 100_KiB);
  EXPECT_THAT(mapOf(volume).pathsOf("Apps"),
              testing::ElementsAre("/Applications/Big.app", "/Applications/Suite/Part.app", "/Applications/Small",
                                   "/Applications/Suite/Tool.app"));
}

TEST_F(ReportCommand, AFolderOfManySmallItemsIsShownAsItIs) {
  MacVolume volume;
  for (int i = 0; i < 40; ++i) volume.file("~/Documents/notes/" + std::to_string(i), 8_KiB);
  volume.file("~/Documents/scans/1", 200_KiB);
  EXPECT_THAT(mapOf(volume).pathsOf("Documents"), testing::ElementsAre("~/Documents/notes", "~/Documents/scans"));
}

TEST_F(ReportCommand, AFolderWithASingleLargeItemIsShownAsItIs) {
  MacVolume volume;
  volume.file("~/Documents/film/cut.mov", 800_KiB).file("~/Documents/film/notes", 4_KiB);
  volume.file("~/Documents/book/text", 400_KiB);
  const MapRows rows = mapOf(volume);
  EXPECT_THAT(rows.pathsOf("Documents"), testing::ElementsAre("~/Documents/film", "~/Documents/book"));
  EXPECT_EQ(rows.places.front().itemBytes, 804_KiB);
}

TEST_F(ReportCommand, AnAppsFolderIsNotTakenApart) {
  MacVolume volume;
  volume.app("/Applications/Memo.app", {.bundleIdentifier = "com.memo.Memo"});
  volume.file("~/Library/Caches/com.memo.Memo/a/x", 400_KiB).file("~/Library/Caches/com.memo.Memo/b", 300_KiB);
  volume.file("~/Library/Caches/thing/x", 300_KiB).file("~/Library/Fonts/y", 300_KiB);
  const std::vector<std::string> paths = mapOf(volume).pathsOf("System data");
  ASSERT_FALSE(paths.empty());
  EXPECT_EQ(paths.front(), "~/Library/Caches/com.memo.Memo");
}

TEST_F(ReportCommand, AFolderWithBytesOfSeveralCategoriesIsNotDivided) {
  MacVolume volume;
  volume.file("~/Documents/a/x", 400_KiB).file("~/Documents/b/y", 300_KiB);
  const std::vector<std::string> divided{"~/Documents/a", "~/Documents/b"};
  EXPECT_EQ(mapOf(volume).pathsOf("Documents"), divided);
  volume.file("~/Documents/b/Tool.xcodeproj/x", 8_KiB);
  EXPECT_EQ(mapOf(volume).pathsOf("Documents"), divided) << "about 1 % counts for development";
  volume.file("~/Documents/b/Tool.xcodeproj/y", 40_KiB);
  const MapRows rows = mapOf(volume);
  EXPECT_THAT(rows.pathsOf("Documents"), testing::ElementsAre("~/Documents"));
  EXPECT_THAT(rows.pathsOf("Development"), testing::ElementsAre("~/Documents"));
}

TEST_F(ReportCommand, AFolderDoesNotCountTheRootsInIt) {
  MacVolume volume;
  volume.file("~/Library/Application Support/Slack/Cache/x", 400_KiB);
  volume.file("~/Library/Application Support/Odd Thing/x", 300_KiB);
  volume.file("~/Library/Application Support/Odd Other/x", 200_KiB).file("~/Library/Fonts/y", 200_KiB);
  const MapRows rows = mapOf(volume);
  EXPECT_THAT(rows.pathsOf("Communication"), testing::ElementsAre("~/Library/Application Support/Slack"));
  EXPECT_THAT(rows.pathsOf("System data"),
              testing::ElementsAre("~/Library/Application Support/Odd Thing", "~/Library/Application Support/Odd Other",
                                   "~/Library/Fonts"));
  EXPECT_EQ(rows.categories.at("System data"), 700_KiB);
}

TEST_F(ReportCommand, TinyPlacesAreLeftOutOfTheMapButNotTheLargestOfACategory) {
  MacVolume volume;
  volume.file("~/Documents/large", 6_MiB).file("~/Documents/second", 2_MiB).file("~/Documents/small", 8_KiB);
  volume.file("~/Pictures/one", 8_KiB).file("~/Movies/two", 4_KiB);
  const MapRows rows = mapOf(volume);
  EXPECT_THAT(rows.pathsOf("Documents"), testing::ElementsAre("~/Documents/large", "~/Documents/second"));
  EXPECT_EQ(rows.pathsOf("Photos").size(), 1U);
}

TEST_F(ReportCommand, OfAScanHasTheMapOfTheVolume) {
  ASSERT_EQ(runOnSample({"scan", "-o", folder_.root() + "/s.quarn"}).exitCode, 0);
  const auto mapIn = [](const std::string& text) {
    const std::size_t begin = text.find("<h3 id=\"map\">");
    return text.substr(begin, text.find("</section>", begin) - begin);
  };
  const std::string live = mapIn(runOnSample({"report", "-o", "-"}).out);
  EXPECT_THAT(live, HasSubstr("<tr id=\"place-1\">"));
  EXPECT_EQ(mapIn(runQuarn({"report", "--scan", folder_.root() + "/s.quarn", "-o", "-"}).out), live);
}

// ---- the language

// Without the time of the run.
std::string pageText(const std::string& text) {
  return std::regex_replace(text, std::regex("<time>[^<]*</time>|<dt>(Free|In use).*"), "");
}

TEST_F(ReportCommand, IsInEnglishWhateverTheLocale) {
  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"report", "-o", "-"}, {"report", "Lumen Notes", "-o", "-"}}) {
    const std::string english = runOnSample(words).out;
    std::vector<std::string> german = words;
    german.insert(german.begin(), {"--locale", "de_DE"});
    EXPECT_EQ(pageText(runOnSample(german).out), pageText(english));
    EXPECT_THAT(english, HasSubstr("<html lang=\"en\">"));
  }
}

TEST_F(ReportCommand, OfAScanMadeInGermanIsInEnglish) {
  const std::string scan = folder_.root() + "/s.quarn";
  ASSERT_EQ(runOnSample({"--locale", "de_DE", "scan", "-o", scan}).exitCode, 0);
  ASSERT_THAT(runQuarn({"leftovers", "--scan", scan, "--json"}).out, HasSubstr("nicht installiert"));
  const std::string text = runQuarn({"report", "--scan", scan, "-o", "-"}).out;
  EXPECT_THAT(text, Not(HasSubstr("nicht installiert")));
  EXPECT_THAT(text, HasSubstr("no installed app has"));
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
}  // namespace quarn::report_command_tests
