#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/planning/AppRemovalPlanner.h"
#include "tests/support/MacVolume.h"

namespace quarn::app_removal_planner_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Kind = ArtifactKind;
using Mode = CleanupMode;
using Operation = RemovalOperationPreview;
using Type = Operation::Type;

constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
const std::string kApp = "/Applications/Example.app";

std::vector<FileURL> urls(const std::vector<std::string>& paths) {
  std::vector<FileURL> result;
  for (const std::string& path : paths) result.emplace_back(path);
  return result;
}

Artifact artifact(Kind kind, const std::vector<std::string>& paths, std::optional<SizeInfo> size = std::nullopt) {
  return {.kind = kind, .dataClass = ArtifactDataClass::rebuildable, .urls = urls(paths), .size = size};
}

AppInspection inspection(const std::vector<Artifact>& artifacts,
                         const std::vector<UninstallerCandidate>& uninstallers = {}) {
  return {.app = {.name = "Example", .bundleIdentifier = "com.example.App", .bundleURL = FileURL(kApp), .id = "id"},
          .uninstallers = uninstallers,
          .artifacts = artifacts};
}

UninstallerCandidate uninstaller(const std::string& path, double confidence) {
  return {.url = FileURL(path), .name = "Uninstall", .confidence = confidence};
}

AppRemovalPlanPreview plan(const AppInspection& of, Mode mode,
                           const std::optional<std::vector<Artifact>>& selection = std::nullopt) {
  const MacVolume volume;
  return AppRemovalPlanner(volume.files()).buildPreview(of, mode, selection);
}

std::vector<Type> types(const AppRemovalPlanPreview& of) {
  std::vector<Type> result;
  for (const Operation& operation : of.operations) result.push_back(operation.type);
  return result;
}

const Operation* operation(const AppRemovalPlanPreview& of, Type type) {
  for (const Operation& candidate : of.operations) {
    if (candidate.type == type) return &candidate;
  }
  return nullptr;
}

std::vector<std::string> pathsOf(const AppRemovalPlanPreview& of, Type type) {
  std::vector<std::string> paths;
  const Operation* found = operation(of, type);
  if (found == nullptr) return paths;
  for (const FileURL& url : found->urls) paths.push_back(url.path());
  return paths;
}

