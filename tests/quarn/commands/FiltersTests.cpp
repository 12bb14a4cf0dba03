#include <chrono>
#include <ctime>

#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONLibrary.h"
#include "quarn/commands/Arguments.h"
#include "quarn/commands/CommandTable.h"
#include "quarn/commands/Filters.h"
#include "tests/quarn/commands/CommandDocument.h"
#include "tests/support/MacVolume.h"

namespace quarn::filters_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr std::int64_t kDay = 86'400;

std::int64_t daysAgo(std::int64_t days) { return static_cast<std::int64_t>(std::time(nullptr)) - days * kDay; }

TEST(Filters, ASizeHasAUnit) {
  const std::vector<std::pair<std::string, std::int64_t>> rows{
      {"0", 0},           {"4096", 4096},         {"10KB", 10'000},          {"10k", 10'000}, {"1KiB", 1024},
      {"2mb", 2'000'000}, {"1.5GiB", 1610612736}, {"1T", 1'000'000'000'000}, {"7B", 7}};
  for (const auto& [text, bytes] : rows) EXPECT_EQ(bytesOption("--min-size", text), bytes) << text;
  for (const char* text : {"", "x", "-1", "10 MB", "10XB", "1e400", "99999999TB", "nan", "MB"}) {
    EXPECT_THROW((void)bytesOption("--min-size", text), UsageError) << text;
  }
}

TEST(Filters, AnAgeHasAUnit) {
  const std::vector<std::pair<std::string, int>> rows{{"90d", 90}, {"2w", 14}, {"6m", 180}, {"1y", 365}, {"0d", 0}};
  for (const auto& [text, days] : rows) EXPECT_EQ(ageOption("--older-than", text).count(), days) << text;
  for (const char* text : {"", "d", "90", "-1d", "1.5y", "123456d", "90 d"}) {
    EXPECT_THROW((void)ageOption("--older-than", text), UsageError) << text;
  }
}

TEST(Filters, APatternMatchesTheItemAndEverythingInIt) {
  const FileURL home("/Users/ann");
  const FileURL item("/Users/ann/Library/Caches/com.example.app/data.bin");
  for (const char* pattern : {"Caches", "*.bin", "Library/Caches", "com.*", "~", "~/Library", "~/*/Caches", "/Users",
                              "/Users/*/Library", "/Users/ann/Library/Caches/com.example.app/data.bin"}) {
    EXPECT_TRUE(isExcludedBy(pattern, item, home)) << pattern;
  }
  for (const char* pattern : {"", "/", "Cache", "/Library", "Library/com.example.app", "~/Caches", "/Users/ann/*.bin",
                              "*/data.bin/x", "/Users/ann/Library/Caches/com.example.app/data.bin/x"}) {
    EXPECT_FALSE(isExcludedBy(pattern, item, home)) << pattern;
  }
}

TEST(Filters, EveryOptionOfTheTableMeansTheSameInEveryList) {
  int used = 0;
  for (const CommandRow& command : commandTable()) {
    for (const OptionRow& filter : kFilterOptions) {
      const OptionRow* row = optionRow(filter.name, &command);
      if (row == nullptr || command.name == "diff") continue;
      EXPECT_EQ(row->argument, filter.argument) << command.name << filter.name;
      EXPECT_EQ(row->isNumber, filter.isNumber) << command.name << filter.name;
      ++used;
    }
  }
  EXPECT_GT(used, 40);
}

TEST(Filters, AListRefusesAFilterThatItCannotTakeAndNamesThoseThatItTakes) {
  const CommandRun run = runOnSample({"jobs", "--min-size", "1MB"});
  EXPECT_EQ(run.exitCode, 2);
  EXPECT_THAT(run.err, HasSubstr("the list of jobs does not take --min-size; it takes --older-than, --newer-than, "
                                 "--exclude, --sort and --limit"));
  EXPECT_THAT(runOnSample({"jobs", "--sort", "size"}).err, HasSubstr("--sort: the list of jobs has no size"));
  EXPECT_THAT(runOnSample({"storage", "--limit", "2"}).err, HasSubstr("--limit requires a CATEGORY"));
  EXPECT_EQ(runOnSample({"top", "--newer-than", "x"}).exitCode, 2);
}

