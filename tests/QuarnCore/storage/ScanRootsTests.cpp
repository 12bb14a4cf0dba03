#include <gmock/gmock.h>

#include "QuarnCore/storage/PartitionedScan.h"
#include "tests/QuarnCore/storage/DashboardVolume.h"

namespace quarn::scan_roots_tests {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

// "photos ~/Pictures" for an enumerated root, "systemData! /usr" for a fast one.
std::vector<std::string> roots(const DashboardVolume& volume) {
  std::vector<std::string> lines;
  for (const ScanRoot& root : volume.plan().roots) {
    const std::string path = volume.shortened({FileURL(root.path)})[0];
    lines.push_back(std::string(rawValue(root.defaultCategory)) + (root.mode.isFast() ? "! " : " ") + path);
  }
  return lines;
}

TEST(ScanRoots, EnumeratedOnesByCategoryThenSystemFoldersThenTheQuarantine) {
  DashboardVolume volume;
  volume.folder("~/.config").folder("~/.Trash").folder("~/Applications").folder("~/Desktop").folder("~/Games");
  volume.folder("~/.cargo").folder("~/Library/Mail").folder("~/Pictures").folder("/usr/local").folder("/Users/bob");
  volume.folder("/private/var").folder("/System").folder("/Users/Shared").folder("/Applications").folder("~/stuff");
  volume.folder("~/Library/Application Support/Quarn/Quarantine").folder("/Library");
  EXPECT_THAT(roots(volume),
              ElementsAre("photos ~/Pictures", "communication ~/Library/Mail", "development ~/.cargo",
                          "development /usr/local", "games ~/Games", "documents ~/Desktop", "documents ~/stuff",
                          "apps /Applications", "apps ~/Applications", "other ~/.config", "systemData! ~/.Trash",
                          "systemData! ~/Library", "systemData! /Library", "systemData! /System",
                          "systemData! /private/var", "systemData! /usr", "systemData! /Users/Shared",
                          "systemData! /Users/bob", "systemData! ~/Library/Application Support/Quarn/Quarantine"));
}

TEST(ScanRoots, DiscoveredGamesAreRoots) {
  DashboardVolume volume;
  volume.gameMarker("marker");
  volume.file("/Users/Shared/Game/marker");
  EXPECT_THAT(roots(volume), ElementsAre("games /Users/Shared/Game", "systemData! /Users/Shared"));
}

TEST(ScanRoots, MissingOnesAreDropped) {
  const DashboardVolume volume;
  EXPECT_THAT(roots(volume), IsEmpty());
}

TEST(ScanRoots, FilesAreRootsToo) {
  DashboardVolume volume;
  volume.file("~/notes.txt").file("~/.zshrc");
  EXPECT_THAT(roots(volume), ElementsAre("documents ~/notes.txt", "other ~/.zshrc"));
}

TEST(ScanRoots, OnesOnOtherVolumesAreDropped) {
  DashboardVolume volume;
  volume.folder("/Volumes/Disk/stuff").link("~/disk", "/Volumes/Disk/stuff").link("~/Pictures", "/Volumes/Disk");
  volume.link("/Volumes/Macintosh HD", "/").link("~/mine", "/Volumes/Macintosh HD/Elsewhere").folder("/Elsewhere");
  EXPECT_THAT(roots(volume), ElementsAre("documents /Elsewhere")) << "the system volume's own entry is no other volume";
}

TEST(ScanRoots, LinkedRootsAreResolvedAndAreLast) {
  DashboardVolume volume;
  volume.folder("/Data/pics").link("~/Pictures", "/Data/pics").folder("~/Movies").folder("/usr").folder("/Data/lib");
  volume.link("/Library", "Data/lib").folder("/Data/docs").link("~/docs", "/Data/docs");
  EXPECT_THAT(roots(volume), ElementsAre("photos ~/Movies", "systemData! /usr", "photos /Data/pics",
                                         "documents /Data/docs", "systemData! /Data/lib"));
}

TEST(ScanRoots, ALinkInTheMiddleOfThePathMakesALinkedRoot) {
  DashboardVolume volume;
  volume.folder("/Data/ann/Music").folder("/Data/ann/Library").folder("/usr").remove("~").link("~", "/Data/ann");
  EXPECT_THAT(roots(volume),
              ElementsAre("systemData! /usr", "photos /Data/ann/Music", "systemData! /Data/ann/Library"));
}

TEST(ScanRoots, DanglingLinksAndLoopsAreDropped) {
  DashboardVolume volume;
  volume.link("~/gone", "/nowhere").link("~/loop", "loop");
  EXPECT_THAT(roots(volume), IsEmpty());
}

TEST(ScanRoots, OfThoseThatResolveAlikeTheFirstIsKept) {
  DashboardVolume volume;
  volume.folder("~/Documents").link("~/Pictures", "Documents");
  EXPECT_THAT(roots(volume), ElementsAre("documents ~/Documents")) << "what is reached without a link comes first";
  DashboardVolume both;
  both.folder("/Data").link("~/Pictures", "/Data").link("~/Documents", "/Data");
  EXPECT_THAT(roots(both), ElementsAre("photos /Data"));
  DashboardVolume system;
  system.folder("/Library").link("~/everything", "/Library");
  EXPECT_THAT(roots(system), ElementsAre("systemData! /Library"));
}

TEST(ScanRoots, AnEnumeratedOneInAnotherIsLeftToItsRule) {
  DashboardVolume volume;
  volume.folder("~/Library/Mobile Documents/com~apple~CloudDocs/Desktop")
      .folder("~/.cargo")
      .folder("~/Games/Steam/steamapps");
  volume.folder("~/Pictures/Slack");
  volume.vendor("slack", {"~/Pictures/Slack"});
  EXPECT_THAT(roots(volume),
              ElementsAre("photos ~/Pictures", "development ~/.cargo", "games ~/Games",
                          "documents ~/Library/Mobile Documents/com~apple~CloudDocs", "systemData! ~/Library"));
}

TEST(ScanRoots, NestedSystemFoldersStay) {
  DashboardVolume volume;
  volume.folder("/usr/local")
      .folder("/Data/Users")
      .link("~/data", "/Data")
      .folder("/Data/sys")
      .link("/System", "Data/sys");
  EXPECT_THAT(roots(volume),
              ElementsAre("development /usr/local", "systemData! /usr", "documents /Data", "systemData! /Data/sys"));
}

// If the walk of "/Users" had to count the mail folder, nobody would: that walk skips the Library, and the Library
// skips the mail folder.
TEST(ScanRoots, AnEnumeratedRootBelowAFastOneStays) {
  DashboardVolume volume;
  volume.folder("~/Library/Mail").folder("~/Pictures").link("~/everybody", "/Users");
  EXPECT_THAT(roots(volume), ElementsAre("communication ~/Library/Mail", "systemData! ~/Library", "documents /Users"));
}

TEST(ScanRoots, ThePrivatePrefixIsKeptOnlyInLocations) {
  DashboardVolume volume;
  volume.folder("/private/var/db").link("/var", "private/var");
  const ScanPlan plan = volume.plan();
  ASSERT_EQ(plan.roots.size(), 1u);
  EXPECT_EQ(plan.roots[0].path, "/var");
  EXPECT_EQ(plan.roots[0].location, "/private/var");
  EXPECT_THAT(roots(volume), ElementsAre("systemData! /var")) << "it is not reached through a link";
}

std::vector<std::string> rules(const DashboardVolume& volume) {
  std::vector<std::string> lines;
  for (const PrefixRule& rule : volume.plan().prefixRules) {
    lines.push_back(std::string(rawValue(rule.category)) + " " + volume.shortened({FileURL(rule.prefix)})[0]);
  }
  return lines;
}

TEST(PrefixRules, AreTheRootsOfSixCategoriesInOrderWithLinkedRootsLast) {
  DashboardVolume volume;
  volume.folder("~/stuff")
      .folder("~/.config")
      .folder("/usr")
      .folder("/Data")
      .link("~/Pictures", "/Data")
      .link("/Applications", "Data");
  const std::vector<std::string> found = rules(volume);
  const auto place = [&](const std::string& rule) {
    return std::find(found.begin(), found.end(), rule) - found.begin();
  };
  EXPECT_EQ(found.size(), 5u + 23 + 29 + 1 + 9 + 4);
  EXPECT_LT(place("photos ~/Movies"), place("communication ~/Library/Mail"));
  EXPECT_LT(place("communication ~/Library/Mail"), place("development ~/Library/Developer"));
  EXPECT_LT(place("development ~/Library/Developer"), place("games ~/Games"));
  EXPECT_LT(place("games ~/Games"), place("documents ~/Desktop"));
  EXPECT_LT(place("documents ~/Desktop"), place("documents ~/stuff"));
  EXPECT_LT(place("documents ~/stuff"), place("apps /System/Applications"));
  EXPECT_LT(place("apps /System/Applications"), place("photos /Data"));
  EXPECT_EQ(found[found.size() - 2], "photos /Data");
  EXPECT_EQ(found[found.size() - 1], "apps /Data");
  EXPECT_THAT(found, Not(Contains("other ~/.config")));
  EXPECT_THAT(found, Not(Contains("systemData /usr")));
}

const ScanRoot& rootAt(const ScanPlan& plan, std::string_view location) {
  const auto found = std::find_if(plan.roots.begin(), plan.roots.end(),
                                  [&](const ScanRoot& root) { return root.location == location; });
  EXPECT_NE(found, plan.roots.end()) << location;
  return *found;
}

TEST(ScanRootExclusions, OfAFastOneAreTheRootsInsideAndTheExclusionsOfSystemData) {
  DashboardVolume volume;
  volume.folder("/Data").link("~/Pictures", "/Data").folder("/Library/Developer");
  const ScanPlan plan = volume.plan();
  const std::vector<std::string>& exclusions = rootAt(plan, "/Library").exclusions;
  EXPECT_EQ(exclusions.size(), 1 + volume.dashboard().categoryExclusions(StorageCategoryID::systemData).size());
  EXPECT_EQ(exclusions.front(), "/Library/Developer");
  EXPECT_THAT(exclusions, Contains("/Users/ann/Pictures")) << "an exclusion is not followed through links";
  EXPECT_THAT(exclusions, Not(Contains("/Data")));
}

TEST(ScanRootExclusions, OfAnEnumeratedOneAreAllRootsInsideIt) {
  DashboardVolume volume;
  volume.folder("~/Library/Mail").link("~/everybody", "/Users");
  const ScanPlan plan = volume.plan();
  EXPECT_THAT(rootAt(plan, "/Users").exclusions, ElementsAre("/Users/ann/Library/Mail", "/Users/ann/Library"));
  EXPECT_THAT(rootAt(plan, "/Users/ann/Library/Mail").exclusions, IsEmpty());
}

TEST(ScanModes, CarryTheirFlags) {
  DashboardVolume volume;
  volume.folder("~/Pictures").folder("/Library");
  const ScanPlan plan = volume.plan();
  EXPECT_EQ(rootAt(plan, "/Users/ann/Pictures").mode, ScanMode::enumerate(/*includeHidden=*/true, /*allowSlow=*/true));
  EXPECT_EQ(rootAt(plan, "/Library").mode, ScanMode::fast(/*allowSlow=*/true));
  EXPECT_NE(ScanMode::fast(true), ScanMode::fast(false));
  EXPECT_NE(ScanMode::enumerate(true, true), ScanMode::enumerate(false, true));
}

std::int64_t scannedBytes(const MacVolume& volume, ScanMode mode) {
  const FileManager files = volume.files();
  ScanPlan plan{.roots = {{.path = "/f", .location = "/f", .mode = mode}}};
  const PartitionedScan::Totals totals = PartitionedScan(std::move(plan), {}, files).run({}, Cancellation::never());
  return totals[bucketOf(StorageCategoryID::other)].logicalBytes;
}

TEST(ScanModes, TheFlagsSelectTheWalkedItems) {
  MacVolume volume;
  volume.file("/f/a", 1).file("/f/.hidden", 2);
  EXPECT_EQ(scannedBytes(volume, ScanMode::enumerate(true, true)), 3);
  EXPECT_EQ(scannedBytes(volume, ScanMode::enumerate(false, true)), 1);
  EXPECT_EQ(scannedBytes(volume, ScanMode::fast(true)), 3);
  EXPECT_EQ(scannedBytes(volume, ScanMode::fast(false)), 0);
}

}  // namespace
}  // namespace quarn::scan_roots_tests
