#include <gmock/gmock.h>

#include "QuarnPlatform/paths/PathTrie.h"

namespace quarn::path_trie_tests {
namespace {

using Trie = PathTrie<int>;

TEST(PathTrie, AnEmptyTrieHasNothingAnywhere) {
  const Trie trie;
  EXPECT_EQ(trie.find("/a"), Trie::kNone);
  EXPECT_EQ(trie.step(Trie::kRoot, "a"), Trie::kNone);
  EXPECT_EQ(trie.longestMatch("/a/b"), nullptr);
  EXPECT_EQ(trie.value(Trie::kRoot), nullptr);
}

TEST(PathTrie, AStepGoesFromAFolderToAnItemInIt) {
  Trie trie;
  trie.insert("/Users/ann/Library", 7);
  const Trie::Node users = trie.step(Trie::kRoot, "Users");
  const Trie::Node ann = trie.step(users, "ann");
  const Trie::Node library = trie.step(ann, "Library");
  ASSERT_NE(library, Trie::kNone);
  EXPECT_EQ(trie.value(users), nullptr);
  EXPECT_EQ(trie.value(ann), nullptr);
  EXPECT_EQ(*trie.value(library), 7);
  EXPECT_EQ(trie.find("/Users/ann/Library"), library);
}

TEST(PathTrie, OutsideStaysOutside) {
  Trie trie;
  trie.insert("/a/b", 1);
  EXPECT_EQ(trie.step(trie.find("/a/b"), "c"), Trie::kNone);
  EXPECT_EQ(trie.step(Trie::kNone, "a"), Trie::kNone);
  EXPECT_EQ(trie.value(Trie::kNone), nullptr);
  EXPECT_EQ(trie.find("/x/a/b"), Trie::kNone);
}

TEST(PathTrie, NamesAreComparedWholeAndByTheirBytes) {
  Trie trie;
  trie.insert("/ab", 1);
  EXPECT_EQ(trie.find("/a"), Trie::kNone);
  EXPECT_EQ(trie.find("/abc"), Trie::kNone);
  EXPECT_EQ(trie.find("/AB"), Trie::kNone);
  EXPECT_NE(trie.find("/ab"), Trie::kNone);
}

TEST(PathTrie, FoldersOnTheWayToARuleHaveChildrenAndTheLastOneHasNone) {
  Trie trie;
  trie.insert("/a/b", 1);
  EXPECT_TRUE(trie.hasChildren(Trie::kRoot));
  EXPECT_TRUE(trie.hasChildren(trie.find("/a")));
  EXPECT_FALSE(trie.hasChildren(trie.find("/a/b")));
  EXPECT_FALSE(trie.hasChildren(Trie::kNone));
  EXPECT_FALSE(Trie().hasChildren(Trie::kRoot));
}

TEST(PathTrie, TheFirstRuleForAPathWins) {
  Trie trie;
  trie.insert("/a", 1);
  trie.insert("/a", 2);
  EXPECT_EQ(*trie.value(trie.find("/a")), 1);
}

TEST(PathTrie, TheLongestMatchingRuleWinsInAnyOrderOfInsertion) {
  Trie trie;
  trie.insert("/a/b/c", 3);
  trie.insert("/a", 1);
  EXPECT_EQ(*trie.longestMatch("/a"), 1);
  EXPECT_EQ(*trie.longestMatch("/a/b"), 1);
  EXPECT_EQ(*trie.longestMatch("/a/b/c"), 3);
  EXPECT_EQ(*trie.longestMatch("/a/b/c/d"), 3);
  EXPECT_EQ(*trie.longestMatch("/a/bb"), 1);
  EXPECT_EQ(trie.longestMatch("/b"), nullptr);
}

TEST(PathTrie, ARuleForTheRootMatchesEverything) {
  Trie trie;
  trie.insert("/", 9);
  EXPECT_EQ(*trie.longestMatch("/"), 9);
  EXPECT_EQ(*trie.longestMatch("/any/thing"), 9);
}

TEST(PathTrie, NamesMayBeAnyBytes) {
  Trie trie;
  trie.insert("/\xFF\xFE", 4);
  EXPECT_EQ(*trie.value(trie.step(Trie::kRoot, "\xFF\xFE")), 4);
}

}  // namespace
}  // namespace quarn::path_trie_tests
