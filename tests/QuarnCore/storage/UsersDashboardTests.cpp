#include <gmock/gmock.h>

#include "QuarnCore/storage/UsersDashboard.h"
#include "QuarnPlatform/files/ListingCount.h"
#include "QuarnPlatform/files/ReadReport.h"
#include "tests/QuarnCore/storage/DashboardVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::users_dashboard_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Category = StorageCategoryID;
using Parts = std::map<std::string, std::int64_t>;

UsersDashboard users(const DashboardVolume& volume, const std::vector<std::string>& paths, const FileManager& files) {
  std::vector<FileURL> homes;
  for (const std::string& path : paths) homes.emplace_back(path);
  return {HomeFolders(homes, files),
          [&volume, files](const FileURL& home) { return volume.dashboard(files.withHome(home)); }, files};
}

UsersDashboard users(const DashboardVolume& volume, const std::vector<std::string>& paths) {
  return users(volume, paths, volume.files());
}

// "/Users/ann documents" and its length; "shared systemData" for what no user has.
Parts partsOf(const UsersDashboard& dashboard) {
  Parts lengths;
  const auto roots = dashboard.calculatePartitionedRoots(nullptr, nullptr, Cancellation::never());
  for (const UsersDashboard::Part& part : dashboard.parts(roots)) {
    for (const auto& [category, size] : part.sizes) {
      const std::string name = part.home ? part.home->path() : "shared";
      if (size != SizeInfo{}) lengths[name + " " + std::string(rawValue(category))] = size.logicalBytes;
    }
  }
  return lengths;
}

TEST(UsersDashboard, EachUserHasWhatIsInTheHomeFolderByCategoryAndTheRestIsShared) {
  DashboardVolume volume;
  volume.file("/Users/ann/Documents/a", 1).file("/Users/ann/.config/a", 2).file("/Users/ann/Library/Caches/a", 4);
  volume.file("/Users/bob/Documents/a", 8).file("/Users/bob/Library/Mail/a", 16).file("/Users/bob/.cargo/a", 32);
  volume.file("/Users/bob/Library/Caches/a", 64).file("/Users/bob/odd/a", 128).file("/Users/bob/.Trash/a", 256);
  volume.file("/Users/Shared/a", 512).file("/Applications/a", 1024).file("/Library/a", 2048);
  const Parts expected{
      {"/Users/ann documents", 1},         {"/Users/ann other", 2},        {"/Users/ann systemData", 4},
      {"/Users/bob communication", 16},    {"/Users/bob development", 32}, {"/Users/bob documents", 8 + 128},
      {"/Users/bob systemData", 64 + 256}, {"shared apps", 1024},          {"shared systemData", 512 + 2048}};
  EXPECT_EQ(partsOf(users(volume, {"/Users/ann", "/Users/bob"})), expected);
  EXPECT_EQ(partsOf(users(volume, {"/Users/bob", "/Users/ann"})), expected) << "no home is special";
}

TEST(UsersDashboard, OneHomeFolderHasTheSumsOfItsOwnScan) {
  DashboardVolume volume;
  volume.file("~/Documents/a", 1).file("~/Library/a", 2).file("/usr/a", 4).file("/Users/bob/Documents/a", 8);
  EXPECT_EQ(partsOf(users(volume, {"/Users/ann"})),
            (Parts{{"/Users/ann documents", 1}, {"/Users/ann systemData", 2}, {"shared systemData", 4 + 8}}));
}

TEST(UsersDashboard, AHomeInsideAnotherOneIsCountedForItsUserOnly) {
  DashboardVolume volume;
  volume.file("/Users/ann/Documents/a", 1).file("/Users/ann/Documents/bob/Documents/a", 2);
  volume.file("/Users/ann/Documents/bob/Library/a", 4).file("/Users/ann/Library/a", 8);
  volume.file("/Users/ann/Library/eve/Documents/a", 16).file("/Users/ann/zoe/Pictures/a", 32);
  const Parts expected{{"/Users/ann documents", 1},
                       {"/Users/ann systemData", 8},
                       {"/Users/ann/Documents/bob documents", 2},
                       {"/Users/ann/Documents/bob systemData", 4},
                       {"/Users/ann/Library/eve documents", 16},
                       {"/Users/ann/zoe photos", 32}};
  std::vector<std::string> homes{"/Users/ann", "/Users/ann/Documents/bob", "/Users/ann/Library/eve", "/Users/ann/zoe"};
  EXPECT_EQ(partsOf(users(volume, homes)), expected);
  std::reverse(homes.begin(), homes.end());
  EXPECT_EQ(partsOf(users(volume, homes)), expected);
}

