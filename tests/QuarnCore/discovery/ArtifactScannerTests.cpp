#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/discovery/ArtifactScanner.h"
#include "QuarnPlatform/resources/Localization.h"
#include "tests/QuarnCore/discovery/ArtifactLines.h"
#include "tests/support/ItemSizes.h"
#include "tests/support/MacVolume.h"
#include "tests/support/ResourceFolder.h"

namespace quarn::artifact_scanner_tests {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

const AppEntity kExample{.name = "Example",
                         .bundleIdentifier = "com.example.App",
                         .bundleURL = FileURL("/Applications/Example.app/"),
                         .id = "com.example.App"};

ArtifactScanner::Options options() {
  return {.includeHeuristicSearch = false,
          .heuristicMaxDepth = 3,
          .heuristicMaxResults = 100,
          .includeVendorHeuristics = false,
          .includeSystemArtifacts = false,
          .includeSystemHeuristicSearch = false,
          .computeSizes = false};
}

std::vector<Artifact> scan(const MacVolume& volume, const ArtifactScanner::Options& with,
                           const AppEntity& app = kExample, const EntitlementsInfo& entitlements = {}) {
  const ArtifactScanner scanner(FileSizeCalculator::live(volume.files()), volume.files());
  return scanner.scan(app, entitlements, with);
}

TEST(ArtifactScanner, AnAppWithNoLibraryDataYieldsExactlyTheBundle) {
  MacVolume volume;
  volume.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App"});
  ArtifactScanner::Options everything = options();
  everything.includeHeuristicSearch = everything.includeVendorHeuristics = true;
  everything.includeSystemArtifacts = everything.includeSystemHeuristicSearch = true;
  EXPECT_THAT(titles(scan(volume, everything, kExample, {{"group.example"}})), ElementsAre("App"));
  EXPECT_THAT(titles(scan(volume, options())), ElementsAre("App"));
}

TEST(ArtifactScanner, WithSizesAbsentTheResultIsInTitleOrder) {
  MacVolume volume;
  volume.folder("~/Library/Caches/com.example.App")
      .folder("~/Library/Logs/com.example.App")
      .file("~/Library/Preferences/com.example.App.plist")
      .folder("~/Library/Application Scripts/com.example.App")
      .folder("~/Library/Application Support/Example")
      .folder("~/Library/Application Support/com.example.App");
  EXPECT_THAT(titles(scan(volume, options())),
              ElementsAre("App", "Application Scripts", "Application Support (com.example.App)",
                          "Application Support (Example)", "Cache", "Logs", "Preferences"));
}

TEST(ArtifactScanner, ArtifactsAreSortedByAllocatedSizeThenByTitle) {
  MacVolume volume;
  volume.app("/Applications/Example.app")
      .file("~/Library/Caches/com.example.App/a", 64_KiB)
      .file("~/Library/Logs/com.example.App/a", 256_KiB)
      .sparse("~/Library/Containers/com.example.App/a", 10_MiB)
      .file("~/Library/HTTPStorages/com.example.App", 64_KiB);
  ArtifactScanner::Options sized = options();
  sized.computeSizes = true;
  const std::vector<Artifact> found = scan(volume, sized);
  EXPECT_THAT(titles(found), ElementsAre("Logs", "Cache", "HTTPStorages", "App", "Container"));
  EXPECT_EQ(found[0].size, (SizeInfo{256_KiB, 256_KiB}));
  EXPECT_EQ(found[4].size, (SizeInfo{0, 10_MiB}));
}

TEST(ArtifactScanner, WithoutSizesNoneIsComputed) {
  MacVolume volume;
  volume.file("~/Library/Caches/com.example.App/a", 64_KiB);
  for (const Artifact& artifact : scan(volume, options())) EXPECT_EQ(artifact.size, std::nullopt) << artifact.title;
}

TEST(ArtifactScanner, AMissingBundleHasTheSizeZero) {
  const MacVolume volume;
  ArtifactScanner::Options sized = options();
  sized.computeSizes = true;
  EXPECT_EQ(scan(volume, sized).front().size, (SizeInfo{0, 0}));
}

TEST(ArtifactScanner, SizesThatOverflowAreAnError) {
  MacVolume volume;
  volume.file("~/Library/Preferences/com.example.App.a.plist").file("~/Library/Preferences/com.example.App.b.plist");
  const ArtifactScanner scanner(sizesBy([](const FileURL&, const std::vector<FileURL>&, bool, bool) {
                                  return SizeInfo{std::numeric_limits<std::int64_t>::max(), 0};
                                }),
                                volume.files());
  ArtifactScanner::Options sized = options();
  sized.computeSizes = true;
  EXPECT_THROW((void)scanner.scan(kExample, {}, sized), SizeOverflow);
}

TEST(ArtifactScanner, EachOptionAddsOnlyItsOwnArtifacts) {
  MacVolume volume;
  volume.folder("~/Library/Caches/com.example.App")
      .folder("/Library/Caches/com.example.App")
      .folder("~/Library/Group Containers/group.example")
      .folder("~/Library/Application Support/Adobe")
      .folder("~/Library/Logs/com.example.App.old")
      .folder("/Library/Logs/com.example.App.old");
  AppEntity app = kExample;
  app.name = "Adobe Example";
  const EntitlementsInfo entitlements{{"group.example"}};
  const std::vector<std::string> always{"App", "Cache", "Group Container (group.example)"};
  const auto with = [&](auto change) {
    ArtifactScanner::Options chosen = options();
    change(chosen);
    std::vector<std::string> found = titles(scan(volume, chosen, app, entitlements));
    for (const std::string& title : always) std::erase(found, title);
    return found;
  };
  EXPECT_EQ(titles(scan(volume, options(), app, entitlements)), always);
  EXPECT_THAT(with([](auto& chosen) { chosen.includeSystemArtifacts = true; }), ElementsAre("System Cache"));
  EXPECT_THAT(with([](auto& chosen) { chosen.includeVendorHeuristics = true; }), ElementsAre("Adobe (Shared)"));
  EXPECT_THAT(with([](auto& chosen) { chosen.includeHeuristicSearch = true; }),
              ElementsAre("Heuristic: com.example.App.old"));
  EXPECT_THAT(with([](auto& chosen) { chosen.includeSystemHeuristicSearch = true; }),
              ElementsAre("Heuristic (System): com.example.App", "Heuristic (System): com.example.App.old"));
}

TEST(ArtifactScanner, BothHeuristicSearchesHaveTheGivenLimits) {
  MacVolume volume;
  for (const char* root : {"~/Library/Logs/", "/Library/Logs/"}) {
    volume.folder(std::string(root) + "com.example.App 1").folder(std::string(root) + "com.example.App 2");
    volume.folder(std::string(root) + "below/com.example.App 3");
  }
  ArtifactScanner::Options searching = options();
  searching.includeHeuristicSearch = searching.includeSystemHeuristicSearch = true;
  searching.heuristicMaxDepth = 1;
  EXPECT_EQ(scan(volume, searching).size(), 1U + 2 * 2);
  searching.heuristicMaxDepth = 2;
  EXPECT_EQ(scan(volume, searching).size(), 1U + 2 * 3);
  searching.heuristicMaxResults = 1;
  EXPECT_EQ(scan(volume, searching).size(), 1U + 2 * 1);
}

TEST(ArtifactScanner, TheVendorOptionAddsNoProfilesArtifacts) {
  MacVolume volume;
  volume.folder("~/Library/Application Support/Slack").folder("~/Library/Caches/com.tinyspeck.slackmacgap.ShipIt");
  AppEntity app = kExample;
  app.name = "Slack";
  app.bundleIdentifier = "com.tinyspeck.slackmacgap.none";
  ArtifactScanner::Options vendors = options();
  vendors.includeVendorHeuristics = true;
  EXPECT_THAT(titles(scan(volume, vendors, app)), ElementsAre("App", "Application Support (Slack)"));
}

TEST(ArtifactScanner, AnAppWithoutBundleIdentifierHasItsBundleGroupContainersAndTheOtherSteps) {
  MacVolume volume;
  volume.folder("~/Library/Application Support/Example Editor")
      .folder("~/Library/Group Containers/g")
      .folder("~/Library/Logs/Example Editor");
  AppEntity app = kExample;
  app.name = "Example Editor";
  app.bundleIdentifier.reset();
  EXPECT_THAT(titles(scan(volume, options(), app, {{"g"}})), ElementsAre("App", "Group Container (g)"));
  ArtifactScanner::Options searching = options();
  searching.includeHeuristicSearch = true;
  EXPECT_THAT(titles(scan(volume, searching, app)),
              ElementsAre("App", "Heuristic: Example Editor", "Heuristic: Example Editor"));
}

TEST(ArtifactScanner, ExplanationsAreInTheUsersLanguageAndTitlesAreNot) {
  MacVolume volume;
  volume.folder("~/Library/Logs/com.example.App");
  const std::string english = "Logs: helpful for debugging, usually safe to remove.";
  const ResourceFolder resources;
  ResourceFolder german;
  german.file("Localizable.xcstrings", R"({"strings": {")" + english +
                                           R"(": {"localizations": {"de": {"stringUnit": {"value": "Protokolle"}}}},
              "Logs": {"localizations": {"de": {"stringUnit": {"value": "Falsch"}}}}}})");
  useLocalization("de", german.bundle());
  const std::vector<Artifact> found = scan(volume, options());
  useLocalization("", resources.bundle());
  ASSERT_THAT(titles(found), ElementsAre("App", "Logs"));
  EXPECT_EQ(found[1].explanation, "Protokolle");
  EXPECT_EQ(scan(volume, options())[1].explanation, english);
}

}  // namespace
}  // namespace quarn::artifact_scanner_tests
