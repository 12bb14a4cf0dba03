#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <map>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>

#include <gmock/gmock.h>
#include <sys/stat.h>

#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/files/ReadReport.h"
#include "QuarnPlatform/paths/PathTrie.h"
#include "QuarnPlatform/walking/DirectoryEnumerator.h"
#include "QuarnPlatform/walking/TreeSizer.h"
#include "tests/QuarnPlatform/walking/Sizing.h"
#include "tests/support/DeepTrees.h"
#include "tests/support/Descriptors.h"
#include "tests/support/MacVolume.h"
#include "tests/support/MemoryVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::tree_sizer_tests {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

using Step = Attribution::Step;
using Totals = TreeSizer::Totals;

std::int64_t allocatedOf(const MacVolume& volume, std::string_view path) {
  struct stat status {};
  EXPECT_EQ(::lstat(volume.host(path).c_str(), &status), 0);
  return status.st_blocks * 512;
}

// Every rule holds whatever the number of threads.
class Sizing : public SizingWithThreads {
 protected:
  using SizingWithThreads::SizingWithThreads;

  [[nodiscard]] ByteCounts total(std::string_view root, HiddenItems hidden = HiddenItems::include) const {
    return TreeSizer::total(files(), FileURL(root), options(hidden));
  }

  [[nodiscard]] Totals totals(const Attribution& attribution, const Step& rootStep = {}) const {
    return TreeSizer::totals(files(), FileURL("/t"), attribution, rootStep, options());
  }

  /// The errno and the operation of the error that sizing `root` throws.
  [[nodiscard]] std::pair<int, std::string> errorOf(std::string_view root) const {
    try {
      (void)total(root);
    } catch (const FileError& error) {
      EXPECT_EQ(error.path(), root);
      return {error.error(), error.operation()};
    }
    return {0, ""};
  }
};

class SizingBigTrees : public Sizing {
 protected:
  SizingBigTrees() : Sizing(InMemory::yes) {}
};

INSTANTIATE_TEST_SUITE_P(OnThreads, Sizing, ::testing::Values(0U, 1U, 2U, 8U));
INSTANTIATE_TEST_SUITE_P(OnThreads, SizingBigTrees, ::testing::Values(0U, 1U, 2U, 8U));

// --- What counts -----------------------------------------------------------------------------------------------------

