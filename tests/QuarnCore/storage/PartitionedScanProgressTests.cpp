#include <chrono>
#include <fstream>
#include <limits>

#include <gmock/gmock.h>

#include "QuarnCore/storage/PartitionedScan.h"
#include "QuarnSystem/DiagnosticsLogger.h"
#include "tests/QuarnCore/storage/DashboardVolume.h"
#include "tests/support/MemoryVolume.h"

namespace quarn::partitioned_scan_progress_tests {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;
using Category = StorageCategoryID;
using Sizes = StorageDashboardService::CategorySizes;

void fill(MacVolume& volume) {
  volume.file("~/Pictures/a", 1).file("~/Library/Mail/a", 2).file("~/Documents/a", 4).file("/usr/a", 8);
  volume.file("/Library/a", 16).folder("~/Movies");
}

constexpr auto kNoInterval = std::chrono::milliseconds(0);

// A scan with as many updates as the interval allows.
PartitionedScan::Totals scan(const DashboardVolume& volume,
                             const std::function<void(const PartitionedScan::Totals&)>& onUpdate,
                             const Cancellation& cancellation, std::chrono::milliseconds interval) {
  const FileManager files = volume.files();
  return PartitionedScan(volume.plan(), {}, files).run({.onUpdate = onUpdate}, cancellation, interval);
}

TEST(PartitionedScanProgress, WithoutAnIntervalUpdatesFollowDuringTheWalkAndTheLastIsTheResult) {
  DashboardVolume volume;
  fill(volume);
  std::vector<PartitionedScan::Totals> updates;
  const PartitionedScan::Totals result = scan(
      volume, [&](const auto& totals) { updates.push_back(totals); }, Cancellation::never(), kNoInterval);
  EXPECT_THAT(updates, Contains(Not(result))) << "what was found before the end";
  EXPECT_EQ(updates.back(), result);
  EXPECT_EQ(result[bucketOf(Category::systemData)].logicalBytes, 24);
}

TEST(PartitionedScanProgress, AnIntervalHasOneUpdateForAnyNumberOfRoots) {
  DashboardVolume volume;
  for (int i = 0; i < 300; ++i) volume.file("~/" + std::to_string(i), 1);
  ASSERT_GE(volume.plan().roots.size(), 300U);
  std::vector<PartitionedScan::Totals> updates;
  const auto add = [&](const PartitionedScan::Totals& totals) { updates.push_back(totals); };
  const PartitionedScan::Totals result = scan(volume, add, Cancellation::never(), std::chrono::hours(1));
  EXPECT_THAT(updates, ElementsAre(result)) << "the final totals, and nothing before them";
  EXPECT_EQ(result[bucketOf(Category::documents)].logicalBytes, 300);
}

TEST(PartitionedScanProgress, TheFirstUpdateOfTheServiceFollowsAfterAHundredMilliseconds) {
  DashboardVolume volume;
  for (int i = 0; i < 300; ++i) volume.file("~/" + std::to_string(i), 1);
  int updates = 0;
  const auto started = std::chrono::steady_clock::now();
  (void)volume.dashboard().calculatePartitionedCategorySizes([&](const Sizes&) { ++updates; }, Cancellation::never());
  const auto taken = std::chrono::steady_clock::now() - started;
  EXPECT_GE(updates, 1);
  EXPECT_LE(updates, 1 + taken / std::chrono::milliseconds(100)) << "the last one, and one an interval";
}

TEST(PartitionedScanProgress, TotalsNeverShrinkAndAlwaysNameEightCategories) {
  DashboardVolume volume;
  fill(volume);
  Sizes before;
  const auto check = [&](const Sizes& totals) {
    EXPECT_EQ(totals.size(), 8u);
    EXPECT_FALSE(totals.contains(Category::free));
    for (const auto& [category, size] : before) {
      EXPECT_GE(totals.at(category).logicalBytes, size.logicalBytes);
      EXPECT_GE(totals.at(category).allocatedBytes, size.allocatedBytes);
    }
    before = totals;
  };
  (void)volume.dashboard().calculatePartitionedCategorySizes(check, Cancellation::never());
  EXPECT_FALSE(before.empty());
}

TEST(PartitionedScanProgress, WithoutRootsThereIsStillALastUpdate) {
  const DashboardVolume volume;
  std::vector<Sizes> updates;
  const Sizes result = volume.dashboard().calculatePartitionedCategorySizes(
      [&](const Sizes& totals) { updates.push_back(totals); }, Cancellation::never());
  EXPECT_THAT(updates, ElementsAre(result));
}

TEST(PartitionedScanCancellation, BeforeTheFirstRootNothingIsCounted) {
  DashboardVolume volume;
  fill(volume);
  const Cancellation cancellation;
  cancellation.cancel();
  int updates = 0;
  const Sizes result =
      volume.dashboard().calculatePartitionedCategorySizes([&](const Sizes&) { ++updates; }, cancellation);
  EXPECT_EQ(updates, 1) << "the final totals";
  EXPECT_EQ(result.size(), 8u);
  for (const auto& [category, size] : result) EXPECT_EQ(size, SizeInfo{}) << rawValue(category);
}

TEST(PartitionedScanCancellation, TheTotalsSoFarAreReturned) {
  DashboardVolume volume;
  fill(volume);
  const Cancellation cancellation;
  PartitionedScan::Totals last{};
  const auto cancelAfterMail = [&](const PartitionedScan::Totals& totals) {
    last = totals;
    if (totals[bucketOf(Category::communication)].logicalBytes == 2) cancellation.cancel();
  };
  const PartitionedScan::Totals result = scan(volume, cancelAfterMail, cancellation, kNoInterval);
  EXPECT_EQ(result, last);
  EXPECT_EQ(result[bucketOf(Category::photos)].logicalBytes, 1);
  EXPECT_EQ(result[bucketOf(Category::communication)].logicalBytes, 2);
  EXPECT_EQ(result[bucketOf(Category::documents)].logicalBytes, 0);
  EXPECT_EQ(result[bucketOf(Category::systemData)].logicalBytes, 0);
}

TEST(PartitionedScanCancellation, ThePreparationStopsAtTheCancelledRoot) {
  DashboardVolume volume;
  fill(volume);
  const Cancellation cancellation;
  const FileManager files = volume.files().cancelledBy(cancellation);
  int asked = 0;
  const VolumeLocationChecker checker{.isExternal = [&](const FileURL&) {
    ++asked;
    cancellation.cancel();
    return false;
  }};
  const StorageSignatureRegistry registry;
  const VendorPathHintIndex hints(VendorProfileRegistry(), files.homeDirectory(), files);
  (void)makeScanPlan(CategoryRoots(registry, hints, FileURL("/q"), files), FileURL("/q"), checker, files);
  EXPECT_EQ(asked, 1);
}

TEST(CategoryRootsCancellation, TheSearchForGamesFindsNothingMore) {
  DashboardVolume volume;
  volume.gameMarker("game.marker");
  volume.file("~/Library/Application Support/Game/game.marker").folder("~/Library/CloudStorage/Drive");
  const Cancellation cancellation;
  const StorageDashboardService dashboard = volume.dashboard();
  EXPECT_EQ(dashboard.categoryRoots(Category::games, true, cancellation).size(), 2U);
  EXPECT_THAT(volume.shortened(dashboard.topItemRoots(Category::documents, true, cancellation)),
              Contains("~/Library/CloudStorage/Drive"));
  cancellation.cancel();
  EXPECT_LT(dashboard.categoryRoots(Category::games, true, cancellation).size(), 2U);
  EXPECT_THAT(volume.shortened(dashboard.topItemRoots(Category::documents, true, cancellation)),
              Not(Contains("~/Library/CloudStorage/Drive")));
}

TEST(PreciseSizeCancellation, ReachesTheSizingOfARoot) {
  DashboardVolume volume;
  volume.file("~/Pictures/a", 1);
  const Cancellation cancellation;
  cancellation.cancel();
  EXPECT_EQ(volume.dashboard().preciseSize(volume.url("~/Pictures/"), Category::photos, cancellation), SizeInfo{});
  EXPECT_EQ(volume.dashboard().preciseSize(volume.url("~/Pictures/"), Category::photos).logicalBytes, 1);
}

// The log lines of an operation, without their time.
template <class Operation>
std::vector<std::string> logged(const MacVolume& volume, const Operation& operation) {
  const std::string path = volume.host("/scan.log");
  EXPECT_TRUE(DiagnosticsLogger::shared().writeTo(path));
  operation();
  DiagnosticsLogger::shared().close();
  std::vector<std::string> lines;
  std::ifstream file(path);
  for (std::string line; std::getline(file, line);) lines.push_back(line.substr(line.find(' ') + 1));
  return lines;
}

TEST(PartitionedScanDiagnostics, EachRootHasItsLine) {
  DashboardVolume volume;
  volume.file("~/Pictures/Slack/a", 1).file("/usr/local/b", 2).file("/usr/c", 4'096).file("~/notes", 8);
  volume.folder("~/Library/Application Support/Quarn/Quarantine");
  const std::size_t excluded = volume.dashboard().categoryExclusions(Category::systemData).size();
  const auto lines =
      logged(volume, [&] { (void)volume.dashboard().calculatePartitionedCategorySizes({}, Cancellation::never()); });
  const auto enumerated = [](const std::string& category, const std::string& root) {
    return "trace [StorageScan] Enumerating root category=" + category + " root=" + root +
           " includeHidden=true allowSlow=true exclusions=0";
  };
  const auto fast = [](const std::string& root, const std::string& bytes, std::size_t exclusions) {
    return "trace [StorageScan] Fast root size category=systemData root=" + root + " allocatedBytes=" + bytes +
           " logicalBytes=" + bytes + " allowSlow=true exclusions=" + std::to_string(exclusions);
  };
  EXPECT_THAT(lines, ElementsAre(enumerated("photos", "/Users/ann/Pictures"), enumerated("development", "/usr/local"),
                                 enumerated("documents", "/Users/ann/notes"),
                                 fast("/Users/ann/Library", "0", excluded + 1), fast("/usr", "4096", excluded + 1),
                                 fast("\"/Users/ann/Library/Application Support/Quarn/Quarantine\"", "0", excluded)));
}

TEST(PartitionedScanDiagnostics, MissingRootsAreNotLogged) {
  const DashboardVolume volume;
  EXPECT_THAT(
      logged(volume, [&] { (void)volume.dashboard().calculatePartitionedCategorySizes({}, Cancellation::never()); }),
      IsEmpty());
}

TEST(PreciseSizeDiagnostics, EachRootThatExistsHasItsLine) {
  DashboardVolume volume;
  volume.sparse("~/Documents/a", 5).folder("~/Library/CloudStorage/Box").link("~/link", "Documents2");
  const auto line = [](const std::string& root, const std::string& logical, const std::string& isCloud) {
    return "trace [StorageScan] Precise root size category=documents root=" + root +
           " allocatedBytes=0 logicalBytes=" + logical + " cloudRoot=" + isCloud + " exclusions=0";
  };
  EXPECT_THAT(logged(volume, [&] { (void)volume.dashboard().calculatePreciseSize(Category::documents, {}); }),
              ElementsAre(line("/Users/ann/Documents", "5", "false"),
                          line("/Users/ann/Library/CloudStorage/Box", "0", "true")));
}

TEST(PreciseSizeDiagnostics, SystemDataLogsItsExclusions) {
  DashboardVolume volume;
  volume.sparse("/usr/a", 7).sparse("/usr/local/b", 9);
  const std::size_t excluded = volume.dashboard().categoryExclusions(Category::systemData).size();
  EXPECT_THAT(logged(volume, [&] { (void)volume.dashboard().calculatePreciseSize(Category::systemData, {}); }),
              ElementsAre("trace [StorageScan] Precise root size category=systemData root=/usr allocatedBytes=0 "
                          "logicalBytes=7 cloudRoot=false exclusions=" +
                          std::to_string(excluded)));
}

// Each root fits, the two together do not. No disk has such files, a file system in memory does.
TEST(PartitionedScanOverflow, TotalsOfSeveralRootsThatDoNotFitAreAnError) {
  MacVolume volume = volumeInMemory();
  constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
  volume.sparse("~/Pictures/a", kMost).folder("~/Movies");
  const auto scanned = [&] {
    ScanPlan plan;
    for (const char* path : {"/Users/ann/Pictures", "/Users/ann/Movies"}) {
      plan.roots.push_back({.path = path, .location = path, .defaultCategory = Category::photos});
    }
    return PartitionedScan(std::move(plan), {}, volume.files()).run({}, Cancellation::never());
  };
  EXPECT_EQ(scanned()[bucketOf(Category::photos)].logicalBytes, kMost);
  volume.sparse("~/Movies/a", 1);
  EXPECT_THROW((void)scanned(), SizeOverflow);
}

}  // namespace
}  // namespace quarn::partitioned_scan_progress_tests
