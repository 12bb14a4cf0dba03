#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnPlatform/files/ReadReport.h"
#include "QuarnSystem/AppDiscoveryClient.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::app_discovery_client_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

std::vector<AppEntity> discovered(const MacVolume& volume) {
  return AppDiscoveryClient::live(volume.files()).discoverApplications();
}

std::vector<std::string> paths(const MacVolume& volume) {
  std::vector<std::string> result;
  for (const AppEntity& app : discovered(volume)) result.push_back(app.bundleURL.path());
  return result;
}

std::vector<std::string> names(const MacVolume& volume) {
  std::vector<std::string> result;
  for (const AppEntity& app : discovered(volume)) result.push_back(app.name);
  return result;
}

// The only app of a volume.
AppEntity onlyApp(const MacVolume& volume) {
  const std::vector<AppEntity> apps = discovered(volume);
  EXPECT_THAT(apps, SizeIs(1));
  return apps.empty() ? AppEntity() : apps.front();
}

TEST(AppDiscoveryClient, ListsTheAppsOfTheFourRootFolders) {
  MacVolume volume;
  volume.app("/Applications/A.app")
      .app("/System/Applications/B.app")
      .app("/System/Library/CoreServices/Applications/C.app")
      .app("~/Applications/D.app")
      .app("/System/Library/CoreServices/Finder.app")
      .app("~/Desktop/E.app")
      .app("/Users/bob/Applications/F.app")
      .app("/G.app");
  EXPECT_THAT(paths(volume),
              ElementsAre("/Applications/A.app", "/System/Applications/B.app",
                          "/System/Library/CoreServices/Applications/C.app", "/Users/ann/Applications/D.app"));
}

TEST(AppDiscoveryClient, AnAppIsACompleteRecord) {
  MacVolume volume;
  volume.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App", .name = "Example", .version = "2.1"});
  EXPECT_EQ(onlyApp(volume), (AppEntity{.name = "Example",
                                        .bundleIdentifier = "com.example.App",
                                        .bundleURL = FileURL("/Applications/Example.app"),
                                        .id = "com.example.App",
                                        .version = "2.1"}));
  EXPECT_TRUE(onlyApp(volume).bundleURL.hasDirectoryPath());
}

TEST(AppDiscoveryClient, ABinaryPropertyListIsReadLikeAnXmlOne) {
  MacVolume volume;
  volume.app("/Applications/Example.app",
             {.bundleIdentifier = "com.example.App", .displayName = "Bücher", .format = PlistFormat::binary});
  EXPECT_EQ(onlyApp(volume).name, "Bücher");
  EXPECT_EQ(onlyApp(volume).bundleIdentifier, "com.example.App");
}

TEST(AppDiscoveryClient, WithoutAnyRootFolderThereAreNoApps) {
  const MacVolume volume;
  EXPECT_THAT(discovered(volume), IsEmpty());
}

TEST(AppDiscoveryClient, AMissingHomeFolderContributesNothing) {
  MacVolume volume;
  volume.app("/Applications/A.app");
  const FileManager files = volume.files().withHome(FileURL("/Users/nobody"));
  EXPECT_THAT(AppDiscoveryClient::live(files).discoverApplications(), SizeIs(1));
}

TEST(AppDiscoveryClient, ARootThatIsAFileContributesNothing) {
  MacVolume volume;
  volume.file("/Applications").app("~/Applications/A.app");
  EXPECT_THAT(paths(volume), ElementsAre("/Users/ann/Applications/A.app"));
}

// Depth

TEST(AppDiscoveryClient, AnAppMayBeUpToThreeFoldersBelowARoot) {
  MacVolume volume;
  volume.app("/Applications/A.app")
      .app("/Applications/1/B.app")
      .app("/Applications/1/2/C.app")
      .app("/Applications/1/2/3/D.app")
      .app("/Applications/1/2/3/4/E.app")
      .app("~/Applications/1/2/3/F.app")
      .app("~/Applications/1/2/3/4/G.app");
  EXPECT_THAT(names(volume), ElementsAre("A", "B", "C", "D", "F"));
}

