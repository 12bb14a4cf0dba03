#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/vendors/UninstallerDiscoveryService.h"
#include "tests/support/MacVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::uninstaller_discovery_service_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kBundle = "/Applications/Example/Example.app";
const std::string kResources = kBundle + "/Contents/Resources/";

AppEntity appAt(const std::string& path, const std::string& name = "Example") {
  return {.name = name, .bundleIdentifier = std::nullopt, .bundleURL = FileURL(path), .id = path};
}

std::vector<UninstallerCandidate> find(const MacVolume& volume, const AppEntity& app = appAt(kBundle)) {
  return UninstallerDiscoveryService(volume.files()).findUninstallers(app);
}

std::vector<std::string> names(const std::vector<UninstallerCandidate>& candidates) {
  std::vector<std::string> result;
  for (const UninstallerCandidate& candidate : candidates) result.push_back(candidate.name);
  return result;
}

TEST(UninstallerDiscovery, ACandidateIsACompleteRecord) {
  MacVolume volume;
  volume.folder(kResources + "Uninstall.pkg").executable("/Applications/Example/remove-it");
  EXPECT_THAT(find(volume),
              ElementsAre(UninstallerCandidate{FileURL(kResources + "Uninstall.pkg"), "Uninstall.pkg", 1.0},
                          UninstallerCandidate{FileURL("/Applications/Example/remove-it"), "remove-it", 0.7}));
}

TEST(UninstallerDiscovery, ANameMatchesIfItsKeyContainsAToken) {
  const std::vector<std::pair<std::string, bool>> rows{
      {"Uninstall Example.app", true},
      {"Example-Deinstaller.app", true},
      {"Remove_Example.command", true},
      {"Clean Up Example.app", true},
      {"uninstall.app", true},
      {"UNINSTALLER.app", true},
      {"Un-In_St all.app", true},
      {"Ünïnstáll.app", true},
      {"Premover.app", true},
      {"deinstall.app", true},
      {"MyCleaner.app", true},
      {"cleanup.app", true},
      {"Clean.app", false},
      {"Install.app", false},
      {"Un.install.app", false},
      {"Remov.app", false},
      {"Delete Example.app", false},
      {"Example.app", false},
  };
  for (const auto& [name, passes] : rows) {
    MacVolume volume;
    volume.folder(kResources + name);
    EXPECT_EQ(find(volume).size(), passes ? 1U : 0U) << name;
  }
}

TEST(UninstallerDiscovery, AnItemIsLaunchableByItsExtensionOrAsAnExecutableFile) {
  MacVolume volume;
  const std::string folder = kResources;
  volume.file(folder + "uninstall a.APP")
      .file(folder + "uninstall b.Pkg")
      .file(folder + "uninstall c.command")
      .file(folder + "uninstall d.mpkg")
      .file(folder + "uninstall e.sh")
      .executable(folder + "uninstall f.sh")
      .executable(folder + "uninstall g")
      .file(folder + "uninstall h")
      .folder(folder + "uninstall i")
      .link(folder + "uninstall j.app", "nowhere")
      .link(folder + "uninstall k", "uninstall g")
      .link(folder + "uninstall l", "uninstall h")
      .link(folder + "uninstall m", "uninstall i")
      .fifo(folder + "uninstall n");
  volume.file(folder + "uninstall o").mode(folder + "uninstall o", 0001);
  EXPECT_THAT(names(find(volume)),
              ElementsAre("uninstall a.APP", "uninstall b.Pkg", "uninstall c.command", "uninstall f.sh", "uninstall g",
                          "uninstall j.app", "uninstall k", "uninstall o"));
}

TEST(UninstallerDiscovery, AScriptInsideTheBundleIsFoundOnlyIfItIsExecutable) {
  MacVolume volume;
  volume.file(kResources + "uninstall.sh");
  EXPECT_THAT(find(volume), IsEmpty());
  volume.mode(kResources + "uninstall.sh", 0755);
  EXPECT_THAT(names(find(volume)), ElementsAre("uninstall.sh"));
}

