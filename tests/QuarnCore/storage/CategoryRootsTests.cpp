#include <gmock/gmock.h>

#include "QuarnPlatform/files/ReadReport.h"
#include "tests/QuarnCore/storage/DashboardVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::category_roots_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Category = StorageCategoryID;
using Paths = std::vector<std::string>;

// The roots after the first `count`, which are fixed.
Paths behind(const Paths& roots, std::size_t count) {
  EXPECT_GE(roots.size(), count);
  return {roots.begin() + static_cast<std::ptrdiff_t>(std::min(count, roots.size())), roots.end()};
}

Paths moreDocuments(const DashboardVolume& volume) { return behind(volume.roots(Category::documents), 8); }

TEST(DocumentRoots, ProvidersOfCloudStorageAreItsVisibleFolders) {
  DashboardVolume volume;
  volume.folder("~/Library/CloudStorage/Dropbox")
      .folder("~/Library/CloudStorage/Box-Box")
      .folder("~/Library/CloudStorage/.hidden")
      .file("~/Library/CloudStorage/file")
      .link("~/Library/CloudStorage/link", "/Elsewhere")
      .folder("/Elsewhere");
  EXPECT_THAT(moreDocuments(volume), ElementsAre("~/Library/CloudStorage/Box-Box", "~/Library/CloudStorage/Dropbox"));
}

TEST(DocumentRoots, VisibleHomeEntriesFollowFilesAndLinksToo) {
  DashboardVolume volume;
  volume.folder("~/Projects").file("~/notes.txt").folder("~/.hidden").folder("~/Library/CloudStorage/Box");
  volume.link("~/dangling", "nowhere").folder("~/Example.app");
  EXPECT_THAT(moreDocuments(volume),
              ElementsAre("~/Library/CloudStorage/Box", "~/Example.app", "~/Projects", "~/dangling", "~/notes.txt"));
}

TEST(DocumentRoots, KnownHomeEntriesAreSkipped) {
  DashboardVolume volume;
  for (const char* name : {"Applications", "Desktop", "Documents", "Downloads", "Games", "Library", "Movies", "Music",
                           "Pictures", "Public", ".localized", ".DS_Store"}) {
    volume.folder("~/" + std::string(name));
  }
  EXPECT_THAT(moreDocuments(volume), IsEmpty());
}

TEST(DocumentRoots, KnownNamesAreComparedExactly) {
  DashboardVolume volume;
  volume.folder("~/desktop").folder("~/MUSIC").folder("~/Movies ").folder("~/Games2");
  EXPECT_THAT(moreDocuments(volume), ElementsAre("~/Games2", "~/MUSIC", "~/Movies ", "~/desktop"));
}

TEST(DocumentRoots, RootsThatResolveAlikeAreKeptWhereTheyWereFirst) {
  DashboardVolume volume;
  volume.folder("~/Documents").link("~/docs", "Documents").link("~/again", "/Users/ann/Documents").folder("~/real");
  volume.link("~/zlink", "real");
  EXPECT_THAT(volume.roots(Category::documents)[1], "~/Documents");
  EXPECT_THAT(moreDocuments(volume), ElementsAre("~/real"));
  DashboardVolume other;
  other.link("~/Desktop", "/Users/ann/zreal").folder("~/zreal");
  EXPECT_EQ(other.roots(Category::documents)[0], "~/Desktop")
      << "the entry as it was built is kept, not what it resolves to";
  EXPECT_THAT(moreDocuments(other), IsEmpty());
}

TEST(DocumentRoots, AHomeThatIsMissingOrUnreadableContributesNothing) {
  DashboardVolume volume;
  volume.folder("~/seen").mode("~", 0000);
  {
    const UnprivilegedUser user;
    EXPECT_THAT(moreDocuments(volume), IsEmpty());
    EXPECT_THAT(volume.roots(Category::other), IsEmpty());
  }
  volume.mode("~", 0755).remove("~");
  EXPECT_THAT(moreDocuments(volume), IsEmpty());
}

TEST(OtherRoots, AreTheHiddenHomeEntriesOfNoOtherCategory) {
  DashboardVolume volume;
  volume.folder("~/.config").file("~/.zshrc").folder("~/seen").folder("~/.DS_Store").file("~/.localized");
  volume.folder("~/.Trash").folder("~/.TRASH").folder("~/.trash").folder("~/.Trash2").link("~/.link", "nowhere");
  EXPECT_THAT(volume.roots(Category::other), ElementsAre("~/.Trash2", "~/.config", "~/.link", "~/.zshrc"));
}

