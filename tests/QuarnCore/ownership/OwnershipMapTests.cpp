#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/ownership/OwnershipMap.h"
#include "tests/QuarnCore/ownership/Owners.h"

namespace quarn::ownership_map_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

TEST(OwnershipMap, TheStrongestEvidenceWinsAndTheLoserIsARival) {
  MacVolume volume;
  volume.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App"})
      .app("/Applications/Other.app", {.bundleIdentifier = "com.other.App", .name = "com.example.App"})
      .folder("~/Library/Caches/com.example.App");
  const Ownership ownership = Mapper(volume).map().owners(volume.url("~/Library/Caches/com.example.App"));
  EXPECT_EQ(ownerLine(ownership), "owned Example identifier");
  ASSERT_THAT(ownership.rivals, SizeIs(1));
  EXPECT_EQ(ownership.rivals.front().appName, "com.example.App");
  EXPECT_EQ(ownership.rivals.front().evidence, EvidenceKind::name);
  EXPECT_LT(ownership.rivals.front().confidence, ownership.confidence);
}

TEST(OwnershipMap, AnEntryWithoutRivalsHasEverythingElse) {
  MacVolume volume;
  volume.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App"})
      .app("/Applications/Other.app", {.bundleIdentifier = "com.other.App", .name = "com.example.App"})
      .folder("~/Library/Caches/com.example.App")
      .folder("~/Library/Caches/com.gone.Sketcher");
  const OwnershipMap map = Mapper(volume).map();
  std::size_t rivals = 0;
  for (std::size_t i = 0; i < map.size(); ++i) {
    Ownership expected = map.ownership(i);
    rivals += expected.rivals.size();
    expected.rivals.clear();
    EXPECT_EQ(map.ownershipWithoutRivals(i), expected);
  }
  EXPECT_EQ(rivals, 1u);
}

TEST(OwnershipMap, EqualEvidenceSharesAnEntry) {
  MacVolume volume;
  volume.app("/Applications/Notes.app", {.bundleIdentifier = "com.one.a"})
      .app("/Applications/More/Notes.app", {.bundleIdentifier = "com.two.b"})
      .folder("~/Library/Application Support/Notes");
  EXPECT_EQ(ownerOf(volume, Mapper(volume).map(), "~/Library/Application Support/Notes"), "shared Notes Notes name");
}

TEST(OwnershipMap, AVendorsFolderIsSearched) {
  MacVolume volume;
  volume.app("/Applications/Acme Draw.app", {.bundleIdentifier = "com.acme.draw"})
      .app("/Applications/Acme Write.app", {.bundleIdentifier = "com.acme.write"})
      .folder("~/Library/Application Support/Acme/Draw")
      .folder("~/Library/Application Support/Acme/Acme Write 3")
      .folder("~/Library/Application Support/Acme/Common");
  const OwnershipMap map = Mapper(volume).map();
  EXPECT_EQ(ownerOf(volume, map, "~/Library/Application Support/Acme/Draw/file"), "owned Acme Draw name");
  EXPECT_EQ(ownerOf(volume, map, "~/Library/Application Support/Acme/Acme Write 3"),
            "owned Acme Write nameWithoutVersion");
  EXPECT_EQ(ownerOf(volume, map, "~/Library/Application Support/Acme/Common"),
            ownerOf(volume, map, "~/Library/Application Support/Acme"));
}

TEST(OwnershipMap, AVendorsFolderIsFoundByTheFirstWordOfAName) {
  MacVolume volume;
  volume.app("/Applications/Acme Draw.app", {.bundleIdentifier = "com.studio.one"})
      .folder("~/Library/Application Support/Acme/Acme Draw")
      .folder("~/Library/Caches/Acme/Draw")
      .folder("~/Library/Logs/Studio/Draw");
  const OwnershipMap map = Mapper(volume).map();
  EXPECT_EQ(ownerOf(volume, map, "~/Library/Application Support/Acme/Acme Draw"), "owned Acme Draw name");
  EXPECT_EQ(ownerOf(volume, map, "~/Library/Caches/Acme/Draw"), "owned Acme Draw name");
  EXPECT_EQ(ownerOf(volume, map, "~/Library/Logs/Studio/Draw"), "owned Acme Draw name");
}

