#include <gmock/gmock.h>

#include "quarn/browse/BrowseFill.h"
#include "quarn/browse/BrowseTree.h"
#include "tests/quarn/browse/TreeOf.h"
#include "tests/support/MacVolume.h"

namespace quarn::browse_tree_tests {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;
using Node = BrowseTree::Node;

std::vector<std::string> childNames(const BrowseTree& tree, Node folder) {
  std::vector<std::string> names;
  tree.eachChild(folder, [&](const BrowseTree::Item& item) {
    names.emplace_back(item.name);
    return true;
  });
  return names;
}

std::int64_t lengthOf(const BrowseTree& tree, std::string_view path) {
  return tree.item(nodeAt(tree, path)).sizes.logicalBytes;
}

void fill(BrowseTree& tree, const MacVolume& volume, std::string_view folder) {
  fillFromFolder(tree, volume.files(), FileURL(folder, URLKind::directory), Cancellation::never());
}

TEST(BrowseTree, AFolderHasTheSumsOfAllThatIsInIt) {
  MacVolume volume;
  volume.file("~/a/one", 10).file("~/a/b/two", 200).file("~/three", 3'000);
  BrowseTree tree("/Users/ann");
  fill(tree, volume, "/Users/ann");
  EXPECT_EQ(lengthOf(tree, "/Users/ann/a/b"), 200);
  EXPECT_EQ(lengthOf(tree, "/Users/ann/a"), 210);
  EXPECT_EQ(lengthOf(tree, "/Users/ann"), 3'210);
  EXPECT_EQ(tree.item(BrowseTree::kTop).files, 3);
  EXPECT_THAT(childNames(tree, BrowseTree::kTop), UnorderedElementsAre("a", "three"));
}

TEST(BrowseTree, AFolderHasTheLatestChangeOfItsFiles) {
  MacVolume volume;
  volume.file("~/a/old", 1).file("~/a/b/new", 1).modified("~/a/old", 1'000).modified("~/a/b/new", 5'000);
  BrowseTree tree("/Users/ann");
  fill(tree, volume, "/Users/ann");
  EXPECT_EQ(tree.item(nodeAt(tree, "/Users/ann/a")).newest, 5'000);
}

TEST(BrowseTree, PathsLeadFromTheTopToTheItem) {
  MacVolume volume;
  volume.file("/a/b", 1);
  BrowseTree tree("/");
  fill(tree, volume, "/");
  EXPECT_EQ(tree.path(nodeAt(tree, "/a/b")), "/a/b");
  EXPECT_EQ(tree.path(BrowseTree::kTop), "/");
}

TEST(BrowseTree, AFileWithSeveralNamesCountsOnceInEachFolder) {
  MacVolume volume;
  volume.file("~/a/one", 100).hardLink("~/a/two", "~/a/one").hardLink("~/b/three", "~/a/one").file("~/b/own", 7);
  BrowseTree tree("/Users/ann");
  fill(tree, volume, "/Users/ann");
  EXPECT_EQ(lengthOf(tree, "/Users/ann/a"), 100);
  EXPECT_EQ(lengthOf(tree, "/Users/ann/b"), 107);
  EXPECT_EQ(lengthOf(tree, "/Users/ann"), 107);
  EXPECT_EQ(tree.item(BrowseTree::kTop).files, 2);
  EXPECT_EQ(tree.item(nodeAt(tree, "/Users/ann/b/three")).links, 3u);
}

TEST(BrowseTree, AUnionCountsNestedItemsAndHardLinksOnce) {
  MacVolume volume;
  volume.file("~/a/one", 100).hardLink("~/b/two", "~/a/one").file("~/a/sub/x", 20).file("~/b/y", 3);
  BrowseTree tree("/Users/ann");
  fill(tree, volume, "/Users/ann");
  const std::vector<Node> marks{nodeAt(tree, "/Users/ann/a"), nodeAt(tree, "/Users/ann/a/sub"),
                                nodeAt(tree, "/Users/ann/b")};
  const BrowseTree::Union sum = tree.unionOf(marks);
  EXPECT_EQ(sum.sizes.logicalBytes, 123);
  EXPECT_EQ(sum.files, 3);
  EXPECT_EQ(sum.heldElsewhere, 0);
}

TEST(BrowseTree, AUnionSaysWhatStaysUnderOtherNames) {
  MacVolume volume;
  volume.file("~/a/one", 4'096).hardLink("~/b/two", "~/a/one");
  BrowseTree tree("/Users/ann");
  fill(tree, volume, "/Users/ann");
  const std::vector<Node> marks{nodeAt(tree, "/Users/ann/a")};
  const BrowseTree::Union sum = tree.unionOf(marks);
  EXPECT_EQ(sum.heldElsewhere, sum.sizes.allocatedBytes);
  EXPECT_GT(sum.heldElsewhere, 0);
}

TEST(BrowseTree, TheUnionOfNothingIsNothing) {
  BrowseTree tree("/");
  EXPECT_EQ(tree.unionOf({}), BrowseTree::Union{});
}

TEST(BrowseTree, RootsThatAreInOthersOrTheSameByALinkAreShownOnce) {
  MacVolume volume;
  volume.file("~/a/b/x", 5).link("~/same", "/Users/ann/a").file("~/single", 2);
  BrowseTree tree("documents");
  fillFromRoots(tree, volume.files(),
                {FileURL("/Users/ann/a"), FileURL("/Users/ann/a/b"), FileURL("/Users/ann/same"), FileURL("/nowhere"),
                 FileURL("/Users/ann/single")},
                Cancellation::never());
  EXPECT_THAT(childNames(tree, BrowseTree::kTop), UnorderedElementsAre("/Users/ann/a", "/Users/ann/single"));
  EXPECT_EQ(tree.item(BrowseTree::kTop).sizes.logicalBytes, 7);
  EXPECT_EQ(tree.path(nodeAt(tree, "/Users/ann/a/b/x")), "/Users/ann/a/b/x");
  EXPECT_EQ(tree.path(BrowseTree::kTop), "documents");
}

TEST(BrowseTree, AnItemCostsAtMost64BytesAndItsName) {
  // A block holds 4,096 items; the sum of everything else is below a megabyte.
  constexpr int kFiles = 200'000;
  BrowseTree tree("/");
  for (int i = 0; i < kFiles; ++i) tree.keep(BrowseTree::kTop, {.name = "12345678", .sizes = {1, 1}});
  EXPECT_EQ(tree.size(), kFiles + 1u);
  EXPECT_LE(tree.bytesInUse(), kFiles * (64u + 8u) + 1'000'000u);
}

TEST(BrowseTree, AMissingFolderIsAnError) {
  MacVolume volume;
  BrowseTree tree("/nowhere");
  EXPECT_THROW(fill(tree, volume, "/nowhere"), FileError);
}

}  // namespace
}  // namespace quarn::browse_tree_tests
