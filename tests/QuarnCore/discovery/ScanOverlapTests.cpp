#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/discovery/ArtifactScanner.h"
#include "tests/QuarnCore/discovery/ArtifactLines.h"
#include "tests/support/MacVolume.h"

namespace quarn::scan_overlap_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::UnorderedElementsAre;

AppEntity app(const std::string& name, const std::string& bundleID, const std::string& bundle = "/Applications/X.app") {
  return {.name = name, .bundleIdentifier = bundleID, .bundleURL = FileURL(bundle), .id = bundleID};
}

const AppEntity kExample = app("Example", "com.example.App");

// With sizes if there is a calculator.
std::vector<Artifact> scan(const MacVolume& volume, const AppEntity& of, const EntitlementsInfo& entitlements = {},
                           const std::optional<FileSizeCalculator>& sizes = std::nullopt) {
  const ArtifactScanner scanner(sizes.value_or(FileSizeCalculator::live(volume.files())), volume.files());
  return scanner.scan(of, entitlements,
                      {.includeHeuristicSearch = true,
                       .heuristicMaxDepth = 5,
                       .heuristicMaxResults = 100,
                       .includeVendorHeuristics = true,
                       .includeSystemArtifacts = true,
                       .includeSystemHeuristicSearch = true,
                       .computeSizes = sizes.has_value()});
}

TEST(ScanOverlap, ACacheFoundByPlaceAndByResemblanceIsListedOnceAsTheFirst) {
  MacVolume volume;
  volume.folder("~/Library/Caches/com.example.App");
  const std::vector<Artifact> found = scan(volume, kExample);
  ASSERT_THAT(titles(found), ElementsAre("App", "Cache"));
  EXPECT_EQ(found[1].confidence, 0.95);
}

TEST(ScanOverlap, TheSameItemUnderAnotherKindIsCoveredByTheFirst) {
  MacVolume volume;
  volume.folder("/Library/Application Support/com.example.App");
  const std::vector<Artifact> found = scan(volume, kExample);
  ASSERT_THAT(titles(found), ElementsAre("App", "System Application Support (com.example.App)"));
}

TEST(ScanOverlap, NameAndIdentifierThatAreTheSameFolderAreListedOnceByTheName) {
  MacVolume volume;
  volume.folder("~/Library/Application Support/Example");
  const std::vector<Artifact> found = scan(volume, app("Example", "Example"));
  ASSERT_THAT(titles(found), ElementsAre("App", "Application Support (Example)"));
  EXPECT_EQ(found[1].confidence, 0.7);
}

TEST(ScanOverlap, AResultInsideTheAppsSupportFolderIsDropped) {
  MacVolume volume;
  volume.folder("~/Library/Application Support/Example/com.example.App.data")
      .folder("~/Library/Application Support/Other/com.example.App.data");
  EXPECT_THAT(paths(scan(volume, kExample)),
              ElementsAre("/Applications/X.app", "/Users/ann/Library/Application Support/Example",
                          "/Users/ann/Library/Application Support/Other/com.example.App.data"));
}

TEST(ScanOverlap, AFolderThatOnlyBeginsWithACoveredNameIsKept) {
  MacVolume volume;
  volume.folder("~/Library/Caches/com.example.App").folder("~/Library/Caches/com.example.App2");
  EXPECT_THAT(titles(scan(volume, kExample)), ElementsAre("App", "Cache", "Heuristic: com.example.App2"));
}

TEST(ScanOverlap, AnArtifactThatLosesAnItemKeepsTheOthersUnderANewID) {
  MacVolume volume;
  volume.file("~/Library/Preferences/com.example.App.plist")
      .file("~/Library/Preferences/com.example.App.extra.plist")
      .file("~/Library/Preferences/com.example.App.longer.plist");
  const std::string folder = "/Users/ann/Library/Preferences/";
  const std::vector<Artifact> found = scan(volume, app("Example", "com.example.App", folder + "com.example.App.plist"));
  ASSERT_THAT(titles(found), ElementsAre("App", "Preferences"));
  EXPECT_THAT(paths({found[1]}),
              ElementsAre(folder + "com.example.App.extra.plist", folder + "com.example.App.longer.plist"));
  EXPECT_EQ(found[1].id, Artifact::makeID(ArtifactKind::preferences, ArtifactScope::user, found[1].urls));
  EXPECT_EQ(found[1].confidence, 0.95);
}

TEST(ScanOverlap, AnArtifactThatIsCoveredWhollyIsDropped) {
  MacVolume volume;
  volume.file("~/Library/Preferences/com.example.App.plist").folder("~/Library/Caches/com.example.App");
  EXPECT_THAT(titles(scan(volume, app("Example", "com.example.App", "/Users/ann/Library"))), ElementsAre("App"));
}

TEST(ScanOverlap, ShorterPathsTakePrecedence) {
  MacVolume volume;
  volume.folder("~/Library/Application Support/Adobe/com.adobe.x");
  EXPECT_THAT(titles(scan(volume, app("Adobe/com.adobe.x", "com.adobe.x"))), ElementsAre("Adobe (Shared)", "App"));
}

