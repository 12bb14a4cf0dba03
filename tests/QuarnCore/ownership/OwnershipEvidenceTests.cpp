#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/ownership/AppFactsReader.h"
#include "tests/QuarnCore/ownership/Owners.h"

namespace quarn::ownership_evidence_tests {
namespace {

struct NamedCase {
  std::string path;
  std::string owner;
};

std::ostream& operator<<(std::ostream& out, const NamedCase& test) { return out << test.path; }

// One app called "Example Notes" with the identifier com.example.notes, and what its entries are called.
class OwnershipByName : public ::testing::TestWithParam<NamedCase> {};

TEST_P(OwnershipByName, FollowsTheEvidence) {
  MacVolume volume;
  volume.app("/Applications/Example Notes.app",
             {.bundleIdentifier = "com.example-works.Notes", .name = "Example Notes"});
  volume.folder(GetParam().path);
  EXPECT_EQ(ownerOf(volume, Mapper(volume).map(), GetParam().path), GetParam().owner);
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Rows, OwnershipByName, ::testing::Values(
    NamedCase{"~/Library/Caches/com.example-works.Notes", "owned Example Notes identifier"},
    NamedCase{"~/Library/Caches/COM.EXAMPLE-WORKS.NOTES", "owned Example Notes identifier"},
    NamedCase{"~/Library/Preferences/com.example-works.notes.plist", "owned Example Notes identifier"},
    NamedCase{"~/Library/Preferences/ByHost/com.example-works.notes.1A2B3C4D-5E6F-7081-92A3-B4C5D6E7F809.plist", "owned Example Notes identifier"},
    NamedCase{"~/Library/Saved Application State/com.example-works.Notes.savedState", "owned Example Notes identifier"},
    NamedCase{"~/Library/Cookies/com.example-works.Notes.binarycookies", "owned Example Notes identifier"},
    NamedCase{"~/Library/HTTPStorages/com.example-works.Notes.helper", "owned Example Notes identifierAndMore"},
    NamedCase{"~/Library/Group Containers/AB12CD34EF.com.example-works.Notes", "owned Example Notes prefixedIdentifier"},
    NamedCase{"~/Library/Group Containers/group.com.example-works.Notes.shared", "owned Example Notes prefixedIdentifier"},
    NamedCase{"~/Library/Application Support/Example Notes", "owned Example Notes name"},
    NamedCase{"~/Library/Application Support/example-notes", "owned Example Notes name"},
    NamedCase{"~/Library/Preferences/Example Notes", "owned Example Notes name"},
    NamedCase{"~/Library/Logs/DiagnosticReports/Example Notes-2026-01-02-030405.ips", "owned Example Notes name"},
    NamedCase{"~/Library/Application Support/CrashReporter/Example Notes_1A2B3C4D-5E6F-7081-92A3-B4C5D6E7F809.plist", "owned Example Notes name"},
    NamedCase{"~/.example-notes", "owned Example Notes name"},
    NamedCase{"~/.config/example-notes", "owned Example Notes name"},
    NamedCase{"~/.local/share/examplenotes", "owned Example Notes name"},
    NamedCase{"/Users/Shared/Example Notes", "owned Example Notes name"},
    NamedCase{"~/Documents/Example Notes", "owned Example Notes name"},
    NamedCase{"~/Library/Caches/example-notes-updater", "owned Example Notes nameWithoutVersion"},
    NamedCase{"~/Library/Application Support/Example Notes Beta 3", "owned Example Notes nameWithoutVersion"},
    NamedCase{"~/Library/Application Support/Notes", "owned Example Notes nameWithoutVersion"},
    NamedCase{"~/Library/Preferences/com.example-works.NotesQuickEntry.plist", "owned Example Notes vendorIdentifierName"},
    NamedCase{"~/Library/Preferences/com.exampleworks.keychain.plist", "owned Example Notes onlyAppOfVendor"},
    NamedCase{"~/Library/Preferences/de.other.ExampleNotes.plist", "owned Example Notes otherIdentifierName"},
    NamedCase{"~/Library/Application Support/Example-Works", "owned Example Notes vendorName"},
    NamedCase{"~/Library/Application Support/My Example Notes Backup", "unknown"},
    NamedCase{"~/Library/Application Support/Keynotes", "unknown"},
    NamedCase{"~/Library/Preferences/com.apple.finder.plist", "system"},
    NamedCase{"~/Library/Application Support/AddressBook", "system"}));
// clang-format on

TEST(OwnershipEvidence, InAnIdentifierANameOfFourLettersCounts) {
  MacVolume volume;
  volume.app("/Applications/Lynx.app", {.bundleIdentifier = "com.example.first", .name = "Lynx"})
      .app("/Applications/Elk.app", {.bundleIdentifier = "com.example.second", .name = "Elk"})
      .file("~/Library/Preferences/com.example.LynxSettings.plist")
      .file("~/Library/Preferences/com.example.ElkSettings.plist");
  const OwnershipMap map = Mapper(volume).map();
  EXPECT_EQ(ownerOf(volume, map, "~/Library/Preferences/com.example.LynxSettings.plist"),
            "owned Lynx vendorIdentifierName");
  EXPECT_THAT(ownerOf(volume, map, "~/Library/Preferences/com.example.ElkSettings.plist"),
              ::testing::Not(::testing::HasSubstr("vendorIdentifierName")));
}

TEST(OwnershipEvidence, TheIdentifierOfAnEmbeddedBundleBelongsToTheApp) {
  MacVolume volume;
  volume.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App"})
      .folder("/Applications/Example.app/Contents/PlugIns/Documentation")
      .app("/Applications/Example.app/Contents/PlugIns/Share.appex", {.bundleIdentifier = "org.plugin.Share"})
      .app("/Applications/Example.app/Contents/Library/LoginItems/Start.app", {.bundleIdentifier = "org.login.Start"})
      .folder("~/Library/Containers/org.plugin.share")
      .folder("~/Library/Application Scripts/AB12CD34EF.org.login.Start");
  const OwnershipMap map = Mapper(volume).map();
  EXPECT_EQ(ownerOf(volume, map, "~/Library/Containers/org.plugin.share"), "owned Example embeddedIdentifier");
  EXPECT_EQ(ownerOf(volume, map, "~/Library/Application Scripts/AB12CD34EF.org.login.Start"),
            "owned Example prefixedIdentifier");
}

TEST(OwnershipEvidence, ABundleHasABoundedNumberOfEmbeddedBundlesAndHelpers) {
  MacVolume volume;
  volume.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App"});
  for (std::size_t i = 0; i < kMostEmbedded + 2; ++i) {
    const std::string number = std::to_string(i);
    volume.app("/Applications/Example.app/Contents/PlugIns/" + number + ".appex",
               {.bundleIdentifier = "x.y." + number});
    volume.file("/Applications/Example.app/Contents/Library/LaunchAgents/x.y." + number + ".plist");
  }
  const Mapper mapper(volume);
  const std::vector<AppEntity> apps = AppDiscoveryClient::live(mapper.files).discoverApplications();
  const std::vector<AppFacts> facts = readAppFacts(mapper.files, mapper.entitlements, apps, Cancellation::never());
  ASSERT_EQ(facts.size(), 1U);
  EXPECT_EQ(facts[0].embeddedIdentifiers.size(), kMostEmbedded);
  EXPECT_EQ(facts[0].helpers.size(), kMostEmbedded);
}

TEST(OwnershipEvidence, AnAppIsKnownByTheNameOfItsBundleToo) {
  MacVolume volume;
  volume.app("/Applications/Papers.app", {.bundleIdentifier = "com.example.App", .name = "Scholar"})
      .folder("~/Library/Application Support/Papers")
      .folder("~/Library/Application Support/Scholar");
  const OwnershipMap map = Mapper(volume).map();
  EXPECT_EQ(ownerOf(volume, map, "~/Library/Application Support/Papers"), "owned Scholar name");
  EXPECT_EQ(ownerOf(volume, map, "~/Library/Application Support/Scholar"), "owned Scholar name");
}

TEST(OwnershipEvidence, AGenericOrVeryShortNameIsNotReduced) {
  MacVolume volume;
  volume.app("/Applications/Updater.app", {.bundleIdentifier = "com.example.App"})
      .app("/Applications/Qi 3.app", {.bundleIdentifier = "com.other.App"})
      .folder("~/Library/Caches/Updater Helper")
      .folder("~/Library/Caches/Qi Helper")
      .folder("~/Library/Caches/Updater")
      .folder("~/Library/Caches/Qi 3")
      .file("~/Library/Preferences/com.example.UpdaterQuick.plist");
  const OwnershipMap map = Mapper(volume).map();
  EXPECT_EQ(ownerOf(volume, map, "~/Library/Caches/Updater Helper"), "unknown");
  EXPECT_EQ(ownerOf(volume, map, "~/Library/Caches/Qi Helper"), "unknown");
  EXPECT_EQ(ownerOf(volume, map, "~/Library/Caches/Updater"), "owned Updater name");
  EXPECT_EQ(ownerOf(volume, map, "~/Library/Caches/Qi 3"), "owned Qi 3 name");
  EXPECT_EQ(ownerOf(volume, map, "~/Library/Preferences/com.example.UpdaterQuick.plist"),
            "owned Updater onlyAppOfVendor");
}

TEST(OwnershipEvidence, APrivilegedHelperBelongsToTheAppThatNamesIt) {
  MacVolume volume;
  volume
      .app("/Applications/Example.app",
           {.bundleIdentifier = "com.example.App",
            .more = {{"SMPrivilegedExecutables", PlistDictionary{{"net.tools.installer", "anchor apple generic"}}}}})
      .file("/Library/PrivilegedHelperTools/net.tools.installer");
  EXPECT_EQ(ownerOf(volume, Mapper(volume).map(), "/Library/PrivilegedHelperTools/net.tools.installer"),
            "owned Example privilegedHelper");
}

TEST(OwnershipEvidence, AGroupBelongsToTheAppThatIsEntitledToIt) {
  MacVolume volume;
  volume.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App"})
      .folder("~/Library/Group Containers/group.shared.suite");
  Mapper mapper(volume);
  mapper.entitlements.readEntitlements = [](const FileURL&) { return EntitlementsInfo{{"group.shared.suite"}}; };
  EXPECT_EQ(ownerOf(volume, mapper.map(), "~/Library/Group Containers/group.shared.suite"),
            "owned Example entitlement");
}

TEST(OwnershipEvidence, AnotherTeamsGroupIsNotTheApps) {
  MacVolume volume;
  volume.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App"})
      .folder("~/Library/Group Containers/AAAAAAAAAA.com.example.App");
  Mapper mapper(volume);
  mapper.entitlements.readTeamIdentifier = [](const FileURL&) { return std::string("BBBBBBBBBB"); };
  EXPECT_NE(ownerOf(volume, mapper.map(), "~/Library/Group Containers/AAAAAAAAAA.com.example.App"),
            "owned Example prefixedIdentifier");
  mapper.entitlements.readTeamIdentifier = [](const FileURL&) { return std::string("AAAAAAAAAA"); };
  EXPECT_EQ(ownerOf(volume, mapper.map(), "~/Library/Group Containers/AAAAAAAAAA.com.example.App"),
            "owned Example prefixedIdentifier");
}

TEST(OwnershipEvidence, AContainersMetadataNamesItsApp) {
  MacVolume volume;
  volume.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App"})
      .plist("~/Library/Containers/1A2B3C4D-5E6F-7081-92A3-B4C5D6E7F809/.com.apple.containermanagerd.metadata.plist",
             {{"MCMMetadataIdentifier", "com.example.App"}});
  EXPECT_EQ(ownerOf(volume, Mapper(volume).map(), "~/Library/Containers/1A2B3C4D-5E6F-7081-92A3-B4C5D6E7F809"),
            "owned Example containerMetadata");
}

TEST(OwnershipEvidence, AReceiptOfTheAppListsItsItems) {
  MacVolume volume;
  volume.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App"})
      .file("/Library/Application Support/Widgets/a")
      .folder("/Library/Application Support/Widgets/b");
  Mapper mapper(volume);
  ReceiptSnapshot receipts = ReceiptSnapshot::of(volume.files());
  receipts.allReceipts = [] {
    return std::vector<ReceiptInfo>{{.packageIdentifier = "org.widgets.pkg",
                                     .files = {FileURL("/Applications/Example.app/Contents/Info.plist"),
                                               FileURL("/Library/Application Support/Widgets/a")}}};
  };
  mapper.receipts = ReceiptScanner::answering(receipts);
  EXPECT_EQ(ownerOf(volume, mapper.map(), "/Library/Application Support/Widgets"), "owned Example receipt");
}

TEST(OwnershipEvidence, AJobBelongsToTheAppWhoseProgramItRuns) {
  MacVolume volume;
  volume.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App"})
      .plist("/Library/LaunchDaemons/org.daemon.plist",
             {{"Label", "org.daemon"}, {"Program", "/Applications/Example.app/Contents/MacOS/daemon"}});
  EXPECT_EQ(ownerOf(volume, Mapper(volume).map(), "/Library/LaunchDaemons/org.daemon.plist"),
            "owned Example launchdProgram");
}

TEST(OwnershipEvidence, AVendorProfileOfTheAppNamesAPath) {
  MacVolume volume;
  volume.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App"})
      .folder("~/Library/Application Support/Oddly Named");
  Mapper mapper(volume);
  mapper.profiles = {{.id = "example",
                      .displayName = "Example",
                      .match = {.bundleIDs = {"com.example.App"}},
                      .artifacts = {{.title = "Data", .paths = {"~/Library/Application Support/Oddly*"}}}}};
  EXPECT_EQ(ownerOf(volume, mapper.map(), "~/Library/Application Support/Oddly Named"), "owned Example vendorProfile");
}

TEST(OwnershipEvidence, TheLastPartOfAnIdentifierNamesTheAppHoweverLongTheIdentifierIs) {
  MacVolume volume;
  volume.app("/Applications/A.app", {.bundleIdentifier = "com.vendor-with-a-long-name.Watercolour-Painter"})
      .app("/Applications/B.app", {.bundleIdentifier = "com.v.Inkpot"})
      .folder("~/Library/Caches/Watercolour-Painter")
      .folder("~/Library/Caches/Inkpot");
  const OwnershipMap map = Mapper(volume).map();
  EXPECT_EQ(ownerOf(volume, map, "~/Library/Caches/Watercolour-Painter"), "owned A nameWithoutVersion");
  EXPECT_EQ(ownerOf(volume, map, "~/Library/Caches/Inkpot"), "owned B nameWithoutVersion");
}

}  // namespace
}  // namespace quarn::ownership_evidence_tests
