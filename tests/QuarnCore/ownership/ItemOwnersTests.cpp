#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/ownership/ItemOwners.h"
#include "tests/QuarnCore/ownership/Owners.h"
#include "tests/QuarnCore/storage/DashboardVolume.h"

namespace quarn::item_owners_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A volume whose receipts say that the package com.example.App.pkg installed /usr/local/bin/example.
struct Installed {
  Installed() {
    volume.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App"})
        .executable("/usr/local/bin/example")
        .folder("~/Library/Application Support/Vendor/inner")
        .folder("~/Documents");
    volume.vendors = {{.id = "xcode",
                       .displayName = "Vendor",
                       .artifacts = {{.kind = ArtifactKind::applicationSupport,
                                      .title = "Support",
                                      .paths = {"~/Library/Application Support/Vendor"}}}}};
  }

  [[nodiscard]] ItemOwnership of(std::string_view path) const {
    const Mapper mapper(volume);
    ReceiptSnapshot receipts = ReceiptSnapshot::of(volume.files());
    receipts.packageIDs = [](const std::string& file) {
      if (file == "/usr/local/bin/example") return std::vector<std::string>{"org.unknown", "com.example.App.pkg"};
      if (file == "/usr/local/bin/other") return std::vector<std::string>{"com.example.Apple"};
      return std::vector<std::string>{};
    };
    return ItemOwners(mapper.map(), receipts, volume.dashboard(volume.files())).of(volume.url(path));
  }

  DashboardVolume volume;
};

TEST(ItemOwners, AnItemElsewhereIsTheAppsWhosePackageInstalledIt) {
  const Installed mac;
  const ItemOwnership item = mac.of("/usr/local/bin/example");
  EXPECT_EQ(ownerLine(item.ownership), "owned Example receipt");
  EXPECT_THAT(item.packages, ElementsAre("org.unknown", "com.example.App.pkg"));
}

TEST(ItemOwners, APackageWhoseIdentifierOnlyBeginsAlikeSaysNothing) {
  const ItemOwnership item = Installed().of("/usr/local/bin/other");
  EXPECT_EQ(item.ownership.status, OwnershipStatus::unknown);
  EXPECT_THAT(item.packages, ElementsAre("com.example.Apple"));
}

TEST(ItemOwners, AnItemInAVendorsPathHasItsHint) {
  const ItemOwnership item = Installed().of("~/Library/Application Support/Vendor/inner");
  ASSERT_TRUE(item.vendor.has_value());
  EXPECT_EQ(item.vendor->vendorName, "Vendor");
  EXPECT_FALSE(Installed().of("/usr/local").vendor.has_value());
}

TEST(ItemOwners, ARootOfACategoryIsNamed) {
  EXPECT_EQ(Installed().of("~/Documents").category, StorageCategoryID::documents);
  EXPECT_EQ(Installed().of("~/Documents/x").category, std::nullopt);
}

TEST(ItemOwners, AnItemInABundleIsTheAppsWithoutAnyReceipt) {
  const ItemOwnership item = Installed().of("/Applications/Example.app/Contents/MacOS/x");
  EXPECT_EQ(ownerLine(item.ownership), "owned Example inside");
  EXPECT_THAT(item.packages, IsEmpty());
}

TEST(ItemOwners, FoldersOfAllAppsAreNobodys) {
  const Installed mac;
  for (const char* path :
       {"/", "~", "~/Library", "~/Library/Caches", "~/.config", "/Library/LaunchDaemons", "/Users"}) {
    const Ownership ownership = mac.of(path).ownership;
    EXPECT_EQ(ownership.status, OwnershipStatus::unknown) << path;
    EXPECT_EQ(ownership.evidence, "All apps share this folder.") << path;
  }
  EXPECT_EQ(mac.of("/usr").ownership.evidence, "");
}

TEST(ItemOwners, HostilePathsHaveNoOwner) {
  const Installed mac;
  std::string deep;
  for (int i = 0; i < 5'000; ++i) deep += "/x.app";
  for (const std::string& path : {deep, std::string("/Applications/Example.apple/x"), std::string("/\xff\xfe/a"),
                                  std::string("/Users/ann/Library/Caches/\xff\xfe")}) {
    EXPECT_EQ(mac.of(path).ownership.status, OwnershipStatus::unknown) << path.substr(0, 40);
  }
}

TEST(ItemOwners, APackageOfManyAppsListsSomeAndCountsTheOthers) {
  MacVolume volume;
  std::vector<AppEntity> apps;
  for (int i = 0; i < 100'000; ++i) {
    apps.push_back({.name = "Same",
                    .bundleIdentifier = "com.same.App",
                    .bundleURL = FileURL("/Applications/" + std::to_string(i) + "/Same.app")});
  }
  OwnershipService::Options options = OwnershipService::kEverything;
  options.readBundles = false;
  const OwnershipMap map = Mapper(volume).service().map(apps, options);
  const Ownership ownership = map.owners(FileURL("/usr/local/bin/same"), {"com.same.App.pkg"});
  EXPECT_EQ(ownership.status, OwnershipStatus::shared);
  EXPECT_EQ(ownership.owners.size(), Ownership::kMostListed);
  EXPECT_EQ(ownership.ownersLeftOut, 100'000 - static_cast<std::int64_t>(Ownership::kMostListed));
}

}  // namespace
}  // namespace quarn::item_owners_tests
