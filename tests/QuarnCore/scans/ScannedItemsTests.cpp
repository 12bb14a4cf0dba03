#include <algorithm>
#include <limits>
#include <random>
#include <stdexcept>

#include <gmock/gmock.h>

#include "QuarnCore/scans/ScanWriter.h"
#include "QuarnCore/scans/ScannedItems.h"
#include "tests/QuarnCore/scans/ScannedVolume.h"
#include "tests/support/ChangedDatabase.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::scanned_items_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr long kAll = std::numeric_limits<long>::max();

// clang-format off
constexpr std::array<std::string_view, 14> kNames{
    "a", "b", "c.txt", ".h", "Pkg.app", "Doc.rtfd", "x y", "z", "\xFF\x80", "A", "deep", ".app", "B.bundle", "\u00E9",
};
constexpr std::array<std::string_view, 8> kPlaces{
    "~", "~/Documents", "~/Pictures", "~/Library/Caches", "~/.config", "/Applications", "/Elsewhere", "/usr/local",
};
// clang-format on

/// A volume with random files and folders; sizes repeat, so that ties are common.
class RandomFiles : public ScannedVolume {
 public:
  explicit RandomFiles(unsigned seed) : random_(seed) {
    for (const std::string_view place : kPlaces) folder(place);
    for (int i = 0; i < 120; ++i) add();
  }

  unsigned number(unsigned end) { return static_cast<unsigned>(random_() % end); }
  FileURL place() { return url(std::string(kPlaces[number(kPlaces.size())]) + "/"); }

 private:
  void add() {
    std::string path(kPlaces[number(kPlaces.size())]);
    for (auto depth = number(4) + 1; depth > 0; --depth) (path += '/') += kNames[number(kNames.size())];
    const std::int64_t size = number(12) * 4'096;
    try {
      if (number(8) == 0) {
        link(path, "/Elsewhere");
      } else if (number(6) == 0) {
        sparse(path, size * 3);
      } else if (number(10) == 0) {
        folder(path);
      } else {
        file(path, size);
      }
    } catch (const std::runtime_error&) {
      // An item of that name exists.
    }
  }

  std::mt19937 random_;
};

std::vector<std::string> lines(const std::vector<TopItem>& items) {
  std::vector<std::string> result;
  for (const TopItem& item : items) {
    result.push_back(item.url.string() + " " + item.name + " " + std::to_string(item.size.allocatedBytes) + " " +
                     std::to_string(item.size.logicalBytes));
  }
  return result;
}

void dropEmpty(std::vector<TopItem>& items) {
  std::erase_if(items, [](const TopItem& item) { return item.size == SizeInfo{}; });
}

TEST(ScannedItems, TheAnswersOfAScanAreThoseOfTheVolume) {
  ScanFolder folder;
  for (unsigned seed = 0; seed < 20; ++seed) {
    RandomFiles volume(seed);
    (void)volume.scanTo(folder.at("scan"));
    const ScannedItems scanned(Scan::open(folder.at("scan")));
    const FileManager files = volume.files();
    const TopItemsService live(FileSizeCalculator::live(files), files);
    for (int i = 0; i < 12; ++i) {
      const std::vector<FileURL> in{volume.place(), volume.place()};
      const bool hidden = volume.number(2) == 0;
      const long limit = 1 + volume.number(40);
      const TopItemsService::SearchOptions options{.limit = limit,
                                                   .maxDepth = volume.number(2) == 0 ? kAll : 1 + volume.number(4),
                                                   .maxVisited = kAll,
                                                   .allowSlowForPackages = volume.number(4) != 0,
                                                   .includeHidden = hidden,
                                                   .preferAllocatedSize = volume.number(2) == 0,
                                                   .keepsZeroAllocation = volume.number(2) == 0,
                                                   .meetsItemsOnce = volume.number(2) == 0};
      const auto found = scanned.topFilesRecursively(in, options);
      EXPECT_TRUE(found.isWhole);
      EXPECT_THAT(found.missing, IsEmpty());
      ASSERT_EQ(lines(found.items), lines(live.topFilesRecursively(in, options, Cancellation::never()))) << seed;
      ASSERT_EQ(lines(scanned.topFiles(in, limit, hidden, false).items),
                lines(live.topFiles(in, limit, hidden, Cancellation::never())))
          << seed;
      auto children = live.topChildren(in, limit, true, hidden, Cancellation::never());
      dropEmpty(children);
      ASSERT_EQ(lines(scanned.topChildren(in, limit, hidden, false).items), lines(children)) << seed;
    }
  }
}

