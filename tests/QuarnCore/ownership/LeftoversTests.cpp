#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/ownership/Leftovers.h"
#include "tests/QuarnCore/ownership/Owners.h"
#include "tests/support/MemoryVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::leftovers_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

std::vector<Leftover> leftovers(const Mapper& mapper, bool computeSizes = false) {
  return findLeftovers(mapper.map(), {.computeSizes = computeSizes}, mapper.files,
                       FileSizeCalculator::live(mapper.files));
}

std::vector<std::string> paths(const Leftover& leftover) {
  std::vector<std::string> result;
  for (const LeftoverItem& item : leftover.items) result.push_back(item.url.path());
  return result;
}

TEST(Leftovers, AreGroupedByTheirFormerOwner) {
  MacVolume volume;
  volume.file("~/Library/Caches/com.gone.Editor/a", 8_KiB)
      .file("~/Library/Preferences/com.gone.Editor.helper.plist")
      .folder("~/Library/Application Support/Editor")
      .folder("~/Library/Saved Application State/org.old.Player.savedState");
  const std::vector<Leftover> found = leftovers(Mapper(volume), /*computeSizes=*/true);
  ASSERT_THAT(found, SizeIs(2));
  EXPECT_EQ(found[0].owner.name, "Editor");
  EXPECT_EQ(found[0].owner.bundleIdentifier, "com.gone.Editor");
  EXPECT_THAT(paths(found[0]), ElementsAre("/Users/ann/Library/Application Support/Editor",
                                           "/Users/ann/Library/Preferences/com.gone.Editor.helper.plist",
                                           "/Users/ann/Library/Caches/com.gone.Editor"));
  EXPECT_EQ(found[0].size, (SizeInfo{8_KiB, 8_KiB}));
  EXPECT_EQ(found[1].owner.name, "org.old.Player");
}

TEST(Leftovers, AnInstalledAppAndTheSystemLeaveNone) {
  MacVolume volume;
  volume.app("/Applications/Editor.app", {.bundleIdentifier = "com.here.Editor"})
      .folder("~/Library/Caches/com.here.Editor")
      .folder("~/Library/Caches/com.here.Editor.ShipIt")
      .file("~/Library/Preferences/com.apple.finder.plist")
      .file("~/Library/Preferences/com.other-vendor.Editor.plist")
      .folder("~/Library/Application Support/AddressBook")
      .folder("~/Library/Application Support/Some Words")
      .folder("~/Library/Biome")
      .folder("~/Documents/com.gone.Project");
  EXPECT_THAT(leftovers(Mapper(volume)), IsEmpty());
}

TEST(Leftovers, AnIdentifierThatBeginsWithAnInstalledAppsNameIsNotCalledOne) {
  MacVolume volume;
  volume.app("/Applications/Quillpen.app", {.bundleIdentifier = "com.here.quill"})
      .file("~/Library/Preferences/org.elsewhere.QuillpenSync.plist");
  EXPECT_THAT(leftovers(Mapper(volume)), IsEmpty());
}

TEST(Leftovers, OfAnInstalledVendorAreThoseOfAppsThatHadAContainer) {
  MacVolume volume;
  volume.app("/Applications/Editor.app", {.bundleIdentifier = "com.here.Editor"})
      .folder("~/Library/Containers/com.here.Player")
      .file("~/Library/Preferences/com.here.Player.plist")
      .file("~/Library/Preferences/com.here.Painter.plist")
      .folder("~/Library/Containers/com.here.Sketch.Share")
      .folder("~/Library/Containers/com.here");
  // So many different identifiers cannot all be the installed app's.
  for (const char* name : {"Etcher", "Sampler", "Tuner", "Weaver"}) {
    volume.file(std::string("~/Library/Preferences/com.here.") + name + ".plist");
  }
  const std::vector<Leftover> found = leftovers(Mapper(volume));
  ASSERT_THAT(found, SizeIs(1));
  EXPECT_EQ(found[0].owner.bundleIdentifier, "com.here.Player");
  EXPECT_THAT(found[0].items, SizeIs(2));
}

