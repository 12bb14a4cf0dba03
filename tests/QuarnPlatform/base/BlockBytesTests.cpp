#include <limits>

#include <gtest/gtest.h>

#include "QuarnPlatform/base/BlockBytes.h"

namespace quarn::block_bytes_tests {
namespace {

constexpr auto kLargest = std::numeric_limits<std::int64_t>::max();

TEST(BlockBytes, AreTheProduct) {
  EXPECT_EQ(bytesInBlocks(0, 512), 0);
  EXPECT_EQ(bytesInBlocks(3, 512), 1536);
  EXPECT_EQ(bytesInBlocks(kLargest / 512, 512), kLargest - 511);
  EXPECT_EQ(bytesInBlocks(kLargest, 1), kLargest);
}

TEST(BlockBytes, AreAbsentWhenTheyDoNotFit) {
  EXPECT_EQ(bytesInBlocks(kLargest / 512 + 1, 512), std::nullopt);
  EXPECT_EQ(bytesInBlocks(std::uint64_t{1} << 63, 1), std::nullopt);
  EXPECT_EQ(bytesInBlocks(std::uint64_t{1} << 60, 16), std::nullopt) << "a wrapped product would be zero";
  EXPECT_EQ(bytesInBlocks(std::numeric_limits<std::uint64_t>::max(), 4096), std::nullopt);
}

}  // namespace
}  // namespace quarn::block_bytes_tests