TEST(AppDiscoveryClient, AppsInsideAppsAreNotListed) {
  MacVolume volume;
  volume.app("/Applications/Outer.app")
      .app("/Applications/Outer.app/Inner.app")
      .app("/Applications/Outer.app/Contents/Helper.app");
  EXPECT_THAT(paths(volume), ElementsAre("/Applications/Outer.app"));
}

TEST(AppDiscoveryClient, AppsInsideOtherPackagesAreNotListed) {
  MacVolume volume;
  volume.app("/Applications/Tools.bundle/A.app").app("/Applications/Marked/B.app").bundleBit("/Applications/Marked");
  EXPECT_THAT(paths(volume), IsEmpty());
}

TEST(AppDiscoveryClient, OrdinaryFoldersWithAnExtensionAreEntered) {
  MacVolume volume;
  volume.app("~/Applications/Web Apps.localized/A.app").app("/Applications/Kit.framework/B.app");
  EXPECT_THAT(names(volume), ElementsAre("A", "B"));
}

TEST(AppDiscoveryClient, HiddenAppsAndAppsInHiddenFoldersAreListed) {
  MacVolume volume;
  volume.app("/Applications/.Manager.app").app("/Applications/.Vendor/Agent.app");
  EXPECT_THAT(paths(volume), ElementsAre("/Applications/.Manager.app", "/Applications/.Vendor/Agent.app"));
}

// What counts as an app

TEST(AppDiscoveryClient, TheExtensionMayHaveAnyLetterCase) {
  MacVolume volume;
  volume.app("/Applications/A.APP").app("/Applications/B.App");
  EXPECT_THAT(names(volume), ElementsAre("A", "B"));
}

TEST(AppDiscoveryClient, ASimilarExtensionDoesNotMakeAnApp) {
  MacVolume volume;
  volume.folder("/Applications/A.app2").folder("/Applications/Bapp").folder("/Applications/C.app.bak");
  EXPECT_THAT(paths(volume), IsEmpty());
}

TEST(AppDiscoveryClient, AFileWithTheExtensionIsNotAnApp) {
  MacVolume volume;
  volume.file("/Applications/A.app", 10).fifo("/Applications/B.app").socket("/Applications/C.app");
  EXPECT_THAT(paths(volume), IsEmpty());
}

TEST(AppDiscoveryClient, AnEmptyFolderWithTheExtensionIsAnAppWithoutIdentifier) {
  MacVolume volume;
  volume.folder("/Applications/Broken.app");
  const AppEntity app = onlyApp(volume);
  EXPECT_EQ(app.name, "Broken");
  EXPECT_EQ(app.bundleIdentifier, std::nullopt);
  EXPECT_EQ(app.version, std::nullopt);
  EXPECT_EQ(app.id, "/Applications/Broken.app");
}

// Links

TEST(AppDiscoveryClient, ALinkToAnAppIsListedAsTheAppItself) {
  MacVolume volume;
  volume.app("/opt/vendor/Tool.app", {.bundleIdentifier = "com.example.Tool"})
      .link("/Applications/Tool.app", "/opt/vendor/Tool.app");
  EXPECT_EQ(onlyApp(volume).bundleURL.string(), "file:///opt/vendor/Tool.app/");
  EXPECT_EQ(onlyApp(volume).bundleIdentifier, "com.example.Tool");
}

TEST(AppDiscoveryClient, AnAppAndLinksToItAreListedOnce) {
  MacVolume volume;
  volume.app("/Applications/Tool.app")
      .link("/Applications/Alias.app", "Tool.app")
      .link("/Applications/Again.app", "/Applications/Alias.app")
      .link("~/Applications/Tool.app", "/Applications/Tool.app");
  EXPECT_THAT(paths(volume), ElementsAre("/Applications/Tool.app"));
}

TEST(AppDiscoveryClient, ALinkToAFolderRepresentsThatFolder) {
  MacVolume volume;
  volume.app("/opt/vendor/1/2/A.app").app("/opt/vendor/1/2/3/B.app").link("/Applications/Vendor", "/opt/vendor");
  EXPECT_THAT(paths(volume), ElementsAre("/opt/vendor/1/2/A.app"));
}

