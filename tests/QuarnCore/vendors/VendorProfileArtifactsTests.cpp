#include <gmock/gmock.h>

#include "QuarnCore/vendors/VendorProfile.h"
#include "tests/support/MacVolume.h"

namespace quarn::vendor_profile_artifacts_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Definition = VendorProfile::ArtifactDefinition;

constexpr std::string_view kNote = "Multiple paths found: likely suite/shared data (may affect multiple apps).";

std::vector<Artifact> artifacts(const MacVolume& volume, const VendorProfile& profile) {
  return profile.makeArtifacts(volume.files(), volume.url("~"));
}

TEST(VendorProfileArtifacts, ADefinitionBecomesAnArtifactOfItsItems) {
  MacVolume volume;
  volume.folder("~/Library/Caches/b").file("~/Library/Caches/a");
  const VendorProfile profile{.artifacts = {{.kind = ArtifactKind::logs,
                                             .dataClass = ArtifactDataClass::configuration,
                                             .scope = ArtifactScope::system,
                                             .riskLevel = RiskLevel::caution,
                                             .confidence = 0.65,
                                             .title = "Title",
                                             .explanation = "Why.",
                                             .paths = {"~/Library/Caches/b", "~/Library/Caches/a", "~/missing"}}}};
  Artifact expected{.kind = ArtifactKind::logs,
                    .dataClass = ArtifactDataClass::configuration,
                    .scope = ArtifactScope::system,
                    .urls = {volume.url("~/Library/Caches/b"), volume.url("~/Library/Caches/a")},
                    .riskLevel = RiskLevel::caution,
                    .confidence = 0.65,
                    .title = "Title",
                    .explanation = "Why."};
  expected.renewID();
  EXPECT_THAT(artifacts(volume, profile), ElementsAre(expected));
}

TEST(VendorProfileArtifacts, AnExplanationThatIsAbsentStaysAbsent) {
  MacVolume volume;
  volume.folder("/L/a");
  const auto found = artifacts(volume, {.artifacts = {{.paths = {"/L/a"}}}});
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].explanation, std::nullopt);
  EXPECT_EQ(found[0].size, std::nullopt);
}

TEST(VendorProfileArtifacts, PatternsWithoutItemsYieldNoArtifact) {
  const MacVolume volume;
  EXPECT_THAT(artifacts(volume, {.artifacts = {{.paths = {}}, {.paths = {"/missing", "~/missing*"}}},
                                 .carveOuts = {{.title = "Shared", .paths = {"/missing"}, .reason = "Why."}}}),
              IsEmpty());
}

struct Adjustment {
  ArtifactDataClass dataClass;
  RiskLevel risk;
  ArtifactDataClass adjustedClass;
  RiskLevel adjustedRisk;
};

// clang-format off
constexpr std::array kAdjustments{
    Adjustment{ArtifactDataClass::app, RiskLevel::safe, ArtifactDataClass::app, RiskLevel::safe},
    Adjustment{ArtifactDataClass::app, RiskLevel::danger, ArtifactDataClass::app, RiskLevel::danger},
    Adjustment{ArtifactDataClass::rebuildable, RiskLevel::safe, ArtifactDataClass::rebuildable, RiskLevel::safe},
    Adjustment{ArtifactDataClass::rebuildable, RiskLevel::caution, ArtifactDataClass::rebuildable, RiskLevel::caution},
    Adjustment{ArtifactDataClass::syncRestorable, RiskLevel::safe, ArtifactDataClass::syncRestorable, RiskLevel::safe},
    Adjustment{ArtifactDataClass::shared, RiskLevel::safe, ArtifactDataClass::shared, RiskLevel::safe},
    Adjustment{ArtifactDataClass::configuration, RiskLevel::safe, ArtifactDataClass::shared, RiskLevel::caution},
    Adjustment{ArtifactDataClass::configuration, RiskLevel::caution, ArtifactDataClass::shared, RiskLevel::caution},
    Adjustment{ArtifactDataClass::configuration, RiskLevel::danger, ArtifactDataClass::shared, RiskLevel::danger},
    Adjustment{ArtifactDataClass::userData, RiskLevel::safe, ArtifactDataClass::shared, RiskLevel::caution},
    Adjustment{ArtifactDataClass::userData, RiskLevel::caution, ArtifactDataClass::shared, RiskLevel::caution},
    Adjustment{ArtifactDataClass::userData, RiskLevel::danger, ArtifactDataClass::shared, RiskLevel::danger},
    Adjustment{ArtifactDataClass::unknown, RiskLevel::safe, ArtifactDataClass::shared, RiskLevel::caution},
    Adjustment{ArtifactDataClass::unknown, RiskLevel::caution, ArtifactDataClass::shared, RiskLevel::caution},
    Adjustment{ArtifactDataClass::unknown, RiskLevel::danger, ArtifactDataClass::shared, RiskLevel::danger},
};
// clang-format on

