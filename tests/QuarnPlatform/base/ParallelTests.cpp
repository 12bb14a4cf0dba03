#include <array>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>

#include <gmock/gmock.h>

#include "QuarnPlatform/base/Parallel.h"

namespace quarn::parallel_tests {
namespace {

TEST(InParallel, EachIndexIsWorkedOnOnce) {
  std::array<std::atomic<int>, 1000> calls{};
  inParallel(calls.size(), [&](std::size_t index) { ++calls.at(index); });
  for (const std::atomic<int>& count : calls) EXPECT_EQ(count, 1);
}

TEST(InParallel, NothingIsDoneForNothing) {
  inParallel(0, [](std::size_t /*index*/) { FAIL(); });
}

TEST(InParallel, TwoThreadsWorkAtOnce) {
  std::mutex mutex;
  std::condition_variable bothAreIn;
  std::set<std::thread::id> threads;
  inParallel(8, [&](std::size_t /*index*/) {
    std::unique_lock lock(mutex);
    threads.insert(std::this_thread::get_id());
    bothAreIn.notify_all();
    bothAreIn.wait(lock, [&] { return threads.size() == 2; });
  });
  EXPECT_THAT(threads, testing::AllOf(testing::SizeIs(2), testing::Contains(std::this_thread::get_id())));
}

TEST(InParallel, AnExceptionOfAnyThreadIsThrownOnAndEndsTheWork) {
  std::atomic<int> calls = 0;
  const auto failing = [&](std::size_t /*index*/) {
    ++calls;
    throw std::runtime_error("no");
  };
  EXPECT_THROW(inParallel(1000, failing), std::runtime_error);
  EXPECT_LE(calls, 2);
}

TEST(InParallel, FewCallsRunOnlyOnTheCallingThread) {
  std::set<std::thread::id> threads;
  inParallel(7, [&](std::size_t /*index*/) { threads.insert(std::this_thread::get_id()); });
  EXPECT_THAT(threads, testing::ElementsAre(std::this_thread::get_id()));
}

TEST(CollectInParallel, ResultsKeepTheirOrderAndAreComplete) {
  std::vector<std::size_t> even;
  for (std::size_t i = 0; i < 1000; i += 2) even.push_back(i);
  const auto made = collectInParallel<std::size_t>(
      1000, [](std::size_t index) { return index % 2 == 0 ? std::optional(index) : std::nullopt; });
  EXPECT_EQ(made, even);
}

}  // namespace
}  // namespace quarn::parallel_tests
