#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/discovery/ArtifactScanner.h"
#include "tests/QuarnCore/discovery/ArtifactLines.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::documents_search_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

AppEntity app(const std::string& name, const std::optional<std::string>& bundleID = std::nullopt) {
  return {.name = name, .bundleIdentifier = bundleID, .bundleURL = FileURL("/Applications/X.app"), .id = "x"};
}

const AppEntity kExample = app("Example App", "com.example.App");

std::vector<Artifact> search(const FileManager& files, const AppEntity& of, long maxDepth = 100,
                             long maxResults = 1000) {
  return ArtifactScanner(FileSizeCalculator::live(files), files).documentsHeuristicSearch(of, maxDepth, maxResults);
}

std::vector<std::string> found(const MacVolume& volume, const AppEntity& of, long maxDepth = 100,
                               long maxResults = 1000) {
  return titles(search(volume.files(), of, maxDepth, maxResults));
}

Artifact find(const std::string& path, const std::string& title, double confidence) {
  return identified(
      {.kind = ArtifactKind::unknown,
       .dataClass = ArtifactDataClass::userData,
       .scope = ArtifactScope::user,
       .urls = {FileURL(path, URLKind::directory)},
       .riskLevel = RiskLevel::danger,
       .confidence = confidence,
       .title = title,
       .explanation = "Possible game saves/config in Documents. Not selected automatically; review carefully."});
}

TEST(DocumentsSearch, AResultIsACompleteRecord) {
  MacVolume volume;
  volume.folder("~/Documents/Games/Example App").folder("~/Documents/My Example App Saves");
  const std::string documents = "/Users/ann/Documents/";
  EXPECT_THAT(lines(search(volume.files(), kExample)),
              ElementsAre(line(find(documents + "Games/Example App", "Documents: Games/Example App", 0.55)),
                          line(find(documents + "My Example App Saves", "Documents: My Example App Saves", 0.4))));
}

TEST(DocumentsSearch, AnExactKeyScoresHigherThanAContainedOne) {
  const std::vector<std::pair<std::string, double>> rows{{"Example App", 0.55},
                                                         {"example_app", 0.55},
                                                         {"EXÁMPLE-APP", 0.55},
                                                         {"com.example.App", 0.55},
                                                         {"COM.EXAMPLE.APP", 0.55},
                                                         {"Example App Saves", 0.4},
                                                         {"My Example App", 0.4},
                                                         {"com.example.App.saves", 0.4},
                                                         {"com.example.App Example App", 0.4},
                                                         {"Example", 0},
                                                         {"com.example", 0},
                                                         {"Other", 0}};
  for (const auto& [name, confidence] : rows) {
    MacVolume volume;
    volume.folder("~/Documents/" + name);
    const std::vector<Artifact> finds = search(volume.files(), kExample);
    ASSERT_LE(finds.size(), 1U) << name;
    EXPECT_EQ(finds.empty() ? 0 : finds[0].confidence, confidence) << name;
  }
}

TEST(DocumentsSearch, AKeyOfFewerThanSixCharactersMustBeTheWholeName) {
  MacVolume volume;
  for (const char* name : {"Notes", "Notes Old", "My Notes", "a.b.c", "a.b.c.d"}) {
    volume.folder(std::string("~/Documents/") + name);
  }
  EXPECT_THAT(found(volume, app("Notes")), ElementsAre("Documents: Notes"));
  EXPECT_THAT(found(volume, app("Notes", "a.b.c")), ElementsAre("Documents: Notes", "Documents: a.b.c"));
  EXPECT_THAT(found(volume, app("Notes", "a.b.c.")), ElementsAre("Documents: Notes", "Documents: a.b.c.d"));
}

TEST(DocumentsSearch, AnAppWithoutANameKeyFindsNothingNotEvenByItsIdentifier) {
  MacVolume volume;
  volume.folder("~/Documents/com.example.App");
  EXPECT_THAT(found(volume, app("", "com.example.App")), IsEmpty());
  EXPECT_THAT(found(volume, app("- _", "com.example.App")), IsEmpty());
}