TEST(OtherRoots, LastComponentsOfDevelopersRootsStayWithDevelopment) {
  DashboardVolume volume;
  for (const char* name : {".gradle", ".m2", ".android", ".npm", ".cargo", ".rustup", ".pub-cache", ".composer",
                           ".cocoapods", ".vscode", ".vscode-insiders", ".Gradle", ".vendor"}) {
    volume.folder("~/" + std::string(name));
  }
  volume.folder("/opt/tool/.vendor");
  EXPECT_THAT(volume.roots(Category::other), ElementsAre("~/.Gradle", "~/.vendor", "~/.vscode", "~/.vscode-insiders"));
  volume.vendor("xcode", {"/opt/tool/.vendor"});
  EXPECT_THAT(volume.roots(Category::other), ElementsAre("~/.Gradle", "~/.vscode", "~/.vscode-insiders"))
      << "a vendor's root counts by its name, wherever it lies";
}

TEST(SystemDataRoots, OtherUsersHomesFollow) {
  DashboardVolume volume;
  volume.folder("/Users/zoe")
      .folder("/Users/Bob")
      .folder("/Users/Shared")
      .folder("/Users/Guest")
      .folder("/Users/.hidden");
  volume.folder("/Users/.localized").file("/Users/file").link("/Users/link", "Bob").folder("/Users/guest");
  EXPECT_THAT(behind(volume.roots(Category::systemData), 7), ElementsAre("/Users/Bob", "/Users/guest", "/Users/zoe"));
}

TEST(SystemDataRoots, TheInspectedHomeIsSkippedInAnyNotation) {
  DashboardVolume volume;
  volume.folder("/Users/bob");
  const auto urls = volume.dashboard(volume.files().withHome(FileURL("/Users/bob/../ann")))
                        .categoryRoots(Category::systemData, false);
  EXPECT_EQ(urls.size(), 8u);
  EXPECT_EQ(urls.back(), FileURL("/Users/bob"));
}

TEST(VendorRoots, AreThoseOfTheIndex) {
  DashboardVolume volume;
  volume.folder("~/Vendor/Chat").file("~/Vendor/Chat/file");
  volume.vendor("slack", {"~/Vendor/Chat"});
  const auto dashboard = volume.dashboard();
  EXPECT_THAT(dashboard.vendorRoots(Category::communication), ElementsAre(FileURL("/Users/ann/Vendor/Chat")));
  EXPECT_THAT(dashboard.vendorRoots(Category::games), IsEmpty());
  EXPECT_THAT(dashboard.vendorRoots(Category::free), IsEmpty());
  const auto hint = dashboard.vendorHint(FileURL("/Users/ann/Vendor/Chat/file"), Category::communication);
  ASSERT_TRUE(hint);
  EXPECT_EQ(hint->vendorID, "slack");
  EXPECT_EQ(dashboard.vendorHint(FileURL("/Users/ann/Vendor/Chat/file"), Category::games), std::nullopt);
}

TEST(MergingVendorRoots, FoldersThatOverlapARootAreNotAdded) {
  DashboardVolume volume;
  volume.folder("~/Library/Developer/Xcode")
      .folder("~/.cargo")
      .folder("~/.m2/repository")
      .folder("~/.vscode/extensions");
  volume.folder("~/.vendor").folder("~/Library/Developer2");
  volume.vendor("xcode", {"~/Library/Developer/Xcode", "~/.cargo", "~/.vscode", "~/.vendor", "~/Library/Developer2"});
  EXPECT_THAT(behind(volume.roots(Category::development), 29), ElementsAre("~/.vendor", "~/Library/Developer2"));
}

TEST(MergingVendorRoots, EachCategoryIncludesItsVendorRoots) {
  DashboardVolume volume;
  volume.folder("/V/chat").folder("/V/game").folder("/V/dev").folder("/V/photo").folder("/V/doc").folder("/V/sys");
  volume.vendor("slack", {"/V/chat"});
  volume.vendor("steam", {"/V/game"});
  volume.vendor("xcode", {"/V/dev"});
  volume.vendor("apple-photos", {"/V/photo"});
  volume.vendor("dropbox", {"/V/doc"});
  volume.vendor("safari", {"/V/sys"});
  EXPECT_THAT(behind(volume.roots(Category::communication), 23), ElementsAre("/V/chat"));
  EXPECT_THAT(volume.roots(Category::games), ElementsAre("/V/game", "~/Games"));
  EXPECT_THAT(behind(volume.roots(Category::development), 29), ElementsAre("/V/dev"));
  EXPECT_THAT(moreDocuments(volume), ElementsAre("/V/doc"));
  EXPECT_THAT(behind(volume.roots(Category::photos), 5), IsEmpty());
  EXPECT_THAT(behind(volume.roots(Category::systemData), 7), IsEmpty());
  EXPECT_THAT(behind(volume.roots(Category::apps), 4), IsEmpty());
}

