#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/QuarnPlatform/walking/Sizing.h"
#include "tests/support/Descriptors.h"

// The stand-ins for macOS's calls take descriptors of their own, so this is tested here only.

namespace quarn::few_descriptors_tests_linux {
namespace {

class WithFewDescriptors : public SizingWithThreads {
 protected:
  WithFewDescriptors() : SizingWithThreads(InMemory::yes) {}
};

INSTANTIATE_TEST_SUITE_P(OnThreads, WithFewDescriptors, ::testing::Values(1U, 2U, 8U, 16U));

// Each of three roots needs a descriptor, and each thread two to four more: most threads find none and leave their
// folders to the others.
TEST_P(WithFewDescriptors, ASizingWalkLosesNothing) {
  const PlainAttribution plain;
  std::vector<TreeSizer::Tree> trees;
  std::int64_t expected = 0;
  for (const std::string root : {"/t/a", "/t/b", "/t/c"}) {
    for (int i = 0; i < 400; ++i) {
      volume.sparse(root + "/" + std::to_string(i % 20) + "/" + std::to_string(i) + "/x/file", i);
      expected += i;
    }
    trees.push_back({.root = FileURL(root), .attribution = &plain});
  }
  const DescriptorLimit limit(10);
  for (int round = 0; round < 5; ++round) {
    std::int64_t sum = 0;
    for (const TreeSizer::TreeTotals& tree : TreeSizer::totals(files(), trees, options())) {
      EXPECT_FALSE(tree.error.has_value());
      sum += tree.totals[0].logicalBytes;
    }
    EXPECT_EQ(sum, expected);
  }
  EXPECT_EQ(report->count(), 0U);
}

}  // namespace
}  // namespace quarn::few_descriptors_tests_linux