TEST(UninstallerDiscovery, HiddenItemsAndContentOfPackagesAreSkipped) {
  MacVolume volume;
  volume.folder(kResources + ".Uninstall.app")
      .folder(kResources + ".hidden/Uninstall.app")
      .folder(kResources + "Helper.app/Contents/Uninstall.app")
      .folder(kResources + "Uninstall Helper.app/Contents/Remove.app")
      .folder(kResources + "deep/er/Uninstall.pkg")
      .folder("/Applications/Example/.Uninstall.app")
      .folder("/Applications/Example/Folder/Uninstall.app");
  EXPECT_THAT(names(find(volume)), ElementsAre("Uninstall Helper.app", "Uninstall.pkg"));
}

TEST(UninstallerDiscovery, AnItemBesideTheAppThatNamesItScoresHigher) {
  MacVolume volume;
  volume.app("/Applications/Example.app").folder("/Applications/Example Uninstaller.app");
  volume.folder("/Applications/Other Cleaner.app");
  EXPECT_THAT(find(volume, appAt("/Applications/Example.app")),
              ElementsAre(UninstallerCandidate{FileURL("/Applications/Example Uninstaller.app"),
                                               "Example Uninstaller.app", 0.8},
                          UninstallerCandidate{FileURL("/Applications/Other Cleaner.app"), "Other Cleaner.app", 0.7}));
}

TEST(UninstallerDiscovery, BothNamesAreComparedAsKeysTheEntrysWithItsExtension) {
  struct Row {
    std::string app;
    std::string entry;
    double confidence;
  };
  const std::vector<Row> rows{
      {"Example", "Uninstall Example.app", 0.8},  {"EX-AM PLE", "Uninstall_exam-ple.app", 0.8},
      {"Exämple", "Remove EXAMPLE.command", 0.8}, {"Exam", "Uninstall Example.app", 0.8},
      {"Exa", "Uninstall Example.app", 0.7},      {"E-x_a", "Uninstall Example.app", 0.7},
      {"", "Uninstall Example.app", 0.7},         {"Other", "Uninstall Example.app", 0.7},
      {"e.app", "Uninstall Example.app", 0.8},    {"install", "Uninstall.app", 0.8},
      {"日本語", "Uninstall 日本語.app", 0.7},    {"日本語版", "Uninstall 日本語版.app", 0.8},
  };
  for (const Row& row : rows) {
    MacVolume volume;
    volume.folder("/Applications/" + row.entry);
    const std::vector<UninstallerCandidate> found = find(volume, appAt("/Applications/X.app", row.app));
    ASSERT_EQ(found.size(), 1U) << row.entry;
    EXPECT_EQ(found[0].confidence, row.confidence) << row.app << " and " << row.entry;
  }
}

TEST(UninstallerDiscovery, TheBundleItselfMatchesOnlyIfItsNameContainsAToken) {
  MacVolume volume;
  volume.app("/Applications/Example.app").app("/Applications/My Cleaner.app");
  EXPECT_THAT(names(find(volume, appAt("/Applications/Example.app"))), ElementsAre("My Cleaner.app"));
  // With such a name, the executable in the bundle matches too.
  EXPECT_THAT(names(find(volume, appAt("/Applications/My Cleaner.app", "My Cleaner"))),
              ElementsAre("My Cleaner", "My Cleaner.app"));
}

TEST(UninstallerDiscovery, CandidatesAreSortedByConfidenceAndThenByName) {
  MacVolume volume;
  volume.folder("/Applications/Example/z cleaner.app")
      .folder("/Applications/Example/A Cleaner.app")
      .folder("/Applications/Example/b cleaner.app")
      .folder("/Applications/Example/Uninstall Example.app")
      .folder(kResources + "é remove.app")
      .folder(kResources + "f remove.app")
      .folder(kResources + "E Remove.app");
  EXPECT_THAT(names(find(volume)), ElementsAre("E Remove.app", "é remove.app", "f remove.app", "Uninstall Example.app",
                                               "A Cleaner.app", "b cleaner.app", "z cleaner.app"));
}