TEST(SharedDataAdjustment, SeveralItemsOfAFolderLevelWildcardAreSharedUnlessTheirClassIsSettled) {
  MacVolume volume;
  volume.folder("/L/Example 1").folder("/L/Example 2");
  for (const Adjustment& row : kAdjustments) {
    const auto found = artifacts(
        volume,
        {.artifacts = {
             {.dataClass = row.dataClass, .riskLevel = row.risk, .explanation = "Why.", .paths = {"/L/Example*"}}}});
    ASSERT_EQ(found.size(), 1u);
    const bool isAdjusted = row.dataClass != row.adjustedClass;
    EXPECT_EQ(found[0].dataClass, row.adjustedClass) << rawValue(row.dataClass);
    EXPECT_EQ(found[0].riskLevel, row.adjustedRisk) << rawValue(row.dataClass) << " " << rawValue(row.risk);
    EXPECT_EQ(found[0].explanation, isAdjusted ? "Why.\n\n" + std::string(kNote) : "Why.") << rawValue(row.dataClass);
  }
}

Artifact adjusted(const MacVolume& volume, std::vector<std::string> patterns,
                  std::optional<std::string> explanation = std::nullopt) {
  const Definition definition{
      .dataClass = ArtifactDataClass::userData, .explanation = std::move(explanation), .paths = std::move(patterns)};
  const auto found = artifacts(volume, {.artifacts = {definition}});
  return found.empty() ? Artifact{} : found[0];
}

TEST(SharedDataAdjustment, TheNoteIsTheExplanationIfThereIsNone) {
  MacVolume volume;
  volume.folder("/L/Example 1").folder("/L/Example 2");
  EXPECT_EQ(adjusted(volume, {"/L/Example*"}).explanation, kNote);
  EXPECT_EQ(adjusted(volume, {"/L/Example*"}, "").explanation, kNote) << "an empty explanation is none here";
}

TEST(SharedDataAdjustment, OneItemKeepsItsClassEvenByAWildcard) {
  MacVolume volume;
  volume.folder("/L/Example 1");
  const Artifact found = adjusted(volume, {"/L/Example*"}, "Why.");
  EXPECT_EQ(found.dataClass, ArtifactDataClass::userData);
  EXPECT_EQ(found.riskLevel, RiskLevel::safe);
  EXPECT_EQ(found.explanation, "Why.");
}

TEST(SharedDataAdjustment, SeveralItemsWithoutAWildcardKeepTheirClass) {
  MacVolume volume;
  volume.folder("/L/a").folder("/L/b");
  EXPECT_EQ(adjusted(volume, {"/L/a", "/L/b"}).dataClass, ArtifactDataClass::userData);
}

TEST(SharedDataAdjustment, AStarWithAnExtensionIsNotAFolderLevelWildcard) {
  MacVolume volume;
  volume.folder("~/Library/Group Containers/A.example").folder("~/Library/Group Containers/B.example");
  EXPECT_EQ(adjusted(volume, {"~/Library/Group Containers/*.example"}).dataClass, ArtifactDataClass::userData);
}

TEST(SharedDataAdjustment, OneWildcardAmongThePatternsIsEnoughEvenWithoutMatches) {
  MacVolume volume;
  volume.folder("/L/a").folder("/L/b");
  EXPECT_EQ(adjusted(volume, {"/L/a", "/L/b", "/missing/*/x"}).dataClass, ArtifactDataClass::shared);
  EXPECT_EQ(adjusted(volume, {"/L/*/"}).dataClass, ArtifactDataClass::shared);
}

TEST(SharedDataAdjustment, DuplicatesOfOneItemAreOneItem) {
  MacVolume volume;
  volume.folder("/L/Example");
  EXPECT_EQ(adjusted(volume, {"/L/Example*", "/L/./Example"}).dataClass, ArtifactDataClass::userData);
}

