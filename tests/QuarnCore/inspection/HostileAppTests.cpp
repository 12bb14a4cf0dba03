#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnPlatform/paths/Path.h"
#include "tests/QuarnCore/discovery/ArtifactLines.h"
#include "tests/QuarnCore/inspection/Inspector.h"

namespace quarn::hostile_app_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::string repeated(std::string_view text, std::size_t bytes) {
  std::string result;
  while (result.size() < bytes) result += text;
  return result;
}

const std::vector<std::string> kHostileTexts{"",
                                             ".",
                                             "..",
                                             "...",
                                             "/",
                                             "//",
                                             "./",
                                             "../",
                                             "a/../../x",
                                             "../../../../etc",
                                             "../Preferences",
                                             "../../secret",
                                             "/etc/passwd",
                                             "a/./b",
                                             "*",
                                             "~",
                                             "~/secret",
                                             "%@%ld%1$@",
                                             " -_",
                                             "\x01\x02\x1B[31m\r\n\t\x7F",
                                             std::string("secret\0x", 8),
                                             "\xFF\xFE\xC0\xAF",
                                             "e\xCC\x81\xE2\x80\xAE",
                                             repeated("x", 100'000),
                                             repeated("\xC3\xA9", 100'000),
                                             repeated("\xE6\x97\xA5", 100'000),
                                             repeated("\xCC\x81", 100'000),
                                             repeated("../", 100'000),
                                             repeated("a/", 100'000)};

const std::vector<std::string> kLocations{"/Users/ann/Library/Caches",
                                          "/Users/ann/Library/Logs",
                                          "/Users/ann/Library/Preferences",
                                          "/Users/ann/Library/Saved Application State",
                                          "/Users/ann/Library/Containers",
                                          "/Users/ann/Library/Application Scripts",
                                          "/Users/ann/Library/HTTPStorages",
                                          "/Users/ann/Library/Application Support",
                                          "/Users/ann/Library/LaunchAgents",
                                          "/Users/ann/Library/Group Containers",
                                          "/Users/ann/Documents",
                                          "/Library/Caches",
                                          "/Library/Logs",
                                          "/Library/Preferences",
                                          "/Library/Application Support"};

// True if a path is inside one of the locations, and not a location itself, which all apps share.
bool isInsideALocation(const std::string& path) {
  return std::any_of(kLocations.begin(), kLocations.end(),
                     [&](const std::string& location) { return path != location && path::isInside(path, location); });
}

class HostileApp : public testing::Test {
 protected:
  HostileApp() {
    for (const std::string& location : kLocations) {
      volume_.folder(location + "/a").folder(location + "/x").file(location + "/other.file");
    }
    volume_.file("~/secret").file("/etc/passwd").file("/x").file("~/x").file("~/Library/x").folder("~/Library/Mail");
    volume_.app("/Applications/Example.app");
  }

  std::vector<Artifact> inspect(const AppEntity& app, const std::vector<std::string>& groups) {
    Inspector inspector(volume_);
    inspector.entitlements.readEntitlements = [groups](const FileURL&) { return EntitlementsInfo{groups}; };
    return inspector.service().inspect(app, inspectionOptions(true)).artifacts;
  }

  void expectNothingOutside(const AppEntity& app, const std::vector<std::string>& groups) {
    for (const Artifact& artifact : inspect(app, groups)) {
      if (artifact.kind == ArtifactKind::appBundle) continue;
      EXPECT_FALSE(artifact.urls.empty()) << artifact.title;
      for (const FileURL& url : artifact.urls) {
        EXPECT_TRUE(isInsideALocation(volume_.files().standardizedPath(url)))
            << artifact.title.substr(0, 100) << ": " << url.path().substr(0, 200);
      }
    }
  }

  MacVolume volume_;
};

TEST_F(HostileApp, ANameClaimsNothingOutsideTheLocations) {
  for (const std::string& text : kHostileTexts) {
    AppEntity app = exampleApp();
    app.name = text;
    expectNothingOutside(app, {});
  }
}

TEST_F(HostileApp, AnIdentifierClaimsNothingOutsideTheLocations) {
  for (const std::string& text : kHostileTexts) {
    AppEntity app = exampleApp();
    app.bundleIdentifier = text;
    expectNothingOutside(app, {});
  }
}

TEST_F(HostileApp, NameIdentifierAndGroupsTogetherClaimNothingOutsideTheLocations) {
  for (const std::string& text : kHostileTexts) {
    AppEntity app = exampleApp();
    app.name = text;
    app.bundleIdentifier = text;
    app.id = text;
    expectNothingOutside(app, {text, text + "/" + text});
  }
}

TEST_F(HostileApp, AnIdentifierThatNamesNoItemHasNoStandardLocations) {
  volume_.file("~/Library/Preferences/.GlobalPreferences.plist").file("~/Library/Preferences/com.other.plist");
  AppInspectionService::Options options = inspectionOptions(false);
  options.includeSystemArtifacts = true;
  for (const char* identifier : {"", ".", "..", "/", "../Caches", "a/..", "./a"}) {
    AppEntity app = exampleApp();
    app.name = "a";
    app.bundleIdentifier = identifier;
    EXPECT_THAT(titles(Inspector(volume_).service().inspect(app, options).artifacts), ElementsAre("App")) << identifier;
  }
}

TEST_F(HostileApp, ANameThatClimbsLosesOnlyItsOwnRows) {
  volume_.folder("~/Library/Caches/com.example.App");
  for (const char* name : {"", ".", "..", "/", "../Caches", "a/..", "./a"}) {
    AppEntity app = exampleApp();
    app.name = name;
    EXPECT_THAT(titles(Inspector(volume_).service().inspect(app, inspectionOptions(false)).artifacts),
                ElementsAre("App", "Cache"))
        << name;
  }
}

TEST_F(HostileApp, ANameWithASlashIsAPathInsideTheLocation) {
  volume_.folder("~/Library/Application Support/TCP/IP");
  AppEntity app = exampleApp();
  app.name = "TCP/IP";
  const std::vector<Artifact> found = Inspector(volume_).service().inspect(app, inspectionOptions(false)).artifacts;
  ASSERT_THAT(titles(found), ElementsAre("App", "Application Support (TCP/IP)"));
  EXPECT_EQ(found[1].urls[0].path(), "/Users/ann/Library/Application Support/TCP/IP");
}

TEST_F(HostileApp, ABundleAnywhereIsReportedUnchanged) {
  for (const std::string& path :
       {std::string("/"), std::string("/.."), std::string("/../.."), std::string("/Users/ann/../../etc/passwd"),
        std::string("//"), std::string("/Applications/\x1B[31m\n.app"), "/" + repeated("a/", 100'000),
        "/" + repeated("../", 100'000), "/" + repeated("x", 100'000)}) {
    AppEntity app = exampleApp();
    app.bundleURL = FileURL(path);
    const AppInspection inspection = Inspector(volume_).service().inspect(app, inspectionOptions(true));
    ASSERT_FALSE(inspection.artifacts.empty()) << path.substr(0, 100);
    EXPECT_EQ(inspection.app, app);
    EXPECT_THAT(inspection.uninstallers, IsEmpty()) << path.substr(0, 100);
  }
}

// A name of 300,000 bytes is not scanned again for every item.
TEST_F(HostileApp, AVeryLongNameIsComparedWithManyItemsAtOnce) {
  for (int i = 0; i < 2'000; ++i) volume_.folder("~/Library/Caches/é" + std::to_string(i));
  AppEntity app = exampleApp();
  app.name = repeated("\xE6\x97\xA5", 300'000);
  app.bundleIdentifier = app.name;
  EXPECT_THAT(titles(inspect(app, {})), ElementsAre("App"));
}

}  // namespace
}  // namespace quarn::hostile_app_tests