std::int64_t onDisk(const SizeInfo& size) { return size.allocatedBytes; }
std::int64_t notOnDisk(const SizeInfo& size) { return size.logicalBytes - size.allocatedBytes; }

// Of equally ranked items, those come first that come first in the list of all items.
TEST(ScannedItems, TheLargestByEachRankAreThoseOfAllItems) {
  constexpr std::size_t kLimit = 25;
  ScanFolder folder;
  for (unsigned seed = 0; seed < 20; ++seed) {
    const RandomFiles volume(seed);
    (void)volume.scanTo(folder.at("scan"));
    const ScannedItems scanned(Scan::open(folder.at("scan")));
    const std::vector<TopItem> all =
        scanned
            .topFilesRecursively({FileURL("/")},
                                 {.limit = kAll, .maxDepth = kAll, .allowSlowForPackages = true, .includeHidden = true})
            .items;
    const std::vector<ScannedItems::Rank> ranks{onDisk, notOnDisk};
    const std::vector<ScannedItems::Answer> lists = scanned.largest(ranks, kLimit);
    ASSERT_THAT(lists, SizeIs(ranks.size()));
    for (std::size_t i = 0; i < ranks.size(); ++i) {
      std::vector<TopItem> expected = all;
      std::erase_if(expected, [&](const TopItem& item) { return ranks[i](item.size) <= 0; });
      std::stable_sort(expected.begin(), expected.end(), [&](const TopItem& left, const TopItem& right) {
        return ranks[i](left.size) > ranks[i](right.size);
      });
      expected.resize(std::min(expected.size(), kLimit));
      EXPECT_FALSE(expected.empty());
      EXPECT_TRUE(lists[i].isWhole);
      ASSERT_EQ(lines(lists[i].items), lines(expected)) << seed;
    }
  }
}

TEST(ScannedItems, AnAnswerEndsBeforeFilesThatTheScanDoesNotHave) {
  ScannedVolume volume;
  for (int i = 1; i <= 9; ++i) volume.sparse("~/Pictures/" + std::to_string(i), i * 10);
  volume.sparse("~/Pictures/P.app/x", 35);
  RecordedFolders folders(4);
  (void)volume.dashboard().calculatePartitionedCategorySizes({}, Cancellation::never(), &folders);
  folders.finish();
  ScanFolder folder;
  ASSERT_TRUE(writeScan(folder.at("scan"), {}, folders, Cancellation::never()));
  const ScannedItems items(Scan::open(folder.at("scan")));
  const auto ask = [&](long limit) {
    return items.topFilesRecursively(
        {volume.url("~/Pictures/")},
        {.limit = limit, .maxDepth = kAll, .maxVisited = kAll, .allowSlowForPackages = true});
  };
  EXPECT_TRUE(ask(3).isWhole);
  EXPECT_THAT(ask(3).items, SizeIs(3));
  EXPECT_FALSE(ask(5).isWhole);
  EXPECT_THAT(ask(5).items, SizeIs(4));  // the package is smaller than files that are missing
  EXPECT_FALSE(items.topChildren({volume.url("~/Pictures/")}, 9, true, true).isWhole);
  const auto byLength = [](const SizeInfo& size) { return size.logicalBytes; };
  EXPECT_TRUE(items.largest({byLength}, 3).front().isWhole);
  EXPECT_FALSE(items.largest({byLength}, 5).front().isWhole);
  EXPECT_THAT(items.largest({byLength}, 5).front().items, SizeIs(4));
}