TEST(UsersDashboard, AHiddenFolderOfAnInnerHomeHasNoCategoryOfTheOuterHome) {
  DashboardVolume volume;
  volume.file("/Users/ann/Documents/bob/.config/a", 1).file("/Users/ann/Documents/bob/.profile", 2);
  volume.file("/Users/ann/Documents/.config/a", 4);
  EXPECT_EQ(partsOf(users(volume, {"/Users/ann", "/Users/ann/Documents/bob"})),
            (Parts{{"/Users/ann documents", 4}, {"/Users/ann/Documents/bob other", 1 + 2}}));
}

TEST(UsersDashboard, AHomeInAFolderOfTheVolumeIsCountedOnce) {
  DashboardVolume volume;
  volume.file("/private/var/root/Library/a", 1).file("/private/var/db/a", 2).file("/Users/ann/Documents/a", 4);
  volume.link("/var", "private/var");
  EXPECT_EQ(partsOf(users(volume, {"/var/root", "/Users/ann"})),
            (Parts{{"/Users/ann documents", 4}, {"/var/root systemData", 1}, {"shared systemData", 2}}));
}

TEST(UsersDashboard, AFolderThatIsALinkIntoAnotherHomeCountsWhereItIs) {
  DashboardVolume volume;
  volume.file("/Users/ann/Documents/a", 1).folder("/Users/bob").link("/Users/bob/Documents", "/Users/ann/Documents");
  volume.link("/Users/bob/Pictures", "/Users/ann/Documents");
  EXPECT_EQ(partsOf(users(volume, {"/Users/bob", "/Users/ann"})), (Parts{{"/Users/ann documents", 1}}));
}

TEST(UsersDashboard, TwoNamesOfOneHomeFolderAreOneHome) {
  DashboardVolume volume;
  volume.file("/Users/ann/Documents/a", 1).link("/Users/me", "ann");
  EXPECT_EQ(partsOf(users(volume, {"/Users/me", "/Users/ann"})), (Parts{{"/Users/me documents", 1}}));
}

TEST(UsersDashboard, CountsEachByteOfManyHomesOnce) {
  DashboardVolume volume;
  constexpr int kHomes = 200;
  std::vector<std::string> homes;
  for (int i = 0; i < kHomes; ++i) {
    homes.push_back("/Users/u" + std::to_string(i));
    volume.file(homes.back() + "/Documents/a", 10).file(homes.back() + "/Library/a", 1);
  }
  std::int64_t sum = 0;
  const Parts parts = partsOf(users(volume, homes));
  EXPECT_EQ(parts.size(), 2U * kHomes);
  for (const auto& [name, length] : parts) sum += length;
  EXPECT_EQ(sum, 11 * kHomes);
}

TEST(UsersDashboard, AHomeThatCannotBeReadIsMarkedAndReported) {
  DashboardVolume volume;
  volume.file("/Users/ann/Documents/a", 1).file("/Users/bob/Documents/a", 2).mode("/Users/bob", 0000);
  const auto report = std::make_shared<ReadReport>();
  const UnprivilegedUser user;
  const UsersDashboard dashboard = users(volume, {"/Users/ann", "/Users/bob"}, volume.files().reportingTo(report));
  EXPECT_EQ(partsOf(dashboard), (Parts{{"/Users/ann documents", 1}}));
  const std::vector<UsersDashboard::Part> parts = dashboard.parts({});
  EXPECT_TRUE(parts[0].isRead);
  EXPECT_FALSE(parts[1].isRead);
  EXPECT_FALSE(parts[2].home) << "what no user has comes last";
  ASSERT_EQ(report->items().size(), 1U) << "once, not for every folder in it";
  EXPECT_EQ(report->items()[0].path, "/Users/bob");
}