TEST(AppDiscoveryClient, ALinkMayLeadToAFolderThroughAnotherLink) {
  MacVolume volume;
  volume.app("/private/tmp/A.app").link("/tmp", "/private/tmp").link("/Applications/Temporary", "/tmp");
  EXPECT_THAT(paths(volume), ElementsAre("/tmp/A.app"));
}

TEST(AppDiscoveryClient, ARootThatIsALinkToAnotherRootListsEachAppOnce) {
  MacVolume volume;
  volume.app("/Applications/A.app").link("~/Applications", "/Applications");
  EXPECT_THAT(paths(volume), ElementsAre("/Applications/A.app"));
}

TEST(AppDiscoveryClient, ALinkIsJudgedByItsTarget) {
  MacVolume volume;
  volume.app("/opt/Real.app")
      .app("/opt/folder/In.app")
      .link("/Applications/Real", "/opt/Real.app")
      .link("/Applications/Folder.app", "/opt/folder");
  EXPECT_THAT(paths(volume), ElementsAre("/opt/folder/In.app", "/opt/Real.app"));
}

TEST(AppDiscoveryClient, ALinkMayLeadToAnAppInsideAPackage) {
  MacVolume volume;
  volume.app("/Applications/Suite.app")
      .app("/Applications/Suite.app/Contents/Applications/Part.app")
      .link("/Applications/Part.app", "Suite.app/Contents/Applications/Part.app");
  EXPECT_THAT(paths(volume),
              ElementsAre("/Applications/Suite.app/Contents/Applications/Part.app", "/Applications/Suite.app"));
}

TEST(AppDiscoveryClient, ALinkToAPackageFolderIsNotEntered) {
  MacVolume volume;
  volume.app("/opt/Tools.bundle/A.app").link("/Applications/Tools", "/opt/Tools.bundle");
  EXPECT_THAT(paths(volume), IsEmpty());
}

TEST(AppDiscoveryClient, AFolderIsSearchedFromTheShortestPathToIt) {
  MacVolume volume;
  volume.app("/Applications/a/b/c/1/2/Far.app").link("/Applications/z", "/Applications/a/b/c");
  EXPECT_THAT(names(volume), ElementsAre("Far"));
}

TEST(AppDiscoveryClient, LinksThatLoopOrDangleContributeNothing) {
  MacVolume volume;
  volume.app("/Applications/A.app")
      .link("/Applications/Self.app", "Self.app")
      .link("/Applications/Here", ".")
      .link("/Applications/Up", "..")
      .link("/Applications/Gone.app", "/nowhere/Gone.app")
      .link("/Applications/Ping.app", "Pong.app")
      .link("/Applications/Pong.app", "Ping.app");
  EXPECT_THAT(paths(volume), ElementsAre("/Applications/A.app"));
}

TEST(AppDiscoveryClient, ALinkOutOfTheVolumeContributesNothing) {
  MacVolume other;
  other.app("/Outside.app");
  MacVolume volume;
  volume.folder("/Applications")
      .link("/Applications/Outside.app", other.host("/Outside.app"))
      .link("/Applications/Other", other.root())
      .link("/Applications/Up.app", "../../../../../../../.." + other.host("/Outside.app"));
  EXPECT_THAT(paths(volume), IsEmpty());
}

TEST(AppDiscoveryClient, ManyLinksToEachOtherAreWalkedOnce) {
  MacVolume volume;
  for (int i = 0; i < 15; ++i) {
    const std::string folder = "/Applications/f" + std::to_string(i);
    volume.app(folder + "/A" + std::to_string(i) + ".app");
    for (int j = 0; j < 15; ++j) volume.link(folder + "/to" + std::to_string(j), "../f" + std::to_string(j));
  }
  EXPECT_THAT(paths(volume), SizeIs(15));
}

// Names, identifiers, versions