const AppInspection kEverything = inspection(
    {artifact(Kind::appBundle, {kApp}, SizeInfo{1'000, 1}), artifact(Kind::launchAgent, {"/Library/LaunchAgents/b"}),
     artifact(Kind::cache, {"/Users/ann/Library/Caches/x"}, SizeInfo{20, 2}),
     artifact(Kind::launchDaemon, {"/Library/LaunchDaemons/a"}, SizeInfo{3, 3})},
    {uninstaller("/Applications/Uninstall.app", 0.9)});

TEST(AppRemovalPlanner, APlanOfEverythingIsACompleteRecord) {
  const AppRemovalPlanPreview found = plan(kEverything, Mode::removeApp);
  EXPECT_EQ(found.mode, Mode::removeApp);
  EXPECT_EQ(found.app, kEverything.app);
  EXPECT_EQ(found.recommendedUninstaller, FileURL("/Applications/Uninstall.app"));
  EXPECT_EQ(found.estimatedBytes, 1'023);
  EXPECT_EQ(found.status, AppRemovalPlanPreview::Status::preview);
  const std::vector<Operation> expected{
      {Type::openUninstaller, urls({"/Applications/Uninstall.app"}), false, false,
       "Open vendor uninstaller (recommended), then optional cleanup."},
      {Type::disableLaunchServices, urls({"/Library/LaunchAgents/b", "/Library/LaunchDaemons/a"}), false, true,
       "Disable launch services before removing files."},
      // The apostrophe is typographic: U+2019.
      {Type::quitApp, urls({kApp}), false, false, "Quit the app so files aren\xE2\x80\x99t locked during removal."},
      {Type::moveToTrash, urls({kApp, "/Library/LaunchAgents/b", "/Library/LaunchDaemons/a"}), true, true,
       "Move to Trash (may require admin for system paths)."},
      {Type::moveToQuarantine, urls({"/Users/ann/Library/Caches/x"}), true, false, "Move to Quarantine (undoable)."}};
  ASSERT_EQ(found.operations.size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(found.operations[i], expected[i]) << rawValue(expected[i].type);
  }
}

TEST(AppRemovalPlanner, OnlyModesThatRemoveTheAppOpenTheUninstallerAndQuitTheApp) {
  using enum RemovalOperationPreview::Type;
  const std::vector<std::pair<Mode, std::vector<Type>>> rows{
      {Mode::cacheOnly, {disableLaunchServices, moveToTrash, moveToQuarantine}},
      {Mode::associatedDataOnly, {disableLaunchServices, moveToTrash, moveToQuarantine}},
      {Mode::removeApp, {openUninstaller, disableLaunchServices, quitApp, moveToTrash, moveToQuarantine}},
      {Mode::aggressive, {openUninstaller, disableLaunchServices, quitApp, moveToTrash, moveToQuarantine}}};
  for (const auto& [mode, expected] : rows) {
    EXPECT_EQ(types(plan(kEverything, mode)), expected) << rawValue(mode);
    EXPECT_EQ(plan(kEverything, mode).recommendedUninstaller.has_value(), expected.front() == openUninstaller);
  }
}

TEST(AppRemovalPlanner, CacheOnlyIgnoresAnUninstallerOfHighConfidence) {
  const AppInspection of = inspection({}, {uninstaller("/u", 0.95)});
  EXPECT_THAT(types(plan(of, Mode::cacheOnly)), IsEmpty());
  EXPECT_EQ(plan(of, Mode::cacheOnly).recommendedUninstaller, std::nullopt);
}

TEST(AppRemovalPlanner, AnUninstallerIsRecommendedFromFourFifthsOn) {
  const std::vector<std::pair<double, bool>> rows{{1.0, true}, {0.81, true}, {0.8, true}, {0.79, false}, {0.0, false}};
  for (const Mode mode : {Mode::removeApp, Mode::aggressive}) {
    for (const auto& [confidence, isRecommended] : rows) {
      const AppRemovalPlanPreview found = plan(inspection({}, {uninstaller("/u", confidence)}), mode);
      EXPECT_EQ(found.recommendedUninstaller.has_value(), isRecommended) << confidence;
      EXPECT_EQ(operation(found, Type::openUninstaller) != nullptr, isRecommended) << confidence;
    }
    EXPECT_EQ(plan(inspection({}), mode).recommendedUninstaller, std::nullopt);
  }
}

TEST(AppRemovalPlanner, TheMostConfidentUninstallerIsRecommendedAndTheFirstAmongEquals) {
  const AppInspection of = inspection({}, {uninstaller("/low", 0.7), uninstaller("/first", 0.9),
                                           uninstaller("/second", 0.9), uninstaller("/middle", 0.8)});
  EXPECT_EQ(plan(of, Mode::removeApp).recommendedUninstaller, FileURL("/first"));
  EXPECT_THAT(pathsOf(plan(of, Mode::removeApp), Type::openUninstaller), ElementsAre("/first"));
}

TEST(AppRemovalPlanner, AnEmptySelectionIsASelection) {
  const AppInspection of = inspection({artifact(Kind::cache, {"/a"}, SizeInfo{5, 0})});
  EXPECT_THAT(pathsOf(plan(of, Mode::cacheOnly), Type::moveToTrash), ElementsAre("/a"));
  EXPECT_THAT(types(plan(of, Mode::cacheOnly, std::vector<Artifact>())), IsEmpty());
  EXPECT_EQ(plan(of, Mode::cacheOnly, std::vector<Artifact>()).estimatedBytes, 0);
  const std::vector<Artifact> others{artifact(Kind::container, {"/b"}, SizeInfo{7, 0})};
  EXPECT_THAT(pathsOf(plan(of, Mode::cacheOnly, others), Type::moveToTrash), ElementsAre("/b"));
  EXPECT_EQ(plan(of, Mode::cacheOnly, others).estimatedBytes, 7);
}

TEST(AppRemovalPlanner, WithNothingSelectedOnlyUninstallerAndQuittingAreLeft) {
  AppInspection of = inspection({}, {uninstaller("/u", 1.0)});
  of.artifacts = {{.dataClass = ArtifactDataClass::shared, .urls = urls({"/a"}), .size = SizeInfo{9, 9}}};
  const AppRemovalPlanPreview found = plan(of, Mode::removeApp);
  EXPECT_THAT(types(found), ElementsAre(Type::openUninstaller, Type::quitApp));
  EXPECT_EQ(found.estimatedBytes, 0);
  EXPECT_EQ(found.notes.size(), 2U) << "warnings still count the whole inspection";
}

TEST(AppRemovalPlanner, EstimatedBytesAreTheAllocatedBytesOfTheSelection) {
  const std::vector<Artifact> selection{artifact(Kind::cache, {"/a"}, SizeInfo{100, 1}), artifact(Kind::cache, {"/b"}),
                                        artifact(Kind::cache, {"/a"}, SizeInfo{20, 1}),
                                        artifact(Kind::cache, {}, SizeInfo{3, 1})};
  EXPECT_EQ(plan(inspection({}), Mode::cacheOnly, selection).estimatedBytes, 123);
}

TEST(AppRemovalPlanner, EstimatedBytesReachTheLargestCount) {
  const std::vector<Artifact> selection{artifact(Kind::cache, {"/a"}, SizeInfo{kMost - 1, kMost}),
                                        artifact(Kind::cache, {"/b"}, SizeInfo{1, kMost})};
  EXPECT_EQ(plan(inspection({}), Mode::cacheOnly, selection).estimatedBytes, kMost);
}

TEST(AppRemovalPlanner, EstimatedBytesThatDoNotFitAreAnError) {
  const std::vector<Artifact> selection{artifact(Kind::cache, {"/a"}, SizeInfo{kMost, 0}),
                                        artifact(Kind::cache, {"/b"}, SizeInfo{1, 0})};
  EXPECT_THROW((void)plan(inspection({}), Mode::cacheOnly, selection), SizeOverflow);
}

}  // namespace
}  // namespace quarn::app_removal_planner_tests
