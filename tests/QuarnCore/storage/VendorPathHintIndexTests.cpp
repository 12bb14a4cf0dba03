#include <random>

#include <gmock/gmock.h>

#include "QuarnCore/storage/VendorPathHintIndex.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/text/Text.h"
#include "tests/QuarnCore/VendorCategoryTable.h"
#include "tests/support/MacVolume.h"
#include "tests/support/ResourceFolder.h"

namespace quarn::vendor_path_hint_index_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Category = StorageCategoryID;
using Definition = VendorProfile::ArtifactDefinition;

TEST(VendorCategories, EachOfTheNinetyOneVendorsHasItsCategory) {
  std::size_t count = 0;
  for (const auto& [category, ids] : vendorCategoryTable()) {
    for (const std::string& id : ids) {
      EXPECT_EQ(VendorPathHintIndex::category(id), category) << id;
      ++count;
    }
  }
  EXPECT_EQ(count, 91u);
}

TEST(VendorCategories, NoOtherIdHasOne) {
  for (const char* id : {"", "Slack", "SLACK", "slack ", "microsoft", "adobe", "apps", "telegram-", "xcode2"}) {
    EXPECT_EQ(VendorPathHintIndex::category(id), std::nullopt) << id;
  }
}

VendorPathHintIndex index(const MacVolume& volume, std::vector<VendorProfile> profiles) {
  return {VendorProfileRegistry(std::move(profiles)), volume.url("~"), volume.files()};
}

Definition definition(std::string title, std::vector<std::string> paths,
                      ArtifactKind kind = ArtifactKind::applicationSupport) {
  return {.kind = kind, .dataClass = ArtifactDataClass::userData, .title = std::move(title), .paths = std::move(paths)};
}

std::string hintTitle(const VendorPathHintIndex& index, const std::string& path, Category category) {
  const auto hint = index.hint(FileURL(path), category);
  return hint ? hint->artifactTitle : "";
}

TEST(VendorPathHintIndex, ADefinitionsHintCarriesItsFields) {
  MacVolume volume;
  volume.file("~/Slack/file");
  const VendorProfile profile{.id = "slack",
                              .displayName = "Slack",
                              .artifacts = {{.kind = ArtifactKind::cache,
                                             .dataClass = ArtifactDataClass::rebuildable,
                                             .scope = ArtifactScope::system,
                                             .riskLevel = RiskLevel::caution,
                                             .confidence = 0.3,
                                             .title = "Cache",
                                             .explanation = "Why.",
                                             .paths = {"~/Slack"}}}};
  const VendorPathHint expected{.vendorID = "slack",
                                .vendorName = "Slack",
                                .category = Category::communication,
                                .artifactKind = ArtifactKind::cache,
                                .artifactDataClass = ArtifactDataClass::rebuildable,
                                .artifactTitle = "Cache",
                                .explanation = "Why.",
                                .riskLevel = RiskLevel::caution,
                                .path = "/Users/ann/Slack"};
  const auto built = index(volume, {profile});
  EXPECT_EQ(built.hint(FileURL("/Users/ann/Slack/file"), Category::communication), expected);
  const VendorPathHintIndex::Entry entry{
      .path = "/Users/ann/Slack", .url = FileURL("/Users/ann/Slack"), .hint = expected, .isDirectory = true};
  EXPECT_THAT(built.entriesByCategory(), ElementsAre(testing::Pair(Category::communication, ElementsAre(entry))));
}