TEST(ScanOverlap, LengthIsCountedInCharacters) {
  MacVolume volume;
  volume.folder("~/Library/Caches/ÄÄÄÄÄÄ/com.example.App x").folder("~/Library/Caches/aaaaaaaa/com.example.App x");
  EXPECT_THAT(paths(scan(volume, kExample)),
              ElementsAre("/Applications/X.app", "/Users/ann/Library/Caches/ÄÄÄÄÄÄ/com.example.App x",
                          "/Users/ann/Library/Caches/aaaaaaaa/com.example.App x"));
}

TEST(ScanOverlap, EqualTitlesKeepTheOrderOfThePrunedList) {
  MacVolume volume;
  volume.folder("~/Library/Application Support/com.example.App X")
      .folder("~/Library/Caches/COM.example.App X")
      .folder("~/Library/Logs/com.Example.App X")
      .folder("~/Library/HTTPStorages/com.example.APP X");
  const std::string library = "/Users/ann/Library/";
  EXPECT_THAT(
      paths(scan(volume, kExample)),
      ElementsAre("/Applications/X.app", library + "Logs/com.Example.App X", library + "Caches/COM.example.App X",
                  library + "HTTPStorages/com.example.APP X", library + "Application Support/com.example.App X"));
}

TEST(ScanOverlap, EqualLengthsKeepTheOrderInWhichTheyWereFound) {
  MacVolume volume;
  // Titles and lengths are equal, so the group containers are in the order of the entitlements.
  volume.folder("~/Library/Group Containers/group.a").folder("~/Library/Group Containers/GROUP.A");
  const std::string folder = "/Users/ann/Library/Group Containers/";
  EXPECT_THAT(paths(scan(volume, kExample, {{"group.a", "GROUP.A"}})),
              ElementsAre("/Applications/X.app", folder + "group.a", folder + "GROUP.A"));
  EXPECT_THAT(paths(scan(volume, kExample, {{"GROUP.A", "group.a"}})),
              ElementsAre("/Applications/X.app", folder + "GROUP.A", folder + "group.a"));
}

TEST(ScanOverlap, AGroupNamedTwiceIsListedOnce) {
  MacVolume volume;
  volume.folder("~/Library/Group Containers/g");
  EXPECT_THAT(titles(scan(volume, kExample, {{"g", "g"}})), ElementsAre("App", "Group Container (g)"));
}

// More than sixteen, because std::sort uses insertion sort for shorter lists, which is stable.
TEST(ScanOverlap, FortyEqualTitlesKeepTheirOrder) {
  MacVolume volume;
  EntitlementsInfo entitlements;
  std::vector<std::string> expected{"/Applications/X.app"};
  // Forty spellings of one name that differ only in case, so that their titles compare equal.
  for (unsigned bits = 64; bits > 24; --bits) {
    std::string group = "groups";
    for (std::size_t i = 0; i < group.size(); ++i) {
      if (((bits - 1) >> i & 1) != 0) group[i] = static_cast<char>(group[i] - 'a' + 'A');
    }
    volume.folder("~/Library/Group Containers/" + group);
    entitlements.applicationGroups.push_back(group);
    expected.push_back("/Users/ann/Library/Group Containers/" + group);
  }
  EXPECT_EQ(paths(scan(volume, kExample, entitlements)), expected);
}

TEST(ScanOverlap, TheAppsBundlePrecedesAnotherArtifactOfTheSameFolder) {
  MacVolume volume;
  volume.folder("~/Library/Application Support/Example");
  const AppEntity inSupport = app("Example", "com.example.App", "/Users/ann/Library/Application Support/Example");
  EXPECT_THAT(titles(scan(volume, inSupport)), ElementsAre("App"));
}

// Pruning runs first: items of another artifact are neither sized nor counted.
TEST(ScanOverlap, AnArtifactThatLosesAnItemIsSizedWithoutIt) {
  MacVolume volume;
  const std::string folder = "/Users/ann/Library/Preferences/";
  volume.file(folder + "com.example.App.plist", 1_MiB)
      .file(folder + "com.example.App.extra.plist", 8_KiB)
      .file(folder + "com.example.App.longer.plist", 4_KiB);
  std::vector<std::string> asked;
  const FileSizeCalculator live = FileSizeCalculator::live(volume.files());
  FileSizeCalculator recording = live;
  recording.itemSizeExcluding = [&](const FileURL& at, const std::vector<FileURL>& without, bool slow, bool hidden) {
    asked.push_back(at.path());
    return live.itemSizeExcluding(at, without, slow, hidden);
  };
  const std::vector<Artifact> found =
      scan(volume, app("Example", "com.example.App", folder + "com.example.App.plist"), {}, recording);
  ASSERT_THAT(titles(found), ElementsAre("App", "Preferences"));
  EXPECT_EQ(found[1].size, (SizeInfo{12_KiB, 12_KiB}));
  EXPECT_THAT(asked, UnorderedElementsAre(folder + "com.example.App.plist", folder + "com.example.App.extra.plist",
                                          folder + "com.example.App.longer.plist"))
      << "each item once";
}

}  // namespace
}  // namespace quarn::scan_overlap_tests
