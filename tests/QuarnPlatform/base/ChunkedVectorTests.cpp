#include <gtest/gtest.h>

#include "QuarnPlatform/base/ChunkedVector.h"

namespace quarn::chunked_vector_tests {
namespace {

TEST(ChunkedVector, KeepsElementsInOrderAndInPlaceBeyondAChunk) {
  ChunkedVector<int, 4> numbers;
  EXPECT_EQ(numbers.size(), 0U);
  numbers.push_back(0);
  const int* first = &numbers[0];
  for (int i = 1; i < 11; ++i) numbers.push_back(i);
  ASSERT_EQ(numbers.size(), 11U);
  for (int i = 0; i < 11; ++i) EXPECT_EQ(numbers[static_cast<std::size_t>(i)], i);
  EXPECT_EQ(&numbers[0], first);
  numbers[9] = 90;
  EXPECT_EQ(numbers[9], 90);
  EXPECT_EQ(numbers[8], 8);
}

}  // namespace
}  // namespace quarn::chunked_vector_tests
