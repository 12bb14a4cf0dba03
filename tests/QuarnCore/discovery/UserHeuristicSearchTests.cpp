#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/discovery/ArtifactScanner.h"
#include "tests/QuarnCore/discovery/ArtifactLines.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::user_heuristic_search_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Kind = ArtifactKind;
using Class = ArtifactDataClass;
using Risk = RiskLevel;

constexpr long kDeep = 100;
constexpr long kMany = 1000;

AppEntity app(const std::string& name, const std::optional<std::string>& bundleID = std::nullopt) {
  return {.name = name, .bundleIdentifier = bundleID, .bundleURL = FileURL("/Applications/X.app"), .id = "x"};
}

const AppEntity kExample = app("Example App", "com.example.App");

std::vector<Artifact> search(const MacVolume& volume, const AppEntity& of, long maxDepth = kDeep,
                             long maxResults = kMany) {
  const ArtifactScanner scanner(FileSizeCalculator::live(volume.files()), volume.files());
  return scanner.userHeuristicSearch(of, maxDepth, maxResults);
}

TEST(UserHeuristicSearch, EachRootDeterminesKindClassAndRisk) {
  struct Row {
    std::string root;
    Kind kind;
    Class dataClass;
    Risk risk;
  };
  const std::vector<Row> rows{
      {"~/Library/Application Support", Kind::applicationSupport, Class::userData, Risk::caution},
      {"~/Library/Caches", Kind::cache, Class::rebuildable, Risk::safe},
      {"~/Library/Logs", Kind::logs, Class::rebuildable, Risk::safe},
      {"~/Library/HTTPStorages", Kind::cache, Class::rebuildable, Risk::safe},
  };
  MacVolume volume;
  std::vector<std::string> expected;
  for (const Row& row : rows) {
    volume.folder(row.root + "/com.example.App.helper");
    expected.push_back(line(
        identified({.kind = row.kind,
                    .dataClass = row.dataClass,
                    .scope = ArtifactScope::user,
                    .urls = {volume.url(row.root + "/com.example.App.helper/")},
                    .riskLevel = row.risk,
                    .confidence = 0.55,
                    .title = "Heuristic: com.example.App.helper",
                    .explanation = "Heuristic match: name/path looks related to the app. Review before deleting."})));
  }
  for (const char* elsewhere : {"~/Library/Preferences", "~/Library/Containers", "/Library/Caches", "~", "~/Library"}) {
    volume.folder(std::string(elsewhere) + "/com.example.App");
  }
  EXPECT_EQ(lines(search(volume, kExample)), expected);
}

TEST(UserHeuristicSearch, TheFirstMatchingRuleDeterminesTheConfidence) {
  const std::vector<std::pair<std::string, double>> rows{
      {"com.example.App", 0.55},
      {"COM.EXAMPLE.APP", 0.55},
      {"x.com.example.App.y", 0.55},
      {"com.example.App (old)", 0.55},
      {"c-o_m.example.App", 0.55},
      {"com.example.App Example App", 0.55},
      {"Example App", 0.45},
      {"example-app", 0.45},
      {"Example_App", 0.45},
      {"EXÄMPLE ÁPP", 0.45},
      {"My Example App", 0.35},
      {"Example App Data", 0.35},
      {"Example.App", 0},
      {"Example", 0},
      {"App", 0},
      {"com.example", 0},
      {"Unrelated", 0},
      {"ExampleXApp", 0},
  };
  for (const auto& [name, confidence] : rows) {
    MacVolume volume;
    volume.folder("~/Library/Caches/" + name);
    const std::vector<Artifact> found = search(volume, kExample);
    ASSERT_LE(found.size(), 1U) << name;
    EXPECT_EQ(found.empty() ? 0 : found[0].confidence, confidence) << name;
  }
}

TEST(UserHeuristicSearch, AFolderEqualToTheBundleIdentifierScoresByTheBundleRuleEvenWhenItIsTheNameToo) {
  MacVolume volume;
  volume.folder("~/Library/Caches/com.example.App");
  const std::vector<Artifact> found = search(volume, app("com.example.App", "com.example.App"));
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found[0].confidence, 0.55);
}

TEST(UserHeuristicSearch, ANameKeyOfFiveCharactersIsNeverUsed) {
  MacVolume volume;
  volume.folder("~/Library/Caches/Notes").folder("~/Library/Caches/Notes Data").folder("~/Library/Caches/Notesx");
  EXPECT_THAT(search(volume, app("Notes")), IsEmpty());
  EXPECT_THAT(search(volume, app("No-t_e s")), IsEmpty());
  EXPECT_THAT(search(volume, app("Notes", "com.example.notes")), IsEmpty());
  EXPECT_THAT(titles(search(volume, app("Notesx"))), ElementsAre("Heuristic: Notesx"));
}

TEST(UserHeuristicSearch, MyAppIsTooShortForItsDataFolderAndMyAppDIsNot) {
  MacVolume volume;
  volume.folder("~/Library/Caches/My_App-Data");
  EXPECT_THAT(search(volume, app("My App")), IsEmpty());
  EXPECT_THAT(titles(search(volume, app("My App D"))), ElementsAre("Heuristic: My_App-Data"));
}

