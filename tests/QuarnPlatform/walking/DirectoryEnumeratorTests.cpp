#include <algorithm>
#include <cerrno>
#include <climits>
#include <memory>
#include <utility>

#include <gmock/gmock.h>

#include "QuarnPlatform/files/ReadReport.h"
#include "QuarnPlatform/walking/DirectoryEnumerator.h"
#include "QuarnPlatform/walking/WalkedFolders.h"
#include "tests/support/DeepTrees.h"
#include "tests/support/Descriptors.h"
#include "tests/support/MacVolume.h"
#include "tests/support/MemoryVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::directory_enumerator_tests {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

using Options = DirectoryEnumerator::Options;
using Item = DirectoryEnumerator::Item;

// Every rule holds whatever the number of threads that read ahead.
class Enumerating : public ::testing::TestWithParam<unsigned> {
 public:
  Enumerating() = default;

 protected:
  enum class InMemory : std::uint8_t { yes };
  explicit Enumerating(InMemory) : volume(volumeInMemory()) {}

  [[nodiscard]] static Options options(Options options = {}) {
    options.readAheadThreads = GetParam();
    return options;
  }

  /// The paths below `root` in the order of the walk.
  std::vector<std::string> walk(std::string_view root, Options asked = {}) const {
    DirectoryEnumerator items(files(), FileURL(root), options(asked));
    std::vector<std::string> paths;
    while (const Item* item = items.next()) paths.push_back(item->url().path().substr(root.size()));
    return paths;
  }

  [[nodiscard]] FileManager files() const { return volume.files().reportingTo(report); }

  MacVolume volume;
  std::shared_ptr<ReadReport> report = std::make_shared<ReadReport>();
};

class EnumeratingBigTrees : public Enumerating {
 public:
  EnumeratingBigTrees() : Enumerating(InMemory::yes) {}
};

INSTANTIATE_TEST_SUITE_P(WithHelpers, Enumerating, ::testing::Values(0U, 1U, 7U));
INSTANTIATE_TEST_SUITE_P(WithHelpers, EnumeratingBigTrees, ::testing::Values(0U, 1U, 7U));

// --- Order -----------------------------------------------------------------------------------------------------------

TEST_P(Enumerating, AFolderComesBeforeWhatIsInItAndTheRootDoesNotCome) {
  volume.file("/t/b/file").file("/t/b/inner/deep").file("/t/c").file("/t/a");
  EXPECT_THAT(walk("/t"), ElementsAre("/a", "/b", "/b/file", "/b/inner", "/b/inner/deep", "/c"));
}

TEST_P(Enumerating, NamesAreInAscendingOrderOfTheirBytes) {
  // Sorted by bytes, "a" < "a-b" < "a.b" < "aa", upper case before lower case, and bytes over 127 last.
  for (const char* name :
       {"aa", "a", "Z", "a.b", "a-b", "10", "9", "\xC3\xA9", "z", "\xFF", "e\xCC\x81", "\x01", " "}) {
    volume.file("/t/" + std::string(name));
  }
  EXPECT_THAT(walk("/t"), ElementsAre("/\x01", "/ ", "/10", "/9", "/Z", "/a", "/a-b", "/a.b", "/aa", "/e\xCC\x81", "/z",
                                      "/\xC3\xA9", "/\xFF"));
}

TEST_P(Enumerating, NamesThatBeginAlikeForLongAreOrderedByWhatFollows) {
  const std::string shared = "a name that all of them begin with ";
  const std::vector<std::string> endings{"", "1", "12345678", "123456789", "1234567890", "12345678\x80", "2", "\xFF"};
  for (const std::string& ending : endings) volume.file("/t/" + shared + ending);
  std::vector<std::string> expected;
  for (const std::string& ending : endings) expected.push_back("/" + shared + ending);
  EXPECT_EQ(walk("/t"), expected);
}

