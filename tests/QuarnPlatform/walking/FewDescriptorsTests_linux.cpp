#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "QuarnPlatform/files/ReadReport.h"
#include "QuarnPlatform/walking/TreeSizer.h"
#include "tests/support/Descriptors.h"
#include "tests/support/MacVolume.h"
#include "tests/support/MemoryVolume.h"

// The stand-ins for macOS's calls take descriptors of their own, so this is tested here only.

namespace quarn::few_descriptors_tests_linux {
namespace {

struct Everything : Attribution {
  [[nodiscard]] std::optional<Step> folder(const Step& parent, std::string_view, bool) const override { return parent; }
  [[nodiscard]] std::optional<std::uint8_t> file(const Step& parent, std::string_view) const override {
    return parent.bucket;
  }
};

class WithFewDescriptors : public ::testing::TestWithParam<unsigned> {};

INSTANTIATE_TEST_SUITE_P(OnThreads, WithFewDescriptors, ::testing::Values(1U, 2U, 8U, 16U));

// Each of three roots needs a descriptor, and each thread two to four more: most threads find none and leave their
// folders to the others.
TEST_P(WithFewDescriptors, ASizingWalkLosesNothing) {
  MacVolume volume = volumeInMemory();
  const auto report = std::make_shared<ReadReport>();
  const Everything everything;
  std::vector<TreeSizer::Tree> trees;
  std::int64_t expected = 0;
  for (const std::string root : {"/t/a", "/t/b", "/t/c"}) {
    for (int i = 0; i < 400; ++i) {
      volume.sparse(root + "/" + std::to_string(i % 20) + "/" + std::to_string(i) + "/x/file", i);
      expected += i;
    }
    trees.push_back({.root = FileURL(root), .attribution = &everything});
  }
  const FileManager files = volume.files().reportingTo(report);
  const DescriptorLimit limit(10);
  for (int round = 0; round < 5; ++round) {
    std::int64_t sum = 0;
    for (const TreeSizer::TreeTotals& tree : TreeSizer::totals(files, trees, {.threads = GetParam()})) {
      EXPECT_FALSE(tree.error.has_value());
      sum += tree.totals[0].logicalBytes;
    }
    EXPECT_EQ(sum, expected);
  }
  EXPECT_EQ(report->count(), 0U);
}

}  // namespace
}  // namespace quarn::few_descriptors_tests_linux
