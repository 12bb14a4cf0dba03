#include <thread>

#include <gmock/gmock.h>

#include "quarn/browse/BrowseWalk.h"
#include "tests/quarn/browse/TreeOf.h"

namespace quarn::browse_walk_tests {
namespace {

using ::testing::UnorderedElementsAre;
using Node = BrowseTree::Node;

std::vector<std::string> filesIn(const BrowseTree& tree, Node folder) {
  std::vector<std::string> names;
  tree.eachChild(folder, [&](const BrowseTree::Item& item) {
    names.emplace_back(item.name);
    return true;
  });
  return names;
}

FolderObserver::File file(std::string_view name, std::int64_t bytes) {
  return {.name = name, .sizes = {.allocatedBytes = bytes, .logicalBytes = bytes}, .modified = bytes};
}

TEST(BrowseWalk, TheFilesOfAFolderAppearTogetherWhenItIsRead) {
  BrowseTree tree("/");
  BrowseWalk walk(tree);
  const Node folder = walk.enter(BrowseTree::kTop, {.name = "folder"});
  const Node other = walk.enter(BrowseTree::kTop, {.name = "other"});
  const std::string longName(200, 'x');
  walk.keep(folder, file("a", 1));
  walk.keep(other, file("c", 4));
  walk.keep(folder, file(longName, 2));
  EXPECT_EQ(tree.size(), 3U) << "the folders";
  walk.add(folder, {});
  EXPECT_THAT(filesIn(tree, folder), UnorderedElementsAre("a", longName));
  EXPECT_THAT(filesIn(tree, other), UnorderedElementsAre());
  EXPECT_EQ(tree.item(folder).sizes.logicalBytes, 3);
  EXPECT_EQ(tree.item(folder).files, 2);
  EXPECT_EQ(tree.item(BrowseTree::kTop).sizes.logicalBytes, 3);
  EXPECT_EQ(tree.item(BrowseTree::kTop).newest, 2);
  walk.finish();
  EXPECT_THAT(filesIn(tree, other), UnorderedElementsAre("c"));
  EXPECT_EQ(tree.item(BrowseTree::kTop).sizes.logicalBytes, 7);
}

TEST(BrowseWalk, ABigFolderAppearsInParts) {
  BrowseTree tree("/");
  BrowseWalk walk(tree);
  for (std::size_t i = 0; i < BrowseWalk::kFilesTogether; ++i) walk.keep(BrowseTree::kTop, file("a", 1));
  EXPECT_EQ(tree.size(), BrowseWalk::kFilesTogether + 1);
  walk.keep(BrowseTree::kTop, file("b", 1));
  EXPECT_EQ(tree.size(), BrowseWalk::kFilesTogether + 1);
  walk.add(BrowseTree::kTop, {});
  EXPECT_EQ(tree.size(), BrowseWalk::kFilesTogether + 2);
  EXPECT_EQ(tree.item(BrowseTree::kTop).files, static_cast<std::int64_t>(BrowseWalk::kFilesTogether) + 1);
}

TEST(BrowseWalk, AFileWithSeveralNamesCountsOncePerFolder) {
  BrowseTree tree("/");
  BrowseWalk walk(tree);
  const Node folder = walk.enter(BrowseTree::kTop, {.name = "folder"});
  for (const char* name : {"a", "b"}) {
    FolderObserver::File linked = file(name, 8);
    linked.inode = 7;
    linked.links = 2;
    walk.keep(folder, linked);
  }
  walk.keep(folder, file("c", 1));
  walk.add(folder, {});
  EXPECT_EQ(tree.item(folder).sizes.logicalBytes, 9);
  EXPECT_EQ(tree.item(BrowseTree::kTop).sizes.logicalBytes, 9);
  EXPECT_EQ(tree.item(folder).files, 2);
}

TEST(BrowseWalk, SeveralThreadsMayReadOneFolder) {
  constexpr int kFiles = 5'000;
  BrowseTree tree("/");
  BrowseWalk walk(tree);
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    threads.emplace_back([&] {
      for (int j = 0; j < kFiles; ++j) walk.keep(BrowseTree::kTop, file("name", 1));
      walk.add(BrowseTree::kTop, {});
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(tree.item(BrowseTree::kTop).files, 3 * kFiles);
  EXPECT_EQ(tree.size(), 3U * kFiles + 1);
}

}  // namespace
}  // namespace quarn::browse_walk_tests
