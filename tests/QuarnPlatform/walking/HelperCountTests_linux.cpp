#include <chrono>
#include <thread>

#include <gmock/gmock.h>

#include "QuarnPlatform/base/ThreadWaits.h"
#include "QuarnPlatform/walking/HelperCount.h"

namespace quarn::helper_count_tests_linux {
namespace {

using std::chrono::microseconds;

enum class Thread { waits, works };

void noteSlowCalls(HelperCount& count, HelperCount::Observations& observations, Thread thread) {
  HelperCount::begin(observations);
  if (thread == Thread::waits) std::this_thread::sleep_for(microseconds(1));
  count.note(observations, 1, microseconds(1000));
}

TEST(ThreadWaits, GrowWhenTheThreadSleepsAndNotWhenItWorks) {
  const auto before = waitsOfThisThread();
  ASSERT_TRUE(before);
  EXPECT_EQ(waitsOfThisThread(), before);
  std::this_thread::sleep_for(microseconds(1));
  EXPECT_EQ(waitsOfThisThread(), *before + 1);
}

TEST(HelperCount, CallsThatAreSlowWithoutAWaitAreNotThoseOfASlowDisk) {
  HelperCount count(7, 1);
  HelperCount::Observations observations;
  for (int i = 0; i < 100; ++i) noteSlowCalls(count, observations, Thread::works);
  EXPECT_EQ(count.wanted(), 1U);
  for (int i = 0; i < 2; ++i) noteSlowCalls(count, observations, Thread::waits);
  EXPECT_EQ(count.wanted(), 2U);
}

TEST(HelperCount, AfterManyFastMeasurementsTheFirstSlowOneOnlyBeginsToCountWaits) {
  HelperCount count(7, 1);
  HelperCount::Observations observations;
  const auto noteFastCalls = [&] {
    HelperCount::begin(observations);
    count.note(observations, 1, microseconds(1));
  };
  for (unsigned i = 0; i < HelperCount::Observations::kCountedAtOnce; ++i) {
    EXPECT_GT(observations.counted, 0U);
    noteFastCalls();
    EXPECT_TRUE(observations.waits);
  }
  noteFastCalls();
  EXPECT_FALSE(observations.waits) << "counting costs a system call";
  for (int i = 0; i < 2; ++i) noteSlowCalls(count, observations, Thread::waits);
  EXPECT_EQ(count.wanted(), 1U);
  noteSlowCalls(count, observations, Thread::waits);
  EXPECT_EQ(count.wanted(), 2U);
}

}  // namespace
}  // namespace quarn::helper_count_tests_linux