TEST(UserHeuristicSearch, KeyLengthIsCountedInCharactersAndNotInBytes) {
  MacVolume volume;
  volume.folder("~/Library/Caches/日本語アプ").folder("~/Library/Caches/日本語アプリ");
  EXPECT_THAT(search(volume, app("日本語アプ")), IsEmpty());
  EXPECT_THAT(titles(search(volume, app("日本語アプリ"))), ElementsAre("Heuristic: 日本語アプリ"));
}

TEST(UserHeuristicSearch, TheBundleKeyHasNoMinimumLength) {
  MacVolume volume;
  volume.folder("~/Library/Caches/xqx").folder("~/Library/Caches/other");
  EXPECT_THAT(titles(search(volume, app("Tiny", "q"))), ElementsAre("Heuristic: xqx"));
}

TEST(UserHeuristicSearch, TheBundleKeyIsNormalisedLikeTheItems) {
  MacVolume volume;
  volume.folder("~/Library/Caches/com.my-company.my_app").folder("~/Library/Caches/com.mycompany.myapp");
  EXPECT_THAT(search(volume, app("Tiny", "com.My Company.my-app")).size(), 2U);
}

TEST(UserHeuristicSearch, ABundleIdentifierWithoutAKeyIsIgnored) {
  MacVolume volume;
  volume.folder("~/Library/Caches/Example App").folder("~/Library/Caches/Other");
  EXPECT_THAT(search(volume, app("Tiny", "- _")), IsEmpty());
  EXPECT_THAT(search(volume, app("Tiny", "")), IsEmpty());
  EXPECT_THAT(titles(search(volume, app("Example App", "-"))), ElementsAre("Heuristic: Example App"));
}

TEST(UserHeuristicSearch, OnlyTheLastComponentOfAnItemCounts) {
  MacVolume volume;
  volume.folder("~/Library/Caches/com.example.App.x/data/more");
  EXPECT_THAT(titles(search(volume, kExample)), ElementsAre("Heuristic: com.example.App.x"));
}

TEST(UserHeuristicSearch, FilesAndLinksAreFoundAndLinksAreNotFollowed) {
  MacVolume volume;
  volume.folder("/elsewhere/com.example.App.inside")
      .file("~/Library/Logs/com.example.App.log", 1)
      .link("~/Library/Logs/com.example.App.link", "/elsewhere")
      .link("~/Library/Logs/com.example.App.dangling", "nowhere")
      .link("~/Library/Logs/other", "/elsewhere");
  EXPECT_THAT(titles(search(volume, kExample)),
              ElementsAre("Heuristic: com.example.App.dangling", "Heuristic: com.example.App.link",
                          "Heuristic: com.example.App.log"));
}

TEST(UserHeuristicSearch, ResultsAreInWalkOrder) {
  MacVolume volume;
  for (const char* name : {"com.example.App b", "a/com.example.App", "com.example.App b/com.example.App.x",
                           "0 com.example.App", "a/z/com.example.App", "c"}) {
    volume.folder(std::string("~/Library/Caches/") + name);
  }
  const std::string root = volume.path("~/Library/Caches/");
  EXPECT_THAT(paths(search(volume, kExample)),
              ElementsAre(root + "0 com.example.App", root + "a/com.example.App", root + "a/z/com.example.App",
                          root + "com.example.App b", root + "com.example.App b/com.example.App.x"));
}

TEST(UserHeuristicSearch, DepthZeroAndOneConsiderOnlyDirectChildren) {
  MacVolume volume;
  volume.folder("~/Library/Caches/com.example.App 1/com.example.App 2/com.example.App 3")
      .folder("~/Library/Logs/other/com.example.App 2");
  const std::vector<std::pair<long, std::vector<std::string>>> rows{
      {std::numeric_limits<long>::min(), {}},
      {-1, {}},
      {0, {"Heuristic: com.example.App 1"}},
      {1, {"Heuristic: com.example.App 1"}},
      {2, {"Heuristic: com.example.App 1", "Heuristic: com.example.App 2", "Heuristic: com.example.App 2"}},
      {3,
       {"Heuristic: com.example.App 1", "Heuristic: com.example.App 2", "Heuristic: com.example.App 3",
        "Heuristic: com.example.App 2"}},
      {std::numeric_limits<long>::max(),
       {"Heuristic: com.example.App 1", "Heuristic: com.example.App 2", "Heuristic: com.example.App 3",
        "Heuristic: com.example.App 2"}},
  };
  for (const auto& [depth, expected] : rows) EXPECT_EQ(titles(search(volume, kExample, depth)), expected) << depth;
}