TEST(UninstallerDiscovery, EqualNamesKeepTheOrderInWhichTheyWereFound) {
  MacVolume volume;
  volume.folder(kResources + "b/UNINSTALL.app")
      .folder(kResources + "a/Uninstall.app")
      .folder(kResources + "c/uninstall.app");
  EXPECT_THAT(names(find(volume)), ElementsAre("Uninstall.app", "UNINSTALL.app", "uninstall.app"));
}

TEST(UninstallerDiscovery, AnItemReachedByBothSourcesAppearsOnceWithTheHigherConfidence) {
  MacVolume volume;
  volume.folder("/Uninstall Example.app");
  EXPECT_THAT(find(volume, appAt("/")),
              ElementsAre(UninstallerCandidate{FileURL("/Uninstall Example.app"), "Uninstall Example.app", 1.0}));
}

TEST(UninstallerDiscovery, AnAppWithoutItsBundleHasOnlyUninstallersBesideIt) {
  MacVolume volume;
  EXPECT_THAT(find(volume), IsEmpty());
  volume.folder("/Applications/Example/Uninstall.app");
  EXPECT_THAT(names(find(volume)), ElementsAre("Uninstall.app"));
}

TEST(UninstallerDiscovery, ABundleThatIsALinkIsNotWalked) {
  MacVolume volume;
  volume.folder("/elsewhere/Uninstall.app").link("/Applications/X.app", "/elsewhere");
  EXPECT_THAT(find(volume, appAt("/Applications/X.app")), IsEmpty());
}

TEST(UninstallerDiscovery, AFolderThatContainsTheAppThroughALinkIsListed) {
  MacVolume volume;
  volume.folder("/elsewhere/Uninstall.app").link("/Applications/Linked", "/elsewhere");
  EXPECT_THAT(find(volume, appAt("/Applications/Linked/X.app")),
              ElementsAre(UninstallerCandidate{FileURL("/Applications/Linked/Uninstall.app"), "Uninstall.app", 0.7}));
}

TEST(UninstallerDiscovery, UnreadableItemsAreSkipped) {
  MacVolume volume;
  volume.folder(kResources + "a/Uninstall.app")
      .folder(kResources + "b/Uninstall.pkg")
      .folder("/locked/Uninstall.app")
      .mode(kResources + "a", 0000)
      .mode("/locked", 0000);
  const UnprivilegedUser user;
  EXPECT_THAT(names(find(volume)), ElementsAre("Uninstall.pkg"));
  EXPECT_THAT(find(volume, appAt("/locked/X.app")), IsEmpty());
}

TEST(UninstallerDiscovery, OfABigBundleOnlyTheFirst20000EntriesCount) {
  MacVolume volume;
  // Entry 1 is "a", the files in it are entries 2 to 19,999.
  volume.folder("/Applications/X.app/a");
  const std::string folder = volume.host("/Applications/X.app/a/");
  for (int i = 2; i < 20'000; ++i) ASSERT_TRUE(std::ofstream(folder + std::to_string(i)));
  volume.folder("/Applications/X.app/b remove.app").folder("/Applications/X.app/c remove.app");
  volume.file("/Applications/X.app/.hidden").folder("/Applications/X.app/.more/remove.app");
  EXPECT_THAT(names(find(volume, appAt("/Applications/X.app"))), ElementsAre("b remove.app"));
}

// More than sixteen, because std::sort uses insertion sort for shorter lists, which is stable.
TEST(UninstallerDiscovery, FortyEqualNamesKeepTheirOrder) {
  MacVolume volume;
  std::vector<std::string> expected;
  for (int i = 10; i < 50; ++i) {
    expected.push_back(kResources + std::to_string(i) + "/Uninstall.command");
    volume.file(expected.back());
  }
  std::vector<std::string> found;
  for (const UninstallerCandidate& candidate : find(volume)) found.push_back(candidate.url.path());
  EXPECT_EQ(found, expected);
}

}  // namespace
}  // namespace quarn::uninstaller_discovery_service_tests
