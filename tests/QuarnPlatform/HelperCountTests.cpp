#include <thread>

#include <gmock/gmock.h>

#include "QuarnPlatform/HelperCount.h"

namespace quarn {
namespace {

using std::chrono::microseconds;

TEST(HelperCount, BeginsWithThoseAtOnceAndNeverWithMoreThanTheMost) {
  EXPECT_EQ(HelperCount(7, 1).wanted(), 1U);
  EXPECT_EQ(HelperCount(7, 20).wanted(), 7U);
  EXPECT_EQ(HelperCount(0, 1).wanted(), 0U);
  EXPECT_GE(HelperCount::furtherCores(), 1U);
}

TEST(HelperCount, CallsThatWaitForTheDiskAddOneEachTimeUpToTheMost) {
  HelperCount count(3, 1);
  HelperCount::Observations observations;
  EXPECT_TRUE(count.mayGrow());
  count.note(observations, 10, microseconds(1000));
  EXPECT_EQ(count.wanted(), 1U) << "once may be chance";
  count.note(observations, 10, microseconds(1000));
  EXPECT_EQ(count.wanted(), 2U);
  count.note(observations, 1, microseconds(100));
  EXPECT_EQ(count.wanted(), 3U);
  EXPECT_FALSE(count.mayGrow());
  count.note(observations, 1, microseconds(100));
  EXPECT_EQ(count.wanted(), 3U);
}

TEST(HelperCount, CallsAnsweredFromMemoryAddNone) {
  HelperCount count(3, 1);
  HelperCount::Observations observations;
  count.note(observations, 100, microseconds(300));
  count.note(observations, 1, microseconds(2));
  EXPECT_EQ(count.wanted(), 1U);
}

TEST(HelperCount, NowAndThenASlowOneAddsNone) {
  HelperCount count(7, 1);
  HelperCount::Observations observations;
  for (int i = 0; i < 100; ++i) {
    count.note(observations, 10, microseconds(4000));
    count.note(observations, 10, microseconds(15));
  }
  EXPECT_EQ(count.wanted(), 1U);
}

TEST(HelperCount, WhatTheDiskGivesInBetweenFromMemoryDoesNotHideIt) {
  HelperCount count(7, 1);
  HelperCount::Observations observations;
  for (int i = 0; i < 20; ++i) {
    count.note(observations, 10, microseconds(i % 3 == 2 ? 15 : 1000));
  }
  EXPECT_EQ(count.wanted(), 7U);
}

TEST(HelperCount, EachThreadNotesForItself) {
  HelperCount count(7, 1);
  HelperCount::Observations one;
  HelperCount::Observations other;
  count.note(one, 10, microseconds(1000));
  count.note(other, 10, microseconds(1000));
  EXPECT_EQ(count.wanted(), 1U);
}

TEST(HelperCount, WhatOneThreadIsSureOfTheOthersNeedNotSeeTwice) {
  HelperCount count(7, 1);
  HelperCount::Observations one;
  HelperCount::Observations other;
  for (int i = 0; i < 2; ++i) count.note(one, 10, microseconds(1000));
  EXPECT_EQ(count.wanted(), 2U);
  count.note(other, 10, microseconds(1000));
  EXPECT_EQ(count.wanted(), 3U);
}

TEST(HelperCount, WhatTheSystemRefusesIsNotWantedAnyMore) {
  HelperCount count(7, 4);
  count.limit(2);
  EXPECT_EQ(count.wanted(), 2U);
  HelperCount::Observations observations;
  for (int i = 0; i < 3; ++i) count.note(observations, 1, microseconds(1000));
  EXPECT_EQ(count.wanted(), 2U);
}

TEST(HelperCount, ManyThreadsMayNote) {
  HelperCount count(5, 1);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      HelperCount::Observations observations;
      for (int i = 0; i < 100; ++i) count.note(observations, 1, microseconds(1000));
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(count.wanted(), 5U);
}

}  // namespace
}  // namespace quarn
