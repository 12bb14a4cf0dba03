#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/discovery/StandardLocations.h"
#include "tests/QuarnCore/discovery/ArtifactLines.h"
#include "tests/support/MacVolume.h"

namespace quarn::standard_locations_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Kind = ArtifactKind;
using Class = ArtifactDataClass;
using Scope = ArtifactScope;
using Risk = RiskLevel;

const AppEntity kExample{.name = "Example",
                         .bundleIdentifier = "com.example.App",
                         .bundleURL = FileURL("/Applications/Example.app"),
                         .id = "com.example.App"};

/// A location: its item and the resulting artifact.
struct Row {
  std::string path;
  Kind kind;
  Class dataClass;
  Risk risk;
  double confidence;
  std::string title;
  std::string explanation;
};

Artifact expected(const Row& row, Scope scope, const FileURL& url) {
  return identified({.kind = row.kind,
                     .dataClass = row.dataClass,
                     .scope = scope,
                     .urls = {url},
                     .riskLevel = row.risk,
                     .confidence = row.confidence,
                     .title = row.title,
                     .explanation = row.explanation});
}

// clang-format off
const std::vector<Row> kUserRows{
    {"~/Library/Caches/com.example.App", Kind::cache, Class::rebuildable, Risk::safe, 0.95, "Cache",
     "Cache data: rebuilt by the app and usually safe to remove."},
    {"~/Library/Logs/com.example.App", Kind::logs, Class::rebuildable, Risk::safe, 0.9, "Logs",
     "Logs: helpful for debugging, usually safe to remove."},
    {"~/Library/Preferences/com.example.App.plist", Kind::preferences, Class::configuration, Risk::caution, 0.95,
     "Preferences", "App settings: deleting resets behavior."},
    {"~/Library/Preferences/ByHost/com.example.App.plist", Kind::preferences, Class::configuration, Risk::caution,
     0.7, "Preferences (ByHost)", "Device/host-specific app settings."},
    {"~/Library/Saved Application State/com.example.App.savedState", Kind::savedState, Class::rebuildable, Risk::safe,
     0.9, "Saved State", "Window state/restore info: recreated on next launch."},
    {"~/Library/Containers/com.example.App", Kind::container, Class::userData, Risk::caution, 0.9, "Container",
     "Sandbox container: may contain user and app data."},
    {"~/Library/Application Scripts/com.example.App", Kind::container, Class::configuration, Risk::caution, 0.75,
     "Application Scripts", "Automation scripts: rarely critical, but app-specific."},
    {"~/Library/HTTPStorages/com.example.App", Kind::cache, Class::rebuildable, Risk::safe, 0.7, "HTTPStorages",
     "Web/session cache: rebuilt as needed."},
    {"~/Library/Application Support/Example", Kind::applicationSupport, Class::userData, Risk::caution, 0.7,
     "Application Support (Example)", "App data/projects: may contain important content."},
    {"~/Library/Application Support/com.example.App", Kind::applicationSupport, Class::userData, Risk::caution, 0.8,
     "Application Support (com.example.App)", "App data for the bundle ID: may contain important content."},
    {"~/Library/LaunchAgents/com.example.App.plist", Kind::launchAgent, Class::configuration, Risk::caution, 0.6,
     "LaunchAgents", "Auto-launch job: starts background processes."},
};

const std::vector<Row> kSystemRows{
    {"/Library/Caches/com.example.App", Kind::cache, Class::rebuildable, Risk::safe, 0.55, "System Cache",
     "System-wide cache data: usually safe to remove, but can affect multiple users."},
    {"/Library/Logs/com.example.App", Kind::logs, Class::rebuildable, Risk::safe, 0.55, "System Logs",
     "System-wide logs: usually safe to remove."},
    {"/Library/Preferences/com.example.App.plist", Kind::preferences, Class::configuration, Risk::caution, 0.55,
     "System Preferences", "System-wide app settings: deleting resets behavior and can affect multiple users."},
    {"/Library/Application Support/Example", Kind::applicationSupport, Class::shared, Risk::danger, 0.3,
     "System Application Support (Example)", "System-wide app data: can be shared by multiple users/apps."},
    {"/Library/Application Support/com.example.App", Kind::applicationSupport, Class::shared, Risk::danger, 0.35,
     "System Application Support (com.example.App)", "System-wide app data: can be shared by multiple users/apps."},
};
// clang-format on