TEST(DocumentsSearch, AnIdentifierWithoutAKeyFindsNothing) {
  MacVolume volume;
  volume.folder("~/Documents/-").folder("~/Documents/x");
  EXPECT_THAT(found(volume, app("Example", "_")), IsEmpty());
  EXPECT_THAT(found(volume, app("Example", "")), IsEmpty());
}

TEST(DocumentsSearch, OnlyFoldersAreConsidered) {
  MacVolume volume;
  volume.file("~/Documents/Example App")
      .folder("/elsewhere/Example App")
      .link("~/Documents/Example App link", "/elsewhere")
      .link("~/Documents/other", "/elsewhere")
      .folder("~/Documents/z/Example App");
  EXPECT_THAT(found(volume, kExample), ElementsAre("Documents: z/Example App"));
}

TEST(DocumentsSearch, APackageIsAFolderTooAndNotEntered) {
  MacVolume volume;
  volume.folder("~/Documents/Example App.bundle/Example App").folder("~/Documents/Other.bundle/Example App");
  EXPECT_THAT(found(volume, kExample), ElementsAre("Documents: Example App.bundle"));
}

TEST(DocumentsSearch, HiddenFoldersAreSkipped) {
  MacVolume volume;
  volume.folder("~/Documents/.Example App/Example App");
  EXPECT_THAT(found(volume, kExample), IsEmpty());
}

TEST(DocumentsSearch, DepthZeroAndOneConsiderOnlyDirectChildren) {
  MacVolume volume;
  volume.folder("~/Documents/a/b/Example App").folder("~/Documents/a/Example App").folder("~/Documents/Example App");
  const std::vector<std::pair<long, std::size_t>> rows{
      {std::numeric_limits<long>::min(), 0}, {-1, 0}, {0, 1}, {1, 1}, {2, 2}, {3, 3},
      {std::numeric_limits<long>::max(), 3}};
  for (const auto& [depth, count] : rows) EXPECT_EQ(found(volume, kExample, depth).size(), count) << depth;
}

TEST(DocumentsSearch, ResultsAreInWalkOrderUpToTheLimit) {
  MacVolume volume;
  for (const char* name : {"c Example App", "a Example App/Example App", "B Example App"}) {
    volume.folder(std::string("~/Documents/") + name);
  }
  const std::vector<std::string> all{"Documents: B Example App", "Documents: a Example App",
                                     "Documents: a Example App/Example App", "Documents: c Example App"};
  const std::vector<std::pair<long, std::size_t>> rows{
      {std::numeric_limits<long>::min(), 0}, {-1, 0}, {0, 0}, {1, 1}, {3, 3}, {4, 4}, {5, 4},
      {std::numeric_limits<long>::max(), 4}};
  for (const auto& [limit, count] : rows) {
    EXPECT_EQ(found(volume, kExample, 9, limit),
              std::vector<std::string>(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(count)))
        << limit;
  }
}

TEST(DocumentsSearch, AResultOutsideTheDocumentsFolderIsTheResolvedFolder) {
  MacVolume volume;
  volume.folder("/Volumes/Data/ann/Documents/Games/Example App").link("/Users/eve", "/Volumes/Data/ann");
  const std::vector<Artifact> finds = search(volume.files().withHome(FileURL("/Users/eve")), kExample);
  EXPECT_THAT(lines(finds),
              ElementsAre(line(find("/Volumes/Data/ann/Documents/Games/Example App", "Documents: Example App", 0.55))));
}

TEST(DocumentsSearch, ADocumentsFolderThatIsALinkOrMissingContributesNothing) {
  MacVolume volume;
  EXPECT_THAT(found(volume, kExample), IsEmpty());
  volume.folder("/elsewhere/Example App").link("~/Documents", "/elsewhere");
  EXPECT_THAT(found(volume, kExample), IsEmpty());
}

TEST(DocumentsSearch, AnUnreadableFolderIsFoundAndTheWalkContinues) {
  MacVolume volume;
  volume.folder("~/Documents/a Example App/Example App")
      .mode("~/Documents/a Example App", 0000)
      .folder("~/Documents/b Example App");
  const UnprivilegedUser user;
  EXPECT_THAT(found(volume, kExample), ElementsAre("Documents: a Example App", "Documents: b Example App"));
}

}  // namespace
}  // namespace quarn::documents_search_tests