TEST(VendorPathHintIndex, OfFilesEqualsThatOfTheLoadedProfiles) {
  MacVolume volume;
  volume.file("~/Library/Application Support/Slack/a").folder("~/Library/Caches/com.tinyspeck.slackmacgap");
  volume.folder("~/.npm").folder("~/Library/Developer/Xcode/DerivedData").file("~/Library/Mail/V10/a");
  const std::vector<ResourceBundle> bundles{ResourceBundle::shipped()};
  const VendorPathHintIndex ofFiles(VendorProfileFiles(bundles), volume.url("~"), volume.files());
  const VendorPathHintIndex ofProfiles(VendorProfileRegistry::loadDefault(), volume.url("~"), volume.files());
  EXPECT_EQ(ofFiles.entriesByCategory(), ofProfiles.entriesByCategory());
  EXPECT_EQ(ofFiles.rootsByCategory(), ofProfiles.rootsByCategory());
  EXPECT_GE(ofFiles.entriesByCategory().size(), 2U);
}

// The patterns are read before the rest, and the rest may be wrong or unusual.
TEST(VendorPathHintIndex, OfFilesJudgesWholeProfiles) {
  MacVolume volume;
  volume.folder("~/a").folder("~/b").folder("~/c");
  ResourceFolder folder;
  folder.file("vendors/index.json", R"({"version": 1, "vendors": [{"id": "slack", "file": "good"},
      {"id": "zoom", "file": "wrong"}, {"id": "xcode", "file": "unusual"}, {"id": "safari", "file": "cut"}]})");
  const auto text = [](const std::string& id, const std::string& title, const std::string& paths) {
    return R"({"id": ")" + id + R"(", "displayName": "V",
        "match": {"bundleIDs": [], "bundleIDPrefixes": [], "nameContains": []}, "artifacts": [],
        "carveOuts": [{)" +
           title + R"("reason": "Why.", "paths": [)" + paths + "]}]}";
  };
  const std::string titled = R"("title": "T", )";
  folder.file("vendors/good.json", text("slack", titled, R"("~/a")"));
  folder.file("vendors/wrong.json", text("zoom", "", R"("~/b")"));
  // Of equal keys the first one counts.
  folder.file("vendors/unusual.json", text("xcode", titled + R"("paths": ["~/c"], )", R"("~/b")"));
  folder.file("vendors/cut.json", text("safari", titled, R"("~/a")").substr(0, 200));
  const VendorPathHintIndex built(VendorProfileFiles({folder.bundle()}), volume.url("~"), volume.files());
  EXPECT_TRUE(built.hint(FileURL("/Users/ann/a"), Category::communication));
  EXPECT_FALSE(built.hint(FileURL("/Users/ann/b"), Category::communication));
  EXPECT_TRUE(built.hint(FileURL("/Users/ann/c"), Category::development));
  EXPECT_EQ(built.entriesByCategory().size(), 2U);
}

TEST(VendorPathHintIndex, ACarveOutsHintIsSharedAndDangerous) {
  MacVolume volume;
  volume.folder("~/Shared");
  const VendorProfile profile{
      .id = "xcode", .displayName = "Xcode", .carveOuts = {{.title = "All", .paths = {"~/Shared"}, .reason = "Why."}}};
  const VendorPathHint expected{.vendorID = "xcode",
                                .vendorName = "Xcode",
                                .category = Category::development,
                                .artifactKind = ArtifactKind::unknown,
                                .artifactDataClass = ArtifactDataClass::shared,
                                .artifactTitle = "All",
                                .explanation = "Why.",
                                .riskLevel = RiskLevel::danger,
                                .path = "/Users/ann/Shared"};
  EXPECT_EQ(index(volume, {profile}).hint(FileURL("/Users/ann/Shared/x/y"), Category::development), expected);
}

TEST(VendorPathHintIndex, AnAbsentExplanationStaysAbsent) {
  MacVolume volume;
  volume.folder("~/a");
  const auto hint = index(volume, {{.id = "slack", .artifacts = {definition("T", {"~/a"})}}})
                        .hint(FileURL("/Users/ann/a"), Category::communication);
  ASSERT_TRUE(hint);
  EXPECT_EQ(hint->explanation, std::nullopt);
}

