#include <random>
#include <set>

#include <gmock/gmock.h>

#include "QuarnCore/folders/TopItemsService.h"
#include "QuarnCore/scans/ScannedItems.h"
#include "QuarnCore/scans/ScannedOwners.h"
#include "QuarnCore/storage/UsersDashboard.h"
#include "tests/QuarnCore/scans/ScannedVolume.h"
#include "tests/support/UnprivilegedUser.h"

namespace quarn::scan_of_users_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

constexpr std::array<std::string_view, 14> kPlaces{"Documents",      "Documents/.hidden",
                                                   "Pictures",       "Library/Caches/com.gone.Editor",
                                                   ".config/tool",   "Library/Mail",
                                                   "Downloads",      "Library/Application Support/com.example.App",
                                                   "Chats",          "odd/folder",
                                                   ".Trash",         "Library/Preferences/com.gone.Editor",
                                                   "Library/Logs/x", ".cargo"};

std::vector<FileURL> folders(const std::vector<std::string>& paths) {
  std::vector<FileURL> urls;
  for (const std::string& path : paths) urls.emplace_back(path);
  return urls;
}

/// A volume with random files in several home folders, and a scan of all of them.
class ScanOfUsers : public testing::Test {
 protected:
  void fill(const std::vector<std::string>& homes, unsigned seed) {
    std::mt19937 random(seed);
    volume_.vendor("slack", {"~/Chats", "/Library/Slack", "/Users"});
    volume_.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App", .name = "Example"});
    volume_.file("/Library/Slack/a", 300).file("/Elsewhere/a", 90'000).file("/Users/Shared/a", 5'000);
    volume_.file("/Library/Caches/com.gone.Editor/a", 7'000);
    for (const std::string& home : homes) {
      volume_.folder(home);
      for (int i = 0; i < 25; ++i) {
        volume_.file(home + "/" + std::string(kPlaces[random() % kPlaces.size()]) + "/f" + std::to_string(i),
                     static_cast<std::int64_t>(random() % 9) * 4'000);
      }
    }
  }

  Scan scanOf(const std::vector<std::string>& homes) {
    homes_ = folders(homes);
    files_ = volume_.files().withHome(homes_.front());
    const auto written = volume_.store(files_, homes_).write(folder_.at("scan"), nullptr, Cancellation::never());
    EXPECT_TRUE(written.isComplete);
    return Scan::open(folder_.at("scan"));
  }

  [[nodiscard]] UsersDashboard users() const {
    return {HomeFolders(homes_, files_),
            [this](const FileURL& home) { return volume_.dashboard(files_.withHome(home)); }, files_};
  }

  [[nodiscard]] UsersMap map() const {
    const auto apps = AppDiscoveryClient::live(files_, homes_).discoverApplications();
    return volume_.ownership(files_, homes_)
        .mapOfUsers(HomeFolders(homes_, files_), apps, OwnershipService::kEverything);
  }

  void expectAnswersOfTheVolume(const Scan& scan) const {
    expectUsers(scan);
    expectRoots(scan);
    expectOwners(scan);
    expectLargestItems(scan);
  }

  void expectUsers(const Scan& scan) const {
    const UsersDashboard live = users();
    ASSERT_EQ(scan.users().size(), live.homes().urls().size());
    for (std::size_t i = 0; i < scan.users().size(); ++i) {
      EXPECT_EQ(scan.users()[i].home, live.homes().urls()[i]);
      EXPECT_EQ(scan.users()[i].location, live.homes().locations()[i]);
      EXPECT_EQ(scan.users()[i].isRead, live.isReadable(i));
    }
  }

  void expectRoots(const Scan& scan) const {
    const UsersDashboard live = users();
    const auto roots = live.calculatePartitionedRoots(nullptr, nullptr, Cancellation::never());
    std::vector<ScannedRoot> kept = scan.roots();
    std::erase_if(kept, [](const ScannedRoot& root) { return root.isListed; });
    std::size_t next = 0;
    for (const StorageCategory& category : scan.categories()) {
      const auto hints = live.hints(roots, category.id);
      SizeInfo sum;
      for (std::size_t i = 0; i < roots.size(); ++i) {
        const SizeInfo size = roots[i].sizes.at(category.id);
        if (size == SizeInfo{}) continue;
        sum += size;
        ASSERT_LT(next, kept.size());
        const ScannedRoot expected{
            .category = category.id, .url = roots[i].url, .size = size, .hint = hints[i], .user = roots[i].home};
        EXPECT_EQ(kept[next++], expected) << roots[i].url.path();
      }
      EXPECT_EQ(category.size, sum) << rawValue(category.id);
    }
    EXPECT_EQ(next, kept.size());
  }

  void expectOwners(const Scan& scan) const {
    const UsersMap live = map();
    std::vector<Ownership> entries;
    live.eachEntry([&](const OwnershipMap& ofHome, std::size_t entry) {
      entries.push_back(ofHome.ownership(entry));
      return true;
    });
    EXPECT_EQ(scan.entries(), entries);
    EXPECT_EQ(scan.leftovers(), findLeftovers(live, {.computeSizes = true}, files_, FileSizeCalculator::live(files_)));
    EXPECT_EQ(scan.jobs(), LaunchdScanner::live(files_, homes_).scan());
  }

  void expectLargestItems(const Scan& scan) const {
    const TopItemsService::SearchOptions options{.limit = 40,
                                                 .maxDepth = 100,
                                                 .maxVisited = 100'000,
                                                 .allowSlowForPackages = true,
                                                 .includeHidden = true,
                                                 .preferAllocatedSize = true};
    const TopItemsService live(FileSizeCalculator::live(files_), files_);
    const std::vector<TopItem> items = live.topFilesRecursively({FileURL("/")}, options, Cancellation::never());
    EXPECT_EQ(ScannedItems(scan).topFilesRecursively({FileURL("/")}, options).items, items);
    std::vector<FileURL> urls;
    for (const TopItem& item : items) urls.push_back(item.url);
    const std::vector<std::optional<VendorPathHint>> hints = users().hints(urls);
    const ScannedHints kept(scan);
    for (std::size_t i = 0; i < urls.size(); ++i) EXPECT_EQ(kept.hint(urls[i].path()), hints[i]) << urls[i].path();
  }

  ScannedVolume volume_;
  ScanFolder folder_;
  std::vector<FileURL> homes_;
  FileManager files_ = volume_.files();
};

TEST_F(ScanOfUsers, HasTheAnswersOfTheVolumeForOneTwoAndThreeHomes) {
  const std::vector<std::string> homes{"/Users/ann", "/Users/bob", "/Users/eve"};
  for (std::size_t count = 1; count <= homes.size(); ++count) {
    fill({homes.begin(), homes.begin() + static_cast<std::ptrdiff_t>(count)}, static_cast<unsigned>(count));
    SCOPED_TRACE(count);
    expectAnswersOfTheVolume(scanOf({homes.begin(), homes.begin() + static_cast<std::ptrdiff_t>(count)}));
  }
}

TEST_F(ScanOfUsers, HasTheAnswersOfTheVolumeForHomesInsideOthers) {
  const std::vector<std::vector<std::string>> nested{
      {"/Users/ann", "/Users/ann/Documents/bob"},
      {"/Users/ann/Library/bob", "/Users/ann"},
      {"/Users/ann", "/Users/ann/odd/bob", "/Users/ann/odd/bob/Chats/eve"},
  };
  for (unsigned seed = 0; seed < nested.size(); ++seed) {
    SCOPED_TRACE(seed);
    fill(nested[seed], seed);
    expectAnswersOfTheVolume(scanOf(nested[seed]));
  }
}

TEST_F(ScanOfUsers, HasTheAnswersOfTheVolumeForAHomeThatCannotBeRead) {
  fill({"/Users/ann", "/Users/bob"}, 1);
  volume_.mode("/Users/bob", 0000);
  const UnprivilegedUser user;
  const Scan scan = scanOf({"/Users/ann", "/Users/bob"});
  ASSERT_THAT(scan.users(), SizeIs(2));
  EXPECT_FALSE(scan.users()[1].isRead);
  expectAnswersOfTheVolume(scan);
}

TEST_F(ScanOfUsers, HasTheAnswersOfTheVolumeForHomesThatAreLinks) {
  fill({"/Users/ann", "/Elsewhere/carl"}, 1);
  volume_.link("/Users/carl", "/Elsewhere/carl").link("/Users/me", "ann");
  const Scan scan = scanOf({"/Users/ann", "/Users/carl", "/Users/me"});
  ASSERT_THAT(scan.users(), SizeIs(2)) << "two names of one folder are one home";
  EXPECT_EQ(scan.users()[1].location, "/Elsewhere/carl");
  expectAnswersOfTheVolume(scan);
}

TEST_F(ScanOfUsers, HasTheAppsAndTheListedFoldersOfAllUsersOnce) {
  fill({"/Users/ann", "/Users/bob"}, 1);
  volume_.app("/Users/bob/Applications/Bobs.app", {.bundleIdentifier = "org.bobs.Player", .name = "Bobs"});
  const Scan scan = scanOf({"/Users/ann", "/Users/bob"});
  std::vector<std::string> apps;
  for (const ScannedApp& app : scan.apps(false)) apps.push_back(app.inspection.app.name);
  EXPECT_THAT(apps, ElementsAre("Bobs", "Example"));
  std::map<std::string, std::optional<std::size_t>> listed;
  std::set<std::pair<StorageCategoryID, std::string>> places;
  for (const ScannedRoot& root : scan.roots()) {
    if (!root.isListed) continue;
    EXPECT_TRUE(places.emplace(root.category, root.url.path()).second) << root.url.path();
    listed.emplace(root.url.path(), root.user);
  }
  EXPECT_EQ(listed.at("/Users/ann/Library"), 0U);
  EXPECT_EQ(listed.at("/Users/bob/Library"), 1U);
  EXPECT_EQ(listed.at("/Library"), std::nullopt);
  EXPECT_FALSE(listed.contains("/Users/bob")) << "a home folder is no folder of the system";
}

TEST_F(ScanOfUsers, HasThePlacesAndTheVendorPathsOfAllUsersOnce) {
  fill({"/Users/ann", "/Users/bob"}, 1);
  volume_.file("/Users/ann/Chats/a", 5).file("/Users/bob/Chats/a", 5);
  const Scan scan = scanOf({"/Users/ann", "/Users/bob"});
  std::set<std::pair<StorageCategoryID, std::string>> places;
  for (const ScannedPlace& place : scan.places()) {
    EXPECT_TRUE(places.emplace(place.category, place.url.path()).second) << place.url.path();
  }
  std::set<std::string> vendorPaths;
  for (const VendorPathHint& hint : scan.vendorPaths()) {
    EXPECT_TRUE(vendorPaths.insert(hint.path).second) << hint.path;
  }
  EXPECT_THAT(vendorPaths, testing::IsSupersetOf({"/Library/Slack", "/Users/ann/Chats", "/Users/bob/Chats"}));
  EXPECT_TRUE(places.contains({StorageCategoryID::communication, "/Library/Slack"}));
}

TEST_F(ScanOfUsers, AFolderIsOfTheUserWhoseHomeHasItWhateverLinkLeadsToIt) {
  fill({"/Users/ann", "/Users/bob"}, 1);
  volume_.file("/Users/ann/Movies/a", 5'000).link("/Users/bob/Movies", "/Users/ann/Movies");
  const Scan scan = scanOf({"/Users/ann", "/Users/bob"});
  std::size_t listed = 0;
  for (const ScannedRoot& root : scan.roots()) {
    if (!root.isListed) continue;
    ++listed;
    EXPECT_EQ(root.user, scan.homes().homeOf(std::string_view(*files_.realPath(root.url)))) << root.url.path();
  }
  EXPECT_GT(listed, 5U);
  std::set<std::string> places;
  for (const ScannedPlace& place : scan.places()) places.insert(place.url.path());
  EXPECT_TRUE(places.contains("/Users/ann/Movies"));
  EXPECT_FALSE(places.contains("/Users/bob/Movies"));
}

TEST_F(ScanOfUsers, AScanOfOneHomeFolderHasNoUsers) {
  fill({"/Users/ann", "/Users/bob"}, 1);
  ASSERT_TRUE(volume_.scanTo(folder_.at("one")).isComplete);
  const Scan scan = Scan::open(folder_.at("one"));
  EXPECT_THAT(scan.users(), IsEmpty());
  for (const ScannedRoot& root : scan.roots()) EXPECT_EQ(root.user, std::nullopt);
}

}  // namespace
}  // namespace quarn::scan_of_users_tests
