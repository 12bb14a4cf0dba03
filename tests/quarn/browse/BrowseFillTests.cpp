#include <gmock/gmock.h>

#include "quarn/browse/BrowseFill.h"
#include "quarn/browse/ItemKnowledge.h"
#include "quarn/services/Services.h"
#include "tests/quarn/browse/TreeOf.h"
#include "tests/quarn/commands/CommandRun.h"
#include "tests/support/MacVolume.h"

namespace quarn::browse_fill_tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

class BrowseOfAScan : public testing::Test {
 protected:
  BrowseOfAScan() {
    volume_.app("/Applications/Lumen Notes.app", {.bundleIdentifier = "com.lumen.notes", .name = "Lumen Notes"})
        .file("~/Library/Caches/com.lumen.notes/cache.db", 50'000)
        .file("~/Movies/holiday.mov", 70'000);
  }

  const Scan& scan() {
    if (!scan_) {
      const std::string file = out_.root() + "/scan";
      const CommandRun run = runQuarn({"--volume", volume_.root(), "--home", "/Users/ann", "scan", "-o", file});
      EXPECT_EQ(run.exitCode, 0) << run.err;
      scan_ = Scan::open(file);
    }
    return *scan_;
  }
  void fill(BrowseTree& tree, std::string_view path) {
    fillFromScan(tree, scan(), *scan().folder(path), Cancellation::never());
  }

  MacVolume volume_;
  MacVolume out_;
  std::optional<Scan> scan_;
};

TEST_F(BrowseOfAScan, ATreeOfAScanIsThatOfTheVolume) {
  BrowseTree live("/Users/ann");
  fillFromFolder(live, volume_.files(), FileURL("/Users/ann", URLKind::directory), Cancellation::never());
  BrowseTree kept("/Users/ann");
  fill(kept, "/Users/ann");
  for (const std::string_view path : {"/Users/ann", "/Users/ann/Library/Caches", "/Users/ann/Movies/holiday.mov"}) {
    const BrowseTree::Item expected = live.item(nodeAt(live, path));
    const BrowseTree::Item found = kept.item(nodeAt(kept, path));
    EXPECT_EQ(found.sizes, expected.sizes) << path;
    EXPECT_EQ(found.files, expected.files) << path;
    EXPECT_EQ(found.newest, expected.newest) << path;
    EXPECT_EQ(found.kind, expected.kind) << path;
  }
}

TEST_F(BrowseOfAScan, FilesThatTheScanDoesNotHaveAreOneItemPerFolder) {
  // More files of one size than a scan keeps: it keeps none of them.
  for (int i = 0; i <= 10'000; ++i) volume_.file("~/many/" + std::to_string(i), 1);
  BrowseTree tree("/Users/ann");
  fill(tree, "/Users/ann");
  std::vector<BrowseTree::Item> items;
  tree.eachChild(nodeAt(tree, "/Users/ann/many"), [&](const BrowseTree::Item& item) {
    items.push_back(item);
    return true;
  });
  ASSERT_EQ(items.size(), 1u);
  EXPECT_EQ(items[0].kind, BrowseTree::Kind::rest);
  EXPECT_EQ(items[0].files, 10'001);
  EXPECT_EQ(items[0].sizes.logicalBytes, 10'001);
  EXPECT_EQ(tree.item(nodeAt(tree, "/Users/ann/Movies/holiday.mov")).sizes.logicalBytes, 70'000);
}

TEST_F(BrowseOfAScan, SeveralFoldersHaveASumAndNestedOnesCountOnce) {
  BrowseTree tree("documents");
  fillFromScan(tree, scan(),
               {FileURL("/Users/ann/Movies"), FileURL("/Users/ann/Library"), FileURL("/Users/ann/Library/Caches")},
               Cancellation::never());
  EXPECT_EQ(tree.item(BrowseTree::kTop).sizes.logicalBytes, 120'000);
  EXPECT_EQ(tree.path(nodeAt(tree, "/Users/ann/Library/Caches/com.lumen.notes")),
            "/Users/ann/Library/Caches/com.lumen.notes");
}

// As text, "Movies - old" is between "Movies" and what is in it.
TEST_F(BrowseOfAScan, NestedFoldersCountOnceAlsoBesideOnesWithALongerName) {
  volume_.file("~/Movies - old/film", 5'000).folder("~/Movies/in");
  volume_.file("~/Movies/in/film", 7'000);
  BrowseTree tree("documents");
  fillFromScan(tree, scan(),
               {FileURL("/Users/ann/Movies/in"), FileURL("/Users/ann/Movies - old"), FileURL("/Users/ann/Movies")},
               Cancellation::never());
  EXPECT_EQ(tree.item(BrowseTree::kTop).sizes.logicalBytes, 70'000 + 7'000 + 5'000);
}

TEST_F(BrowseOfAScan, OwnersAreThoseOfTheVolume) {
  const ItemKnowledge ofScan = knowledgeOfScan(ScannedKnowledge(scan()));
  const Services services(volume_.files(), ResourceBundle::shipped());
  const ItemKnowledge ofVolume = knowledgeOfVolume(std::make_shared<const ItemOwners>(
      services.ownership().map(services.appsService().discoverApps(), OwnershipService::kEverything),
      services.receiptScanner.snapshot(), services.storageDashboard()));
  for (const std::string_view path :
       {"/Users/ann/Library/Caches/com.lumen.notes", "/Users/ann/Library/Caches/com.lumen.notes/cache.db",
        "/Applications/Lumen Notes.app/Contents", "/Users/ann/Movies", "/nowhere"}) {
    EXPECT_EQ(columnsOf(ofScan(FileURL(path))), columnsOf(ofVolume(FileURL(path)))) << path;
  }
  const KnownColumns cache = columnsOf(ofVolume(FileURL("/Users/ann/Library/Caches/com.lumen.notes/cache.db")));
  EXPECT_EQ(cache, (KnownColumns{.owner = "Lumen Notes", .category = "systemData", .risk = RiskLevel::safe}));
  EXPECT_EQ(columnsOf(ofVolume(FileURL("/nowhere"))), KnownColumns{});
}

TEST_F(BrowseOfAScan, DetailsSayWhyAndWhatRemovalMeans) {
  const ItemKnowledge knowledge = knowledgeOfScan(ScannedKnowledge(scan()));
  const auto details = detailsOf(knowledge(FileURL("/Users/ann/Library/Caches/com.lumen.notes")));
  EXPECT_THAT(details, Contains(DetailLine{"owner", "Lumen Notes"}));
  EXPECT_THAT(details, Contains(DetailLine{"removal", "the app recreates it, which may take time"}));
  EXPECT_THAT(details, Contains(testing::Field(&DetailLine::text, HasSubstr("bundle identifier"))));
  const auto unknown = detailsOf(knowledge(FileURL("/elsewhere")));
  EXPECT_THAT(unknown, Contains(DetailLine{"removal", "not known; look at it before you remove it"}));
}

TEST_F(BrowseOfAScan, ACancelledFillEnds) {
  Cancellation cancelled;
  cancelled.cancel();
  BrowseTree tree("/");
  fillFromScan(tree, scan(), *scan().folder("/"), cancelled);
  EXPECT_LE(tree.size(), 2u);
}

TEST(RemovalMeaning, SaysThatMacOSNeedsItAndThatTheAppIsGone) {
  KnownItem system{.item = {.ownership = {.status = OwnershipStatus::system}},
                   .dataClass = ArtifactDataClass::userData};
  EXPECT_THAT(detailsOf(system), Contains(DetailLine{"removal", "macOS needs it"}));
  KnownItem orphan{
      .item = {.ownership = {.status = OwnershipStatus::orphaned, .formerOwner = FormerOwner{.name = "Old"}}},
      .dataClass = ArtifactDataClass::configuration};
  EXPECT_THAT(detailsOf(orphan),
              Contains(DetailLine{"removal", "the app loses its settings; the app is not installed"}));
}

}  // namespace
}  // namespace quarn::browse_fill_tests
