#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/planning/AppRemovalPlanner.h"
#include "QuarnPlatform/resources/Localization.h"
#include "tests/support/MacVolume.h"
#include "tests/support/ResourceFolder.h"

namespace quarn::plan_notes_tests {
namespace {

using ::testing::ElementsAre;
using Class = ArtifactDataClass;
using Mode = CleanupMode;
using Notes = std::vector<std::string>;

const std::string kCacheOnly = "Only cache/rebuildable data (best effort).";
const std::string kAssociated = "Cache + (later) sync-restorable related items, without deleting local unsynced data.";
const std::string kRemoveApp = "Remove app + cache; preferences/user data are kept by default.";
const std::string kAggressive = "Aggressive: app + cache + preferences + app data (may be irreversible).";
// The quotation marks are typographic: U+201C and U+201D.
const std::string kNoSyncRules =
    "No app-specific sync rules yet: \xE2\x80\x9CRelated Items\xE2\x80\x9D currently mostly includes cache/rebuildable "
    "data.";

std::string sharedKept(int count) {
  return "Found shared/vendor artifacts (" + std::to_string(count) + "): not selected automatically.";
}

std::string sharedTaken(int count) {
  return "Found shared/vendor artifacts (" + std::to_string(count) +
         "): selected in \xE2\x80\x9C"
         "Everything\xE2\x80\x9D; review carefully.";
}

std::string dangerous(int count) {
  return "Found dangerous artifacts (" + std::to_string(count) + "): always review manually.";
}

Artifact artifact(Class dataClass, RiskLevel risk = RiskLevel::safe) {
  return {.dataClass = dataClass, .riskLevel = risk};
}

Notes notes(const std::vector<Artifact>& artifacts, Mode mode,
            const std::optional<std::vector<Artifact>>& selection = std::nullopt) {
  const MacVolume volume;
  return AppRemovalPlanner(volume.files()).buildPreview({.artifacts = artifacts}, mode, selection).notes;
}

TEST(PlanNotes, BeginWithTheModesDescription) {
  const std::vector<std::pair<Mode, std::string>> rows{{Mode::cacheOnly, kCacheOnly},
                                                       {Mode::associatedDataOnly, kAssociated},
                                                       {Mode::removeApp, kRemoveApp},
                                                       {Mode::aggressive, kAggressive}};
  ASSERT_EQ(rows.size(), allCases<Mode>().size());
  for (const auto& [mode, text] : rows) {
    EXPECT_EQ(notes({artifact(Class::syncRestorable)}, mode), Notes{text});
    EXPECT_EQ(notes({}, mode).front(), text);
  }
}

TEST(PlanNotes, CountSharedArtifactsInTheTextOfTheMode) {
  const std::vector<Artifact> two{artifact(Class::shared), artifact(Class::syncRestorable), artifact(Class::shared)};
  EXPECT_THAT(notes(two, Mode::cacheOnly), ElementsAre(kCacheOnly, sharedKept(2)));
  EXPECT_THAT(notes(two, Mode::associatedDataOnly), ElementsAre(kAssociated, sharedKept(2)));
  EXPECT_THAT(notes(two, Mode::removeApp), ElementsAre(kRemoveApp, sharedKept(2)));
  EXPECT_THAT(notes(two, Mode::aggressive), ElementsAre(kAggressive, sharedTaken(2)));
}

TEST(PlanNotes, CountDangerousArtifactsInEveryMode) {
  const std::vector<Artifact> artifacts{
      artifact(Class::syncRestorable, RiskLevel::danger), artifact(Class::userData, RiskLevel::danger),
      artifact(Class::userData, RiskLevel::caution), artifact(Class::app, RiskLevel::danger)};
  EXPECT_THAT(notes(artifacts, Mode::cacheOnly), ElementsAre(kCacheOnly, dangerous(3)));
  EXPECT_THAT(notes(artifacts, Mode::associatedDataOnly), ElementsAre(kAssociated, dangerous(3)));
  EXPECT_THAT(notes(artifacts, Mode::removeApp), ElementsAre(kRemoveApp, dangerous(3)));
  EXPECT_THAT(notes(artifacts, Mode::aggressive), ElementsAre(kAggressive, dangerous(3)));
}

TEST(PlanNotes, MentionMissingSyncRulesOnlyInTheModeForRelatedItems) {
  const std::vector<Artifact> cache{artifact(Class::rebuildable)};
  EXPECT_THAT(notes(cache, Mode::associatedDataOnly), ElementsAre(kAssociated, kNoSyncRules));
  EXPECT_THAT(notes({}, Mode::associatedDataOnly), ElementsAre(kAssociated, kNoSyncRules));
  EXPECT_THAT(notes(cache, Mode::cacheOnly), ElementsAre(kCacheOnly));
  EXPECT_THAT(notes(cache, Mode::removeApp), ElementsAre(kRemoveApp));
  EXPECT_THAT(notes(cache, Mode::aggressive), ElementsAre(kAggressive));
}

TEST(PlanNotes, HaveAFixedOrder) {
  EXPECT_THAT(notes({artifact(Class::shared, RiskLevel::danger)}, Mode::associatedDataOnly),
              ElementsAre(kAssociated, sharedKept(1), dangerous(1), kNoSyncRules));
  EXPECT_THAT(notes({artifact(Class::shared, RiskLevel::danger)}, Mode::aggressive),
              ElementsAre(kAggressive, sharedTaken(1), dangerous(1)));
}

TEST(PlanNotes, CountTheWholeInspectionForAnySelection) {
  const std::vector<Artifact> artifacts{artifact(Class::shared, RiskLevel::danger)};
  const Notes expected{kRemoveApp, sharedKept(1), dangerous(1)};
  EXPECT_EQ(notes(artifacts, Mode::removeApp, std::vector<Artifact>()), expected);
  EXPECT_EQ(notes(artifacts, Mode::removeApp, artifacts), expected);
  EXPECT_EQ(notes({}, Mode::removeApp, artifacts), Notes{kRemoveApp});
}

TEST(PlanNotes, AreInTheUsersLanguageWithTheirCounts) {
  ResourceFolder german;
  german.file("Localizable.xcstrings", R"({"strings": {
      "Remove app + cache; preferences/user data are kept by default.":
        {"localizations": {"de": {"stringUnit": {"value": "App und Cache"}}}},
      "Found dangerous artifacts (%ld): always review manually.":
        {"localizations": {"de": {"stringUnit": {"value": "%ld gefährliche"}}}}}})");
  useLocalization("de", german.bundle());
  const Notes found = notes({artifact(Class::userData, RiskLevel::danger)}, Mode::removeApp);
  useLocalization("", ResourceBundle(""));
  EXPECT_THAT(found, ElementsAre("App und Cache", "1 gefährliche"));
}

}  // namespace
}  // namespace quarn::plan_notes_tests