TEST(OwnershipMap, APathHoldsEntriesOfOthersWhenAnyAppButTheGivenOneOwnsThem) {
  MacVolume volume;
  volume.app("/Applications/Notes.app", {.bundleIdentifier = "com.one.a"})
      .app("/Applications/More/Notes.app", {.bundleIdentifier = "com.two.b"})
      .folder("~/Library/Application Support/Notes")
      .folder("~/Library/Caches/com.one.a")
      .folder("~/Library/Logs/Unknown Thing");
  const OwnershipMap map = Mapper(volume).map();
  for (const char* bundle : {"/Applications/Notes.app", "/Applications/More/Notes.app"}) {
    EXPECT_TRUE(map.holdsEntriesOfOthers("/Users/ann/Library/Application Support/Notes", FileURL(bundle))) << bundle;
    EXPECT_FALSE(map.holdsEntriesOfOthers("/Users/ann/Library/Logs/Unknown Thing", FileURL(bundle))) << bundle;
  }
  EXPECT_FALSE(map.holdsEntriesOfOthers("/Users/ann/Library/Caches/com.one.a", FileURL("/Applications/Notes.app")));
  EXPECT_TRUE(map.holdsEntriesOfOthers("/Users/ann/Library/Caches/com.one.a", FileURL("/Applications/More/Notes.app")));
}

TEST(OwnershipMap, AFolderThatIsNotAVendorsIsNotSearched) {
  MacVolume volume;
  volume.app("/Applications/Example.app", {.bundleIdentifier = "com.studio.one"})
      .folder("~/Library/Application Support/Random Words/Example")
      .folder("~/Library/Application Support/Random Words/com.studio.one");
  const OwnershipMap map = Mapper(volume).map();
  EXPECT_EQ(map.size(), 1U);
  EXPECT_EQ(ownerOf(volume, map, "~/Library/Application Support/Random Words/Example"), "unknown");
}

TEST(OwnershipMap, AVendorsFolderHoldsOnlyTheEntriesInIt) {
  MacVolume volume;
  volume.app("/Applications/Acme Draw.app", {.bundleIdentifier = "com.acme.draw"})
      .app("/Applications/Zeta Write.app", {.bundleIdentifier = "com.zeta.write"})
      .folder("~/Library/Application Support/Acme/Draw")
      .folder("~/Library/Application Support/Zeta/Write");
  const OwnershipMap map = Mapper(volume).map();
  const FileURL draw("/Applications/Acme Draw.app");
  EXPECT_FALSE(map.holdsEntriesOfOthers("/Users/ann/Library/Application Support/Acme", draw));
  EXPECT_TRUE(map.holdsEntriesOfOthers("/Users/ann/Library/Application Support/Zeta", draw));
}

TEST(OwnershipMap, ItemsInAnEntryBelongToItsOwnerUnlessAnotherIdentifierNamesThem) {
  MacVolume volume;
  volume.app("/Applications/Browser.app", {.bundleIdentifier = "com.browser.Browser"})
      .app("/Applications/Vault.app", {.bundleIdentifier = "com.vault.Vault"})
      .file("~/Library/Application Support/Browser/NativeMessagingHosts/com.vault.vault.json")
      .file("~/Library/Application Support/Browser/History");
  const OwnershipMap map = Mapper(volume).map();
  EXPECT_EQ(ownerOf(volume, map, "~/Library/Application Support/Browser/History"), "owned Browser name");
  const Ownership inner =
      map.owners(volume.url("~/Library/Application Support/Browser/NativeMessagingHosts/com.vault.vault.json"));
  EXPECT_EQ(ownerLine(inner), "owned Vault identifier");
  ASSERT_THAT(inner.rivals, SizeIs(1));
  EXPECT_EQ(inner.rivals.front().appName, "Browser");
}

TEST(OwnershipMap, APathInABundleBelongsToTheApp) {
  MacVolume volume;
  volume.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App"});
  EXPECT_EQ(ownerOf(volume, Mapper(volume).map(), "/Applications/Example.app/Contents/Info.plist"),
            "owned Example inside");
}

TEST(OwnershipMap, APathOutsideEveryPlaceIsUnknown) {
  const MacVolume volume;
  EXPECT_EQ(ownerOf(volume, Mapper(volume).map(), "/opt/tool"), "unknown");
}

