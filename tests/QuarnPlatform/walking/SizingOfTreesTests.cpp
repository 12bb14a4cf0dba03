#include <algorithm>
#include <atomic>
#include <chrono>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/QuarnPlatform/walking/Sizing.h"
#include "tests/support/Descriptors.h"

namespace quarn::sizing_of_trees_tests {
namespace {

using Totals = TreeSizer::Totals;

// One walk of several trees. Every rule holds whatever the number of threads.
class SizingOfTrees : public SizingWithThreads {
 protected:
  SizingOfTrees() : SizingWithThreads(InMemory::yes) {}
};

INSTANTIATE_TEST_SUITE_P(OnThreads, SizingOfTrees, ::testing::Values(0U, 1U, 2U, 8U));

TEST_P(SizingOfTrees, EachTreeOfAWalkHasItsOwnTotalsAndRules) {
  volume.file("/t/a", 1).file("/t/x/y/b", 10).file("/u/.c", 100).file("/u/d", 1000).folder("/v").file("/w/e", 10'000);
  const PlainAttribution plain;
  const std::vector<TreeSizer::Tree> trees{{.root = FileURL("/t"), .attribution = &plain, .rootStep = {.bucket = 3}},
                                           {.root = FileURL("/u"), .attribution = &plain, .hidden = HiddenItems::skip},
                                           {.root = FileURL("/v"), .attribution = &plain},
                                           {.root = FileURL("/w"), .attribution = &plain, .rootStep = {.bucket = 15}}};
  const std::vector<TreeSizer::TreeTotals> found = TreeSizer::totals(files(), trees, options());
  ASSERT_EQ(found.size(), 4U);
  EXPECT_EQ(found[0].totals[3].logicalBytes, 11);
  EXPECT_EQ(found[0].totals[0], ByteCounts{});
  EXPECT_EQ(found[1].totals[0].logicalBytes, 1000);
  EXPECT_EQ(found[2].totals, Totals{});
  EXPECT_EQ(found[3].totals[15].logicalBytes, 10'000);
  for (const TreeSizer::TreeTotals& tree : found) {
    EXPECT_TRUE(tree.isStarted);
    EXPECT_FALSE(tree.error.has_value());
  }
}

TEST_P(SizingOfTrees, ATreeThatCannotBeListedDoesNotEndTheOthers) {
  volume.file("/t/a", 1).file("/file", 5).link("/link", "/t").file("/u/b", 10);
  const PlainAttribution plain;
  std::vector<TreeSizer::Tree> trees;
  for (const char* root : {"/missing", "/t", "/file", "/link", "/u"}) {
    trees.push_back({.root = FileURL(root), .attribution = &plain});
  }
  const std::vector<TreeSizer::TreeTotals> found = TreeSizer::totals(files(), trees, options());
  for (const std::size_t failed : {0U, 2U, 3U}) {
    ASSERT_TRUE(found[failed].error.has_value()) << failed;
    EXPECT_EQ(found[failed].error->path(), trees[failed].root.path());
    EXPECT_EQ(found[failed].totals, Totals{});
  }
  EXPECT_EQ(found[1].totals[0].logicalBytes, 1);
  EXPECT_EQ(found[4].totals[0].logicalBytes, 10);
}

TEST_P(SizingOfTrees, ManyTreesAreWalkedWithFewDescriptors) {
  constexpr int kTrees = 300;
  struct Watching : PlainAttribution {
    [[nodiscard]] std::optional<std::uint8_t> file(const Step& parent, std::string_view) const override {
      const std::size_t open = openDescriptors();
      std::size_t before = most.load();
      while (before < open && !most.compare_exchange_weak(before, open)) {
      }
      return parent.bucket;
    }
    mutable std::atomic<std::size_t> most = 0;
  };
  const Watching watching;
  std::vector<TreeSizer::Tree> trees;
  for (int i = 0; i < kTrees; ++i) {
    const std::string root = "/t/" + std::to_string(i);
    volume.file(root + "/folder/file", i);
    trees.push_back({.root = FileURL(root), .attribution = &watching});
  }
  const std::size_t before = openDescriptors();
  const std::vector<TreeSizer::TreeTotals> found = TreeSizer::totals(files(), trees, options());
  for (int i = 0; i < kTrees; ++i) EXPECT_EQ(found[static_cast<std::size_t>(i)].totals[0].logicalBytes, i);
  // A thread has a root, a folder, a duplicate of it, and the folder in which it counts descriptors.
  EXPECT_LE(watching.most.load(), before + 64 + 4 * 16);
  EXPECT_EQ(openDescriptors(), before);
}

TEST_P(SizingOfTrees, ProgressIsTheSumOfAllTrees) {
  volume.file("/t/a", 1).file("/u/b", 10).file("/v/c", 100);
  const PlainAttribution plain;
  std::vector<TreeSizer::Tree> trees;
  for (const char* root : {"/t", "/u", "/v"}) trees.push_back({.root = FileURL(root), .attribution = &plain});
  std::vector<std::int64_t> seen;
  TreeSizer::Options asked = options();
  asked.interval = std::chrono::milliseconds(0);
  asked.onProgress = [&](const Totals& soFar) { seen.push_back(soFar[0].logicalBytes); };
  (void)TreeSizer::totals(files(), trees, asked);
  ASSERT_FALSE(seen.empty());
  EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
  EXPECT_LE(seen.back(), 111);
  EXPECT_TRUE(seen.back() == 111 || GetParam() != 1) << "once more when all is read: " << seen.back();
}

TEST_P(SizingOfTrees, ATreeThatACancelledWalkDidNotReachIsNotStarted) {
  volume.file("/t/a", 1).file("/u/b", 10);
  struct Cancelling : PlainAttribution {
    [[nodiscard]] std::optional<std::uint8_t> file(const Step& parent, std::string_view name) const override {
      if (name == "a") cancellation.cancel();
      return parent.bucket;
    }
    Cancellation cancellation;
  };
  const Cancelling cancelling;
  TreeSizer::Options asked = options();
  asked.threads = 1;
  asked.cancellation = cancelling.cancellation;
  const std::vector<TreeSizer::TreeTotals> found = TreeSizer::totals(
      files(),
      {{.root = FileURL("/t"), .attribution = &cancelling}, {.root = FileURL("/u"), .attribution = &cancelling}},
      asked);
  EXPECT_TRUE(found[0].isStarted);
  EXPECT_EQ(found[0].totals[0].logicalBytes, 1);
  EXPECT_FALSE(found[1].isStarted);
  EXPECT_EQ(found[1].totals, Totals{});
}

}  // namespace
}  // namespace quarn::sizing_of_trees_tests