TEST(MergingVendorRoots, PathsAreComparedStandardisedAndNotResolved) {
  DashboardVolume volume;
  volume.folder("~/.cargo").folder("/Real").link("~/.npm", "/Real");
  volume.vendor("xcode", {"~/./.cargo", "/Real"});
  EXPECT_THAT(behind(volume.roots(Category::development), 29), ElementsAre("/Real"));
}

TEST(MergingVendorRoots, DocumentsAndCommunicationAreMadeUniqueAfterwards) {
  DashboardVolume volume;
  volume.folder("/Real").link("~/Library/Mail", "/Real").link("~/Documents", "/Real");
  volume.vendor("slack", {"/Real"});
  volume.vendor("dropbox", {"/Real"});
  EXPECT_THAT(behind(volume.roots(Category::communication), 23), IsEmpty());
  EXPECT_THAT(moreDocuments(volume), IsEmpty());
}

TEST(GameRoots, WithoutSignaturesDiscoveryAddsNothing) {
  DashboardVolume volume;
  volume.file("/Users/Shared/Found/marker");
  EXPECT_EQ(volume.roots(Category::games, true), volume.roots(Category::games, false));
}

TEST(GameRoots, DiscoveredFoldersAreIncludedOnDemand) {
  DashboardVolume volume;
  volume.gameMarker("marker");
  volume.file("/Users/Shared/Found/marker");
  EXPECT_THAT(volume.roots(Category::games, false), ElementsAre("~/Games"));
  EXPECT_THAT(volume.roots(Category::games, true), ElementsAre("~/Games", "/Users/Shared/Found"));
}

TEST(GameRoots, AreSortedByTheLengthOfTheirResolvedPathThenByThatPath) {
  DashboardVolume volume;
  volume.folder("/Bb/steamapps").folder("/Aa/steamapps").folder("/\u00E9\u00E9/steamapps").folder("/L/steamapps");
  volume.text("/Users/Shared/Steam/steamapps/libraryfolders.vdf",
              "\"path\" \"/Bb\"\n\"path\" \"/\u00E9\u00E9\"\n\"path\" \"/Aa\"\n\"path\" \"/L\"\n");
  EXPECT_THAT(volume.roots(Category::games),
              ElementsAre("/L/steamapps", "/Aa/steamapps", "/Bb/steamapps", "/\u00E9\u00E9/steamapps", "~/Games",
                          "/Users/Shared/Steam/steamapps"));
}

TEST(GameRoots, EquallyLongPathsAreOrderedByTheirBytes) {
  DashboardVolume volume;
  volume.folder("/b/steamapps").folder("/A/steamapps").folder("/a/steamapps").folder("/B/steamapps");
  volume.folder("/\u00E9/steamapps").folder("/z/steamapps");
  volume.text(
      "/Users/Shared/Steam/steamapps/libraryfolders.vdf",
      "\"path\" \"/b\"\n\"path\" \"/\u00E9\"\n\"path\" \"/A\"\n\"path\" \"/z\"\n\"path\" \"/a\"\n\"path\" \"/B\"\n");
  EXPECT_THAT(volume.roots(Category::games),
              ElementsAre("/A/steamapps", "/B/steamapps", "/a/steamapps", "/b/steamapps", "/z/steamapps",
                          "/\u00E9/steamapps", "~/Games", "/Users/Shared/Steam/steamapps"));
}

TEST(GameRoots, OnlyOutermostOnesAreKept) {
  DashboardVolume volume;
  volume.gameMarker("marker");
  volume.file("/Users/Shared/A/marker").file("/Users/Shared/A/inner/marker").file("/Users/Shared/AB/marker");
  volume.folder("~/Games/steamapps")
      .text("/Users/Shared/Steam/steamapps/libraryfolders.vdf", "\"path\" \"/Users/ann/Games\"");
  EXPECT_THAT(volume.roots(Category::games),
              ElementsAre("/Users/Shared/A", "/Users/Shared/AB", "~/Games", "/Users/Shared/Steam/steamapps"));
}