TEST(VendorPathHintIndex, VendorsWithoutACategoryContributeNothing) {
  MacVolume volume;
  volume.folder("~/a");
  const auto built = index(volume, {{.id = "adobe", .artifacts = {definition("T", {"~/a"})}}});
  EXPECT_THAT(built.entriesByCategory(), IsEmpty());
  EXPECT_THAT(built.rootsByCategory(), IsEmpty());
  for (const Category category : allCases<Category>()) {
    EXPECT_EQ(built.hint(FileURL("/Users/ann/a"), category), std::nullopt);
    EXPECT_THAT(built.roots(category), IsEmpty());
  }
}

TEST(VendorPathHintIndex, PatternsThatDenoteNothingMakeNoEntries) {
  const MacVolume volume;
  const auto built = index(volume, {{.id = "slack",
                                     .artifacts = {definition("T", {"~/missing", "relative"})},
                                     .carveOuts = {{.title = "T", .paths = {"/missing/*"}, .reason = "R"}}}});
  EXPECT_THAT(built.entriesByCategory(), IsEmpty());
  EXPECT_THAT(built.rootsByCategory(), IsEmpty());
}

TEST(VendorPathHintIndex, ACategoryReturnsOnlyItsOwnHints) {
  MacVolume volume;
  volume.folder("~/a");
  const auto built = index(volume, {{.id = "slack", .artifacts = {definition("T", {"~/a"})}}});
  EXPECT_EQ(hintTitle(built, "/Users/ann/a", Category::communication), "T");
  EXPECT_EQ(hintTitle(built, "/Users/ann/a", Category::games), "");
}

TEST(VendorPathHintIndex, TheDeepestVendorPathWins) {
  MacVolume volume;
  volume.file("~/V/deep/er/file");
  const auto built = index(volume, {{.id = "slack", .artifacts = {definition("outer", {"~/V"})}},
                                    {.id = "zoom", .artifacts = {definition("inner", {"~/V/deep"})}}});
  EXPECT_EQ(hintTitle(built, "/Users/ann/V/deep/er/file", Category::communication), "inner");
  EXPECT_EQ(hintTitle(built, "/Users/ann/V/deep", Category::communication), "inner");
  EXPECT_EQ(hintTitle(built, "/Users/ann/V/deeper", Category::communication), "outer");
}

TEST(VendorPathHintIndex, AUrlEqualToAVendorPathMatchesAndANameThatOnlyBeginsAlikeDoesNot) {
  MacVolume volume;
  volume.file("~/Slack/a").file("~/Slack2/file");
  const auto built = index(volume, {{.id = "slack", .artifacts = {definition("T", {"~/Slack"})}}});
  EXPECT_EQ(hintTitle(built, "/Users/ann/Slack", Category::communication), "T");
  EXPECT_EQ(hintTitle(built, "/Users/ann/Slack2/file", Category::communication), "");
  EXPECT_EQ(hintTitle(built, "/Users/ann", Category::communication), "");
}

TEST(VendorPathHintIndex, LookupsUseStandardisedPathsEvenOfMissingItems) {
  MacVolume volume;
  volume.folder("~/Slack").folder("/private/var/v/x").link("/var", "private/var");
  const auto built = index(volume, {{.id = "slack", .artifacts = {definition("T", {"~/./Slack", "/private/var/v"})}}});
  EXPECT_EQ(hintTitle(built, "/Users//ann/./Slack/missing", Category::communication), "T");
  EXPECT_EQ(hintTitle(built, "/Users/ann/Slack/../Slack", Category::communication), "T");
  EXPECT_EQ(hintTitle(built, "/var/v/x", Category::communication), "T");
  EXPECT_EQ(hintTitle(built, "/private/var/v/x", Category::communication), "T");
  EXPECT_EQ(hintTitle(built, "/private/var/v/missing", Category::communication), "")
      << "what does not exist keeps its prefix";
}