TEST_P(Sizing, RegularFilesAddTheirLengthAndTheirBlocks) {
  volume.file("/t/a", 5000).file("/t/b/c", 70'000).file("/t/b/empty");
  const ByteCounts sum = total("/t");
  EXPECT_EQ(sum.logicalBytes, 75'000);
  EXPECT_EQ(sum.allocatedBytes, allocatedOf(volume, "/t/a") + allocatedOf(volume, "/t/b/c"));
}

TEST_P(Sizing, FoldersLinksAndSpecialFilesAddNothing) {
  volume.folder("/t/a/b").link("/t/link", "/a long target that takes some bytes itself").fifo("/t/pipe").socket("/t/s");
  EXPECT_EQ(total("/t"), ByteCounts{});
}

TEST_P(Sizing, HardLinksCountEachTime) {
  volume.file("/t/a", 5000).hardLink("/t/b", "/t/a").hardLink("/t/c/d", "/t/a");
  EXPECT_EQ(total("/t").logicalBytes, 15'000);
  EXPECT_EQ(total("/t").allocatedBytes, 3 * allocatedOf(volume, "/t/a"));
}

TEST_P(Sizing, ASparseFileIsLongAndTakesNothing) {
  volume.sparse("/t/a", 1'000'000'000'000);
  EXPECT_EQ(total("/t"), (ByteCounts{.allocatedBytes = 0, .logicalBytes = 1'000'000'000'000}));
}

TEST_P(Sizing, LinksAreNeverFollowed) {
  volume.file("/t/a", 10)
      .file("/outside/b", 1000)
      .link("/t/out", "/outside")
      .link("/t/up", "..")
      .link("/t/self", "self");
  EXPECT_EQ(total("/t").logicalBytes, 10);
}

TEST_P(Sizing, HiddenItemsCountUnlessTheyAreToBeSkippedWithAllBelowThem) {
  volume.file("/.t/.file", 1).file("/.t/.folder/inner", 10).file("/.t/shown/.hidden", 100).file("/.t/shown/file", 1000);
  EXPECT_EQ(total("/.t").logicalBytes, 1111);
  EXPECT_EQ(total("/.t", HiddenItems::skip).logicalBytes, 1000);
}

TEST_P(Sizing, PackagesAreFoldersLikeOthers) {
  volume.file("/t/A.app/Contents/a", 10).file("/t/marked/b", 100).bundleBit("/t/marked");
  EXPECT_EQ(total("/t").logicalBytes, 110);
}

TEST_P(Sizing, NamesThatAreNoTextCountToo) {
  volume.file("/t/\xFF\xFE/\xC3(\n\x1B", 10);
  EXPECT_EQ(total("/t").logicalBytes, 10);
}

TEST_P(Sizing, TheVolumesRootCanBeSized) {
  volume.file("/a", 10).file("/Users/ann/b", 100);
  EXPECT_EQ(total("/").logicalBytes, 110);
}

// /dev/pts is a file system of its own on every Linux and never empty; a test may not be allowed to mount one.
TEST_P(Sizing, AnotherDeviceIsNotEnteredAndReported) {
  struct Seeing : PlainAttribution {
    [[nodiscard]] std::optional<Step> folder(const Step&, std::string_view name, bool) const override {
      return Step{.state = name == "pts" ? 1U : 0U};
    }
    [[nodiscard]] std::optional<std::uint8_t> file(const Step& parent, std::string_view) const override {
      EXPECT_EQ(parent.state, 0U);
      return std::uint8_t{0};
    }
  };
  const FileManager host = FileManager::host().reportingTo(report);
  (void)TreeSizer::totals(host, FileURL("/dev"), Seeing(), {}, options());
  EXPECT_THAT(report->items(), Contains(UnreadableItem{"/dev/pts", UnreadableCause::otherDevice, 0}));
}

// --- Attribution -----------------------------------------------------------------------------------------------------

// Rules by path: a folder's bytes go to its own bucket, excluded folders and files to none.
class ByPath : public Attribution {
 public:
  static constexpr int kExcluded = -1;

  ByPath& add(std::string_view path, int bucket) {
    rules_.insert(path, bucket);
    return *this;
  }
  [[nodiscard]] Step root(std::string_view path) const { return {.node = rules_.find(path)}; }

  [[nodiscard]] std::optional<Step> folder(const Step& parent, std::string_view name, bool isPackage) const override {
    EXPECT_FALSE(isPackage);
    Step step{.node = rules_.step(parent.node, name), .state = parent.state + 1, .bucket = parent.bucket};
    if (const int* rule = rules_.value(step.node)) {
      if (*rule == kExcluded) return std::nullopt;
      step.bucket = static_cast<std::uint8_t>(*rule);
    }
    return step;
  }
  [[nodiscard]] std::optional<std::uint8_t> file(const Step& parent, std::string_view name) const override {
    const int* rule = rules_.value(rules_.step(parent.node, name));
    if (rule == nullptr) return parent.bucket;
    if (*rule == kExcluded) return std::nullopt;
    return static_cast<std::uint8_t>(*rule);
  }

 private:
  PathTrie<int> rules_;
};

TEST_P(Sizing, EachFileCountsToTheTotalThatItsFolderOrItselfWasGiven) {
  volume.file("/t/a", 1).file("/t/one/b", 10).file("/t/one/deep/c", 100).file("/t/one/two/d", 1000);
  volume.file("/t/one/two/last/e", 10'000).file("/t/one/own", 100'000).file("/t/ones/f", 1'000'000);
  ByPath rules;
  rules.add("/t/one", 1).add("/t/one/two", 2).add("/t/one/own", 15);
  const Totals sums = totals(rules, rules.root("/t"));
  std::map<std::size_t, std::int64_t> logical;
  for (std::size_t bucket = 0; bucket < sums.size(); ++bucket) {
    if (sums[bucket] != ByteCounts{}) logical[bucket] = sums[bucket].logicalBytes;
  }
  EXPECT_THAT(logical, ElementsAre(Pair(0, 1'000'001), Pair(1, 110), Pair(2, 11'000), Pair(15, 100'000)));
}

TEST_P(Sizing, ExcludedItemsAddNothing) {
  volume.file("/t/a", 1).file("/t/out/b/c", 10).file("/t/in/out", 100).file("/t/in/kept", 1000);
  ByPath rules;
  rules.add("/t/out", ByPath::kExcluded).add("/t/in/out", ByPath::kExcluded);
  EXPECT_EQ(totals(rules, rules.root("/t"))[0].logicalBytes, 1001);
}

TEST_P(Sizing, AnExcludedFolderIsNotEvenOpened) {
  volume.folder("/t/closed").mode("/t/closed", 0000);
  const UnprivilegedUser user;
  ByPath rules;
  rules.add("/t/closed", ByPath::kExcluded);
  (void)totals(rules, rules.root("/t"));
  EXPECT_EQ(report->count(), 0U);
}

TEST_P(Sizing, TheRootsFilesAreJudgedByTheRootsStep) {
  volume.file("/t/a", 7).file("/t/b/c", 70);
  const Totals sums = totals(PlainAttribution(), {.bucket = 9});
  EXPECT_EQ(sums[9].logicalBytes, 77);
}

TEST_P(Sizing, PackagesByNameOrByTheirBundleBitAreToldToAnAttributionThatAsks) {
  volume.file("/t/A.app/a", 1).file("/t/A.app/inner.bundle/b", 10).file("/t/marked/c", 100).bundleBit("/t/marked");
  volume.file("/t/plain/d", 1000).file("/t/B.framework/e", 10'000).file("/t/out.app/f", 100'000);
  volume.file("/t/gone/g", 1'000'000).bundleBit("/t/gone");
  struct Packages : PlainAttribution {
    [[nodiscard]] bool needsPackages() const override { return true; }
    [[nodiscard]] std::optional<Step> folder(const Step& parent, std::string_view name, bool isPackage) const override {
      if (isPackage && (name == "out.app" || name == "gone")) return std::nullopt;
      return Step{.bucket = static_cast<std::uint8_t>(parent.bucket + (isPackage ? 1 : 0))};
    }
  };
  const Totals sums = totals(Packages());
  EXPECT_EQ(sums[0].logicalBytes, 11'000);
  EXPECT_EQ(sums[1].logicalBytes, 101);
  EXPECT_EQ(sums[2].logicalBytes, 10);
  // One answer for all files of a folder is another one if it is a package.
  struct AtOnce : Packages {
    [[nodiscard]] std::optional<std::uint8_t> everyFile(const Step& parent) const override { return parent.bucket; }
  };
  EXPECT_EQ(totals(AtOnce()), sums);
}

TEST_P(Sizing, FilesFoundBeforeAFolderIsKnownToBeAPackageCount) {
  // In a package everything goes to the second total, outside only what has the extension stays in the first.
  struct ByExtension : PlainAttribution {
    [[nodiscard]] bool needsPackages() const override { return true; }
    [[nodiscard]] std::optional<Step> folder(const Step& parent, std::string_view, bool isPackage) const override {
      return parent.state == 1 || isPackage ? Step{.state = 1, .bucket = 1} : Step{.bucket = 1};
    }
    [[nodiscard]] std::optional<std::uint8_t> file(const Step& parent, std::string_view name) const override {
      return parent.state == 0 && name.ends_with(".x") ? std::uint8_t{0} : parent.bucket;
    }
  };
  for (const std::string_view folder : {"/t/marked", "/t/marked/sub/deep", "/t/plain", "/t/plain/sub/deep"}) {
    volume.file(std::string(folder) + "/a", 1).file(std::string(folder) + "/b.x", 10);
  }
  volume.bundleBit("/t/marked");
  for (int i = 0; i < 1000; ++i) volume.file("/t/big/" + std::to_string(i));
  volume.file("/t/big/last.x", 100).bundleBit("/t/big");
  const Totals sums = totals(ByExtension());
  EXPECT_EQ(sums[0].logicalBytes, 20);
  EXPECT_EQ(sums[1].logicalBytes, 124);
  // The same, with one answer for all files of a package.
  struct AtOnce : ByExtension {
    [[nodiscard]] std::optional<std::uint8_t> file(const Step& parent, std::string_view name) const override {
      EXPECT_EQ(parent.state, 0U);
      return ByExtension::file(parent, name);
    }
    [[nodiscard]] std::optional<std::uint8_t> everyFile(const Step& parent) const override {
      return parent.state == 1 ? std::optional(parent.bucket) : std::nullopt;
    }
  };
  EXPECT_EQ(totals(AtOnce()), sums);
}

// --- Errors ----------------------------------------------------------------------------------------------------------

TEST_P(Sizing, ARootThatIsNoFolderIsAnError) {
  volume.file("/t/file", 5).folder("/t/folder").link("/t/link", "folder");
  EXPECT_THAT(errorOf("/t/missing"), Pair(ENOENT, "list"));
  EXPECT_THAT(errorOf("/t/file"), Pair(ENOTDIR, "list"));
  EXPECT_THAT(errorOf("/t/link"), Pair(::testing::AnyOf(ELOOP, ENOTDIR), "list"));
}

TEST_P(Sizing, ARootThatCannotBeListedIsAnError) {
  volume.file("/t/closed/a", 5).mode("/t/closed", 0000);
  const UnprivilegedUser user;
  EXPECT_THAT(errorOf("/t/closed"), Pair(EACCES, "list"));
}

TEST_P(Sizing, UnreadableFoldersAreLeftOutAndReportedEachOnce) {
  volume.file("/t/a", 1).file("/t/closed/b", 10).file("/t/open/closed/c", 100).file("/t/open/d", 1000);
  volume.mode("/t/closed", 0000).mode("/t/open/closed", 0000);
  const UnprivilegedUser user;
  EXPECT_EQ(total("/t").logicalBytes, 1001);
  EXPECT_THAT(report->items(),
              UnorderedElementsAre(UnreadableItem{"/t/closed", UnreadableCause::permission, EACCES},
                                   UnreadableItem{"/t/open/closed", UnreadableCause::permission, EACCES}));
}

TEST_P(Sizing, FilesThatCannotBeLookedAtAreLeftOutAndReported) {
  volume.file("/t/a", 1).file("/t/folder/b", 10).mode("/t/folder", 0444);
  const UnprivilegedUser user;
  EXPECT_EQ(total("/t").logicalBytes, 1);
  EXPECT_THAT(report->items(), ElementsAre(UnreadableItem{"/t/folder/b", UnreadableCause::permission, EACCES}));
}

TEST_P(Sizing, ItemsInARootThatCanOnlyBeListedAreReported) {
  volume.file("/t/a", 1).folder("/t/folder").mode("/t", 0444);
  const UnprivilegedUser user;
  EXPECT_EQ(total("/t"), ByteCounts{});
  EXPECT_THAT(report->items(), UnorderedElementsAre(UnreadableItem{"/t/a", UnreadableCause::permission, EACCES},
                                                    UnreadableItem{"/t/folder", UnreadableCause::permission, EACCES}));
}

TEST_P(Sizing, BelowTheVolumesRootPathsBeginWithOneSlash) {
  volume.folder("/closed").mode("/closed", 0000);
  const UnprivilegedUser user;
  EXPECT_EQ(total("/"), ByteCounts{});
  EXPECT_THAT(report->items(), ElementsAre(UnreadableItem{"/closed", UnreadableCause::permission, EACCES}));
}

TEST_P(Sizing, WithoutAReportWhatIsUnreadableIsOnlyLeftOut) {
  volume.file("/t/a", 1).file("/t/folder/b", 10).mode("/t/folder", 0444).folder("/t/closed").mode("/t/closed", 0000);
  const UnprivilegedUser user;
  EXPECT_EQ(TreeSizer::total(volume.files(), FileURL("/t"), options()).logicalBytes, 1);
}

TEST_P(SizingBigTrees, ItemsThatVanishDuringTheWalkAreLeftOut) {
  volume.file("/t/a", 1);
  for (int i = 0; i < 50; ++i) volume.file("/t/folder " + std::to_string(i) + "/file", 10);
  struct Removing : PlainAttribution {
    explicit Removing(MacVolume& target) : volume(target) {}
    [[nodiscard]] std::optional<Step> folder(const Step& parent, std::string_view name, bool) const override {
      volume.remove("/t/" + std::string(name));
      return parent;
    }
    MacVolume& volume;
  };
  EXPECT_EQ(totals(Removing(volume))[0].logicalBytes, 1);
  EXPECT_EQ(report->count(UnreadableCause::vanished), 50U);
  EXPECT_EQ(report->count(), 50U);
}

// Two files whose lengths no disk could hold; the file system in memory takes them, for they hold nothing.
TEST(SizingOverflow, ASumThatDoesNotFitIsAnErrorThatNamesTheRoot) {
  MacVolume volume = volumeInMemory();
  constexpr std::int64_t kHuge = std::int64_t{1} << 62;
  volume.sparse("/t/a", kHuge).sparse("/t/b", kHuge - 1);
  EXPECT_EQ(TreeSizer::total(volume.files(), FileURL("/t"), {}).logicalBytes, 2 * (kHuge - 1) + 1);
  volume.file("/t/folder/c", 1);
  for (const unsigned threads : {1U, 4U}) {
    try {
      (void)TreeSizer::total(volume.files(), FileURL("/t"), {.threads = threads});
      ADD_FAILURE() << threads;
    } catch (const SizeOverflow& error) {
      EXPECT_EQ(error.folder(), "/t");
    }
  }
}

// --- Size of the tree ------------------------------------------------------------------------------------------------

TEST_P(SizingBigTrees, AChainFarLongerThanAnyPathIsSizedToItsEnd) {
  constexpr int kDepth = 2000;
  volume.chain("/t", kDepth, "a folder");
  std::string deepest = "/t";
  for (int level = 0; level < kDepth; ++level) deepest += "/a folder";
  volume.file(deepest + "/file", 77);
  ASSERT_GT(deepest.size(), static_cast<std::size_t>(PATH_MAX));
  EXPECT_EQ(total("/t").logicalBytes, 77);
}

TEST_P(SizingBigTrees, AChainOf20000FoldersIsSizedToItsEnd) {
  constexpr int kDepth = 20'000;
  volume.chain("/t", kDepth);
  std::string deepest = "/t";
  for (int level = 0; level < kDepth; ++level) deepest += "/d";
  volume.file(deepest + "/file", 77);
  EXPECT_EQ(total("/t").logicalBytes, 77);
}

TEST_P(SizingBigTrees, ADeepTreeThatIsComeBackToAtEveryLevelNeedsFewDescriptors) {
  const Comb comb(volume, "/t", 3000);
  const DescriptorLimit limit(100);
  EXPECT_EQ(total("/t").logicalBytes, comb.bytes());
  EXPECT_EQ(report->count(), 0U);
}

TEST_P(SizingBigTrees, AWideFolderNeedsFewDescriptorsToo) {
  constexpr int kFolders = 3000;
  for (int i = 0; i < kFolders; ++i) volume.file("/t/" + std::to_string(i) + "/sub/file", 1);
  const DescriptorLimit limit(100);
  EXPECT_EQ(total("/t").logicalBytes, kFolders);
  EXPECT_EQ(report->count(), 0U);
}

TEST_P(SizingBigTrees, ABigFolderIsSharedByTheThreadsAndEachFileCountsOnce) {
  constexpr std::int64_t kFiles = 6000;
  for (std::int64_t i = 0; i < kFiles; ++i) {
    volume.sparse("/t/a file with a rather long name, number " + std::to_string(i), 1'000'000 + i);
    if (i % 500 == 0) volume.file("/t/folder " + std::to_string(i) + "/file", 3);
  }
  EXPECT_EQ(total("/t").logicalBytes, kFiles * 1'000'000 + kFiles * (kFiles - 1) / 2 + 3 * (kFiles / 500));
}

TEST_P(SizingBigTrees, TheSumIsThatOfAnOrderedWalk) {
  for (int i = 0; i < 3000; ++i) {
    const std::string path = "/t/" + std::to_string(i % 7) + "/" + std::to_string(i % 31) + "/" + std::to_string(i);
    volume.sparse(path, i * 1000 + 1);
  }
  DirectoryEnumerator items(files(), FileURL("/t"), {.facts = EnumeratedFacts::sizes});
  ByteCounts sum;
  while (const auto* item = items.next()) {
    if (item->sizes()) sum += *item->sizes();
  }
  EXPECT_EQ(total("/t"), sum);
}

TEST_P(SizingBigTrees, AllDescriptorsAreClosedAtTheEnd) {
  const Comb comb(volume, "/t", 200);
  const std::size_t before = openDescriptors();
  EXPECT_EQ(total("/t").logicalBytes, comb.bytes());
  EXPECT_EQ(openDescriptors(), before);
}

// --- Cancellation and progress ---------------------------------------------------------------------------------------

TEST_P(Sizing, AWalkThatIsCancelledFromTheStartCountsNothing) {
  volume.file("/t/a", 1);
  TreeSizer::Options asked = options();
  asked.cancellation = Cancellation();
  asked.cancellation.cancel();
  EXPECT_EQ(TreeSizer::total(files(), FileURL("/t"), asked), ByteCounts{});
}

TEST_P(SizingBigTrees, ACancelledWalkEndsSoonWithTheTotalsSoFar) {
  constexpr int kFiles = 8000;
  constexpr int kCancelAt = 1000;
  for (int i = 0; i < kFiles; ++i) volume.sparse("/t/" + std::to_string(i % 4) + "/" + std::to_string(i), 1);
  struct Cancelling : PlainAttribution {
    [[nodiscard]] std::optional<std::uint8_t> file(const Step&, std::string_view) const override {
      if (++calls == kCancelAt) cancellation.cancel();
      return std::uint8_t{0};
    }
    Cancellation cancellation;
    mutable std::atomic<int> calls = 0;
  };
  const Cancelling cancelling;
  TreeSizer::Options asked = options();
  asked.cancellation = cancelling.cancellation;
  const Totals sums = TreeSizer::totals(files(), FileURL("/t"), cancelling, {}, asked);
  EXPECT_EQ(sums[0].logicalBytes, cancelling.calls);
  EXPECT_GE(sums[0].logicalBytes, kCancelAt);
  EXPECT_LT(sums[0].logicalBytes, kFiles);
}

// One folder, so that a walk that polls only between folders, or rarely within one, would continue.
TEST_P(Sizing, ACancelledWalkCountsAtMostOneMoreFileAThread) {
  for (int i = 0; i < 200; ++i) volume.sparse("/t/" + std::to_string(i), 1);
  struct Cancelling : PlainAttribution {
    [[nodiscard]] std::optional<std::uint8_t> file(const Step&, std::string_view) const override {
      if (++calls == 10) cancellation.cancel();
      return std::uint8_t{0};
    }
    Cancellation cancellation;
    mutable std::atomic<int> calls = 0;
  };
  const Cancelling cancelling;
  TreeSizer::Options asked = options();
  asked.cancellation = cancelling.cancellation;
  const Totals sums = TreeSizer::totals(files(), FileURL("/t"), cancelling, {}, asked);
  EXPECT_EQ(sums[0].logicalBytes, cancelling.calls);
  EXPECT_LE(cancelling.calls, 10 + static_cast<int>(asked.threads));
}

TEST_P(SizingBigTrees, ProgressComesOnTheCallingThreadAndOnlyGrows) {
  for (int i = 0; i < 3000; ++i) volume.sparse("/t/" + std::to_string(i % 20) + "/" + std::to_string(i), 1);
  const std::thread::id caller = std::this_thread::get_id();
  std::vector<std::int64_t> reported;
  TreeSizer::Options asked = options();
  asked.interval = std::chrono::milliseconds(0);
  asked.onProgress = [&](const Totals& soFar) {
    EXPECT_EQ(std::this_thread::get_id(), caller);
    reported.push_back(soFar[0].logicalBytes);
  };
  EXPECT_EQ(TreeSizer::total(files(), FileURL("/t"), asked).logicalBytes, 3000);
  ASSERT_THAT(reported, ::testing::Not(IsEmpty()));
  EXPECT_TRUE(std::is_sorted(reported.begin(), reported.end()));
  EXPECT_LE(reported.back(), 3000);
  EXPECT_GT(reported.back(), 0);
}

TEST_P(SizingBigTrees, ProgressComesAtMostOncePerInterval) {
  for (int i = 0; i < 3000; ++i) volume.sparse("/t/" + std::to_string(i % 300) + "/" + std::to_string(i), 1);
  TreeSizer::Options asked = options();
  asked.interval = std::chrono::milliseconds(2);
  int calls = 0;
  asked.onProgress = [&](const Totals&) { ++calls; };
  const auto start = std::chrono::steady_clock::now();
  (void)TreeSizer::total(files(), FileURL("/t"), asked);
  EXPECT_LE(calls, (std::chrono::steady_clock::now() - start) / asked.interval);
  asked.interval = std::chrono::hours(1);
  calls = 0;
  (void)TreeSizer::total(files(), FileURL("/t"), asked);
  EXPECT_EQ(calls, 0);
}

// The caller has nothing left to do while a helper is held up; progress must come all the same, and sets the helper
// free.
TEST(SizingWithAHelper, ProgressComesWhileTheCallingThreadWaitsForOthers) {
  MacVolume volume;
  volume.file("/t/a/file", 1).file("/t/b/file", 1);
  struct HoldingUp : PlainAttribution {
    [[nodiscard]] std::optional<std::uint8_t> file(const Step&, std::string_view) const override {
      const bool isCaller = std::this_thread::get_id() == caller;
      if (!isCaller) helperIsBusy = true;
      while (!(isCaller ? helperIsBusy : progressCame)) std::this_thread::yield();
      if (isCaller) callerIsDone = true;
      return std::uint8_t{0};
    }
    const std::thread::id caller = std::this_thread::get_id();
    mutable std::atomic<bool> helperIsBusy = false;
    mutable std::atomic<bool> callerIsDone = false;
    std::atomic<bool> progressCame = false;
  };
  HoldingUp holdingUp;
  TreeSizer::Options options;
  options.threads = 2;
  options.interval = std::chrono::milliseconds(1);
  options.onProgress = [&](const Totals&) { holdingUp.progressCame = holdingUp.callerIsDone.load(); };
  EXPECT_EQ(TreeSizer::totals(volume.files(), FileURL("/t"), holdingUp, {}, options)[0].logicalBytes, 2);
}

TEST_P(SizingBigTrees, AnExceptionOfTheProgressFunctionLeavesAfterTheThreadsHaveEnded) {
  for (int i = 0; i < 2000; ++i) volume.sparse("/t/" + std::to_string(i % 50) + "/" + std::to_string(i), 1);
  TreeSizer::Options asked = options();
  asked.interval = std::chrono::milliseconds(0);
  asked.onProgress = [](const Totals&) { throw std::runtime_error("enough"); };
  const std::size_t before = openDescriptors();
  EXPECT_THROW((void)TreeSizer::total(files(), FileURL("/t"), asked), std::runtime_error);
  EXPECT_EQ(openDescriptors(), before);
}

}  // namespace
}  // namespace quarn::tree_sizer_tests