TEST(OwnershipMap, NoAppOwnsASharedParentWhateverTheAppsName) {
  MacVolume volume;
  int number = 0;
  for (const char* name : {"Library", ".config", "config", ".ssh", "Caches", "Preferences", "Documents", ".local",
                           "Application Support", "Shared", "ByHost", ".cache", "Music", "Downloads"}) {
    ++number;
    volume.app("/Applications/" + std::to_string(number) + "/" + name + ".app",
               {.bundleIdentifier = "com.bad.n" + std::to_string(number), .name = name});
  }
  for (const char* path :
       {"~/Library", "~/.config", "~/.ssh", "~/Library/Caches", "~/Library/Preferences/ByHost", "~/Documents",
        "~/.local/share", "~/.cache", "~/Library/Application Support", "/Users/Shared", "~/Music", "~/Downloads",
        "~/Library/Application Support/CrashReporter", "/Library/Preferences"}) {
    volume.folder(path);
  }
  const OwnershipMap map = Mapper(volume).map();
  for (std::size_t i = 0; i < map.size(); ++i) {
    EXPECT_THAT(map.owners(i), IsEmpty()) << map.url(i).path();
  }
  EXPECT_EQ(ownerOf(volume, map, "~/Library"), "unknown");
  EXPECT_EQ(ownerOf(volume, map, "~/.config"), "unknown");
}

TEST(OwnershipMap, AppsOfOneIdentifierShareInBoundedTimeAndSpace) {
  MacVolume volume;
  volume.folder("~/Library/Caches/com.same.App");
  std::vector<AppEntity> apps;
  for (int i = 0; i < 100'000; ++i) {
    apps.push_back({.name = "Same",
                    .bundleIdentifier = "com.same.App",
                    .bundleURL = FileURL("/Applications/" + std::to_string(i) + "/Same.app"),
                    .id = "com.same.App"});
  }
  OwnershipService::Options options = OwnershipService::kEverything;
  options.readBundles = false;
  const OwnershipMap map = Mapper(volume).service().map(apps, options);
  const Ownership ownership = map.owners(volume.url("~/Library/Caches/com.same.App"));
  EXPECT_EQ(ownership.status, OwnershipStatus::shared);
  EXPECT_THAT(ownership.owners, SizeIs(Ownership::kMostListed));
  EXPECT_EQ(ownership.ownersLeftOut, 100'000 - static_cast<std::int64_t>(Ownership::kMostListed));
}

TEST(OwnershipMap, EmptyNamesAndIdentifiersOwnNothing) {
  MacVolume volume;
  volume.folder("~/Library/Caches/a").folder("~/Library/Caches/com.some.Thing").folder("~/Library/Preferences/x");
  const std::vector<AppEntity> apps{
      {.name = "", .bundleIdentifier = "", .bundleURL = FileURL("/"), .id = ""},
      {.name = "...", .bundleIdentifier = ".", .bundleURL = FileURL("/Applications/x y.app"), .id = "."},
      {.name = std::string(100'000, 'a'),
       .bundleIdentifier = std::string(100'000, '.'),
       .bundleURL = FileURL("/b.app"),
       .id = "long"}};
  const OwnershipMap map = Mapper(volume).service().map(apps, OwnershipService::kEverything);
  for (std::size_t i = 0; i < map.size(); ++i) EXPECT_THAT(map.owners(i), IsEmpty()) << map.url(i).path();
}

TEST(OwnershipMap, ACancelledMapIsIncomplete) {
  MacVolume volume;
  volume.folder("~/Library/Caches/com.some.Thing");
  const Cancellation cancellation;
  cancellation.cancel();
  const OwnershipMap map = Mapper(volume).map(cancellation);
  EXPECT_FALSE(map.isComplete());
  EXPECT_EQ(map.size(), 0U);
}

TEST(OwnershipMap, ManyIdentifiersOfAVendorAreNotAllItsOneInstalledApps) {
  MacVolume volume;
  volume.app("/Applications/One.app", {.bundleIdentifier = "com.host.one"});
  for (const char* name : {"bake", "cake", "lake", "rake"}) {
    volume.file(std::string("~/Library/Preferences/com.host.") + name + ".plist");
  }
  const OwnershipMap map = Mapper(volume).map();
  EXPECT_EQ(map.owners(volume.url("~/Library/Preferences/com.host.cake.plist")).status, OwnershipStatus::unknown);
}

}  // namespace
}  // namespace quarn::ownership_map_tests
