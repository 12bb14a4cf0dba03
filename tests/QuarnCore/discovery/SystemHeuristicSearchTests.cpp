#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/discovery/ArtifactScanner.h"
#include "tests/QuarnCore/discovery/ArtifactLines.h"
#include "tests/support/MacVolume.h"

namespace quarn::system_heuristic_search_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Kind = ArtifactKind;
using Class = ArtifactDataClass;
using Risk = RiskLevel;

AppEntity app(const std::string& name, const std::optional<std::string>& bundleID) {
  return {.name = name, .bundleIdentifier = bundleID, .bundleURL = FileURL("/Applications/X.app"), .id = "x"};
}

const AppEntity kExample = app("Example App", "com.example.App");

std::vector<Artifact> search(const MacVolume& volume, const AppEntity& of, long maxDepth = 100,
                             long maxResults = 1000) {
  const ArtifactScanner scanner(FileSizeCalculator::live(volume.files()), volume.files());
  return scanner.systemHeuristicSearch(of, maxDepth, maxResults);
}

TEST(SystemHeuristicSearch, EachRootDeterminesKindClassAndRisk) {
  struct Row {
    std::string root;
    Kind kind;
    Class dataClass;
    Risk risk;
  };
  const std::vector<Row> rows{
      {"/Library/Application Support", Kind::applicationSupport, Class::shared, Risk::danger},
      {"/Library/Caches", Kind::cache, Class::rebuildable, Risk::safe},
      {"/Library/Logs", Kind::logs, Class::rebuildable, Risk::safe},
  };
  MacVolume volume;
  std::vector<std::string> expected;
  for (const Row& row : rows) {
    volume.file(row.root + "/com.example.App.helper");
    expected.push_back(line(identified(
        {.kind = row.kind,
         .dataClass = row.dataClass,
         .scope = ArtifactScope::system,
         .urls = {volume.url(row.root + "/com.example.App.helper")},
         .riskLevel = row.risk,
         .confidence = 0.35,
         .title = "Heuristic (System): com.example.App.helper",
         .explanation = "Heuristic match (System): name/path matches the bundle ID. Review before deleting."})));
  }
  for (const char* elsewhere : {"/Library/HTTPStorages", "/Library/Preferences", "~/Library/Caches", "/Library"}) {
    volume.folder(std::string(elsewhere) + "/com.example.App");
  }
  EXPECT_EQ(lines(search(volume, kExample)), expected);
}

TEST(SystemHeuristicSearch, WithoutABundleKeyThereIsNothing) {
  MacVolume volume;
  volume.folder("/Library/Caches/Example App").folder("/Library/Caches/com.example.App");
  EXPECT_THAT(search(volume, app("Example App", std::nullopt)), IsEmpty());
  EXPECT_THAT(search(volume, app("Example App", "")), IsEmpty());
  EXPECT_THAT(search(volume, app("Example App", " _-")), IsEmpty());
}

TEST(SystemHeuristicSearch, TheNameIsNotUsed) {
  MacVolume volume;
  volume.folder("/Library/Caches/Example App").folder("/Library/Caches/My Example App");
  EXPECT_THAT(search(volume, kExample), IsEmpty());
}

TEST(SystemHeuristicSearch, EveryResultHasTheSameConfidence) {
  MacVolume volume;
  for (const char* name : {"com.example.App", "x com.example.App y", "COM.EXÄMPLE.APP"}) {
    volume.folder(std::string("/Library/Caches/") + name);
  }
  const std::vector<Artifact> found = search(volume, kExample);
  ASSERT_EQ(found.size(), 3U);
  for (const Artifact& artifact : found) EXPECT_EQ(artifact.confidence, 0.35) << artifact.title;
}

TEST(SystemHeuristicSearch, LimitsAreThoseOfTheUsersSearch) {
  MacVolume volume;
  volume.folder("/Library/Application Support/a/com.example.App")
      .folder("/Library/Application Support/com.example.App")
      .folder("/Library/Caches/com.example.App.1/com.example.App.2")
      .folder("/Library/Logs/com.example.App.3");
  EXPECT_THAT(search(volume, kExample, -1), IsEmpty());
  EXPECT_THAT(search(volume, kExample, 0), testing::SizeIs(3));
  EXPECT_THAT(search(volume, kExample, 1), testing::SizeIs(3));
  EXPECT_THAT(search(volume, kExample, 2), testing::SizeIs(5));
  EXPECT_THAT(search(volume, kExample, 2, 0), IsEmpty());
  EXPECT_THAT(titles(search(volume, kExample, 2, 3)),
              ElementsAre("Heuristic (System): com.example.App", "Heuristic (System): com.example.App",
                          "Heuristic (System): com.example.App.1"));
}

TEST(SystemHeuristicSearch, HiddenItemsPackageContentsAndLinkedRootsAreSkipped) {
  MacVolume volume;
  volume.folder("/Library/Application Support/.com.example.App")
      .folder("/Library/Application Support/Other.app/com.example.App")
      .folder("/elsewhere/com.example.App")
      .link("/Library/Caches", "/elsewhere");
  EXPECT_THAT(search(volume, kExample), IsEmpty());
}

}  // namespace
}  // namespace quarn::system_heuristic_search_tests