TEST(CarveOut, IsSharedDangerousUnknownAndOfLittleConfidence) {
  MacVolume volume;
  volume.folder("~/Library/Application Support/Suite");
  const VendorProfile profile{
      .carveOuts = {{.title = "Suite", .paths = {"~/Library/Application Support/Suite"}, .reason = "Why."}}};
  Artifact expected{.kind = ArtifactKind::unknown,
                    .dataClass = ArtifactDataClass::shared,
                    .scope = ArtifactScope::user,
                    .urls = {volume.url("~/Library/Application Support/Suite")},
                    .riskLevel = RiskLevel::danger,
                    .confidence = 0.45,
                    .title = "Suite",
                    .explanation = "Why."};
  expected.renewID();
  EXPECT_THAT(artifacts(volume, profile), ElementsAre(expected));
}

TEST(CarveOut, SeveralItemsOfAWildcardKeepTheReasonOnly) {
  MacVolume volume;
  volume.folder("/L/a").folder("/L/b");
  const auto found = artifacts(volume, {.carveOuts = {{.title = "T", .paths = {"/L/*"}, .reason = ""}}});
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].explanation, "");
  EXPECT_EQ(found[0].urls.size(), 2u);
}

ArtifactScope carveOutScope(const MacVolume& volume, const std::vector<std::string>& paths) {
  const auto found = artifacts(volume, {.carveOuts = {{.title = "T", .paths = paths, .reason = "R"}}});
  EXPECT_EQ(found.size(), 1u);
  return found.empty() ? ArtifactScope::user : found[0].scope;
}

TEST(CarveOut, IsTheUsersOnlyWhenEveryItemIs) {
  MacVolume volume;
  volume.folder("~/a").folder("~/b").folder("/Library/c");
  EXPECT_EQ(carveOutScope(volume, {"~/a", "~/b"}), ArtifactScope::user);
  EXPECT_EQ(carveOutScope(volume, {"/Library/c"}), ArtifactScope::system);
  EXPECT_EQ(carveOutScope(volume, {"~/a", "/Library/c", "~/b"}), ArtifactScope::system);
}

TEST(CarveOut, ScopeIsAPlainTextPrefix) {
  MacVolume volume;
  volume.folder("/Users/ann2/x").folder("/Users/an/x");
  EXPECT_EQ(carveOutScope(volume, {"/Users/ann2/x"}), ArtifactScope::user);
  EXPECT_EQ(carveOutScope(volume, {"/Users/an/x"}), ArtifactScope::system);
}

TEST(CarveOut, ScopeComparesStandardisedPaths) {
  MacVolume volume;
  volume.folder("~/a").folder("/Library/c").folder("/Users/bob");
  EXPECT_EQ(carveOutScope(volume, {"/Library/../Users/ann/a"}), ArtifactScope::user);
  EXPECT_EQ(carveOutScope(volume, {"~/../../Library/c"}), ArtifactScope::system);
  const VendorProfile profile{.carveOuts = {{.title = "T", .paths = {"~/a"}, .reason = "R"}}};
  const auto found = profile.makeArtifacts(volume.files(), FileURL("/Users/bob/../ann"));
  ASSERT_EQ(found.size(), 1u);
  EXPECT_EQ(found[0].scope, ArtifactScope::user);
}

TEST(VendorProfileArtifacts, CarveOutsFollowDefinitionsBeforeDeduplication) {
  MacVolume volume;
  volume.folder("/L/same").folder("/L/aa").folder("/L/bb/inner");
  const VendorProfile profile{.artifacts = {{.kind = ArtifactKind::cache, .title = "inner", .paths = {"/L/bb/inner"}},
                                            {.kind = ArtifactKind::cache, .title = "same", .paths = {"/L/same"}}},
                              .carveOuts = {{.title = "carve same", .paths = {"/L/same"}, .reason = "R"},
                                            {.title = "carve bb", .paths = {"/L/bb"}, .reason = "R"},
                                            {.title = "carve aa", .paths = {"/L/aa"}, .reason = "R"}}};
  std::vector<std::string> titles;
  for (const Artifact& artifact : artifacts(volume, profile)) titles.push_back(artifact.title);
  EXPECT_THAT(titles, ElementsAre("carve bb", "carve aa", "same"))
      << "shortest path first; of equals the definition; what lies in a carve-out is taken by it";
}

}  // namespace
}  // namespace quarn::vendor_profile_artifacts_tests