TEST_P(EnumeratingBigTrees, ThousandsOfNamesOfOneFolderAreInTheOrderOfTheirBytes) {
  // Alike at first, alike for long behind that, ending early, with bytes on both sides of 127.
  std::vector<std::string> names{"n", "n0", "n00", "n-\xFE", "n\x01", "N"};
  for (int i = 0; i < 6000; ++i) {
    const std::string number = std::to_string(i * 7919 % 6000);
    names.push_back("n" + number);
    names.push_back("n" + std::string(8, 'x') + number);
    names.push_back("n" + std::string(1, static_cast<char>(0x80 + i % 100)) + number);
  }
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  std::vector<std::string> paths;
  for (const std::string& name : names) {
    volume.file("/t/" + name);
    paths.push_back("/" + name);
  }
  EXPECT_EQ(walk("/t"), paths);
}

TEST_P(EnumeratingBigTrees, ATreeOfManyFoldersComesInTheOrderOfAPlainRecursion) {
  std::vector<std::string> expected;
  std::int64_t bytes = 0;
  for (int a = 10; a < 40; ++a) {
    expected.push_back("/" + std::to_string(a));
    for (int b = 10; b < 30; ++b) {
      const std::string folder = "/" + std::to_string(a) + "/" + std::to_string(b);
      expected.push_back(folder);
      for (int c = 0; c < b % 4; ++c) {
        expected.push_back(folder + "/" + std::to_string(c));
        volume.file("/t" + expected.back(), a + b + c);
        bytes += a + b + c;
      }
      volume.folder("/t" + folder);
    }
    expected.push_back("/" + std::to_string(a) + "/z");
    volume.file("/t" + expected.back());
  }
  DirectoryEnumerator items(files(), FileURL("/t"), options({.facts = EnumeratedFacts::sizes}));
  std::vector<std::string> paths;
  ByteCounts sum;
  while (const Item* item = items.next()) {
    paths.push_back(item->url().path().substr(2));
    if (item->sizes()) sum += *item->sizes();
  }
  EXPECT_EQ(paths, expected);
  EXPECT_EQ(sum.logicalBytes, bytes);
}

// --- What an item says -----------------------------------------------------------------------------------------------

TEST_P(Enumerating, AnItemSaysItsNameLevelAndType) {
  volume.file("/t/a/file").link("/t/a/link", "file").fifo("/t/a/pipe").folder("/t/a/sub");
  DirectoryEnumerator items(files(), FileURL("/t"), options());
  std::vector<std::string> seen;
  while (const Item* item = items.next()) {
    seen.push_back(std::string(item->name()) + " " + std::to_string(item->level()) + " " +
                   std::to_string(static_cast<int>(item->type())) + (item->isDirectory() ? " folder" : ""));
  }
  EXPECT_THAT(seen, ElementsAre("a 1 1 folder", "file 2 0", "link 2 2", "pipe 2 3", "sub 2 1 folder"));
}

TEST_P(Enumerating, AURLIsTheRootsAsGivenWithTheNamesBelowAndIsKnownToBeAFolderForFoldersAlone) {
  volume.file("/private/t/a/file").link("/t", "private/t").link("/private/t/b", "a");
  DirectoryEnumerator items(files(), FileURL("/t/../t//."), options());
  EXPECT_EQ(items.next()->url().string(), "file:///t/../t//./a/");
  EXPECT_EQ(items.next()->url().string(), "file:///t/../t//./a/file");
  EXPECT_EQ(items.next()->url().string(), "file:///t/../t//./b");
}

TEST_P(Enumerating, TheVolumesRootCanBeWalked) {
  volume.folder("/Applications");
  EXPECT_THAT(walk("/"), Contains("Users/ann"));
  EXPECT_THAT(walk("/"), Contains("Applications"));
}

TEST_P(Enumerating, NamesThatAreNoTextSurvive) {
  const std::string odd = "\xFF\xC3(\n\x1B]0;title\x07";
  volume.file("/t/" + odd + "/" + odd, 3);
  DirectoryEnumerator items(files(), FileURL("/t"), options({.facts = EnumeratedFacts::sizes}));
  EXPECT_EQ(items.next()->name(), odd);
  const Item* inner = items.next();
  ASSERT_NE(inner, nullptr);
  EXPECT_EQ(inner->url().path(), "/t/" + odd + "/" + odd);
  EXPECT_EQ(inner->sizes()->logicalBytes, 3);
}