TEST(AppDiscoveryClient, TheNameIsTheDisplayNameElseTheBundleNameElseTheStem) {
  struct Row {
    AppBundle bundle;
    std::string name;
  };
  const std::vector<Row> rows{
      {{.name = "Short", .displayName = "Shown"}, "Shown"},
      {{.displayName = "Shown"}, "Shown"},
      {{.name = "Short"}, "Short"},
      {{}, "File 1.2"},
      {{.name = "Short", .more = {{"CFBundleDisplayName", ""}}}, "Short"},
      {{.more = {{"CFBundleDisplayName", ""}, {"CFBundleName", ""}}}, "File 1.2"},
      {{.name = "Short", .more = {{"CFBundleDisplayName", 7}}}, "Short"},
      {{.more = {{"CFBundleName", PlistArray{"Short"}}}}, "File 1.2"},
  };
  for (const Row& row : rows) {
    MacVolume volume;
    volume.app("/Applications/File 1.2.app", row.bundle);
    EXPECT_EQ(onlyApp(volume).name, row.name);
  }
}

TEST(AppDiscoveryClient, AnIdentifierThatIsEmptyOrNotAStringIsAbsent) {
  for (const PlistValue& identifier : {PlistValue(""), PlistValue(42), PlistValue(true), PlistValue(PlistData{"com"}),
                                       PlistValue(PlistArray{"com.example.App"})}) {
    MacVolume volume;
    volume.app("/Applications/A.app", {.more = {{"CFBundleIdentifier", identifier}}});
    EXPECT_EQ(onlyApp(volume).bundleIdentifier, std::nullopt);
    EXPECT_EQ(onlyApp(volume).id, "/Applications/A.app");
  }
}

TEST(AppDiscoveryClient, TheVersionIsTheMarketingVersionElseTheBuildNumber) {
  struct Row {
    PlistDictionary keys;
    std::optional<std::string> version;
  };
  const std::vector<Row> rows{
      {{{"CFBundleShortVersionString", "1.2"}, {"CFBundleVersion", "345"}}, "1.2"},
      {{{"CFBundleVersion", "345"}}, "345"},
      {{{"CFBundleShortVersionString", ""}, {"CFBundleVersion", "345"}}, "345"},
      {{{"CFBundleShortVersionString", 1.2}, {"CFBundleVersion", "345"}}, "345"},
      {{{"CFBundleVersion", 345}}, std::nullopt},
      {{}, std::nullopt},
  };
  for (const Row& row : rows) {
    MacVolume volume;
    volume.app("/Applications/A.app", {.more = row.keys});
    EXPECT_EQ(onlyApp(volume).version, row.version);
  }
}

TEST(AppDiscoveryClient, TwoAppsOfOneIdentifierAreTwoApps) {
  MacVolume volume;
  volume.app("/Applications/A.app", {.bundleIdentifier = "com.example.App"})
      .app("~/Applications/A.app", {.bundleIdentifier = "com.example.App"});
  EXPECT_THAT(paths(volume), ElementsAre("/Applications/A.app", "/Users/ann/Applications/A.app"));
}

// Order

TEST(AppDiscoveryClient, AppsAreSortedByLocalisedName) {
  MacVolume volume;
  volume.app("/Applications/1.app", {.name = "Zebra"})
      .app("/Applications/2.app", {.name = "apple"})
      .app("/Applications/3.app", {.name = "Äpfel"})
      .app("/Applications/4.app", {.name = "Banana"})
      .app("/System/Applications/5.app", {.name = "file10"})
      .app("~/Applications/6.app", {.name = "File2"});
  EXPECT_THAT(names(volume), ElementsAre("Äpfel", "apple", "Banana", "file10", "File2", "Zebra"));
}

TEST(AppDiscoveryClient, NamesThatDifferOnlyInCaseAreSortedByPath) {
  MacVolume volume;
  volume.app("/Applications/b.app", {.name = "EXAMPLE"})
      .app("/Applications/a.app", {.name = "example"})
      .app("/Applications/C.app", {.name = "Example"})
      .app("/Applications/1/z.app", {.name = "exAMPLE"});
  EXPECT_THAT(paths(volume), ElementsAre("/Applications/1/z.app", "/Applications/C.app", "/Applications/a.app",
                                         "/Applications/b.app"));
}