TEST(ScannedItems, ChildrenAreRankedBySpaceOnDiskOrByTheLargerOfSpaceAndLength) {
  ScannedVolume volume;
  volume.sparse("~/Pictures/sparse", 1'000'000).file("~/Pictures/full", 50'000);
  ScanFolder folder;
  (void)volume.scanTo(folder.at("scan"));
  const ScannedItems items(Scan::open(folder.at("scan")));
  const std::vector<FileURL> in{volume.url("~/Pictures")};
  const auto named = [](const char* name) { return testing::Field(&TopItem::name, name); };
  EXPECT_THAT(items.topChildren(in, 9, true, true).items, ElementsAre(named("full"), named("sparse")));
  EXPECT_THAT(items.topFiles(in, 9, true, true).items, ElementsAre(named("full"), named("sparse")));
  EXPECT_THAT(items.topChildren(in, 9, true, false).items, ElementsAre(named("sparse"), named("full")));
  EXPECT_THAT(items.topFiles(in, 9, true, false).items, ElementsAre(named("sparse"), named("full")));
  EXPECT_THAT(items.topFiles(in, 0, true, false).items, IsEmpty());
  EXPECT_THAT(items.topFiles(in, -1, true, false).items, IsEmpty());
}

TEST(ScannedItems, AFolderThatIsNotInTheScanIsMissing) {
  ScannedVolume volume;
  volume.file("~/Pictures/a", 1);
  ScanFolder folder;
  (void)volume.scanTo(folder.at("scan"));
  const ScannedItems items(Scan::open(folder.at("scan")));
  EXPECT_THAT(items.topFiles({volume.url("~/nowhere")}, 5, true, true).missing, ElementsAre(volume.url("~/nowhere")));
}

TEST(ScannedItems, AFolderThatCouldNotBeReadIsMissing) {
  ScannedVolume volume;
  volume.file("~/Pictures/Closed/a", 5'000).file("~/Pictures/Closed.app/a", 5'000).file("~/Pictures/b", 3);
  volume.mode("~/Pictures/Closed", 0000).mode("~/Pictures/Closed.app", 0000);
  ScanFolder folder;
  {
    const UnprivilegedUser user;
    (void)volume.scanTo(folder.at("scan"));
  }
  volume.mode("~/Pictures/Closed", 0700).mode("~/Pictures/Closed.app", 0700);
  const ScannedItems items(Scan::open(folder.at("scan")));
  const TopItemsService::SearchOptions options{
      .limit = kAll, .maxDepth = kAll, .maxVisited = kAll, .allowSlowForPackages = true};
  const FileURL closed = volume.url("~/Pictures/Closed");
  for (const auto& answer : {items.topFilesRecursively({closed}, options), items.topChildren({closed}, 9, true, true),
                             items.topFiles({closed}, 9, true, true)}) {
    EXPECT_THAT(answer.missing, ElementsAre(closed));
    EXPECT_THAT(answer.items, IsEmpty());
  }
  const std::vector<FileURL> pictures{volume.url("~/Pictures")};
  for (const auto& answer : {items.topChildren(pictures, 9, true, true), items.topFiles(pictures, 9, true, true)}) {
    EXPECT_THAT(answer.missing, IsEmpty());
    EXPECT_THAT(answer.items, ElementsAre(testing::Field(&TopItem::name, "b")));
  }
}

// Each folder is possible by itself, but the way from the file to the root of the search is not.
TEST(ScannedItems, AWayThatLeavesTheRootIsDamage) {
  ScannedVolume volume;
  volume.file("~/Pictures/a/b/c", 5'000);
  ScanFolder folder;
  (void)volume.scanTo(folder.at("scan"));
  changeDatabase(folder.at("scan"), "UPDATE folders SET parent=0 WHERE name='b'");
  const Scan scan = Scan::open(folder.at("scan"));
  EXPECT_NO_THROW(scan.readAll());
  const TopItemsService::SearchOptions options{.limit = 9, .maxDepth = kAll, .maxVisited = kAll};
  EXPECT_THROW((void)ScannedItems(scan).topFilesRecursively({volume.url("~/Pictures")}, options), ScanError);
}

}  // namespace
}  // namespace quarn::scanned_items_tests