TEST(GameRoots, LibrariesThatResolveToOneFolderAreOneRoot) {
  DashboardVolume volume;
  volume.folder("/Lib/steamapps").link("/Link", "/Lib").link("/Z", "/Lib/steamapps");
  volume.text("/Users/Shared/Steam/steamapps/libraryfolders.vdf", "\"path\" \"/Link\"\n\"path\" \"/Lib\"\n");
  EXPECT_THAT(volume.roots(Category::games), ElementsAre("/Link/steamapps", "~/Games", "/Users/Shared/Steam/steamapps"))
      << "sorted by what they resolve to, kept as they were found";
}

TEST(GameRoots, APlainRootInsideALinkedOnesTargetIsDropped) {
  DashboardVolume volume;
  volume.folder("/Big/Lib/steamapps").link("~/Games", "/Big");
  volume.text("/Users/Shared/Steam/steamapps/libraryfolders.vdf", "\"path\" \"/Big/Lib\"");
  EXPECT_THAT(volume.roots(Category::games), ElementsAre("~/Games", "/Users/Shared/Steam/steamapps"));
}

const std::string kQuarantine = "~/Library/Application Support/Quarn/Quarantine";

TEST(Quarantine, AMarkerInItMakesNoGamesRootOfItOrOfAnythingInIt) {
  DashboardVolume volume;
  volume.gameMarker("marker");
  volume.file(kQuarantine + "/marker", 1).file(kQuarantine + "/Game/marker", 2).file("/Users/Shared/Found/marker", 4);
  EXPECT_THAT(volume.roots(Category::games), ElementsAre("~/Games", "/Users/Shared/Found"));
  EXPECT_EQ(volume.scanned()[Category::games], 4);
  EXPECT_EQ(volume.scanned()[Category::systemData], 3);
}

TEST(Quarantine, NoRootOfAnyCategoryIsInsideItThroughAnyPath) {
  DashboardVolume volume;
  volume.vendor("zoom", {kQuarantine + "/Zoom"});
  volume.vendor("dropbox", {"~/linked"});
  volume.folder(kQuarantine + "/Zoom").folder(kQuarantine + "/Lib/steamapps").folder(kQuarantine + "/docs");
  volume.link("~/docs", volume.home() + kQuarantine.substr(1) + "/docs").folder("~/Notes");
  volume.text("/Users/Shared/Steam/steamapps/libraryfolders.vdf",
              "\"path\" \"" + volume.home() + kQuarantine.substr(1) + "/Lib\"\n");
  EXPECT_THAT(volume.roots(Category::games), ElementsAre("~/Games", "/Users/Shared/Steam/steamapps"));
  EXPECT_THAT(volume.roots(Category::communication), ::testing::Not(::testing::Contains(kQuarantine + "/Zoom")));
  EXPECT_THAT(moreDocuments(volume), ElementsAre("~/Notes"));
}

TEST(Quarantine, AFolderThatOnlyBeginsWithItsNameIsNotIt) {
  DashboardVolume volume;
  volume.gameMarker("marker");
  volume.folder(kQuarantine).file(kQuarantine + "d/marker");
  EXPECT_THAT(volume.roots(Category::games), ElementsAre("~/Games", kQuarantine + "d"));
}

TEST(CategoryRoots, ADashboardThatRemembersItsRootsLooksForThemOnce) {
  DashboardVolume volume;
  volume.gameMarker("marker");
  const StorageDashboardService forgetful = volume.dashboard();
  StorageDashboardService remembering = volume.dashboard();
  remembering.rememberRoots();
  const StorageDashboardService copy = remembering;
  EXPECT_THAT(volume.shortened(copy.categoryRoots(Category::games, true)), ElementsAre("~/Games"));
  volume.file("/Users/Shared/Game/marker");
  EXPECT_THAT(volume.shortened(remembering.categoryRoots(Category::games, true)), ElementsAre("~/Games"));
  EXPECT_THAT(volume.shortened(forgetful.categoryRoots(Category::games, true)),
              ElementsAre("~/Games", "/Users/Shared/Game"));
}

TEST(CategoryRoots, ListingsThatCannotBeReadAreReported) {
  DashboardVolume volume;
  volume.folder("~/Library/CloudStorage/Box").mode("~/Library/CloudStorage", 0000);
  const auto report = std::make_shared<ReadReport>();
  const auto dashboard = volume.dashboard(volume.files().reportingTo(report));
  const UnprivilegedUser user;
  EXPECT_EQ(dashboard.categoryRoots(Category::documents, false).size(), 8u);
  EXPECT_THAT(report->items(),
              ElementsAre(UnreadableItem{
                  .path = "/Users/ann/Library/CloudStorage", .cause = UnreadableCause::permission, .error = EACCES}));
}

}  // namespace
}  // namespace quarn::category_roots_tests
