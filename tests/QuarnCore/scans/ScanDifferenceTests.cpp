#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>

#include <gmock/gmock.h>

#include "QuarnCore/scans/ScanDifference.h"
#include "QuarnCore/scans/ScanWriter.h"
#include "tests/QuarnCore/scans/ScannedVolume.h"
#include "tests/support/ChangedDatabase.h"

namespace quarn::scan_difference_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;

class ScanDifferenceTest : public testing::Test {
 protected:
  /// The scans before and after a change of the volume.
  template <class Change>
  ScanDifference after(const Change& change, std::int64_t minimum = 1) {
    (void)volume_.scanTo(folder_.at("old"));
    change();
    (void)volume_.scanTo(folder_.at("new"));
    return compareScans(Scan::open(folder_.at("old")), Scan::open(folder_.at("new")), minimum);
  }

  /// Paths and growths.
  static std::vector<std::pair<std::string, std::int64_t>> folders(const ScanDifference& difference) {
    std::vector<std::pair<std::string, std::int64_t>> result;
    for (const FolderChange& change : difference.folders) {
      result.emplace_back(change.url.path(), (change.after ? change.after->allocatedBytes : 0) -
                                                 (change.before ? change.before->allocatedBytes : 0));
    }
    return result;
  }

  ScannedVolume volume_;
  ScanFolder folder_;
};

TEST_F(ScanDifferenceTest, EqualScansDoNotDiffer) {
  volume_.fill();
  EXPECT_TRUE(after([] {}).isEmpty());
}

