#include <set>

#include <gmock/gmock.h>

#include "QuarnCore/ownership/Leftovers.h"
#include "QuarnPlatform/files/ListingCount.h"
#include "tests/QuarnCore/ownership/Owners.h"

namespace quarn::users_map_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

std::vector<FileURL> folders(const std::vector<std::string>& paths) {
  std::vector<FileURL> urls;
  for (const std::string& path : paths) urls.emplace_back(path);
  return urls;
}

UsersMap mapOf(const MacVolume& volume, const std::vector<std::string>& paths) {
  const std::vector<FileURL> homes = folders(paths);
  Mapper mapper(volume);
  mapper.launchd = LaunchdScanner::live(mapper.files, homes);
  const auto apps = AppDiscoveryClient::live(mapper.files, homes).discoverApplications();
  return mapper.service().mapOfUsers(HomeFolders(homes, mapper.files), apps, OwnershipService::kEverything);
}

std::vector<std::string> entriesOf(const UsersMap& map) {
  std::vector<std::string> paths;
  map.eachEntry([&](const OwnershipMap& ofHome, std::size_t entry) {
    paths.push_back(ofHome.url(entry).path());
    return true;
  });
  return paths;
}

std::vector<Leftover> leftoversOf(const MacVolume& volume, const std::vector<std::string>& homes) {
  return findLeftovers(mapOf(volume, homes), {.computeSizes = true}, volume.files(),
                       FileSizeCalculator::live(volume.files()));
}

std::vector<std::string> pathsOf(const Leftover& leftover) {
  std::vector<std::string> paths;
  for (const LeftoverItem& item : leftover.items) paths.push_back(item.url.path());
  return paths;
}

TEST(UsersMap, HasTheEntriesOfEachHomeAndThoseOfTheVolumeOnce) {
  MacVolume volume;
  volume.folder("/Users/ann/Library/Caches/com.a").folder("/Users/bob/Library/Caches/com.b");
  volume.folder("/Library/Caches/com.c");
  EXPECT_THAT(
      entriesOf(mapOf(volume, {"/Users/ann", "/Users/bob"})),
      ElementsAre("/Users/ann/Library/Caches/com.a", "/Library/Caches/com.c", "/Users/bob/Library/Caches/com.b"));
}

TEST(UsersMap, AnswersForAnItemWithTheMapOfItsHome) {
  MacVolume volume;
  volume.app("/Applications/Notes.app", {.bundleIdentifier = "com.example.notes"});
  volume.folder("/Users/bob/Library/Caches/com.example.notes");
  const UsersMap map = mapOf(volume, {"/Users/ann", "/Users/bob"});
  const FileURL item("/Users/bob/Library/Caches/com.example.notes/a");
  EXPECT_EQ(ownerLine(map.mapOf(item).owners(item)), "owned Notes identifier");
  const FileURL app("/Applications/Notes.app/Contents");
  EXPECT_EQ(ownerLine(map.mapOf(app).owners(app)), "owned Notes inside");
}

TEST(UsersMap, AnEntryInAnInnerHomeBelongsToThatUserOnlyAndTheHomeItselfIsNoEntry) {
  MacVolume volume;
  volume.folder("/Users/ann/Library/Caches/com.a/bob/Library/Caches/com.b")
      .folder("/Users/ann/com.gone.Sketcher/Music");
  const std::vector<std::string> entries =
      entriesOf(mapOf(volume, {"/Users/ann", "/Users/ann/Library/Caches/com.a", "/Users/ann/com.gone.Sketcher"}));
  EXPECT_THAT(std::set<std::string>(entries.begin(), entries.end()), SizeIs(entries.size()));
  EXPECT_THAT(entries, testing::Not(testing::Contains("/Users/ann/Library/Caches/com.a")));
  EXPECT_THAT(entries, testing::Not(testing::Contains("/Users/ann/com.gone.Sketcher")));
}

TEST(UsersMap, WhatOneFormerAppLeftInTwoHomesIsOneLeftover) {
  MacVolume volume;
  volume.file("/Users/ann/Library/Caches/com.gone.Editor/a", 8_KiB);
  volume.file("/Users/bob/Library/Preferences/COM.GONE.Editor/b", 4_KiB).file("/Users/bob/Library/Caches/org.old/c", 1);
  volume.file("/Library/Caches/com.gone.Editor/d", 16_KiB);
  const std::vector<Leftover> found = leftoversOf(volume, {"/Users/ann", "/Users/bob"});
  ASSERT_THAT(found, SizeIs(1));
  EXPECT_THAT(pathsOf(found[0]),
              ElementsAre("/Users/ann/Library/Caches/com.gone.Editor", "/Library/Caches/com.gone.Editor",
                          "/Users/bob/Library/Preferences/COM.GONE.Editor"));
  EXPECT_EQ(found[0].size, (SizeInfo{28_KiB, 28_KiB}));
}

TEST(UsersMap, AnAppInAnyHomeIsInstalledForAllUsers) {
  MacVolume volume;
  volume.app("/Users/bob/Applications/Bobs.app", {.bundleIdentifier = "org.bobs.Player"});
  volume.folder("/Users/ann/Library/Caches/org.bobs.Player").folder("/Library/Caches/org.bobs.Player");
  EXPECT_THAT(leftoversOf(volume, {"/Users/ann", "/Users/bob"}), IsEmpty());
}

TEST(UsersMap, AJobOfAnotherUserIsEvidenceToo) {
  MacVolume volume;
  volume.app("/Applications/Notes.app", {.bundleIdentifier = "com.example.notes"});
  volume.plist("/Users/bob/Library/LaunchAgents/xyz.plist",
               {{"Label", "xyz"}, {"Program", "/Applications/Notes.app/Contents/MacOS/Notes"}});
  const UsersMap map = mapOf(volume, {"/Users/ann", "/Users/bob"});
  const FileURL job("/Users/bob/Library/LaunchAgents/xyz.plist");
  EXPECT_EQ(map.mapOf(job).owners(job).status, OwnershipStatus::owned);
}

// Counts what is listed for two users more.
TEST(UsersMap, TheFoldersOfTheVolumeAreListedOnceForAllUsers) {
  constexpr std::uint64_t kEntries = 300;
  MacVolume volume;
  volume.folder("/Users/ann").folder("/Users/bob").folder("/Users/eve");
  for (std::uint64_t i = 0; i < kEntries; ++i) {
    volume.folder("/Applications/folder" + std::to_string(i));
    volume.folder("/Library/Application Support/com.some" + std::to_string(i));
    volume.file("/Library/LaunchDaemons/job" + std::to_string(i) + ".txt");
  }
  const auto listedFor = [&](const std::vector<std::string>& homes) {
    const std::uint64_t before = ListingCount::now().entries;
    (void)mapOf(volume, homes);
    return ListingCount::now().entries - before;
  };
  const std::uint64_t forOne = listedFor({"/Users/ann"});
  EXPECT_GT(forOne, 3 * kEntries);
  EXPECT_LT(listedFor({"/Users/ann", "/Users/bob", "/Users/eve"}), forOne + kEntries);
}

}  // namespace
}  // namespace quarn::users_map_tests
