#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/planning/AppRemovalPlanner.h"
#include "tests/QuarnCore/discovery/ArtifactLines.h"

namespace quarn::default_selection_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Kind = ArtifactKind;
using Class = ArtifactDataClass;
using Risk = RiskLevel;
using Mode = CleanupMode;

Artifact artifact(Kind kind, Class dataClass, Risk risk, bool hasURL = true) {
  Artifact made{.kind = kind, .dataClass = dataClass, .riskLevel = risk, .title = std::string(rawValue(dataClass))};
  if (hasURL) made.urls = {FileURL("/a")};
  return made;
}

std::vector<Artifact> selected(const std::vector<Artifact>& artifacts, Mode mode) {
  return AppRemovalPlanner::defaultSelectedArtifacts({.artifacts = artifacts}, mode);
}

bool isSelected(const Artifact& artifact, Mode mode) { return selected({artifact}, mode).size() == 1; }

/// The selection of a mode among artifacts that have a URL and are neither shared nor dangerous.
struct Row {
  Mode mode;
  bool takesSharedAndDangerous;
  std::vector<Class> classes;
  std::vector<Kind> kinds;
};

const std::vector<Row> kRows{
    {Mode::cacheOnly, false, {Class::rebuildable}, {}},
    {Mode::associatedDataOnly, false, {Class::rebuildable, Class::syncRestorable}, {}},
    {Mode::removeApp, false, {Class::rebuildable}, {Kind::appBundle}},
    {Mode::aggressive,
     true,
     {Class::app, Class::rebuildable, Class::syncRestorable, Class::configuration, Class::userData, Class::shared,
      Class::unknown},
     {}},
};

TEST(DefaultSelection, IsCorrectForAllModesClassesRisksAndKinds) {
  ASSERT_EQ(kRows.size(), allCases<Mode>().size());
  int checked = 0;
  const auto holds = [](const auto& values, auto value) {
    return std::find(values.begin(), values.end(), value) != values.end();
  };
  for (const Row& row : kRows) {
    for (const Class dataClass : allCases<Class>()) {
      for (const Risk risk : allCases<Risk>()) {
        for (const Kind kind : allCases<Kind>()) {
          const bool isKept = dataClass == Class::shared || risk == Risk::danger;
          const bool isWanted = holds(row.classes, dataClass) || holds(row.kinds, kind);
          const bool expected = isWanted && (row.takesSharedAndDangerous || !isKept);
          EXPECT_EQ(isSelected(artifact(kind, dataClass, risk), row.mode), expected)
              << rawValue(row.mode) << " " << rawValue(dataClass) << " " << rawValue(risk) << " " << rawValue(kind);
          EXPECT_FALSE(isSelected(artifact(kind, dataClass, risk, /*hasURL=*/false), row.mode))
              << rawValue(row.mode) << " " << rawValue(dataClass) << " " << rawValue(risk) << " " << rawValue(kind);
          checked += 2;
        }
      }
    }
  }
  EXPECT_EQ(checked, 4 * 7 * 3 * 14 * 2);
}

TEST(DefaultSelection, ASharedOrDangerousBundleIsNotSelectedWithItsApp) {
  EXPECT_TRUE(isSelected(artifact(Kind::appBundle, Class::app, Risk::caution), Mode::removeApp));
  EXPECT_FALSE(isSelected(artifact(Kind::appBundle, Class::shared, Risk::safe), Mode::removeApp));
  EXPECT_FALSE(isSelected(artifact(Kind::appBundle, Class::app, Risk::danger), Mode::removeApp));
}

TEST(DefaultSelection, DangerousRebuildableDataIsSelectedOnlyAggressively) {
  const Artifact cache = artifact(Kind::cache, Class::rebuildable, Risk::danger);
  EXPECT_FALSE(isSelected(cache, Mode::cacheOnly));
  EXPECT_FALSE(isSelected(cache, Mode::associatedDataOnly));
  EXPECT_FALSE(isSelected(cache, Mode::removeApp));
  EXPECT_TRUE(isSelected(cache, Mode::aggressive));
}

TEST(DefaultSelection, AnArtifactWithoutItemsIsNotSelectedEvenAggressively) {
  EXPECT_FALSE(isSelected(artifact(Kind::cache, Class::rebuildable, Risk::safe, /*hasURL=*/false), Mode::aggressive));
}

TEST(DefaultSelection, ScopeConfidenceAndSizePlayNoPart) {
  for (const ArtifactScope scope : allCases<ArtifactScope>()) {
    Artifact cache = artifact(Kind::cache, Class::rebuildable, Risk::safe);
    cache.scope = scope;
    cache.confidence = 0;
    cache.size = SizeInfo{0, 0};
    Artifact settings = artifact(Kind::preferences, Class::configuration, Risk::safe);
    settings.scope = scope;
    settings.confidence = 1;
    EXPECT_TRUE(isSelected(cache, Mode::cacheOnly));
    EXPECT_FALSE(isSelected(settings, Mode::removeApp));
  }
}

TEST(DefaultSelection, KeepsTheInspectionsOrderAndItsDuplicates) {
  const Artifact cache = artifact(Kind::cache, Class::rebuildable, Risk::safe);
  const std::vector<Artifact> artifacts{artifact(Kind::logs, Class::rebuildable, Risk::caution),
                                        artifact(Kind::container, Class::userData, Risk::safe), cache,
                                        artifact(Kind::cache, Class::syncRestorable, Risk::safe), cache};
  EXPECT_THAT(titles(selected(artifacts, Mode::cacheOnly)), ElementsAre("rebuildable", "rebuildable", "rebuildable"));
  EXPECT_THAT(titles(selected(artifacts, Mode::associatedDataOnly)),
              ElementsAre("rebuildable", "rebuildable", "syncRestorable", "rebuildable"));
  EXPECT_EQ(selected(artifacts, Mode::aggressive), artifacts);
  EXPECT_EQ(selected(artifacts, Mode::cacheOnly).front().kind, Kind::logs);
}

TEST(DefaultSelection, OfNoArtifactsIsEmpty) {
  for (const Mode mode : allCases<Mode>()) EXPECT_THAT(selected({}, mode), IsEmpty()) << rawValue(mode);
}

}  // namespace
}  // namespace quarn::default_selection_tests