TEST(UserHeuristicSearch, DepthIsCountedInStandardisedPaths) {
  // Existing items lose "/private", like the root. A dangling link keeps it and is one level deeper.
  MacVolume volume;
  volume.link("/var", "private/var")
      .folder("/private/var/root/Library/Caches/com.example.App")
      .link("/private/var/root/Library/Caches/com.example.App link", "gone");
  const FileManager files = volume.files().withHome(FileURL("/private/var/root"));
  const ArtifactScanner scanner(FileSizeCalculator::live(files), files);
  EXPECT_THAT(titles(scanner.userHeuristicSearch(kExample, 1, kMany)), ElementsAre("Heuristic: com.example.App"));
  EXPECT_THAT(titles(scanner.userHeuristicSearch(kExample, 2, kMany)),
              ElementsAre("Heuristic: com.example.App", "Heuristic: com.example.App link"));
}

TEST(UserHeuristicSearch, ALimitOfThreeWithFiveMatchesUnderCachesEndsTheSearch) {
  MacVolume volume;
  for (const char* name : {"1", "2", "3", "4", "5"})
    volume.folder(std::string("~/Library/Caches/com.example.App") + name);
  volume.folder("~/Library/Logs/com.example.App").folder("~/Library/HTTPStorages/com.example.App");
  EXPECT_THAT(titles(search(volume, kExample, kDeep, 3)),
              ElementsAre("Heuristic: com.example.App1", "Heuristic: com.example.App2", "Heuristic: com.example.App3"));
}

TEST(UserHeuristicSearch, TheLimitCountsAcrossRoots) {
  MacVolume volume;
  for (const char* root : {"Application Support", "Caches", "Logs", "HTTPStorages"}) {
    volume.folder(std::string("~/Library/") + root + "/com.example.App.1")
        .folder(std::string("~/Library/") + root + "/com.example.App.2");
  }
  const std::vector<std::pair<long, std::size_t>> rows{
      {std::numeric_limits<long>::min(), 0}, {-1, 0}, {0, 0}, {1, 1}, {2, 2}, {3, 3}, {7, 7}, {8, 8}, {9, 8},
      {std::numeric_limits<long>::max(), 8}};
  const std::vector<std::string> all = lines(search(volume, kExample));
  ASSERT_EQ(all.size(), 8U);
  for (const auto& [limit, count] : rows) {
    EXPECT_EQ(lines(search(volume, kExample, kDeep, limit)),
              std::vector<std::string>(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(count)))
        << limit;
  }
}

TEST(UserHeuristicSearch, HiddenItemsAndTheirContentAreSkipped) {
  MacVolume volume;
  volume.folder("~/Library/Caches/.com.example.App/com.example.App").file("~/Library/Logs/.com.example.App.log");
  EXPECT_THAT(search(volume, kExample), IsEmpty());
}

TEST(UserHeuristicSearch, APackageIsFoundAndNotEntered) {
  MacVolume volume;
  volume.folder("~/Library/Caches/Other.bundle/com.example.App")
      .folder("~/Library/Caches/com.example.App.bundle/com.example.App.inside")
      .folder("~/Library/Caches/marked/com.example.App.marked")
      .bundleBit("~/Library/Caches/marked")
      .folder("~/Library/Caches/Other.framework/com.example.App.framework");
  EXPECT_THAT(titles(search(volume, kExample)),
              ElementsAre("Heuristic: com.example.App.framework", "Heuristic: com.example.App.bundle"));
}

TEST(UserHeuristicSearch, AFolderNamedByAnIdentifierThatEndsLikeAnAppIsAPackage) {
  MacVolume volume;
  volume.folder("~/Library/Caches/com.example.App/com.example.App.inside");
  EXPECT_THAT(titles(search(volume, kExample)), ElementsAre("Heuristic: com.example.App"));
}

TEST(UserHeuristicSearch, ARootThatIsMissingAFileOrALinkContributesNothing) {
  MacVolume volume;
  volume.folder("/elsewhere/com.example.App")
      .link("~/Library/Application Support", "/elsewhere")
      .file("~/Library/Caches")
      .folder("~/Library/HTTPStorages/com.example.App");
  EXPECT_THAT(paths(search(volume, kExample)), ElementsAre("/Users/ann/Library/HTTPStorages/com.example.App"));
}

TEST(UserHeuristicSearch, AnUnreadableFolderIsFoundAndTheWalkContinues) {
  MacVolume volume;
  volume.folder("~/Library/Caches/com.example.App a/com.example.App.inside")
      .mode("~/Library/Caches/com.example.App a", 0000)
      .folder("~/Library/Caches/com.example.App b")
      .folder("~/Library/Logs/com.example.App")
      .mode("~/Library/Logs", 0000)
      .folder("~/Library/HTTPStorages/com.example.App");
  const UnprivilegedUser user;
  EXPECT_THAT(
      titles(search(volume, kExample)),
      ElementsAre("Heuristic: com.example.App a", "Heuristic: com.example.App b", "Heuristic: com.example.App"));
}

TEST(UserHeuristicSearch, NamesThatAreNotUTF8AreFoundByTheirValidPart) {
  MacVolume volume;
  volume.folder("~/Library/Caches/\xFF\x1B[31m com.example.App");
  EXPECT_THAT(titles(search(volume, kExample)), ElementsAre("Heuristic: \xFF\x1B[31m com.example.App"));
}

}  // namespace
}  // namespace quarn::user_heuristic_search_tests
