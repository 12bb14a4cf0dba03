#include <gmock/gmock.h>

#include "QuarnCore/scans/ScannedOwners.h"
#include "tests/QuarnCore/scans/ScannedVolume.h"
#include "tests/support/ChangedDatabase.h"

namespace quarn::scanned_owners_tests {
namespace {

class ScannedOwnersTest : public testing::Test {
 protected:
  ScannedOwnersTest() {
    volume_.vendor("slack", {"~/Library/Caches/com.example.App", "~/Library/Application Support/Slack"});
    volume_.vendors.front().displayName = "Slack";
    volume_.fill();
    volume_.file("~/Library/Application Support/Slack/Cache/a", 10);
  }

  [[nodiscard]] Scan scanned() const {
    (void)volume_.scanTo(folder_.at("scan"));
    return Scan::open(folder_.at("scan"));
  }
  /// The scan after SQL has changed it.
  [[nodiscard]] Scan changed(const std::string& sql) const {
    (void)volume_.scanTo(folder_.at("scan"));
    changeDatabase(folder_.at("scan"), sql);
    return Scan::open(folder_.at("scan"));
  }
  [[nodiscard]] OwnershipMap map() const {
    const FileManager files = volume_.files();
    return OwnershipService(VendorProfileRegistry(volume_.vendors), EntitlementsReader::live(files),
                            LaunchdScanner::live(files), ReceiptScanner::live(files), files)
        .map(AppDiscoveryClient::live(files).discoverApplications(), OwnershipService::kEverything);
  }

  ScannedVolume volume_;
  ScanFolder folder_;
};

TEST_F(ScannedOwnersTest, TheAnswerForEveryEntryIsThatOfTheVolume) {
  const OwnershipMap map = this->map();
  const ItemOwners live(map, ReceiptSnapshot::of(volume_.files()), volume_.dashboard());
  const ScannedOwners kept(scanned());
  ASSERT_GT(map.size(), 5U);
  for (std::size_t i = 0; i < map.size(); ++i) EXPECT_EQ(kept.of(map.url(i)), live.of(map.url(i))) << i;
  // The answer names the item as the question does.
  for (const char* path : {"~/Library/Caches/com.example.App", "~/Library/Caches/com.example.App/"}) {
    const FileURL url = volume_.url(path);
    EXPECT_EQ(kept.of(url), live.of(url));
    EXPECT_EQ(kept.of(url)->ownership.url.hasDirectoryPath(), url.hasDirectoryPath());
  }
}

TEST_F(ScannedOwnersTest, AVendorPathAndACategoryAreKnown) {
  const ScannedOwners kept(scanned());
  const auto slack = kept.of(volume_.url("~/Library/Application Support/Slack"));
  ASSERT_TRUE(slack);
  ASSERT_TRUE(slack->vendor);
  EXPECT_EQ(slack->vendor->vendorName, "Slack");
  EXPECT_EQ(slack->category, StorageCategoryID::communication);
}

TEST_F(ScannedOwnersTest, HintsAreThoseOfTheDeepestVendorPath) {
  const ScannedHints hints(scanned());
  const StorageDashboardService dashboard = volume_.dashboard();
  for (const char* path : {"~/Library/Application Support/Slack/Cache/a", "~/Library/Application Support/Slack",
                           "~/Library/Application Support/Slacker", "~/notes.txt", "/"}) {
    const FileURL url = volume_.url(path);
    EXPECT_EQ(hints.hint(url.path()), dashboard.vendorHint(url, StorageCategoryID::communication)) << path;
  }
}

TEST_F(ScannedOwnersTest, AVendorPathThatIsTheRootSaysNothingAboutWhatIsInIt) {
  const ScannedHints hints(changed(
      "INSERT INTO vendor_paths SELECT 'root', 'Root', category, kind, data_class, title, explanation, risk, '/' "
      "FROM vendor_paths LIMIT 1"));
  ASSERT_TRUE(hints.hint("/"));
  EXPECT_EQ(hints.hint("/")->vendorID, "root");
  EXPECT_FALSE(hints.hint("/Elsewhere/big"));
  EXPECT_EQ(hints.hint("/Users/ann/Library/Application Support/Slack/Cache")->vendorID, "slack");
}

TEST_F(ScannedOwnersTest, OfEqualPlacesTheFirstOneIsTheCategory) {
  const FileURL url = volume_.url("~/Library/Application Support/Slack");
  const ScannedOwners kept(changed("INSERT INTO category_paths SELECT 'other', path, is_folder FROM category_paths"));
  EXPECT_EQ(kept.of(url)->category, StorageCategoryID::communication);
}

TEST_F(ScannedOwnersTest, APackageOfAnEntryThatIsNotThereIsDamage) {
  EXPECT_THROW(ScannedOwners(changed("INSERT INTO entry_packages VALUES(4294967295, 'com.example.package')")),
               ScanError);
  EXPECT_THROW(
      ScannedOwners(changed("INSERT INTO entry_packages SELECT max(id) + 1, 'com.example.package' FROM entries")),
      ScanError);
  EXPECT_NO_THROW(
      ScannedOwners(changed("INSERT INTO entry_packages SELECT max(id), 'com.example.package' FROM entries")));
}

// Its owner is its own bundle, which an entry does not say.
TEST_F(ScannedOwnersTest, AnAppAmongTheEntriesHasNoAnswer) {
  const std::string place = "~/Library/Application Support/Helper.app";
  volume_.app(place, {.bundleIdentifier = "com.example.Helper", .name = "Helper"});
  volume_.link("/Applications/Helper.app", volume_.path(place));
  const Scan scan = scanned();
  const FileURL app = volume_.url(place);
  std::vector<std::string> entries;
  for (const Ownership& entry : scan.entries()) entries.push_back(entry.url.path());
  EXPECT_THAT(entries, testing::Contains(app.path()));
  EXPECT_FALSE(ScannedOwners(scan).of(app));
}

TEST_F(ScannedOwnersTest, AnItemInAnEntryHasNoAnswerButTheEntryIsKnown) {
  const ScannedOwners kept(scanned());
  const FileURL inside = volume_.url("~/Library/Caches/com.example.App/a");
  EXPECT_FALSE(kept.of(inside));
  EXPECT_EQ(kept.entryAround(inside.path())->path(), volume_.url("~/Library/Caches/com.example.App").path());
  EXPECT_FALSE(kept.of(volume_.url("/Elsewhere/big")));
  EXPECT_FALSE(kept.entryAround("/Elsewhere/big"));
}

}  // namespace
}  // namespace quarn::scanned_owners_tests