TEST(UsersDashboard, SaysWhatVendorsKnowOfTheRootsOfEachUser) {
  DashboardVolume volume;
  volume.vendor("slack", {"~/Chats"});
  volume.file("/Users/ann/Chats/a", 1).file("/Users/bob/Chats/a", 2);
  const UsersDashboard dashboard = users(volume, {"/Users/ann", "/Users/bob"});
  auto roots = dashboard.calculatePartitionedRoots(nullptr, nullptr, Cancellation::never());
  std::erase_if(roots, [](const auto& root) { return root.sizes.at(Category::communication) == SizeInfo{}; });
  std::vector<std::string> hinted;
  for (const auto& hint : dashboard.hints(roots, Category::communication)) hinted.push_back(hint ? hint->path : "none");
  EXPECT_THAT(hinted, ElementsAre("/Users/ann/Chats", "/Users/bob/Chats"));
  const auto ofItems = dashboard.hints({FileURL("/Users/bob/Chats/a"), FileURL("/a"), FileURL("/Users/ann/Chats/a")});
  EXPECT_EQ(ofItems[0]->path, "/Users/bob/Chats");
  EXPECT_FALSE(ofItems[1]);
  EXPECT_EQ(ofItems[2]->path, "/Users/ann/Chats");
}

TEST(UsersDashboard, TheFoldersToSearchAreThoseOfAllUsers) {
  DashboardVolume volume;
  volume.folder("/Users/ann/Documents/bob/Pictures")
      .folder("/Users/ann/Documents/bob/Documents")
      .folder("/Users/ann/Pictures")
      .folder("/Users/eve/Library");
  const UsersDashboard dashboard = users(volume, {"/Users/ann", "/Users/ann/Documents/bob", "/Users/eve"});
  const auto existing = [&](Category category) {
    std::vector<std::string> paths;
    for (const FileURL& root : dashboard.topItemRoots(category, true, Cancellation::never())) {
      if (volume.files().itemExists(root)) paths.push_back(root.path());
    }
    return paths;
  };
  EXPECT_THAT(existing(Category::photos), ElementsAre("/Users/ann/Pictures", "/Users/ann/Documents/bob/Pictures"));
  EXPECT_THAT(existing(Category::documents), ElementsAre("/Users/ann/Documents", "/Users/ann/Documents/bob/Documents"));
  EXPECT_THAT(existing(Category::systemData), ElementsAre("/Users/eve/Library"));
}

TEST(UsersDashboard, StopsWhenCancelled) {
  DashboardVolume volume;
  volume.file("/Users/ann/Documents/a", 1).file("/Users/bob/Documents/a", 2);
  const Cancellation cancellation;
  int homes = 0;
  const auto roots = users(volume, {"/Users/ann", "/Users/bob"})
                         .calculatePartitionedRoots(
                             [&](const FileURL&) {
                               ++homes;
                               cancellation.cancel();
                             },
                             nullptr, cancellation);
  EXPECT_EQ(homes, 1);
  EXPECT_THAT(roots, IsEmpty());
}

TEST(UsersDashboard, FoldersThatAreSearchedForGamesAreListedOnce) {
  DashboardVolume volume;
  volume.gameMarker("marker");
  constexpr int kFiles = 500;
  for (const char* home : {"/Users/ann", "/Users/bob"}) {
    const std::string folder = home + std::string("/Library/Containers/A/");
    for (int i = 0; i < kFiles; ++i) volume.file(folder + std::to_string(i), 1);
  }
  const std::uint64_t before = ListingCount::now().entries;
  EXPECT_EQ(partsOf(users(volume, {"/Users/ann", "/Users/bob"})),
            (Parts{{"/Users/ann systemData", kFiles}, {"/Users/bob systemData", kFiles}}));
  EXPECT_LT(ListingCount::now().entries - before, std::uint64_t{2 * kFiles + 100});
}

}  // namespace
}  // namespace quarn::users_dashboard_tests