TEST(Filters, SizesThatAreKnownAddUpBesideUnknownOnes) {
  LeftOut leftOut;
  EXPECT_EQ(leftOut.bytes, 0);
  leftOut.add({.rows = 1, .bytes = std::nullopt});
  EXPECT_EQ(leftOut.bytes, std::nullopt);
  leftOut.add({.rows = 2, .bytes = 30});
  leftOut.add({.rows = 0, .bytes = 0});
  leftOut.add({.rows = 1, .bytes = std::nullopt});
  leftOut.add({.rows = 1, .bytes = 4});
  EXPECT_EQ(leftOut.rows, 5);
  EXPECT_EQ(leftOut.bytes, 34);
}

/// A home folder with files of several sizes and ages.
class FilteredLists : public testing::Test {
 protected:
  FilteredLists() {
    volume_.file("~/big", 64_KiB).modified("~/big", daysAgo(400));
    volume_.file("~/Folder/middle", 16_KiB).modified("~/Folder/middle", daysAgo(30));
    volume_.file("~/small", 4_KiB).modified("~/small", daysAgo(1));
  }

  CommandRun run(std::vector<std::string> words) const {
    words.insert(words.begin(), {"--volume", volume_.root()});
    return runQuarn(words);
  }
  std::vector<std::string> names(std::vector<std::string> words, const std::string& list = "items") const {
    words.emplace_back("--json");
    std::vector<std::string> result;
    const nlohmann::json found = document(run(words));
    for (const auto& item : found[list]) result.push_back(item["name"]);
    return result;
  }

  MacVolume volume_;
};

TEST_F(FilteredLists, TopKeepsWhatEachFilterAccepts) {
  EXPECT_THAT(names({"top"}), ElementsAre("big", "middle", "small"));
  EXPECT_THAT(names({"top", "--min-size", "16KiB"}), ElementsAre("big", "middle"));
  EXPECT_THAT(names({"top", "--older-than", "10d"}), ElementsAre("big", "middle"));
  EXPECT_THAT(names({"top", "--newer-than", "60d"}), ElementsAre("middle", "small"));
  EXPECT_THAT(names({"top", "--exclude", "Folder", "--exclude", "sm*"}), ElementsAre("big"));
  EXPECT_THAT(names({"top", "--sort", "name"}), ElementsAre("big", "middle", "small"));
  EXPECT_THAT(names({"top", "--sort", "age", "--limit", "2"}), ElementsAre("big", "middle"));
}

TEST_F(FilteredLists, AFilterMakesRoomForSmallerItems) {
  EXPECT_THAT(names({"top", "--limit", "1", "--exclude", "big"}), ElementsAre("middle"));
  EXPECT_THAT(names({"top", "~", "--files", "--limit", "1", "--newer-than", "60d"}), ElementsAre("small"));
}

TEST_F(FilteredLists, TheLineBelowSaysHowMuchWasLeftOut) {
  EXPECT_THAT(run({"top", "--limit", "1", "--bytes"}).out, HasSubstr("\n2 rows left out, 20480 on disk.\n"));
  EXPECT_THAT(run({"top", "~", "--files", "--min-size", "5KB", "--bytes"}).out,
              HasSubstr("\n1 row left out, 4096 on disk.\n"));
  EXPECT_EQ(run({"top"}).out.find("left out"), std::string::npos);
  EXPECT_EQ(document(run({"top", "--limit", "1", "--json"}))["leftOut"]["bytes"], 20480);
}

TEST_F(FilteredLists, AppsAreFilteredBySizeNameAndPlace) {
  volume_.app("/Applications/Small.app", {.bundleIdentifier = "com.example.small"})
      .app("/Applications/Large.app", {.bundleIdentifier = "com.example.large"})
      .file("/Applications/Large.app/Contents/data", 64_KiB)
      .app("/Applications/Tools/Third.app", {.bundleIdentifier = "com.example.third"});
  EXPECT_THAT(names({"apps", "--min-size", "60KB"}, "apps"), ElementsAre("Large"));
  EXPECT_THAT(names({"apps", "--exclude", "/Applications/Tools"}, "apps"), ElementsAre("Large", "Small"));
  EXPECT_THAT(names({"apps", "--sort", "size", "--limit", "1"}, "apps"), ElementsAre("Large"));
}

