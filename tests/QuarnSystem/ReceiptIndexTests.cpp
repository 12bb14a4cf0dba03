#include <random>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnBuilders/BomBuilder.h"
#include "QuarnSystem/ReceiptIndex.h"
#include "QuarnSystem/ReceiptSnapshot.h"
#include "tests/support/MacVolume.h"

namespace quarn::receipt_index_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

PackedPaths bill(const std::vector<std::string>& paths) {
  std::vector<PackedPaths::Entry> entries;
  for (const std::string& path : paths) entries.push_back({path, true});
  return PackedPaths(std::move(entries));
}

ReceiptFile receipt(std::string identifier, std::string location = "/") {
  return {.identifier = std::move(identifier),
          .version = {},
          .installDate = {},
          .installLocation = std::move(location),
          .bill = {}};
}

TEST(ReceiptIndex, FindsPackagesByTheBundleIdentifierAndItsContinuations) {
  const ReceiptIndex index({receipt("com.Example.App.pkg"), receipt("com.example.application"),
                            receipt("com.example.app"), receipt("com.example.app-x")});
  EXPECT_THAT(index.named("COM.example.APP"), ElementsAre(0, 2));
  EXPECT_THAT(index.named("com.example"), ElementsAre(0, 1, 2, 3));
  EXPECT_THAT(index.named(""), IsEmpty());
}

TEST(ReceiptIndex, FindsTheBundlesThatABillListsAtAnyDepth) {
  const std::vector<ReceiptFile> receipts{receipt("a"), receipt("b", "/Applications/Outer.app"), receipt("c")};
  ReceiptIndex index(receipts);
  index.addBill(0, receipts[0], bill({"Applications/A.app/Contents/Info.plist", "Applications/A.app/In.APP/x"}));
  index.addBill(1, receipts[1], bill({"Contents/x"}));
  index.addBill(2, receipts[2], bill({"Applications/A.app", "Applications/A.apple/x", "Applications/B.app.bak"}));
  EXPECT_THAT(index.listing("/Applications/A.app"), ElementsAre(0, 2));
  EXPECT_THAT(index.listing("/Applications/A.app/In.APP"), ElementsAre(0));
  EXPECT_THAT(index.listing("/Applications/Outer.app"), ElementsAre(1));
  EXPECT_THAT(index.listing("/Applications/B.app"), IsEmpty());
  EXPECT_THAT(index.listing("/Applications/A.apple"), IsEmpty());
}

TEST(ReceiptIndex, StopsAtItsLimitAndSaysSo) {
  std::vector<std::string> paths;
  for (std::size_t i = 0; i <= ReceiptIndex::kMostBundles; ++i) paths.push_back(std::to_string(i) + ".app");
  const std::vector<ReceiptFile> receipts{receipt("a")};
  ReceiptIndex index(receipts);
  EXPECT_TRUE(index.isComplete());
  index.addBill(0, receipts[0], bill(paths));
  EXPECT_FALSE(index.isComplete());
}

// The first query of a snapshot asks every bill; later ones ask the index.
TEST(ReceiptIndex, EveryQueryOfASnapshotFindsWhatTheFirstOneWouldFind) {
  constexpr std::array kFolders{"/",        "/Applications",        "/Applications/A.app",
                                "/private", "/private/tmp/B.app/x", "/Users/ann/Applications"};
  constexpr std::array kParts{"Applications", "A.app", "B.APP", "C.app", "private", "tmp", "x.ap", "Contents"};
  for (unsigned seed = 0; seed < 20; ++seed) {
    std::mt19937 random(seed);
    const auto pick = [&](std::size_t count) { return static_cast<std::size_t>(random() % count); };
    const auto path = [&] {
      std::string text(kParts[pick(kParts.size())]);
      for (std::size_t more = pick(4); more > 0; --more) text += "/" + std::string(kParts[pick(kParts.size())]);
      return text;
    };
    MacVolume volume;
    for (int i = 0; i < 8; ++i) {
      sample::BomBuilder files;
      for (std::size_t more = 1 + pick(4); more > 0; --more) files.file("f/" + path());
      files.file(path());
      const std::string name = "/private/var/db/receipts/" + std::to_string(i);
      volume
          .plist(name + ".plist", {{"PackageIdentifier", "com." + std::to_string(pick(4)) + ".x"},
                                   {"InstallPrefixPath", std::string(kFolders[pick(kFolders.size())])}})
          .text(name + ".bom", files.bytes());
    }
    const ReceiptSnapshot snapshot = ReceiptSnapshot::of(volume.files());
    (void)snapshot.receiptsMatching({.bundleURL = FileURL("/x.app")});
    for (int i = 0; i < 40; ++i) {
      AppEntity app{.name = "X", .bundleURL = FileURL("/" + path())};
      if (pick(3) == 0) app.bundleIdentifier = "com." + std::to_string(pick(4));
      const auto wanted = ReceiptSnapshot::of(volume.files()).receiptsMatching(app);
      EXPECT_TRUE(snapshot.receiptsMatching(app) == wanted) << seed << ": " << app.bundleURL.path();
    }
  }
}

}  // namespace
}  // namespace quarn::receipt_index_tests