// Malformed input

TEST(AppDiscoveryClient, AMalformedInfoMakesAnAppWithoutIdentifier) {
  const std::string info = "/Applications/A.app/Contents/Info.plist";
  const std::vector<std::function<void(MacVolume&)>> breakages{
      [&](MacVolume& volume) { volume.text(info, "garbage"); },
      [&](MacVolume& volume) { volume.text(info, ""); },
      [&](MacVolume& volume) { volume.text(info, std::string(4096, '\0')); },
      [&](MacVolume& volume) { volume.text(info, "<plist><dict><key>CFBundleIdentifier</key>"); },
      [&](MacVolume& volume) { volume.text(info, "bplist00" + std::string(40, '\xFF')); },
      [&](MacVolume& volume) {
        volume.text(info, sample::xmlPlist(PlistArray{"CFBundleIdentifier", "com.example.App"}));
      },
      [&](MacVolume& volume) { volume.sparse(info, std::int64_t{2} << 30); },
      [&](MacVolume& volume) { volume.fifo(info); },
      [&](MacVolume& volume) { volume.socket(info); },
      [&](MacVolume& volume) { volume.folder(info); },
      [&](MacVolume& volume) { volume.link(info, "Info.plist"); },
      [&](MacVolume& volume) { volume.link(info, "/dev/zero"); },
      [&](MacVolume& volume) { volume.file("/Applications/A.app/Contents", 3); },
  };
  for (std::size_t i = 0; i < breakages.size(); ++i) {
    MacVolume volume;
    volume.folder("/Applications/A.app").app("/Applications/Good.app", {.bundleIdentifier = "com.example.Good"});
    breakages[i](volume);
    const std::vector<AppEntity> apps = discovered(volume);
    ASSERT_THAT(apps, SizeIs(2)) << i;
    EXPECT_EQ(apps[0].name, "A") << i;
    EXPECT_EQ(apps[0].bundleIdentifier, std::nullopt) << i;
    EXPECT_EQ(apps[1].bundleIdentifier, "com.example.Good") << i;
  }
}

TEST(AppDiscoveryClient, UnreadableItemsAreSkippedAndFoldersReported) {
  MacVolume volume;
  volume.app("/Applications/Closed/A.app", {.bundleIdentifier = "com.example.a"})
      .app("/Applications/B.app", {.bundleIdentifier = "com.example.b"})
      .app("/Applications/C.app", {.bundleIdentifier = "com.example.c"})
      .app("/Applications/D.app", {.bundleIdentifier = "com.example.d"})
      .mode("/Applications/Closed", 0000)
      .mode("/Applications/B.app/Contents/Info.plist", 0000)
      .mode("/Applications/C.app", 0000);
  const auto report = std::make_shared<ReadReport>();
  const UnprivilegedUser user;
  const std::vector<AppEntity> apps =
      AppDiscoveryClient::live(volume.files().reportingTo(report)).discoverApplications();
  std::vector<std::string> ids;
  for (const AppEntity& app : apps) ids.push_back(app.id);
  EXPECT_THAT(ids, ElementsAre("/Applications/B.app", "/Applications/C.app", "com.example.d"));
  ASSERT_THAT(report->items(), ::testing::Not(IsEmpty()));
  EXPECT_EQ(report->items()[0].path, "/Applications/Closed");
  EXPECT_EQ(report->items()[0].cause, UnreadableCause::permission);
}

TEST(AppDiscoveryClient, NamesThatAreNotUtf8AndEscapeSequencesAreKeptByteForByte) {
  MacVolume volume;
  volume.app("/Applications/\xFF\xFE.app").app("/Applications/\x1B[31mred.app");
  EXPECT_THAT(names(volume), ::testing::UnorderedElementsAre("\xFF\xFE", "\x1B[31mred"));
  EXPECT_THAT(paths(volume),
              ::testing::UnorderedElementsAre("/Applications/\xFF\xFE.app", "/Applications/\x1B[31mred.app"));
}

}  // namespace
}  // namespace quarn::app_discovery_client_tests