TEST_F(FilteredLists, BytesLeftOutAreNullWhereNoSizeIsKnown) {
  volume_.app("/Applications/A.app", {.bundleIdentifier = "com.example.a"})
      .app("/Applications/B.app", {.bundleIdentifier = "com.example.b"})
      .file("/Applications/B.app/Contents/data", 64_KiB)
      .folder("~/Library/Caches/com.gone.Editor");
  const auto leftOut = [&](std::vector<std::string> words) {
    words.emplace_back("--json");
    return document(run(words))["leftOut"];
  };
  const nlohmann::json unknown{{"rows", 1}, {"bytes", nullptr}, {"isExact", true}};
  EXPECT_EQ(leftOut({"apps", "--limit", "1"}), unknown);
  EXPECT_EQ(leftOut({"leftovers", "--exclude", "com.gone.Editor"}), unknown);
  EXPECT_EQ(leftOut({"leftovers", "--size", "--exclude", "com.gone.Editor"})["bytes"], 0);
  EXPECT_GE(leftOut({"apps", "--sizes", "--limit", "1"})["bytes"], 64_KiB);
  EXPECT_EQ(leftOut({"apps", "--limit", "0"})["rows"], 2);
  EXPECT_EQ(leftOut({"storage", "games", "--limit", "9"}),
            (nlohmann::json{{"rows", 0}, {"bytes", 0}, {"isExact", true}}));
}

TEST_F(FilteredLists, TopListsWhatBelongsToAnApp) {
  volume_.app("/Applications/Lone.app", {.bundleIdentifier = "com.example.lone", .name = "Lone"})
      .file("~/Library/Caches/com.example.lone/cache", 8_KiB);
  EXPECT_THAT(names({"top", "--owner", "lone"}), ElementsAre("cache"));
  EXPECT_THAT(names({"top", "--owner", "com.example.lone"}), ElementsAre("cache"));
  EXPECT_THAT(names({"top", "--owner", "nobody"}), ElementsAre());
}

TEST_F(FilteredLists, LeftoversAreFilteredByOwnerSizeAndPlace) {
  volume_.file("~/Library/Caches/com.gone.editor/a", 64_KiB)
      .file("~/Library/Preferences/com.gone.editor.plist", 4_KiB)
      .file("~/Library/Caches/org.lost.player/b", 8_KiB);
  const auto owners = [&](std::vector<std::string> words) {
    words.insert(words.begin(), "leftovers");
    words.emplace_back("--json");
    std::vector<std::string> result;
    const nlohmann::json found = document(run(words));
    for (const auto& leftover : found["leftovers"]) {
      result.push_back(leftover["owner"]["bundleIdentifier"]);
    }
    return result;
  };
  EXPECT_THAT(owners({}), ElementsAre("com.gone.editor", "org.lost.player"));
  EXPECT_THAT(owners({"--min-size", "10KB"}), ElementsAre("com.gone.editor"));
  EXPECT_THAT(owners({"--owner", "org.lost.player"}), ElementsAre("org.lost.player"));
  EXPECT_THAT(owners({"--exclude", "Caches"}), ElementsAre("com.gone.editor"));
  volume_.modified("~/Library/Preferences/com.gone.editor.plist", daysAgo(400));
  EXPECT_THAT(owners({"--older-than", "90d"}), ElementsAre());
  EXPECT_THAT(owners({"--older-than", "90d", "--exclude", "Caches"}), ElementsAre("com.gone.editor"))
      << "what is left out says nothing about the age of the rest";
  EXPECT_THAT(owners({"--sort", "size", "--limit", "1"}), ElementsAre("com.gone.editor"));
}

}  // namespace
}  // namespace quarn::filters_tests