TEST(StandardLocations, EachUserLocationIsFoundAsInTheTable) {
  ASSERT_EQ(kUserRows.size(), 11U);
  for (std::size_t i = 0; i < kUserRows.size(); ++i) {
    MacVolume volume;
    volume.file(kUserRows[i].path, 1_KiB);
    const std::string made = kUserRows[i].path + (i == 0 ? "/" : "");  // the cache alone is made as a folder's URL
    const std::vector<Artifact> found = userLocationArtifacts(kExample, volume.files());
    EXPECT_THAT(lines(found), ElementsAre(line(expected(kUserRows[i], Scope::user, volume.url(made)))));
    EXPECT_THAT(systemLocationArtifacts(kExample, volume.files()), IsEmpty());
  }
}

TEST(StandardLocations, EachSystemLocationIsFoundAsInTheTable) {
  ASSERT_EQ(kSystemRows.size(), 5U);
  for (std::size_t i = 0; i < kSystemRows.size(); ++i) {
    MacVolume volume;
    volume.file(kSystemRows[i].path, 1_KiB);
    const std::string made = kSystemRows[i].path + (i == 0 ? "/" : "");
    const std::vector<Artifact> found = systemLocationArtifacts(kExample, volume.files());
    EXPECT_THAT(lines(found), ElementsAre(line(expected(kSystemRows[i], Scope::system, volume.url(made)))));
    EXPECT_THAT(userLocationArtifacts(kExample, volume.files()), IsEmpty());
  }
}

TEST(StandardLocations, AllOfThemAreFoundInTheOrderOfTheTables) {
  MacVolume volume;
  std::vector<std::string> userTitles;
  std::vector<std::string> systemTitles;
  for (const Row& row : kUserRows) {
    volume.file(row.path);
    userTitles.push_back(row.title);
  }
  for (const Row& row : kSystemRows) {
    volume.file(row.path);
    systemTitles.push_back(row.title);
  }
  EXPECT_EQ(titles(userLocationArtifacts(kExample, volume.files())), userTitles);
  EXPECT_EQ(titles(systemLocationArtifacts(kExample, volume.files())), systemTitles);
}

TEST(StandardLocations, AFolderIsMarkedAsAFolderAndALinkIsNot) {
  MacVolume volume;
  volume.folder("~/Library/Logs/com.example.App")
      .folder("~/elsewhere")
      .link("~/Library/Containers/com.example.App", "/Users/ann/elsewhere");
  const std::vector<Artifact> found = userLocationArtifacts(kExample, volume.files());
  ASSERT_THAT(titles(found), ElementsAre("Logs", "Container"));
  EXPECT_TRUE(found[0].urls[0].hasDirectoryPath());
  EXPECT_FALSE(found[1].urls[0].hasDirectoryPath());
  EXPECT_EQ(found[1].urls[0].path(), "/Users/ann/Library/Containers/com.example.App");
}

TEST(StandardLocations, ADanglingLinkIsIgnored) {
  MacVolume volume;
  volume.link("~/Library/Caches/com.example.App", "nowhere")
      .link("~/Library/Logs/com.example.App", "com.example.App")
      .link("/Library/Caches/com.example.App", "/nowhere");
  EXPECT_THAT(userLocationArtifacts(kExample, volume.files()), IsEmpty());
  EXPECT_THAT(systemLocationArtifacts(kExample, volume.files()), IsEmpty());
}

TEST(StandardLocations, AnAppWithoutBundleIdentifierHasNoStandardLocations) {
  MacVolume volume;
  for (const Row& row : kUserRows) volume.file(row.path);
  for (const Row& row : kSystemRows) volume.file(row.path);
  AppEntity app = kExample;
  app.bundleIdentifier.reset();
  EXPECT_THAT(userLocationArtifacts(app, volume.files()), IsEmpty());
  EXPECT_THAT(systemLocationArtifacts(app, volume.files()), IsEmpty());
}