TEST(Leftovers, AnIdentifierThatHoldsTheReducedNameOfAnInstalledAppIsNotOneUnlessItIsShort) {
  MacVolume volume;
  volume.app("/Applications/Quill Pro.app", {.bundleIdentifier = "com.here.one"})
      .app("/Applications/Inks Pro.app", {.bundleIdentifier = "com.there.two"})
      .file("~/Library/Preferences/org.elsewhere.Quill.plist")
      .file("~/Library/Preferences/org.nowhere.Inks.plist");
  const std::vector<Leftover> found = leftovers(Mapper(volume));
  ASSERT_THAT(found, SizeIs(1));
  EXPECT_EQ(found[0].owner.bundleIdentifier, "org.nowhere.Inks");
}

TEST(Leftovers, ANameWithADotIsAnIdentifierWhereEntriesAreNamedByIdentifiers) {
  MacVolume volume;
  volume.folder("~/Library/Containers/one.editor")
      .folder("~/Library/Group Containers/two.editor")
      .folder("~/Library/Saved Application State/three.editor.savedState")
      .folder("~/Library/HTTPStorages/four.editor")
      .folder("~/Library/WebKit/five.editor")
      .file("~/Library/Cookies/six.editor.binarycookies")
      .folder("~/Library/Caches/seven.editor")
      .folder("~/Library/Application Support/eight.editor");
  std::vector<std::string> owners;
  for (const Leftover& leftover : leftovers(Mapper(volume))) owners.push_back(leftover.owner.name);
  EXPECT_THAT(owners, UnorderedElementsAre("one.editor", "two.editor", "three.editor", "four.editor", "five.editor",
                                           "six.editor"));
}

TEST(Leftovers, AJobWhoseProgramIsGoneIsOne) {
  MacVolume volume;
  volume.executable("/usr/local/bin/tool")
      .plist("/Library/LaunchDaemons/x.gone.plist",
             {{"Label", "Gone Daemon"}, {"Program", "/Applications/Gone.app/Contents/MacOS/d"}})
      .plist("/Library/LaunchDaemons/org.works.tool.plist",
             {{"Label", "org.works.tool"}, {"Program", "/usr/local/bin/tool"}});
  const std::vector<Leftover> found = leftovers(Mapper(volume));
  ASSERT_THAT(found, SizeIs(1));
  EXPECT_EQ(found[0].owner.name, "Gone");
  EXPECT_THAT(paths(found[0]), ElementsAre("/Library/LaunchDaemons/x.gone.plist"));
}

TEST(Leftovers, AReceiptWhoseAppIsGoneNamesItsFiles) {
  MacVolume volume;
  volume.file("/Library/Application Support/Widgets/a");
  Mapper mapper(volume);
  ReceiptSnapshot receipts = ReceiptSnapshot::of(volume.files());
  receipts.allReceipts = [] {
    return std::vector<ReceiptInfo>{{.packageIdentifier = "org.widgets.pkg",
                                     .files = {FileURL("/Applications/Widget Maker.app/Contents/Info.plist"),
                                               FileURL("/Library/Application Support/Widgets/a")}}};
  };
  mapper.receipts = ReceiptScanner::answering(receipts);
  const std::vector<Leftover> found = leftovers(mapper);
  ASSERT_THAT(found, SizeIs(1));
  EXPECT_EQ(found[0].owner.name, "Widget Maker");
}

TEST(Leftovers, AProfileWhoseAppIsAbsentNamesItsFiles) {
  MacVolume volume;
  volume.folder("~/Library/Application Support/Odd");
  Mapper mapper(volume);
  mapper.profiles = {{.id = "odd",
                      .displayName = "Odd Player",
                      .match = {.bundleIDs = {"com.odd.Player"}},
                      .artifacts = {{.kind = ArtifactKind::appBundle, .paths = {"/Applications/Odd.app"}},
                                    {.title = "Data", .paths = {"~/Library/Application Support/Odd"}}}}};
  const std::vector<Leftover> found = leftovers(mapper);
  ASSERT_THAT(found, SizeIs(1));
  EXPECT_EQ(found[0].owner, (FormerOwner{.name = "Odd Player", .bundleIdentifier = "com.odd.Player"}));
}

TEST(Leftovers, AContainersMetadataNamesTheAppThatIsGone) {
  MacVolume volume;
  volume.plist("~/Library/Containers/1A2B3C4D-5E6F-7081-92A3-B4C5D6E7F809/.com.apple.containermanagerd.metadata.plist",
               {{"MCMMetadataIdentifier", "com.gone.Editor"}});
  const std::vector<Leftover> found = leftovers(Mapper(volume));
  ASSERT_THAT(found, SizeIs(1));
  EXPECT_EQ(found[0].owner.name, "com.gone.Editor");
}