// --- Sizes -----------------------------------------------------------------------------------------------------------

TEST_P(Enumerating, RegularFilesHaveSizesAndNothingElseHas) {
  volume.file("/t/1", 5000).sparse("/t/2", 1'000'000).hardLink("/t/3", "/t/1").folder("/t/4");
  volume.link("/t/5", "1").fifo("/t/6").socket("/t/7").file("/t/8");
  DirectoryEnumerator items(files(), FileURL("/t"), options({.facts = EnumeratedFacts::sizes}));
  std::vector<std::int64_t> logical;
  std::vector<std::int64_t> allocated;
  while (const Item* item = items.next()) {
    logical.push_back(item->sizes() ? item->sizes()->logicalBytes : -1);
    allocated.push_back(item->sizes() ? item->sizes()->allocatedBytes : -1);
  }
  EXPECT_THAT(logical, ElementsAre(5000, 1'000'000, 5000, -1, -1, -1, -1, 0));
  EXPECT_GE(allocated[0], 5000);
  EXPECT_THAT(allocated, ElementsAre(allocated[0], 0, allocated[0], -1, -1, -1, -1, 0));
}

TEST_P(Enumerating, SizesThatWereNotAskedForAreAbsent) {
  volume.file("/t/a", 5);
  DirectoryEnumerator items(files(), FileURL("/t"), options());
  EXPECT_EQ(items.next()->sizes(), std::nullopt);
}

