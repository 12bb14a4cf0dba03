#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/discovery/StandardLocations.h"
#include "tests/QuarnCore/discovery/ArtifactLines.h"
#include "tests/support/MacVolume.h"

namespace quarn::app_bundle_artifact_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

AppEntity appAt(std::string_view path) {
  return {.name = "Example", .bundleIdentifier = std::nullopt, .bundleURL = FileURL(path), .id = "example"};
}

ArtifactScope scopeOf(std::string_view path, const FileManager& files) {
  return appBundleArtifact(appAt(path), files).scope;
}

TEST(AppBundleArtifact, IsTheSameForEveryApp) {
  MacVolume volume;
  volume.app("/Applications/Example.app");
  EXPECT_EQ(line(appBundleArtifact(appAt("/Applications/Example.app/"), volume.files())),
            line(identified({.kind = ArtifactKind::appBundle,
                             .dataClass = ArtifactDataClass::app,
                             .scope = ArtifactScope::system,
                             .urls = {FileURL("/Applications/Example.app/")},
                             .riskLevel = RiskLevel::safe,
                             .confidence = 1.0,
                             .title = "App"})));
}

TEST(AppBundleArtifact, IsReportedEvenIfItDoesNotExist) {
  const MacVolume volume;
  EXPECT_EQ(appBundleArtifact(appAt("/Applications/Gone.app"), volume.files()).urls.front().path(),
            "/Applications/Gone.app");
}

TEST(AppBundleArtifact, ABundleUnderTheHomeFolderHasUserScope) {
  const MacVolume volume;
  EXPECT_EQ(scopeOf("/Users/ann/Applications/Example.app", volume.files()), ArtifactScope::user);
  EXPECT_EQ(scopeOf("/Users/ann", volume.files()), ArtifactScope::user);
}

TEST(AppBundleArtifact, ABundleInApplicationsHasSystemScope) {
  const MacVolume volume;
  EXPECT_EQ(scopeOf("/Applications/Example.app", volume.files()), ArtifactScope::system);
  EXPECT_EQ(scopeOf("/Users/bob/Applications/Example.app", volume.files()), ArtifactScope::system);
  EXPECT_EQ(scopeOf("/Users/an", volume.files()), ArtifactScope::system);
}

TEST(AppBundleArtifact, TheHomeIsAPlainTextPrefix) {
  const MacVolume volume;
  EXPECT_EQ(scopeOf("/Users/ann2/Example.app", volume.files()), ArtifactScope::user);
}

TEST(AppBundleArtifact, BothPathsAreStandardisedForTheScope) {
  const MacVolume volume;
  EXPECT_EQ(scopeOf("/Users/ann/../bob/Example.app", volume.files()), ArtifactScope::system);
  EXPECT_EQ(scopeOf("/Applications/../Users/./ann//Example.app", volume.files()), ArtifactScope::user);
  EXPECT_EQ(scopeOf("/Users/ann/Example.app", volume.files().withHome(FileURL("/Users/bob/../ann"))),
            ArtifactScope::user);
}

TEST(GroupContainers, AreMadeForTheGroupsThatHaveAFolderInTheirOrder) {
  MacVolume volume;
  volume.folder("~/Library/Group Containers/group.b").file("~/Library/Group Containers/ABC.a");
  volume.folder("/Library/Group Containers/group.c");
  const auto container = [](const std::string& group, URLKind kind) {
    return line(
        identified({.kind = ArtifactKind::groupContainer,
                    .dataClass = ArtifactDataClass::shared,
                    .scope = ArtifactScope::user,
                    .urls = {FileURL("/Users/ann/Library/Group Containers/" + group, kind)},
                    .riskLevel = RiskLevel::danger,
                    .confidence = 0.95,
                    .title = "Group Container (" + group + ")",
                    .explanation = "Shared app container: may contain data for multiple apps; review carefully."}));
  };
  EXPECT_THAT(lines(groupContainerArtifacts({{"group.b", "group.c", "missing", "ABC.a"}}, volume.files())),
              ElementsAre(container("group.b", URLKind::directory), container("ABC.a", URLKind::item)));
}

TEST(GroupContainers, AGroupNamedTwiceIsMadeTwice) {
  MacVolume volume;
  volume.folder("~/Library/Group Containers/g");
  EXPECT_THAT(titles(groupContainerArtifacts({{"g", "g"}}, volume.files())),
              ElementsAre("Group Container (g)", "Group Container (g)"));
}

TEST(GroupContainers, WithoutGroupsThereAreNone) {
  MacVolume volume;
  volume.folder("~/Library/Group Containers/g");
  EXPECT_THAT(groupContainerArtifacts({}, volume.files()), IsEmpty());
}

TEST(GroupContainers, AGroupThatNamesNothingInsideTheFolderIsIgnored) {
  MacVolume volume;
  volume.folder("~/Library/Group Containers/g").folder("~/Library/Caches").file("~/secret");
  EXPECT_THAT(groupContainerArtifacts({{"", ".", "..", "../Caches", "g/..", "g/../../Caches", "/", "//", "g/.",
                                        "../../secret", std::string("g\0x", 3), std::string(100'000, 'g')}},
                                      volume.files()),
              IsEmpty());
}

}  // namespace
}  // namespace quarn::app_bundle_artifact_tests