TEST(Leftovers, TellTheNewestChangeOfAllThatIsInThem) {
  MacVolume volume;
  volume.file("~/Library/Caches/com.gone.Editor/deep/a")
      .file("~/Library/Caches/com.gone.Editor/b")
      .modified("~/Library/Caches/com.gone.Editor/deep/a", 2'000'000'000)
      .modified("~/Library/Caches/com.gone.Editor/b", 1'000'000'000);
  const std::vector<Leftover> found = leftovers(Mapper(volume));
  ASSERT_THAT(found, SizeIs(1));
  EXPECT_EQ(found[0].modified, Date(std::chrono::seconds(2'000'000'000)));
}

TEST(Leftovers, AFileHasItsOwnTimeAndItsSizeOnlyIfItIsAskedFor) {
  MacVolume volume;
  volume.file("~/Library/Preferences/com.gone.Editor.plist", 8_KiB)
      .modified("~/Library/Preferences/com.gone.Editor.plist", 1'700'000'000);
  for (const bool computeSizes : {false, true}) {
    const std::vector<Leftover> found = leftovers(Mapper(volume), computeSizes);
    ASSERT_THAT(found, SizeIs(1));
    EXPECT_EQ(found[0].modified, Date(std::chrono::seconds(1'700'000'000)));
    EXPECT_EQ(found[0].size, computeSizes ? std::optional(SizeInfo{8_KiB, 8_KiB}) : std::nullopt);
  }
}

TEST(Leftovers, TellTheChangeOfAFolderThatCannotBeRead) {
  const std::string leftover = "~/Library/Caches/com.gone.Editor";
  for (const std::string& closed : {leftover, leftover + "/deep/closed"}) {
    MacVolume volume;
    volume.file(closed + "/a").mode(closed, 0000).modified(closed, 2'000'000'000);
    std::vector<Leftover> found;
    {
      const UnprivilegedUser user;
      found = leftovers(Mapper(volume));
    }
    volume.mode(closed, 0755);
    ASSERT_THAT(found, SizeIs(1)) << closed;
    EXPECT_EQ(found[0].modified, Date(std::chrono::seconds(2'000'000'000))) << closed;
  }
}

TEST(Leftovers, TellTheChangeOfAFolderAndOfHiddenItemsInThem) {
  MacVolume volume;
  volume.folder("~/Library/Caches/com.gone.Editor/deep").file("~/Library/Caches/org.old.Player/.a/.b");
  for (const char* path : {"org.old.Player/.a/.b", "org.old.Player/.a", "org.old.Player", "com.gone.Editor"}) {
    volume.modified(std::string("~/Library/Caches/") + path, 1'000);
  }
  volume.modified("~/Library/Caches/com.gone.Editor/deep", 2'000'000'000);
  volume.modified("~/Library/Caches/org.old.Player/.a/.b", 1'900'000'000);
  const std::vector<Leftover> found = leftovers(Mapper(volume));
  ASSERT_THAT(found, SizeIs(2));
  EXPECT_EQ(found[0].modified, Date(std::chrono::seconds(2'000'000'000)));
  EXPECT_EQ(found[1].modified, Date(std::chrono::seconds(1'900'000'000)));
}

TEST(Leftovers, WhoseFilesAreTooLargeToAddUpHaveNoChangeAndLoseNoOthers) {
  MacVolume volume = volumeInMemory();
  constexpr std::int64_t kLargest = std::numeric_limits<std::int64_t>::max();
  volume.sparse("~/Library/Caches/com.gone.Editor/a", kLargest).sparse("~/Library/Caches/com.gone.Editor/b", kLargest);
  volume.file("~/Library/Caches/org.old.Player/a");
  const std::vector<Leftover> found = leftovers(Mapper(volume));
  ASSERT_THAT(found, SizeIs(2));
  EXPECT_FALSE(found[0].modified.has_value());
  EXPECT_TRUE(found[1].modified.has_value());
}

TEST(Leftovers, ALinkInThemIsNoChange) {
  MacVolume volume;
  volume.file("~/Library/Caches/com.gone.Editor/a").link("~/Library/Caches/com.gone.Editor/link", "/nowhere");
  volume.modified("~/Library/Caches/com.gone.Editor/a", 2'000).modified("~/Library/Caches/com.gone.Editor", 1'000);
  const std::vector<Leftover> found = leftovers(Mapper(volume));
  ASSERT_THAT(found, SizeIs(1));
  EXPECT_EQ(found[0].modified, Date(std::chrono::seconds(2'000)));
}

TEST(Leftovers, AFolderThatHoldsAnInstalledAppsEntryIsNotOne) {
  MacVolume volume;
  volume.app("/Applications/Example Painter.app", {.bundleIdentifier = "com.painter.App"})
      .folder("~/Library/Application Support/org.gone.Player")
      .folder("~/Library/Application Support/Example/Painter");
  Mapper mapper(volume);
  mapper.profiles = {{.id = "odd",
                      .displayName = "Odd",
                      .match = {.bundleIDs = {"org.odd"}},
                      .artifacts = {{.kind = ArtifactKind::appBundle, .paths = {"/Applications/Odd.app"}},
                                    {.kind = ArtifactKind::applicationSupport,
                                     .dataClass = ArtifactDataClass::userData,
                                     .paths = {"~/Library/Application Support/Example"}}}}};
  const std::vector<Leftover> found = leftovers(mapper);
  ASSERT_THAT(found, SizeIs(1));
  EXPECT_EQ(found[0].owner.name, "org.gone.Player");
  volume.remove("~/Library/Application Support/Example/Painter");
  EXPECT_THAT(leftovers(mapper), SizeIs(2));
}

TEST(Leftovers, AVendorThatIsCalledLikeItsOnlyAppLeftNoOther) {
  MacVolume volume;
  volume.app("/Applications/Quillpen Studio.app", {.bundleIdentifier = "org.quillpen.desk"})
      .folder("~/Library/Saved Application State/com.quillpen.feather.savedState")
      .folder("~/Library/WebKit/com.quillpen.feather");
  EXPECT_THAT(leftovers(Mapper(volume)), IsEmpty());
  volume.remove("/Applications/Quillpen Studio.app");
  volume.app("/Applications/Desk.app", {.bundleIdentifier = "org.quillpen.desk"});
  EXPECT_THAT(leftovers(Mapper(volume)), SizeIs(1));
}

TEST(Leftovers, ASingleIdentifierCountsOnlyInThePlacesOfEveryApp) {
  MacVolume volume;
  volume.folder("~/.config/org.gone.tool");
  EXPECT_THAT(leftovers(Mapper(volume)), IsEmpty());
  volume.file("~/Library/Preferences/org.gone.tool.plist");
  const std::vector<Leftover> found = leftovers(Mapper(volume));
  ASSERT_THAT(found, SizeIs(1));
  EXPECT_THAT(found[0].items, SizeIs(2));
}

TEST(Leftovers, InAFolderThatAppsShareTheEntriesCountOneByOne) {
  MacVolume volume;
  volume.app("/Applications/Editor.app", {.bundleIdentifier = "com.here.Editor"})
      .folder("~/Library/Caches/io.frame.work/com.here.Editor")
      .folder("~/Library/Caches/io.frame.work/org.gone.Player")
      .folder("~/Library/Caches/io.frame.work/settings");
  const Mapper mapper(volume);
  const std::vector<Leftover> found = leftovers(mapper);
  ASSERT_THAT(found, SizeIs(1));
  EXPECT_THAT(paths(found[0]), ElementsAre("/Users/ann/Library/Caches/io.frame.work/org.gone.Player"));
  const OwnershipMap map = mapper.map();
  EXPECT_EQ(ownerOf(volume, map, "~/Library/Caches/io.frame.work/com.here.Editor/x"), "owned Editor identifier");
  EXPECT_EQ(ownerOf(volume, map, "~/Library/Caches/io.frame.work/settings"), "unknown");
  volume.remove("~/Library/Caches/io.frame.work/com.here.Editor");
  const std::vector<Leftover> alone = leftovers(mapper);
  ASSERT_THAT(alone, SizeIs(1));
  EXPECT_THAT(paths(alone[0]), ElementsAre("/Users/ann/Library/Caches/io.frame.work"));
}

}  // namespace
}  // namespace quarn::leftovers_tests
