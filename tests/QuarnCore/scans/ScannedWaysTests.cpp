#include <limits>
#include <utility>

#include <gmock/gmock.h>

#include "QuarnCore/scans/ScannedItems.h"
#include "QuarnCore/scans/ScannedWays.h"
#include "tests/QuarnCore/scans/ScannedVolume.h"
#include "tests/support/ChangedDatabase.h"

namespace quarn::scanned_ways_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;

constexpr long kAll = std::numeric_limits<long>::max();

std::vector<std::string> names(const std::vector<TopItem>& items) {
  std::vector<std::string> result;
  for (const TopItem& item : items) result.push_back(item.url.path());
  return result;
}

/// Opens a scan of a volume, after a change of its file.
Scan scanned(const ScannedVolume& volume, const std::string& change = "") {
  const ScanFolder folder;
  (void)volume.scanTo(folder.at("scan"));
  if (!change.empty()) changeDatabase(folder.at("scan"), change);
  return Scan::open(folder.at("scan"));
}

TEST(ScannedWays, AWayAddsUpWhatItPasses) {
  ScannedVolume volume;
  volume.file("~/a/.b/c/d/x", 1).file("~/P.app/in/x", 1);
  const Scan scan = scanned(volume);
  ScannedWays ways(scan, scan.folder("/Users/ann")->id);
  const auto to = [&](const char* path) { return ways.to(scan.folder(path)->id); };
  const ScannedWays::Way deepest = to("/Users/ann/a/.b/c/d");
  EXPECT_EQ(deepest.length, 4);
  EXPECT_TRUE(deepest.isHidden);
  EXPECT_FALSE(deepest.isInPackage);
  EXPECT_EQ(to("/Users/ann").length, 0);
  EXPECT_FALSE(to("/Users/ann/a").isHidden);
  EXPECT_TRUE(to("/Users/ann/P.app/in").isInPackage);
  EXPECT_FALSE(to("/Users/ann/P.app/in").isHidden);
  EXPECT_EQ(ways.path(scan.folder("/Users/ann/a/.b/c/d")->id, "x"), "a/.b/c/d/x");
  EXPECT_EQ(ways.path(scan.folder("/Users/ann")->id, "x"), "x");
}

TEST(ScannedWays, WhatIsNotBelowTheRootIsDamage) {
  ScannedVolume volume;
  volume.file("~/a/b/x", 1).file("~/c/x", 1);
  const Scan scan = scanned(volume);
  ScannedWays ways(scan, scan.folder("/Users/ann/a/b")->id);
  EXPECT_THROW((void)ways.to(scan.folder("/Users/ann/c")->id), ScanError);
  EXPECT_THROW((void)ways.to(scan.folder("/Users/ann")->id), ScanError);
}

// Not as whole paths: "a.txt" is before "a/z" there.
TEST(ScannedWays, AWalkMeetsItemsNameByName) {
  ScannedVolume volume;
  volume.file("~/a/m/x", 5'000).file("~/a/z", 5'000).file("~/a.txt", 5'000).file("~/a/b", 5'000);
  volume.file("~/c/a", 5'000).file("~/b", 5'000).file("~/d", 5'000).folder("~/c/empty");
  const Scan scan = scanned(volume);
  const std::vector<std::string> walked{"/Users/ann/a/b", "/Users/ann/a/m/x", "/Users/ann/a/z", "/Users/ann/a.txt",
                                        "/Users/ann/b",   "/Users/ann/c/a",   "/Users/ann/d"};
  const ScannedItems items(scan);
  const auto largest = [&](long limit) {
    return names(items.topFilesRecursively({volume.url("~")}, {.limit = limit, .maxDepth = kAll}).items);
  };
  EXPECT_EQ(largest(kAll), walked);
  EXPECT_EQ(largest(3), (std::vector(walked.begin(), walked.begin() + 3)));
}

TEST(ScannedWays, ItemsBelowManyFoldersAreThoseOfTheVolume) {
  ScannedVolume volume;
  std::string folder = "~";
  for (int depth = 1; depth <= 900; ++depth) {
    folder += depth % 2 == 0 ? "/b" : "/d";
    if (depth % 90 == 0) volume.file(folder + "/a", 5'000).file(folder + "/c", 5'000).file(folder + "/e", 5'000);
  }
  for (int i = 0; i < 30; ++i) volume.file(folder + "/f" + std::to_string(i), 5'000);
  const ScannedItems items(scanned(volume));
  const FileManager files = volume.files();
  const TopItemsService live(FileSizeCalculator::live(files), files);
  for (const long limit : {7L, 45L, kAll}) {
    for (const long depth : {500L, 901L, kAll}) {
      const TopItemsService::SearchOptions options{.limit = limit, .maxDepth = depth, .maxVisited = kAll};
      const auto expected = live.topFilesRecursively({volume.url("~")}, options, Cancellation::never());
      EXPECT_FALSE(expected.empty());
      EXPECT_EQ(names(items.topFilesRecursively({volume.url("~")}, options).items), names(expected)) << limit;
    }
  }
}

// A file that was changed by hand may have two items of a name, and folders in another order.
TEST(ScannedWays, ItemsOfEqualNameAreBothListed) {
  ScannedVolume volume;
  volume.file("~/a/x", 5'000).file("~/b/x", 5'000).file("~/c", 5'000);
  const Scan scan = scanned(volume, "UPDATE folders SET name='c' WHERE name IN ('a', 'b')");
  const ScannedItems items(scan);
  EXPECT_THAT(items.topFilesRecursively({volume.url("~")}, {.limit = 9, .maxDepth = kAll}).items, SizeIs(3));
}

}  // namespace
}  // namespace quarn::scanned_ways_tests
