#include <limits>

#include <gtest/gtest.h>

#include "QuarnModels/AppEntity.h"
#include "QuarnModels/AppInspection.h"
#include "QuarnModels/RemovalPlan.h"
#include "QuarnModels/SizeInfo.h"
#include "QuarnModels/SystemRecords.h"

namespace quarn::record_tests {
namespace {

constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();

TEST(AppEntity, IsIdentifiedByItsBundleIdentifierElseByItsPath) {
  EXPECT_EQ(AppEntity::makeID("com.example.App", FileURL("/Applications/Example.app")), "com.example.App");
  EXPECT_EQ(AppEntity::makeID(std::nullopt, FileURL("/Applications/Example.app/")), "/Applications/Example.app");
}

TEST(AppEntity, IsEqualOnlyInAllItsFields) {
  const AppEntity app{"Example", "com.example.App", FileURL("/Applications/Example.app"), "id", "1.0"};
  EXPECT_EQ(app, AppEntity(app));
  AppEntity other = app;
  other.name = "Other";
  EXPECT_NE(app, other);
  other = app;
  other.bundleIdentifier.reset();
  EXPECT_NE(app, other);
  other = app;
  other.bundleURL = FileURL("/Applications/Other.app");
  EXPECT_NE(app, other);
  other = app;
  other.id = "other";
  EXPECT_NE(app, other);
  other = app;
  other.version.reset();
  EXPECT_NE(app, other);
}

TEST(SizeInfo, HoldsAllocatedBytesBeforeLogicalBytes) {
  const SizeInfo size{1, 2};
  EXPECT_EQ(size.allocatedBytes, 1);
  EXPECT_EQ(size.logicalBytes, 2);
  EXPECT_EQ(SizeInfo(), (SizeInfo{0, 0}));
}

TEST(SizeInfo, AddsEachComponentToItself) {
  SizeInfo size{1, 20};
  size += {300, 4000};
  EXPECT_EQ(size, (SizeInfo{301, 4020}));
  EXPECT_EQ((SizeInfo{1, 2} + SizeInfo{3, 4}), (SizeInfo{4, 6}));
}

TEST(SizeInfo, CanHoldTheLargestCount) {
  EXPECT_EQ((SizeInfo{kMost - 1, 0} + SizeInfo{1, kMost}), (SizeInfo{kMost, kMost}));
}

TEST(SizeInfo, ASumThatDoesNotFitIsAnError) {
  EXPECT_THROW((void)(SizeInfo{kMost, 0} + SizeInfo{1, 0}), SizeOverflow);
  EXPECT_THROW((void)(SizeInfo{0, kMost} + SizeInfo{0, 1}), SizeOverflow);
}

TEST(AppInspection, HoldsAppUninstallersArtifactsAndMomentInThisOrder) {
  const AppInspection inspection{
      {.name = "Example"}, {{FileURL("/u"), "Uninstall", 1.0}}, {{.title = "App"}}, Date(std::chrono::seconds(7))};
  EXPECT_EQ(inspection.app.name, "Example");
  EXPECT_EQ(inspection.uninstallers.front().confidence, 1.0);
  EXPECT_EQ(inspection.artifacts.front().title, "App");
  EXPECT_EQ(inspection.inspectedAt.time_since_epoch().count(), 7);
  EXPECT_EQ(inspection, AppInspection(inspection));
  EXPECT_NE(inspection, AppInspection());
}

TEST(EntitlementsInfo, HasNoGroupsByDefault) { EXPECT_TRUE(EntitlementsInfo().applicationGroups.empty()); }

TEST(RemovalPlan, AnOperationHoldsItsFieldsInOrder) {
  const RemovalOperationPreview operation{RemovalOperationPreview::Type::quitApp, {FileURL("/a")}, true, false, "Why"};
  EXPECT_TRUE(operation.reversible);
  EXPECT_FALSE(operation.requiresAdmin);
  EXPECT_EQ(operation.explanation, "Why");
}

TEST(RemovalPlan, IsAPreviewByDefault) {
  EXPECT_EQ(AppRemovalPlanPreview().status, AppRemovalPlanPreview::Status::preview);
  EXPECT_EQ(static_cast<int>(AppRemovalPlanPreview().status), 3);
}

}  // namespace
}  // namespace quarn::record_tests
