#include <algorithm>
#include <random>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnPlatform/paths/PackedPaths.h"
#include "QuarnPlatform/paths/Path.h"

namespace quarn::packed_paths_tests {
namespace {

using ::testing::ElementsAre;

PackedPaths packed(const std::vector<std::string>& paths) {
  std::vector<PackedPaths::Entry> entries;
  for (const std::string& path : paths) entries.push_back({.path = path});
  return PackedPaths(std::move(entries));
}

std::vector<std::string> listed(const PackedPaths& paths) {
  std::vector<std::string> result;
  for (std::size_t i = 0; i < paths.size(); ++i) {
    result.push_back(std::string(paths[i].path) + (paths[i].isMarked ? "!" : ""));
  }
  return result;
}

TEST(PackedPaths, AreListedInByteOrderEachOnce) {
  EXPECT_THAT(listed(packed({"b/c", "a", "b.c", "b", "a", "\xFF", "B"})),
              ElementsAre("B", "a", "b", "b.c", "b/c", "\xFF"));
}

TEST(PackedPaths, ThePathIsMarkedWhenOneOfItsEntriesIs) {
  const PackedPaths paths(
      {{.path = "a"}, {.path = "b", .isMarked = true}, {.path = "a", .isMarked = true}, {.path = "c"}, {.path = "a"}});
  EXPECT_THAT(listed(paths), ElementsAre("a!", "b!", "c"));
}

TEST(PackedPaths, AnEmptyListHoldsNothing) {
  const PackedPaths none;
  EXPECT_EQ(none.size(), 0U);
  EXPECT_FALSE(none.contains(""));
  EXPECT_FALSE(none.containsAtOrBelow(""));
  EXPECT_FALSE(none.containsAtOrBelow("a"));
}

TEST(PackedPaths, PathsBelowAreFoundByComponents) {
  const PackedPaths paths = packed({"a", "b/c/d", "e.f/g", "e/h", "e-/i"});
  EXPECT_TRUE(paths.containsAtOrBelow("a"));
  EXPECT_TRUE(paths.containsAtOrBelow("b"));
  EXPECT_TRUE(paths.containsAtOrBelow("b/c"));
  EXPECT_TRUE(paths.containsAtOrBelow("e"));
  EXPECT_TRUE(paths.containsAtOrBelow(""));
  EXPECT_FALSE(paths.containsAtOrBelow("b/c/d/e"));
  EXPECT_FALSE(paths.containsAtOrBelow("b/d"));
  EXPECT_FALSE(paths.containsAtOrBelow("e.")) << "only the name begins so";
  EXPECT_FALSE(paths.contains("b")) << "not listed itself";
}

// Names of few letters, some of them before and some after "/" in byte order, so that many paths have common
// prefixes.
TEST(PackedPaths, AnswerAsASetOfTextsDoes) {
  std::mt19937 random(7);
  const auto path = [&] {
    std::string text;
    for (std::size_t i = 0, length = random() % 9; i < length; ++i) text += std::string_view("-./0ab")[random() % 6];
    return text;
  };
  for (int round = 0; round < 300; ++round) {
    std::vector<std::string> all(random() % 30);
    std::generate(all.begin(), all.end(), path);
    const std::set<std::string> set(all.begin(), all.end());
    const PackedPaths paths = packed(all);
    EXPECT_EQ(listed(paths), std::vector<std::string>(set.begin(), set.end()));
    for (int i = 0; i < 30; ++i) {
      const std::string sought = path();
      if (sought == "/") continue;  // which is not relative
      EXPECT_EQ(paths.contains(sought), set.contains(sought)) << sought;
      const bool isAbove = std::any_of(set.begin(), set.end(), [&](const std::string& listedPath) {
        return sought.empty() || path::isInside(listedPath, sought);
      });
      EXPECT_EQ(paths.containsAtOrBelow(sought), isAbove) << sought;
    }
  }
}

TEST(PackedPaths, TakeTheirBytesPlusFivePerPath) {
  std::vector<std::string> paths;
  std::size_t bytes = 0;
  for (int i = 0; i < 1'000; ++i) {
    paths.push_back("usr/share/folder/" + std::to_string(i));
    bytes += paths.back().size() + 5;
  }
  EXPECT_LE(packed(paths).memory(), bytes + 64);
}

}  // namespace
}  // namespace quarn::packed_paths_tests
