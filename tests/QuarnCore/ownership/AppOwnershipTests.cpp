#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/ownership/AppOwnership.h"
#include "QuarnCore/planning/AppRemovalPlanner.h"
#include "tests/QuarnCore/discovery/ArtifactLines.h"
#include "tests/QuarnCore/inspection/Inspector.h"
#include "tests/QuarnCore/ownership/Owners.h"

namespace quarn::app_ownership_tests {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;
using ::testing::UnorderedElementsAre;

// Two apps of which one's name is in the other's.
struct Volume {
  Volume() {
    volume.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App"})
        .app("/Applications/Example Studio.app", {.bundleIdentifier = "com.studio.App"})
        .file("~/Library/Caches/com.example.App/a", 4_KiB)
        .file("~/Library/Caches/Example Studio/a", 4_KiB)
        .file("~/Library/WebKit/com.example.App/a", 4_KiB)
        .file("~/Library/Logs/Example Studio/a", 4_KiB);
  }

  [[nodiscard]] AppInspection inspection() const {
    return Inspector(volume).service().inspect(exampleApp(), inspectionOptions(true));
  }
  [[nodiscard]] OwnershipMap map() const { return Mapper(volume).map(); }

  MacVolume volume;
};

std::vector<std::string> paths(const std::vector<Ownership>& entries) {
  std::vector<std::string> result;
  for (const Ownership& entry : entries) result.push_back(entry.url.path());
  return result;
}

using quarn::paths;  // of artifacts

TEST(AppOwnership, TellsWhatTheInspectionMissedAndWhatFitsAnotherApp) {
  const Volume mac;
  const AppOwnership result = compareWithMap(mac.inspection(), mac.map());
  EXPECT_THAT(paths(result.alsoOwned), ElementsAre("/Users/ann/Library/WebKit/com.example.App"));
  ASSERT_THAT(paths(result.fitsBetter), UnorderedElementsAre("/Users/ann/Library/Caches/Example Studio",
                                                             "/Users/ann/Library/Logs/Example Studio"));
  EXPECT_EQ(result.fitsBetter.front().owners.front().appName, "Example Studio");
}

TEST(AppOwnership, ARemovalTakesNothingThatAnotherAppOwns) {
  const Volume mac;
  const AppInspection inspection = mac.inspection();
  ASSERT_THAT(paths(AppRemovalPlanner::defaultSelectedArtifacts(inspection, CleanupMode::removeApp)),
              Contains("/Users/ann/Library/Caches/Example Studio"));
  const auto chosen = paths(chosenArtifacts(inspection, CleanupMode::removeApp, mac.map()));
  EXPECT_THAT(chosen, Not(Contains("/Users/ann/Library/Caches/Example Studio")));
  EXPECT_THAT(chosen, Contains("/Users/ann/Library/Caches/com.example.App"));
  EXPECT_THAT(chosen, Contains("/Users/ann/Library/WebKit/com.example.App"));
  EXPECT_THAT(chosen, Contains("/Applications/Example.app"));
}

TEST(AppOwnership, AModeTakesOfTheAddedEntriesOnlyWhatItTakesByItself) {
  MacVolume volume;
  volume.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App"})
      .file("~/Library/WebKit/com.example.App/a")
      .file("~/Library/SyncedPreferences/com.example.App.plist");
  const AppInspection inspection{.app = exampleApp()};
  const OwnershipMap map = Mapper(volume).map();
  EXPECT_THAT(paths(chosenArtifacts(inspection, CleanupMode::cacheOnly, map)),
              ElementsAre("/Users/ann/Library/WebKit/com.example.App"));
}

TEST(AppOwnership, ARemovalTakesNoAddedEntryOnWeakEvidence) {
  MacVolume volume;
  volume.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App"})
      .file("~/Library/WebKit/com.example.App/a")
      .file("~/Library/WebKit/com.example.other/a");
  const AppInspection inspection{.app = exampleApp()};
  const OwnershipMap map = Mapper(volume).map();
  ASSERT_EQ(ownerOf(volume, map, "~/Library/WebKit/com.example.other"), "owned Example onlyAppOfVendor");
  EXPECT_THAT(paths(chosenArtifacts(inspection, CleanupMode::removeApp, map)),
              ElementsAre("/Users/ann/Library/WebKit/com.example.App"));
}

TEST(AppOwnership, NamesTheFindsThatTheAppSharesOrMayShare) {
  MacVolume volume;
  volume.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App"})
      .app("/Applications/Copy/Example.app", {.bundleIdentifier = "com.example.App"})
      .file("~/Library/Caches/com.example.App/a", 4_KiB);
  AppInspection inspection{.app = exampleApp()};
  inspection.artifacts = {{.kind = ArtifactKind::cache, .urls = {volume.url("~/Library/Caches/com.example.App/")}}};
  const AppOwnership result = compareWithMap(inspection, Mapper(volume).map());
  EXPECT_THAT(paths(result.shared), ElementsAre("/Users/ann/Library/Caches/com.example.App"));
  EXPECT_TRUE(result.fitsBetter.empty());

  for (int i = 0; i < 40; ++i) {
    volume.app("/Applications/A" + std::to_string(i) + "/Example.app", {.bundleIdentifier = "com.example.App"});
  }
  const AppOwnership crowded = compareWithMap(inspection, Mapper(volume).map());
  EXPECT_THAT(paths(crowded.shared), ElementsAre("/Users/ann/Library/Caches/com.example.App"));
  EXPECT_TRUE(crowded.fitsBetter.empty());
}

}  // namespace
}  // namespace quarn::app_ownership_tests