TEST_P(EnumeratingBigTrees, EveryFileOfABigFolderHasItsOwnSizes) {
  constexpr int kFiles = 2500;
  for (int i = 0; i < kFiles; ++i) {
    volume.sparse("/t/file " + std::to_string(10'000 + i), i + 1);
    if (i % 100 == 0) volume.file("/t/file " + std::to_string(10'000 + i) + "+/inner", i);
  }
  DirectoryEnumerator items(files(), FileURL("/t"), options({.facts = EnumeratedFacts::sizes}));
  int next = 0;
  while (const Item* item = items.next()) {
    if (item->isDirectory() || item->name() == "inner") continue;
    ASSERT_EQ(item->name(), "file " + std::to_string(10'000 + next));
    ASSERT_EQ(item->sizes()->logicalBytes, ++next);
  }
  EXPECT_EQ(next, kFiles);
}

TEST_P(EnumeratingBigTrees, EveryFileOfAHugeFolderHasItsOwnSizesAndNothingElseHas) {
  constexpr int kFiles = 30'000;
  const auto isFile = [](int number) { return number % 1000 > 1; };
  for (int i = 0; i < kFiles; ++i) {
    const std::string path = "/t/item " + std::to_string(100'000 + i);
    if (i % 1000 == 0) volume.folder(path);
    if (i % 1000 == 1) volume.link(path, "item 100002");
    if (isFile(i)) volume.sparse(path, i + 1);
  }
  DirectoryEnumerator items(files(), FileURL("/t"), options({.facts = EnumeratedFacts::sizes}));
  for (int i = 0; i < kFiles; ++i) {
    const Item* item = items.next();
    ASSERT_EQ(item->name(), "item " + std::to_string(100'000 + i));
    ASSERT_EQ(item->sizes().has_value(), isFile(i)) << item->name();
    ASSERT_EQ(item->sizes().value_or(ByteCounts{}).logicalBytes, isFile(i) ? i + 1 : 0);
  }
  EXPECT_EQ(items.next(), nullptr);
}

TEST_P(EnumeratingBigTrees, AHugeFolderCanBeGivenUpAtItsFirstItem) {
  for (int i = 0; i < 20'000; ++i) volume.file("/t/" + std::to_string(i));
  const std::size_t before = openDescriptors();
  {
    DirectoryEnumerator items(files(), FileURL("/t"), options({.facts = EnumeratedFacts::sizes}));
    EXPECT_EQ(items.next()->name(), "0");
  }
  EXPECT_EQ(openDescriptors(), before);
}

TEST_P(Enumerating, AFileThatCannotBeLookedAtIsListedWithoutSizesAndReported) {
  volume.file("/t/folder/a", 5).file("/t/z", 7).mode("/t/folder", 0444);
  const UnprivilegedUser user;
  DirectoryEnumerator items(files(), FileURL("/t"), options({.facts = EnumeratedFacts::sizes}));
  std::vector<std::string> seen;
  while (const Item* item = items.next()) {
    seen.push_back(std::string(item->name()) + (item->sizes() ? " sized" : ""));
  }
  EXPECT_THAT(seen, ElementsAre("folder", "a", "z sized"));
  EXPECT_THAT(report->items(), ElementsAre(UnreadableItem{"/t/folder/a", UnreadableCause::permission, EACCES}));
}

// --- Links and other devices -----------------------------------------------------------------------------------------

TEST_P(Enumerating, LinksAreListedAndNeverFollowed) {
  volume.file("/t/real/file").link("/t/inside", "real").link("/t/up", "..").link("/t/self", "self");
  volume.link("/t/absolute", "/t/real").link("/t/dangling", "nowhere");
  EXPECT_THAT(walk("/t", {.facts = EnumeratedFacts::sizes}),
              ElementsAre("/absolute", "/dangling", "/inside", "/real", "/real/file", "/self", "/up"));
  EXPECT_EQ(report->count(), 0U);
}

TEST_P(Enumerating, LinksThatFormALoopEndTheWalkLikeAnyOther) {
  volume.link("/t/a/b/loop", "../..").link("/t/a/one", "two").link("/t/a/two", "one");
  EXPECT_THAT(walk("/t"), ElementsAre("/a", "/a/b", "/a/b/loop", "/a/one", "/a/two"));
}

// /dev/pts is a file system of its own on every Linux and never empty; a test may not be allowed to mount one.
TEST_P(Enumerating, AMountPointIsListedAndNotEnteredAndReportedAsAnotherDevice) {
  DirectoryEnumerator items(FileManager::host().reportingTo(report), FileURL("/dev"), options());
  std::vector<std::string> paths;
  while (const Item* item = items.next()) paths.push_back(item->url().path());
  EXPECT_THAT(paths, Contains("/dev/pts"));
  EXPECT_THAT(paths, Each(Not(::testing::StartsWith("/dev/pts/"))));
  EXPECT_THAT(report->items(), Contains(UnreadableItem{"/dev/pts", UnreadableCause::otherDevice, 0}));
}

TEST_P(Enumerating, AMountPointAsTheRootIsWalked) {
  DirectoryEnumerator items(FileManager::host(), FileURL("/dev/pts"), options());
  EXPECT_NE(items.next(), nullptr);
  EXPECT_EQ(items.rootError(), 0);
}

// --- Hidden items and packages ---------------------------------------------------------------------------------------

TEST_P(Enumerating, HiddenItemsComeUnlessTheyAreToBeSkippedWithAllBelowThem) {
  volume.file("/t/.file").file("/t/.folder/inner").file("/t/shown/.hidden").file("/t/shown/file");
  EXPECT_THAT(walk("/t"),
              ElementsAre("/.file", "/.folder", "/.folder/inner", "/shown", "/shown/.hidden", "/shown/file"));
  EXPECT_THAT(walk("/t", {.hidden = HiddenItems::skip}), ElementsAre("/shown", "/shown/file"));
}

TEST_P(Enumerating, TheRootsOwnHiddennessDoesNotMatter) {
  volume.file("/.t/file");
  EXPECT_THAT(walk("/.t", {.hidden = HiddenItems::skip}), ElementsAre("/file"));
}

TEST_P(Enumerating, PackagesByNameOrByTheirBundleBitAreListedAndNotEntered) {
  volume.file("/t/A.app/Contents/Info.plist").file("/t/marked/inner").bundleBit("/t/marked").file("/t/plain/inner");
  volume.file("/t/B.framework/inner").file("/t/file.app");
  DirectoryEnumerator items(files(), FileURL("/t"), options({.packages = PackageContents::skip}));
  std::vector<std::string> seen;
  while (const Item* item = items.next()) {
    seen.push_back(item->url().path().substr(2) + (item->isPackage() ? " package" : ""));
  }
  EXPECT_THAT(seen, ElementsAre("/A.app package", "/B.framework", "/B.framework/inner", "/file.app", "/marked package",
                                "/plain", "/plain/inner"));
}

TEST_P(Enumerating, PackagesAreFoldersLikeOthersWhenTheyAreToBeEntered) {
  volume.file("/t/A.app/inner").file("/t/marked/inner").bundleBit("/t/marked");
  DirectoryEnumerator items(files(), FileURL("/t"), options());
  std::vector<std::string> seen;
  while (const Item* item = items.next()) {
    seen.push_back(item->url().path().substr(2) + (item->isPackage() ? " package" : ""));
  }
  EXPECT_THAT(seen, ElementsAre("/A.app", "/A.app/inner", "/marked", "/marked/inner"));
}

TEST_P(Enumerating, APackageAsTheRootIsWalked) {
  volume.file("/A.app/inner").bundleBit("/A.app");
  EXPECT_THAT(walk("/A.app", {.packages = PackageContents::skip}), ElementsAre("/inner"));
}

TEST_P(Enumerating, ALinkToAPackageIsNone) {
  volume.file("/t/A.app/inner").link("/t/B.app", "A.app");
  DirectoryEnumerator items(files(), FileURL("/t"), options({.packages = PackageContents::skip}));
  EXPECT_TRUE(items.next()->isPackage());
  EXPECT_FALSE(items.next()->isPackage());
  EXPECT_EQ(items.next(), nullptr);
}

// --- Levels ----------------------------------------------------------------------------------------------------------

TEST_P(Enumerating, OneLevelBelowTheDeepestFolderEnteredIsListedByNameAlone) {
  volume.file("/t/file", 1).file("/t/a/file", 2).file("/t/a/b/file", 3).file("/t/a/b/c/file", 4);
  const auto walkTo = [&](int level) {
    DirectoryEnumerator items(files(), FileURL("/t"),
                              options({.facts = EnumeratedFacts::sizes, .maximumLevel = level}));
    std::vector<std::string> seen;
    while (const Item* item = items.next()) {
      seen.push_back(item->url().path().substr(2) + (item->sizes() ? " sized" : ""));
    }
    return seen;
  };
  EXPECT_THAT(walkTo(0), ElementsAre("/a", "/file"));
  EXPECT_THAT(walkTo(1), ElementsAre("/a", "/a/b", "/a/file", "/file sized"));
  EXPECT_THAT(walkTo(2), ElementsAre("/a", "/a/b", "/a/b/c", "/a/b/file", "/a/file sized", "/file sized"));
  EXPECT_THAT(walkTo(-1), walkTo(0));
}

TEST_P(Enumerating, FoldersBelowTheMaximumLevelAreNotEvenOpened) {
  volume.folder("/t/a/closed").mode("/t/a/closed", 0000).folder("/t/b").mode("/t/b", 0000);
  const UnprivilegedUser user;
  EXPECT_THAT(walk("/t", {.maximumLevel = 1}), ElementsAre("/a", "/a/closed", "/b"));
  EXPECT_THAT(report->items(), ElementsAre(UnreadableItem{"/t/b", UnreadableCause::permission, EACCES}));
}

TEST_P(Enumerating, AtTheMaximumLevelPackagesAreStillKnownAndBelowItByTheirNamesAlone) {
  volume.folder("/t/marked/inner").bundleBit("/t/marked");
  volume.folder("/t/plain/marked").bundleBit("/t/plain/marked").folder("/t/plain/named.app");
  DirectoryEnumerator items(files(), FileURL("/t"), options({.packages = PackageContents::skip, .maximumLevel = 1}));
  std::vector<std::string> seen;
  while (const Item* item = items.next()) {
    seen.push_back(item->url().path().substr(2) + (item->isPackage() ? " package" : ""));
  }
  EXPECT_THAT(seen, ElementsAre("/marked package", "/plain", "/plain/marked", "/plain/named.app package"));
}

// --- Skipping --------------------------------------------------------------------------------------------------------

TEST_P(Enumerating, SkippingLeavesOutAllBelowTheLastItemAndNothingElse) {
  volume.file("/t/a/b/c/file").file("/t/a/d").file("/t/e/f").file("/t/g");
  DirectoryEnumerator items(files(), FileURL("/t"), options());
  std::vector<std::string> seen;
  while (const Item* item = items.next()) {
    seen.push_back(item->url().path().substr(2));
    if (item->name() == "b" || item->name() == "e") items.skipDescendants();
  }
  EXPECT_THAT(seen, ElementsAre("/a", "/a/b", "/a/d", "/e", "/g"));
}

TEST_P(Enumerating, SkippingHasNoEffectOnWhatIsNoFolderOrTwiceOrBeforeTheFirstOrAfterTheLast) {
  volume.file("/t/a/x").file("/t/b").link("/t/c", "a").file("/t/d/y");
  DirectoryEnumerator items(files(), FileURL("/t"), options({.packages = PackageContents::skip}));
  items.skipDescendants();
  std::vector<std::string> seen;
  while (const Item* item = items.next()) {
    seen.push_back(item->url().path().substr(2));
    if (item->name() != "d") items.skipDescendants();
    if (item->name() == "b") items.skipDescendants();
  }
  items.skipDescendants();
  EXPECT_THAT(seen, ElementsAre("/a", "/b", "/c", "/d", "/d/y"));
  EXPECT_EQ(items.next(), nullptr);
}

TEST_P(EnumeratingBigTrees, SkippingInABigTreeKeepsTheRestInOrder) {
  std::vector<std::string> expected;
  for (int a = 100; a < 400; ++a) {
    const std::string folder = "/" + std::to_string(a);
    volume.file("/t" + folder + "/one/two/three").file("/t" + folder + "/z");
    expected.push_back(folder);
    if (a % 3 == 0) continue;
    expected.push_back(folder + "/one");
    if (a % 3 == 1) {
      expected.push_back(folder + "/one/two");
      expected.push_back(folder + "/one/two/three");
    }
    expected.push_back(folder + "/z");
  }
  for (const PackageContents packages : {PackageContents::enter, PackageContents::skip}) {
    DirectoryEnumerator items(files(), FileURL("/t"), options({.packages = packages, .facts = EnumeratedFacts::sizes}));
    std::vector<std::string> seen;
    int number = 0;
    while (const Item* item = items.next()) {
      seen.push_back(item->url().path().substr(2));
      if (item->level() == 1) number = std::stoi(std::string(item->name()));
      if (item->level() == 1 && number % 3 == 0) items.skipDescendants();
      if (item->level() == 2 && number % 3 == 2) items.skipDescendants();
    }
    EXPECT_EQ(seen, expected);
  }
}

TEST_P(EnumeratingBigTrees, AWalkCanBeGivenUpAtAnyItem) {
  for (int a = 0; a < 60; ++a) volume.file("/t/" + std::to_string(a) + "/b/c/d/file", 3);
  for (int stop = 0; stop < 100; stop += 9) {
    DirectoryEnumerator items(files(), FileURL("/t"), options({.facts = EnumeratedFacts::sizes}));
    for (int i = 0; i < stop; ++i) ASSERT_NE(items.next(), nullptr);
    if (stop % 2 == 0) items.skipDescendants();
  }
}

TEST_P(Enumerating, AWalkGoesOnAfterItWasMoved) {
  volume.file("/t/a/b").file("/t/c");
  DirectoryEnumerator first(files(), FileURL("/t"), options());
  EXPECT_EQ(first.next()->name(), "a");
  DirectoryEnumerator second(std::move(first));
  EXPECT_EQ(second.next()->name(), "b");
  DirectoryEnumerator third(files(), FileURL("/"), options());
  third = std::move(second);
  EXPECT_EQ(third.next()->url().path(), "/t/c");
  EXPECT_EQ(third.next(), nullptr);
}

// --- What cannot be read ---------------------------------------------------------------------------------------------

TEST_P(Enumerating, ARootThatIsMissingOrNoFolderOrALinkYieldsNothingAndIsNotReported) {
  volume.file("/t/file").folder("/t/folder/inner").link("/t/link", "folder");
  for (const char* root : {"/t/missing", "/t/file", "/t/link", "/t/file/below"}) {
    DirectoryEnumerator items(files(), FileURL(root), options());
    EXPECT_EQ(items.next(), nullptr) << root;
    EXPECT_NE(items.rootError(), 0) << root;
  }
  EXPECT_EQ(DirectoryEnumerator(files(), FileURL("/t/missing"), options()).rootError(), ENOENT);
  EXPECT_EQ(DirectoryEnumerator(files(), FileURL("/t/file"), options()).rootError(), ENOTDIR);
  EXPECT_EQ(report->count(), 0U);
}

TEST_P(Enumerating, AnUnreadableRootYieldsNothingAndIsReported) {
  volume.file("/t/file").mode("/t", 0000);
  const UnprivilegedUser user;
  DirectoryEnumerator items(files(), FileURL("/t"), options());
  EXPECT_EQ(items.next(), nullptr);
  EXPECT_EQ(items.rootError(), EACCES);
  EXPECT_THAT(report->items(), ElementsAre(UnreadableItem{"/t", UnreadableCause::permission, EACCES}));
}

TEST_P(Enumerating, AnUnreadableFolderIsListedAndReportedAndTheWalkGoesOn) {
  for (const std::string root : {"/t", "/u"}) {
    volume.file(root + "/a/closed/inner").mode(root + "/a/closed", 0000).file(root + "/a/z").file(root + "/b");
  }
  const UnprivilegedUser user;
  EXPECT_THAT(walk("/t", {.packages = PackageContents::enter}), ElementsAre("/a", "/a/closed", "/a/z", "/b"));
  EXPECT_THAT(walk("/u", {.packages = PackageContents::skip}), ElementsAre("/a", "/a/closed", "/a/z", "/b"));
  EXPECT_THAT(report->items(), ElementsAre(UnreadableItem{"/t/a/closed", UnreadableCause::permission, EACCES},
                                           UnreadableItem{"/u/a/closed", UnreadableCause::permission, EACCES}));
}

TEST_P(Enumerating, BelowTheVolumesRootPathsBeginWithOneSlash) {
  volume.folder("/closed").mode("/closed", 0000);
  const UnprivilegedUser user;
  EXPECT_THAT(walk("/"), Contains("closed"));
  EXPECT_THAT(report->items(), ElementsAre(UnreadableItem{"/closed", UnreadableCause::permission, EACCES}));
}

TEST_P(Enumerating, WithoutAReportAnUnreadableFolderIsOnlyLeftOut) {
  volume.folder("/t/closed").mode("/t/closed", 0000).file("/t/z");
  const UnprivilegedUser user;
  DirectoryEnumerator items(volume.files(), FileURL("/t"), options());
  EXPECT_EQ(items.next()->name(), "closed");
  EXPECT_EQ(items.next()->name(), "z");
  EXPECT_EQ(items.next(), nullptr);
}

TEST_P(EnumeratingBigTrees, ItemsThatVanishDuringTheWalkAreLeftOutAndTheRestIsFound) {
  for (int i = 100; i < 200; ++i) volume.file("/t/" + std::to_string(i) + "/sub/file", 3);
  DirectoryEnumerator items(files(), FileURL("/t"), options({.facts = EnumeratedFacts::sizes}));
  std::vector<std::string> folders;
  bool removed = false;
  while (const Item* item = items.next()) {
    if (!std::exchange(removed, true)) volume.remove("/t/100").remove("/t/150").remove("/t/199/sub");
    if (item->level() == 1) folders.emplace_back(item->name());
  }
  EXPECT_EQ(folders.size(), 100U);
  EXPECT_EQ(report->count(), report->count(UnreadableCause::vanished));
}

// --- Size of the tree ------------------------------------------------------------------------------------------------

TEST_P(EnumeratingBigTrees, AChainFarLongerThanAnyPathIsWalkedToItsEnd) {
  constexpr int kDepth = 2000;
  volume.chain("/t", kDepth, "a folder").file("/t/last", 1);
  std::string deepest = "/t";
  for (int level = 0; level < kDepth; ++level) deepest += "/a folder";
  volume.file(deepest + "/file", 77);
  ASSERT_GT(deepest.size(), static_cast<std::size_t>(PATH_MAX));
  DirectoryEnumerator items(files(), FileURL("/t"), options({.facts = EnumeratedFacts::sizes}));
  for (int level = 1; level <= kDepth; ++level) ASSERT_EQ(items.next()->level(), level);
  const Item* file = items.next();
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(file->url().path(), deepest + "/file");
  EXPECT_EQ(file->sizes()->logicalBytes, 77);
  EXPECT_EQ(items.next()->url().path(), "/t/last");
  EXPECT_EQ(items.next(), nullptr);
}

TEST_P(EnumeratingBigTrees, AChainOf20000FoldersIsWalkedAndLetGoHalfWay) {
  constexpr int kDepth = 20'000;
  volume.chain("/t", kDepth);
  DirectoryEnumerator items(files(), FileURL("/t"), options());
  int level = 0;
  while (const Item* item = items.next()) level = item->level();
  EXPECT_EQ(level, kDepth);
  DirectoryEnumerator half(files(), FileURL("/t"), options());
  for (int i = 0; i < kDepth / 2; ++i) ASSERT_NE(half.next(), nullptr);
}

TEST_P(EnumeratingBigTrees, ADeepTreeThatIsComeBackToAtEveryLevelNeedsFewDescriptors) {
  const Comb comb(volume, "/t", 3000);
  const DescriptorLimit limit(100);
  DirectoryEnumerator items(files(), FileURL("/t"), options({.facts = EnumeratedFacts::sizes}));
  std::int64_t count = 0;
  ByteCounts sum;
  while (const Item* item = items.next()) {
    ++count;
    if (item->sizes()) sum += *item->sizes();
  }
  EXPECT_EQ(count, comb.items());
  EXPECT_EQ(sum.logicalBytes, comb.bytes());
  EXPECT_EQ(report->count(), 0U);
}

TEST_P(EnumeratingBigTrees, AWideFolderNeedsFewDescriptorsToo) {
  constexpr int kFolders = 3000;
  for (int i = 0; i < kFolders; ++i) volume.file("/t/" + std::to_string(10'000 + i) + "/sub/file", 1);
  const std::size_t before = openDescriptors();
  std::size_t most = 0;
  DirectoryEnumerator items(files(), FileURL("/t"), options({.facts = EnumeratedFacts::sizes}));
  int count = 0;
  while (items.next() != nullptr) {
    if (++count % 500 == 0) most = std::max(most, openDescriptors());
  }
  EXPECT_EQ(count, 3 * kFolders);
  EXPECT_LE(most, before + WalkedFolders::kMaximumOpen + 2 * (GetParam() + 1) + 1);
}

TEST_P(EnumeratingBigTrees, AllDescriptorsAreClosedAtTheEndAndWhenTheWalkIsGivenUp) {
  const Comb comb(volume, "/t", 200);
  const std::size_t before = openDescriptors();
  {
    DirectoryEnumerator items(files(), FileURL("/t"), options());
    for (int i = 0; i < 300; ++i) items.next();
  }
  EXPECT_EQ(openDescriptors(), before);
  EXPECT_EQ(walk("/t").size(), static_cast<std::size_t>(comb.items()));
  EXPECT_EQ(openDescriptors(), before);
}

}  // namespace
}  // namespace quarn::directory_enumerator_tests