TEST(VendorPathHintIndex, TheFirstHintForAPathWins) {
  MacVolume volume;
  volume.folder("~/a");
  const auto built = index(volume, {{.id = "zoom", .artifacts = {definition("1", {"~/a"}), definition("2", {"~/a"})}},
                                    {.id = "slack", .artifacts = {definition("3", {"~/a"})}}});
  EXPECT_EQ(hintTitle(built, "/Users/ann/a", Category::communication), "1");
  EXPECT_EQ(built.entriesByCategory().at(Category::communication).size(), 3u);
}

TEST(VendorPathHintIndex, EntriesAreLongestFirstThenByPathThenInOrder) {
  MacVolume volume;
  volume.folder("/v/bb").folder("/v/aa").folder("/v/ccc").file("/v/\u00E9\u00E9");
  const auto built = index(volume, {{.id = "zoom",
                                     .artifacts = {definition("1", {"/v"}), definition("2", {"/v/bb", "/v/ccc"}),
                                                   definition("3", {"/v/*"}), definition("4", {"/v/\u00E9\u00E9"})},
                                     .carveOuts = {{.title = "5", .paths = {"/v/aa"}, .reason = "R"}}}});
  std::vector<std::string> lines;
  for (const auto& entry : built.entriesByCategory().at(Category::communication)) {
    EXPECT_EQ(entry.path, entry.hint.path);
    EXPECT_EQ(entry.path, entry.url.path());
    EXPECT_EQ(entry.isDirectory, entry.path != "/v/\u00E9\u00E9");
    lines.push_back(entry.hint.artifactTitle + " " + entry.path);
  }
  EXPECT_THAT(lines, ElementsAre("2 /v/ccc", "3 /v/ccc", "3 /v/aa", "5 /v/aa", "2 /v/bb", "3 /v/bb",
                                 "3 /v/\u00E9\u00E9", "4 /v/\u00E9\u00E9", "1 /v"));
}

TEST(VendorPathHintIndex, FoldersAreRootsButNotAppBundlesUninstallersFilesLinksOrCarveOuts) {
  MacVolume volume;
  volume.folder("~/cache").folder("~/App.app").folder("~/Uninstall").file("~/file").link("~/link", "cache");
  volume.folder("~/carved");
  const auto built =
      index(volume, {{.id = "slack",
                      .artifacts = {definition("cache", {"~/cache"}, ArtifactKind::cache),
                                    definition("app", {"~/App.app"}, ArtifactKind::appBundle),
                                    definition("uninstaller", {"~/Uninstall"}, ArtifactKind::uninstaller),
                                    definition("others", {"~/file", "~/link"}, ArtifactKind::preferences)},
                      .carveOuts = {{.title = "carved", .paths = {"~/carved"}, .reason = "R"}}}});
  EXPECT_THAT(built.roots(Category::communication), ElementsAre(FileURL("/Users/ann/cache")));
  EXPECT_EQ(built.entriesByCategory().at(Category::communication).size(), 6u);
}

TEST(VendorPathHintIndex, EveryKindButTwoMakesRoots) {
  MacVolume volume;
  volume.folder("~/a");
  for (const ArtifactKind kind : allCases<ArtifactKind>()) {
    const auto built = index(volume, {{.id = "slack", .artifacts = {definition("T", {"~/a"}, kind)}}});
    const bool isRoot = kind != ArtifactKind::appBundle && kind != ArtifactKind::uninstaller;
    EXPECT_EQ(built.roots(Category::communication).size(), isRoot ? 1u : 0u) << rawValue(kind);
  }
}

