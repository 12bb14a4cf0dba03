#include <limits>
#include <random>

#include <gmock/gmock.h>

#include "QuarnCore/folders/LargestItems.h"

namespace quarn::largest_items_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<int> kept(long limit, const std::vector<std::int64_t>& keys) {
  LargestItems<int> items(limit);
  int number = 0;
  for (const std::int64_t key : keys) items.add(key, number++);
  return items.take();
}

TEST(LargestItems, AreSortedLargestFirst) { EXPECT_THAT(kept(3, {1, 5, 3, 4, 2}), ElementsAre(1, 3, 2)); }

TEST(LargestItems, EqualKeysKeepTheOrderInWhichTheyWereFound) {
  EXPECT_THAT(kept(5, {7, 7, 9, 7, 9}), ElementsAre(2, 4, 0, 1, 3));
}

TEST(LargestItems, OnlyAStrictlyLargerKeyReplacesAValue) { EXPECT_THAT(kept(2, {5, 5, 5, 5}), ElementsAre(0, 1)); }

TEST(LargestItems, OfEqualSmallestKeysTheFirstIsReplaced) {
  EXPECT_THAT(kept(3, {5, 5, 5, 6}), ElementsAre(3, 1, 2));
  EXPECT_THAT(kept(3, {5, 5, 5, 6, 6}), ElementsAre(3, 4, 2));
  EXPECT_THAT(kept(2, {5, 5, 6, 6, 7}), ElementsAre(4, 3)) << "what takes a place counts as found when it was";
}

TEST(LargestItems, WithoutAPositiveLimitNothingIsKept) {
  EXPECT_THAT(kept(0, {1, 2}), IsEmpty());
  EXPECT_THAT(kept(-1, {1, 2}), IsEmpty());
  EXPECT_THAT(kept(std::numeric_limits<long>::min(), {1}), IsEmpty());
  EXPECT_FALSE(LargestItems<int>(0).wouldKeep(std::numeric_limits<std::int64_t>::max()));
}

TEST(LargestItems, AHugeLimitCostsNothing) {
  EXPECT_THAT(kept(1'000'000'000, {1, 2}), ElementsAre(1, 0));
  EXPECT_THAT(kept(std::numeric_limits<long>::max(), {1, 2}), ElementsAre(1, 0));
}

TEST(LargestItems, KeysMayBeZeroOrNegative) { EXPECT_THAT(kept(2, {0, -5, 0, -1}), ElementsAre(0, 2)); }

TEST(LargestItems, ReportsWhetherAKeyWouldBeKept) {
  LargestItems<int> items(2);
  EXPECT_TRUE(items.wouldKeep(-1));
  items.add(5, 0);
  EXPECT_TRUE(items.wouldKeep(0));
  items.add(4, 1);
  EXPECT_FALSE(items.wouldKeep(4));
  EXPECT_TRUE(items.wouldKeep(5));
}

TEST(LargestItems, IsEmptyAfterwards) {
  LargestItems<int> items(2);
  items.add(1, 0);
  EXPECT_THAT(items.take(), ElementsAre(0));
  EXPECT_THAT(items.take(), IsEmpty());
}

// The rule, implemented literally: search all kept values for the first smallest one, remove it, append the new one,
// and sort stably at the end.
std::vector<int> slowlyKept(long limit, const std::vector<std::int64_t>& keys) {
  std::vector<std::pair<std::int64_t, int>> held;
  const auto byKey = [](const auto& left, const auto& right) { return left.first < right.first; };
  for (std::size_t i = 0; i < keys.size(); ++i) {
    if (static_cast<long>(held.size()) >= limit) {
      const auto smallest = std::min_element(held.begin(), held.end(), byKey);
      if (smallest == held.end() || keys[i] <= smallest->first) continue;
      held.erase(smallest);
    }
    held.emplace_back(keys[i], static_cast<int>(i));
  }
  std::stable_sort(held.begin(), held.end(), [&](const auto& left, const auto& right) { return byKey(right, left); });
  std::vector<int> values;
  for (const auto& [key, value] : held) values.push_back(value);
  return values;
}

TEST(LargestItems, AgreeWithTheRuleOnRandomKeys) {
  std::mt19937 random(5);
  for (int round = 0; round < 5'000; ++round) {
    const auto limit = static_cast<long>(random() % 8);
    std::vector<std::int64_t> keys(random() % 30);
    for (std::int64_t& key : keys) key = static_cast<std::int64_t>(random() % 6);
    ASSERT_EQ(kept(limit, keys), slowlyKept(limit, keys)) << "round " << round;
  }
}

}  // namespace
}  // namespace quarn::largest_items_tests