TEST(StandardLocations, SupportUnderNameAndUnderIdentifierIsListedOncePerForm) {
  MacVolume volume;
  volume.folder("~/Library/Application Support/Example").folder("~/Library/Application Support/com.example.App");
  EXPECT_THAT(titles(userLocationArtifacts(kExample, volume.files())),
              ElementsAre("Application Support (Example)", "Application Support (com.example.App)"));
}

TEST(StandardLocations, PropertyListsOfOneFolderAreOneArtifactInListingOrder) {
  MacVolume volume;
  const std::string folder = "~/Library/Preferences/";
  for (const char* name :
       {"com.example.App.plist", "com.example.App.extra.plist", "com.example.App.PLIST", "com.example.AppStore.plist",
        "com.example.App.lockfile", "com.example.App", "com.example.App.plist.tmp", "Com.example.App.plist",
        "xcom.example.App.plist", "com.example.plist"}) {
    volume.file(folder + name);
  }
  const std::vector<Artifact> found = userLocationArtifacts(kExample, volume.files());
  ASSERT_THAT(titles(found), ElementsAre("Preferences"));
  const std::string path = volume.path(folder);
  EXPECT_THAT(paths(found), ElementsAre(path + "com.example.App.PLIST", path + "com.example.App.extra.plist",
                                        path + "com.example.App.plist", path + "com.example.AppStore.plist"));
  EXPECT_EQ(found[0].id, Artifact::makeID(Kind::preferences, Scope::user, found[0].urls));
}

TEST(StandardLocations, AFolderOrLinkWithTheNameOfAPropertyListIsIncluded) {
  MacVolume volume;
  volume.folder("/Library/Preferences/com.example.App.plist")
      .link("/Library/Preferences/com.example.App.x.plist", "nowhere");
  EXPECT_THAT(
      paths(systemLocationArtifacts(kExample, volume.files())),
      ElementsAre("/Library/Preferences/com.example.App.plist", "/Library/Preferences/com.example.App.x.plist"));
}

TEST(StandardLocations, AHiddenPropertyListIsIncluded) {
  MacVolume volume;
  volume.file("~/Library/Preferences/.example.plist");
  AppEntity app = kExample;
  app.bundleIdentifier = ".example";
  EXPECT_THAT(titles(userLocationArtifacts(app, volume.files())), ElementsAre("Preferences"));
}

TEST(StandardLocations, AComposedIdentifierFindsADecomposedFile) {
  MacVolume volume;
  volume.file("~/Library/Preferences/com.e\xCC\x81xample.plist");
  AppEntity app = kExample;
  app.bundleIdentifier = "com.\xC3\xA9xample";
  EXPECT_THAT(titles(userLocationArtifacts(app, volume.files())), ElementsAre("Preferences"));
}

TEST(StandardLocations, APropertyListFolderThatIsAFileContributesNothing) {
  MacVolume volume;
  volume.file("~/Library/Preferences").file("~/Library/Logs/com.example.App");
  EXPECT_THAT(titles(userLocationArtifacts(kExample, volume.files())), ElementsAre("Logs"));
}

TEST(StandardLocations, APropertyListFolderThatIsALinkIsListed) {
  MacVolume volume;
  volume.file("/prefs/com.example.App.plist").link("~/Library/Preferences", "/prefs");
  EXPECT_THAT(paths(userLocationArtifacts(kExample, volume.files())),
              ElementsAre("/Users/ann/Library/Preferences/com.example.App.plist"));
}

TEST(StandardLocations, AnotherHomeIsAnotherPlace) {
  MacVolume volume;
  volume.folder("~/Library/Caches/com.example.App");
  EXPECT_THAT(userLocationArtifacts(kExample, volume.files().withHome(FileURL("/Users/bob"))), IsEmpty());
}

}  // namespace
}  // namespace quarn::standard_locations_tests
