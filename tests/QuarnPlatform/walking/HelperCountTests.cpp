#include <thread>

#include <gmock/gmock.h>

#include "QuarnPlatform/walking/HelperCount.h"

namespace quarn::helper_count_tests {
namespace {

using std::chrono::microseconds;

TEST(HelperCount, BeginsWithThoseAtOnceAndNeverWithMoreThanTheMost) {
  EXPECT_EQ(HelperCount(7, 1).wanted(), 1U);
  EXPECT_EQ(HelperCount(7, 20).wanted(), 7U);
  EXPECT_EQ(HelperCount(0, 1).wanted(), 0U);
  EXPECT_GE(HelperCount::furtherCores(), 1U);
}

void noteAfterWaiting(HelperCount& count, HelperCount::Observations& observations, std::size_t calls,
                      microseconds time) {
  HelperCount::begin(observations);
  std::this_thread::sleep_for(microseconds(1));
  count.note(observations, calls, time);
}

// Notes ten calls a letter: "s" for slow ones, "f" for fast ones. How many helpers are wanted then.
unsigned wantedAfter(std::string_view notes, HelperCount& count, HelperCount::Observations& observations) {
  for (const char note : notes) noteAfterWaiting(count, observations, 10, microseconds(note == 's' ? 1000 : 15));
  return count.wanted();
}

TEST(HelperCount, CallsThatWaitForTheDiskAddOneEachTimeUpToTheMost) {
  HelperCount count(3, 1);
  HelperCount::Observations observations;
  EXPECT_TRUE(count.mayGrow());
  EXPECT_EQ(wantedAfter("s", count, observations), 1U) << "once may be chance";
  EXPECT_EQ(wantedAfter("s", count, observations), 2U);
  EXPECT_EQ(wantedAfter("s", count, observations), 3U);
  EXPECT_FALSE(count.mayGrow());
  EXPECT_EQ(wantedAfter("s", count, observations), 3U);
}

TEST(HelperCount, ACallIsSlowBeyondTwentyMicroseconds) {
  HelperCount count(3, 1);
  HelperCount::Observations observations;
  for (int i = 0; i < 3; ++i) noteAfterWaiting(count, observations, 100, microseconds(2000));
  EXPECT_EQ(count.wanted(), 1U);
  for (int i = 0; i < 2; ++i) noteAfterWaiting(count, observations, 100, microseconds(2001));
  EXPECT_EQ(count.wanted(), 2U);
}

TEST(HelperCount, AMeasurementWithoutCallsSaysNothing) {
  HelperCount count(3, 1);
  HelperCount::Observations observations;
  for (int i = 0; i < 9; ++i) noteAfterWaiting(count, observations, 0, microseconds(5000));
  EXPECT_EQ(count.wanted(), 1U);
}

TEST(HelperCount, SlowObservationsMustLeadByTwoOnOneThread) {
  const std::vector<std::pair<std::string, unsigned>> rows{
      {"ffff", 1}, {"sfsfsfsfsfsf", 1}, {"sfss", 2}, {"ssfssfss", 6}};
  for (const auto& [notes, wanted] : rows) {
    HelperCount count(7, 1);
    HelperCount::Observations observations;
    EXPECT_EQ(wantedAfter(notes, count, observations), wanted) << notes;
  }
}

TEST(HelperCount, EachThreadNotesForItselfUntilOneIsSure) {
  HelperCount count(7, 1);
  HelperCount::Observations one;
  HelperCount::Observations other;
  EXPECT_EQ(wantedAfter("s", count, one), 1U);
  EXPECT_EQ(wantedAfter("s", count, other), 1U);
  EXPECT_EQ(wantedAfter("s", count, one), 2U);
  HelperCount::Observations third;
  EXPECT_EQ(wantedAfter("s", count, third), 3U);
}

TEST(HelperCount, AThreadThatTheSystemRefusesIsNotRequestedAgain) {
  HelperCount count(7, 4);
  count.limit(2);
  EXPECT_EQ(count.wanted(), 2U);
  HelperCount::Observations observations;
  for (int i = 0; i < 3; ++i) noteAfterWaiting(count, observations, 1, microseconds(1000));
  EXPECT_EQ(count.wanted(), 2U);
}

TEST(HelperCount, ManyThreadsMayNote) {
  HelperCount count(5, 1);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      HelperCount::Observations observations;
      for (int i = 0; i < 100; ++i) noteAfterWaiting(count, observations, 1, microseconds(1000));
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(count.wanted(), 5U);
}

}  // namespace
}  // namespace quarn::helper_count_tests
