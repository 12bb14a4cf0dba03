#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/planning/AppRemovalPlanner.h"
#include "tests/support/MacVolume.h"

namespace quarn::plan_targets_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Kind = ArtifactKind;
using Operation = RemovalOperationPreview;
using Type = Operation::Type;

/// The plan for a selection of items, all of the same kind by default.
class PlanTargets : public testing::Test {
 protected:
  void select(Kind kind, const std::vector<std::string>& paths) {
    selection_.push_back({.kind = kind});
    for (const std::string& path : paths) selection_.back().urls.emplace_back(path);
  }

  [[nodiscard]] std::optional<Operation> operation(Type type) const {
    const AppRemovalPlanPreview plan =
        AppRemovalPlanner(files_).buildPreview({}, CleanupMode::cacheOnly, std::optional(selection_));
    for (const Operation& candidate : plan.operations) {
      if (candidate.type == type) return candidate;
    }
    return std::nullopt;
  }

  [[nodiscard]] std::vector<std::string> paths(Type type) const {
    std::vector<std::string> result;
    const std::optional<Operation> found = operation(type);
    if (!found) return result;
    for (const FileURL& url : found->urls) result.push_back(url.path());
    return result;
  }

  MacVolume volume_;
  FileManager files_ = volume_.files();
  std::vector<Artifact> selection_;
};

TEST_F(PlanTargets, TheUsersItemsGoToQuarantineAndAllOthersToTheTrash) {
  select(Kind::cache, {"/Users/ann/b", "/opt/b", "/Users/bob/x"});
  select(Kind::logs, {"/Users/ann/a", "/Applications/A.app"});
  EXPECT_THAT(paths(Type::moveToQuarantine), ElementsAre("/Users/ann/a", "/Users/ann/b"));
  EXPECT_THAT(paths(Type::moveToTrash), ElementsAre("/Applications/A.app", "/Users/bob/x", "/opt/b"));
}

TEST_F(PlanTargets, TheHomeIsAPlainTextPrefix) {
  select(Kind::cache, {"/Users/ann2/x", "/Users/ann", "/Users/an"});
  EXPECT_THAT(paths(Type::moveToQuarantine), ElementsAre("/Users/ann", "/Users/ann2/x"));
  EXPECT_THAT(paths(Type::moveToTrash), ElementsAre("/Users/an"));
}

TEST_F(PlanTargets, PathsAreComparedStandardisedAndListedAsTheyAre) {
  files_ = files_.withHome(FileURL("/Users/./bob/../ann"));
  select(Kind::cache, {"/Users/ann/../bob/x", "/opt/../Users/ann//y"});
  EXPECT_THAT(paths(Type::moveToTrash), ElementsAre("/Users/ann/../bob/x"));
  EXPECT_THAT(paths(Type::moveToQuarantine), ElementsAre("/opt/../Users/ann//y"));
}

TEST_F(PlanTargets, AnItemOfSeveralArtifactsIsListedOnce) {
  select(Kind::cache, {"/Users/ann/a", "/opt/a", "/opt/a"});
  select(Kind::logs, {"/opt/a", "/Users/ann/a/", "/Users/ann//a"});
  EXPECT_THAT(paths(Type::moveToQuarantine), ElementsAre("/Users/ann//a", "/Users/ann/a"));
  EXPECT_THAT(paths(Type::moveToTrash), ElementsAre("/opt/a"));
}

TEST_F(PlanTargets, ItemsAreSortedByTheBytesOfTheirPaths) {
  select(Kind::cache, {"/é", "/b", "/B", "/a/b", "/a b", "/a", "/\xFF", "/10", "/9"});
  EXPECT_THAT(paths(Type::moveToTrash), ElementsAre("/10", "/9", "/B", "/a", "/a b", "/a/b", "/b", "/é", "/\xFF"));
}

TEST_F(PlanTargets, EachListIsAnOperationOnlyWhenItIsNotEmpty) {
  select(Kind::cache, {});
  EXPECT_EQ(operation(Type::moveToTrash), std::nullopt);
  EXPECT_EQ(operation(Type::moveToQuarantine), std::nullopt);
  select(Kind::cache, {"/Users/ann/a"});
  EXPECT_EQ(operation(Type::moveToTrash), std::nullopt);
  EXPECT_NE(operation(Type::moveToQuarantine), std::nullopt);
}