TEST(VendorPathHintIndex, OnlyOutermostRootsAreKeptShortestFirstAndElseInOrder) {
  MacVolume volume;
  volume.folder("/v/b/inner").folder("/v/c").folder("/v/longer").folder("/v/a").folder("/v/lon");
  const auto built = index(volume, {{.id = "zoom",
                                     .artifacts = {definition("1", {"/v/longer", "/v/b/inner", "/v/c"}),
                                                   definition("2", {"/v/b", "/v/c", "/v/a", "/v/lon"})}}});
  EXPECT_THAT(built.roots(Category::communication),
              ElementsAre(FileURL("/v/c"), FileURL("/v/b"), FileURL("/v/a"), FileURL("/v/lon"), FileURL("/v/longer")));
}

TEST(VendorPathHintIndex, TheUrlsOfRootsStayAsTheyResolved) {
  MacVolume volume;
  volume.folder("~/a");
  const auto built = index(volume, {{.id = "zoom", .artifacts = {definition("1", {"~/./a", "~/a"})}}});
  ASSERT_EQ(built.roots(Category::communication).size(), 1u);
  EXPECT_EQ(built.roots(Category::communication)[0].string(), "file:///Users/ann/./a/");
}

TEST(VendorPathHintIndex, AHintForTheRootAppliesOnlyToTheRoot) {
  MacVolume volume;
  volume.file("/a/b");
  const auto built =
      index(volume, {{.id = "zoom", .artifacts = {definition("root", {"/."}), definition("a", {"/a"})}}});
  EXPECT_EQ(hintTitle(built, "/", Category::communication), "root");
  EXPECT_EQ(hintTitle(built, "/a/b", Category::communication), "a");
  EXPECT_EQ(hintTitle(built, "/c", Category::communication), "");
}

// A search in the sorted entries, as the rule says.
std::string slowHint(const std::vector<VendorPathHintIndex::Entry>& entries, const std::string& path) {
  for (const auto& entry : entries) {
    if (path == entry.path || path.starts_with(entry.path + "/")) return entry.hint.artifactTitle;
  }
  return "";
}

TEST(VendorPathHintIndex, AgreesWithAWalkThroughTheSortedEntries) {
  std::mt19937 random(3);
  constexpr std::array<std::string_view, 4> kNames{"a", "b", "ab", "\u00E9"};
  // One definition in ten is for the root.
  const auto randomPath = [&] {
    std::string path;
    for (std::size_t depth = 1 + random() % 4; depth > 0; --depth) (path += '/') += kNames[random() % kNames.size()];
    return path;
  };
  for (int round = 0; round < 20; ++round) {
    MacVolume volume;
    std::vector<Definition> definitions;
    for (int i = 0; i < 15; ++i) {
      const std::string path = random() % 10 == 0 ? "/." : randomPath();
      volume.folder(path);
      definitions.push_back(definition(std::to_string(i), {path}));
    }
    const auto built = index(volume, {{.id = "zoom", .artifacts = definitions}});
    const auto& entries = built.entriesByCategory().at(Category::communication);
    for (int i = 0; i < 200; ++i) {
      const std::string path = randomPath();
      ASSERT_EQ(hintTitle(built, path, Category::communication), slowHint(entries, path)) << path;
    }
  }
}

TEST(VendorPathHintIndex, ThePathOfAHintIsStandardised) {
  MacVolume volume;
  volume.folder("/private/var/v").link("/var", "private/var").folder("/private/etc/w");
  const auto built =
      index(volume, {{.id = "slack", .artifacts = {definition("T", {"/private/var/v", "/private/etc/w"})}}});
  const auto pathAt = [&](const char* path) {
    const auto hint = built.hint(FileURL(path), Category::communication);
    return hint ? hint->path : "no hint";
  };
  EXPECT_EQ(pathAt("/private/var/v"), "/var/v");
  EXPECT_EQ(pathAt("/private/etc/w"), "/private/etc/w") << "without a link at /etc the prefix stays";
  for (const VendorPathHintIndex::Entry& entry : built.entriesByCategory().at(Category::communication)) {
    EXPECT_EQ(entry.path, entry.hint.path);
  }
}

}  // namespace
}  // namespace quarn::vendor_path_hint_index_tests