TEST_F(ScanDifferenceTest, AFolderIsListedInsteadOfItsParentsWhenItExplainsTheirChange) {
  volume_.file("~/Pictures/trip/a", 4'096).file("~/Pictures/other/b", 4'096);
  const auto difference = after([&] { volume_.file("~/Pictures/trip/c", 40'960); });
  EXPECT_THAT(folders(difference), ElementsAre(Pair("/Users/ann/Pictures/trip", 40'960)));
}

TEST_F(ScanDifferenceTest, AFolderIsListedWhenTwoFoldersInItMakeItsChange) {
  volume_.file("~/Pictures/a/x", 4'096).file("~/Pictures/b/x", 4'096);
  const auto difference = after([&] { volume_.file("~/Pictures/a/y", 8'192).file("~/Pictures/b/y", 40'960); });
  EXPECT_THAT(folders(difference),
              ElementsAre(Pair("/Users/ann/Pictures", 49'152), Pair("/Users/ann/Pictures/b", 40'960),
                          Pair("/Users/ann/Pictures/a", 8'192)));
}

TEST_F(ScanDifferenceTest, GrowthAndShrinkingThatCancelOutAreBothListed) {
  volume_.file("~/Pictures/a/x", 40'960).file("~/Pictures/b/x", 4'096);
  const auto difference = after([&] { volume_.remove("~/Pictures/a/x").file("~/Pictures/b/y", 40'960); });
  EXPECT_THAT(folders(difference),
              ElementsAre(Pair("/Users/ann/Pictures/a", -40'960), Pair("/Users/ann/Pictures/b", 40'960)));
}

TEST_F(ScanDifferenceTest, ANewFolderAndAFolderThatIsGoneAreListedOnceWithoutWhatIsInThem) {
  volume_.file("~/Pictures/gone/in/x", 4'096).file("~/Pictures/gone/x", 4'096);
  const auto difference = after(
      [&] { volume_.remove("~/Pictures/gone").file("~/Documents/new/in/x", 16'384).file("~/Documents/new/y", 4'096); });
  EXPECT_THAT(folders(difference), ElementsAre(Pair("/Users/ann/Documents", 20'480), Pair("/Users/ann", 12'288),
                                               Pair("/Users/ann/Pictures/gone", -8'192)));
  EXPECT_FALSE(difference.folders.back().after);
}

TEST_F(ScanDifferenceTest, SmallChangesAreLeftOut) {
  volume_.file("~/Pictures/a", 4'096);
  EXPECT_TRUE(after([&] { volume_.file("~/Pictures/b", 8'192); }, 8'193).isEmpty());
  EXPECT_FALSE(after([&] { volume_.file("~/Pictures/c", 8'192); }, 8'192).isEmpty());
}

TEST_F(ScanDifferenceTest, AChangeOfTheMinimumIsListedAndDoesNotExplainItsParents) {
  volume_.file("~/Pictures/a/x", 4'096).file("~/Pictures/b/x", 4'096);
  const auto difference = after([&] { volume_.file("~/Pictures/a/y", 8'192).file("~/Pictures/b/y", 40'960); }, 8'192);
  EXPECT_THAT(folders(difference),
              ElementsAre(Pair("/Users/ann/Pictures", 49'152), Pair("/Users/ann/Pictures/b", 40'960),
                          Pair("/Users/ann/Pictures/a", 8'192)));
}

TEST_F(ScanDifferenceTest, WithoutAMinimumWhatDidNotChangeIsNotListed) {
  volume_.fill();
  EXPECT_TRUE(after([] {}, 0).isEmpty());
  EXPECT_TRUE(after([] {}, -1).isEmpty());
}

// Each folder of these scans is possible by itself.
TEST_F(ScanDifferenceTest, AScanWhoseFoldersAreOutOfPlaceIsDamaged) {
  volume_.fill();
  (void)volume_.scanTo(folder_.at("good"));
  for (const char* sql : {"DELETE FROM folders", "DELETE FROM folders WHERE id=1",
                          "DELETE FROM folders WHERE id>0; UPDATE folders SET id=5, name='x', descendants=0",
                          "DELETE FROM folders WHERE id=(SELECT max(id) FROM folders)",
                          "UPDATE folders SET descendants=0 WHERE descendants=1",
                          "UPDATE folders SET descendants=descendants+1 WHERE descendants=1"}) {
    std::filesystem::remove(folder_.at("bad"));
    (void)volume_.scanTo(folder_.at("bad"));
    changeDatabase(folder_.at("bad"), sql);
    const Scan good = Scan::open(folder_.at("good"));
    const Scan bad = Scan::open(folder_.at("bad"));
    EXPECT_THROW((void)compareScans(good, bad, 1), ScanError) << sql;
    EXPECT_THROW((void)compareScans(bad, good, 1), ScanError) << sql;
  }
}

// In the first scan, each folder ends in the one after it: a comparison that believed this would visit the last one
// about 10^12 times. In the second one, a folder ends after its parent.
TEST_F(ScanDifferenceTest, FoldersThatOverlapAreDamage) {
  for (const char* sql :
       {"UPDATE folders SET descendants=60 WHERE id=0; WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i+1 FROM n "
        "WHERE i<60) INSERT INTO folders SELECT i, 0, i<60, 'f' || i, 0, 0, 0, NULL, 0 FROM n",
        "UPDATE folders SET descendants=3 WHERE id=0; INSERT INTO folders VALUES(1,0,1,'a',0,0,0,NULL,0),"
        "(2,1,1,'b',0,0,0,NULL,0),(3,2,0,'c',0,0,0,NULL,0)"}) {
    (void)volume_.scanTo(folder_.at("bad"));
    changeDatabase(folder_.at("bad"), std::string("DELETE FROM folders WHERE id>0; ") + sql);
    const Scan bad = Scan::open(folder_.at("bad"));
    EXPECT_NO_THROW(bad.readAll());
    EXPECT_THROW((void)compareScans(bad, bad, 1), ScanError) << sql;
  }
}

TEST_F(ScanDifferenceTest, CategoriesThatChangedAreListedTheLargestChangeFirst) {
  volume_.file("~/Pictures/a", 40'960).file("~/Documents/a", 4'096);
  const auto difference = after([&] { volume_.remove("~/Pictures/a").file("~/Documents/b", 4'096); });
  ASSERT_THAT(difference.categories, SizeIs(2));
  EXPECT_EQ(difference.categories[0].id, StorageCategoryID::photos);
  EXPECT_EQ(difference.categories[0].before.allocatedBytes, 40'960);
  EXPECT_EQ(difference.categories[0].after.allocatedBytes, 0);
  EXPECT_EQ(difference.categories[1].id, StorageCategoryID::documents);
}

TEST_F(ScanDifferenceTest, NewAndGoneAndUpdatedAppsAreTold) {
  volume_.app("/Applications/Stays.app", {.bundleIdentifier = "com.example.Stays", .version = "1"});
  volume_.app("/Applications/Goes.app", {.bundleIdentifier = "com.example.Goes", .version = "1"});
  const auto difference = after([&] {
    volume_.remove("/Applications/Goes.app").remove("/Applications/Stays.app");
    volume_.app("/Applications/Stays.app", {.bundleIdentifier = "com.example.Stays", .version = "2"});
    volume_.app("/Applications/Comes.app", {.bundleIdentifier = "com.example.Comes", .version = "1"});
  });
  ASSERT_THAT(difference.newApps, SizeIs(1));
  EXPECT_EQ(difference.newApps[0].bundleIdentifier, "com.example.Comes");
  ASSERT_THAT(difference.goneApps, SizeIs(1));
  EXPECT_EQ(difference.goneApps[0].bundleIdentifier, "com.example.Goes");
  ASSERT_THAT(difference.changedApps, SizeIs(1));
  EXPECT_EQ(difference.changedApps[0].versionBefore, "1");
  EXPECT_EQ(difference.changedApps[0].app.version, "2");
}

TEST_F(ScanDifferenceTest, AnAppThatGrewByItsDataIsTold) {
  volume_.app("/Applications/Grows.app", {.bundleIdentifier = "com.example.Grows", .version = "1"});
  volume_.file("~/Library/Caches/com.example.Grows/a", 4'096);
  const auto difference = after([&] { volume_.file("~/Library/Caches/com.example.Grows/b", 40'960); });
  ASSERT_THAT(difference.changedApps, SizeIs(1));
  EXPECT_EQ(difference.changedApps[0].after.allocatedBytes - difference.changedApps[0].before.allocatedBytes, 40'960);
}

TEST_F(ScanDifferenceTest, NewLeftoversJobsAndExtensionsAreTold) {
  const auto difference = after([&] { volume_.fill(); });
  EXPECT_THAT(difference.newLeftovers,
              testing::Contains(testing::Field(&NewLeftover::bundleIdentifier, "com.gone.Sketcher")));
  ASSERT_THAT(difference.newJobs, SizeIs(1));
  EXPECT_EQ(difference.newJobs[0].label, "com.example.job");
  ASSERT_THAT(difference.newExtensions, SizeIs(1));
  EXPECT_THAT(after([] {}).newJobs, IsEmpty());
}

TEST_F(ScanDifferenceTest, OfChangedAppsTheLargestChangeIsFirst) {
  for (const std::string name : {"A", "B", "C"}) {
    volume_.app("/Applications/" + name + ".app", {.bundleIdentifier = "com.example." + name + name, .version = "1"});
    volume_.file("~/Library/Caches/com.example." + name + name + "/a", 81'920);
  }
  const auto difference = after([&] {
    volume_.file("~/Library/Caches/com.example.AA/b", 4'096).remove("~/Library/Caches/com.example.BB/a");
    volume_.file("~/Library/Caches/com.example.CC/b", 40'960);
  });
  std::vector<std::string> names;
  for (const AppChange& change : difference.changedApps) names.push_back(change.app.bundleIdentifier.value_or(""));
  EXPECT_THAT(names, ElementsAre("com.example.BB", "com.example.CC", "com.example.AA"));
}

TEST_F(ScanDifferenceTest, LeftoversWithoutAnIdentifierAreToldApartByTheirNames) {
  (void)volume_.scanTo(folder_.at("old"));
  (void)volume_.scanTo(folder_.at("new"));
  const auto leave = [&](const char* scan, const char* id, const std::string& name) {
    changeDatabase(folder_.at(scan),
                   "INSERT INTO leftovers VALUES(" + std::string(id) + ",'" + name + "',NULL,NULL,1,1)");
  };
  leave("old", "1", "Old Chat");
  leave("new", "1", "Old Chat");
  leave("new", "2", "Older Chat");
  const auto difference = compareScans(Scan::open(folder_.at("old")), Scan::open(folder_.at("new")), 1);
  EXPECT_THAT(difference.newLeftovers, ElementsAre(testing::Field(&NewLeftover::name, "Older Chat")));
}

TEST_F(ScanDifferenceTest, AJobIsNewWhenItsFileOrItsLabelIsNew) {
  const auto job = [&](const std::string& file, const std::string& label) {
    volume_.plist(file, {{"Label", label}, {"Program", "/usr/bin/true"}});
  };
  job("~/Library/LaunchAgents/a.plist", "com.example.a");
  const auto difference = after([&] {
    job("/Library/LaunchAgents/a.plist", "com.example.a");
    volume_.remove("~/Library/LaunchAgents/a.plist");
    job("~/Library/LaunchAgents/a.plist", "com.example.b");
  });
  EXPECT_THAT(difference.newJobs, SizeIs(2));
}

TEST_F(ScanDifferenceTest, ACancelledComparisonHasNothing) {
  (void)volume_.scanTo(folder_.at("old"));
  volume_.fill();
  (void)volume_.scanTo(folder_.at("new"));
  const Cancellation cancellation;
  cancellation.cancel();
  EXPECT_TRUE(compareScans(Scan::open(folder_.at("old")), Scan::open(folder_.at("new")), 1, cancellation).isEmpty());
}

// The rule by its words: for every folder of both scans, from the sizes alone.
TEST_F(ScanDifferenceTest, OnRandomVolumesExactlyTheFoldersOfTheRuleAreListed) {
  std::mt19937 random(7);
  for (int round = 0; round < 15; ++round) {
    const auto change = [&] {
      for (int i = 0; i < 12; ++i) {
        std::string path = "~/Pictures";
        for (auto depth = random() % 4; depth > 0; --depth) path += "/d" + std::to_string(random() % 3);
        volume_.file(path + "/f" + std::to_string(round) + "-" + std::to_string(i),
                     static_cast<std::int64_t>(4'096 * (1 + random() % 6)));
      }
    };
    constexpr std::int64_t kMinimum = 10'000;
    const ScanDifference difference = after(change, kMinimum);
    std::map<std::string, std::array<std::optional<std::int64_t>, 2>> sizes;
    for (int side = 0; side < 2; ++side) {
      std::vector<std::string> paths;
      Scan::open(folder_.at(side == 0 ? "old" : "new")).folders(0, 1'000'000, [&](const ScannedFolder& folder) {
        paths.push_back(folder.id == 0 ? "" : paths[folder.parent] + "/" + folder.name);
        sizes[paths.back()][static_cast<std::size_t>(side)] = folder.sizes.allocatedBytes;
        return true;
      });
    }
    std::vector<std::string> expected;
    for (const auto& [path, pair] : sizes) {
      const auto growth = [](const auto& of) { return of[1].value_or(0) - of[0].value_or(0); };
      const std::string parent =
          path.substr(0, path.find_last_of('/') == std::string::npos ? 0 : path.find_last_of('/'));
      const bool isInNewOne = !path.empty() && (!sizes[parent][0] || !sizes[parent][1]);
      bool isExplained = false;
      if (pair[0] && pair[1]) {
        for (const auto& [other, otherPair] : sizes) {
          const bool isChild = other.size() > path.size() && other.starts_with(path + "/") &&
                               other.find('/', path.size() + 1) == std::string::npos;
          if (isChild && std::abs(growth(pair) - growth(otherPair)) < kMinimum) isExplained = true;
        }
      }
      if (std::abs(growth(pair)) >= kMinimum && !isExplained && !isInNewOne) {
        expected.push_back(path.empty() ? "/" : path);
      }
    }
    std::vector<std::string> found;
    for (const FolderChange& folder : difference.folders) found.push_back(folder.url.path());
    EXPECT_THAT(found, testing::UnorderedElementsAreArray(expected)) << round;
  }
}

TEST_F(ScanDifferenceTest, AnEmptyScanCanBeCompared) {
  RecordedFolders folders;
  folders.finish();
  ASSERT_TRUE(writeScan(folder_.at("old"), {}, folders, Cancellation::never()));
  volume_.fill();
  (void)volume_.scanTo(folder_.at("new"));
  EXPECT_NO_THROW((void)compareScans(Scan::open(folder_.at("old")), Scan::open(folder_.at("new")), 1));
}

}  // namespace
}  // namespace quarn::scan_difference_tests