TEST_F(PlanTargets, TheTrashNeedsAnAdministratorForPathsThatBeginLikeTheSystems) {
  const std::vector<std::pair<std::string, bool>> rows{
      {"/Library/Caches/x", true}, {"/Library", true},        {"/Library2/x", true},
      {"/System/x", true},         {"/Systems", true},        {"/Applications/x", false},
      {"/library/x", false},       {"/opt/Library/x", false}, {"/Users/bob/Library/x", false}};
  for (const auto& [path, needsAdmin] : rows) {
    selection_.clear();
    select(Kind::cache, {"/opt/first", path, "/zzz"});
    EXPECT_EQ(operation(Type::moveToTrash)->requiresAdmin, needsAdmin) << path;
    EXPECT_TRUE(operation(Type::moveToTrash)->reversible);
  }
}

TEST_F(PlanTargets, QuarantineNeverNeedsAnAdministrator) {
  files_ = files_.withHome(FileURL("/Library/ann"));
  select(Kind::cache, {"/Library/ann/x"});
  EXPECT_FALSE(operation(Type::moveToQuarantine)->requiresAdmin);
  EXPECT_TRUE(operation(Type::moveToQuarantine)->reversible);
}

TEST_F(PlanTargets, JobsAreDisabledInSelectionOrderWithTheirDuplicates) {
  select(Kind::launchDaemon, {"/z", "/y"});
  select(Kind::cache, {"/Library/LaunchDaemons/not a job"});
  select(Kind::launchAgent, {"/a", "/z"});
  EXPECT_THAT(paths(Type::disableLaunchServices), ElementsAre("/z", "/y", "/a", "/z"));
  EXPECT_FALSE(operation(Type::disableLaunchServices)->reversible);
  EXPECT_FALSE(operation(Type::disableLaunchServices)->requiresAdmin);
}

TEST_F(PlanTargets, OnlyJobsAreDisabled) {
  for (const Kind kind : allCases<Kind>()) {
    selection_.clear();
    select(kind, {"/a"});
    const bool isJob = kind == Kind::launchAgent || kind == Kind::launchDaemon;
    EXPECT_EQ(operation(Type::disableLaunchServices).has_value(), isJob) << rawValue(kind);
  }
  selection_.clear();
  select(Kind::launchAgent, {});
  EXPECT_EQ(operation(Type::disableLaunchServices), std::nullopt);
}

TEST_F(PlanTargets, DisablingNeedsAnAdministratorInTheSystemsJobFolders) {
  const std::vector<std::pair<std::string, bool>> rows{{"/Library/LaunchDaemons/a.plist", true},
                                                       {"/Library/LaunchAgents/a.plist", true},
                                                       {"/Library/LaunchAgents", true},
                                                       {"/Library/LaunchAgents2/a.plist", true},
                                                       {"/System/Library/LaunchAgents/a", false},
                                                       {"/Users/ann/Library/LaunchAgents/a", false},
                                                       {"/Library/a.plist", false},
                                                       {"/Library2/LaunchAgents/a", false}};
  for (const auto& [path, needsAdmin] : rows) {
    selection_.clear();
    select(Kind::launchAgent, {"/first", path});
    EXPECT_EQ(operation(Type::disableLaunchServices)->requiresAdmin, needsAdmin) << path;
  }
}

TEST_F(PlanTargets, UserAgentsNeedNoAdministratorAndGoToQuarantine) {
  select(Kind::launchAgent, {"/Users/ann/Library/LaunchAgents/a.plist"});
  EXPECT_FALSE(operation(Type::disableLaunchServices)->requiresAdmin);
  EXPECT_THAT(paths(Type::moveToQuarantine), ElementsAre("/Users/ann/Library/LaunchAgents/a.plist"));
  EXPECT_THAT(paths(Type::moveToTrash), IsEmpty());
}

TEST_F(PlanTargets, FoldersStayKnownToBeFolders) {
  select(Kind::cache, {"/Users/ann/a/", "/opt/b/"});
  EXPECT_TRUE(operation(Type::moveToQuarantine)->urls[0].hasDirectoryPath());
  EXPECT_TRUE(operation(Type::moveToTrash)->urls[0].hasDirectoryPath());
}

}  // namespace
}  // namespace quarn::plan_targets_tests
