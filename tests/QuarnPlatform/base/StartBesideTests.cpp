#include <atomic>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

#include "QuarnPlatform/base/StartBeside.h"

namespace quarn::start_beside_tests {
namespace {

TEST(StartBeside, WorksWhileTheCallerGoesOn) {
  std::promise<int> input;
  auto result = startBeside([&] { return input.get_future().get() + 1; });
  input.set_value(41);
  EXPECT_EQ(result.get(), 42);
}

TEST(StartBeside, AnExceptionIsThrownToWhomAsksForTheResult) {
  auto result = startBeside([]() -> int { throw std::runtime_error("no"); });
  EXPECT_THROW((void)result.get(), std::runtime_error);
}

TEST(StartBeside, TheResultWaitsForTheThreadAlsoWhenNobodyAsks) {
  std::atomic<bool> isDone = false;
  {
    const auto result = startBeside([&] {
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
      isDone = true;
    });
  }
  EXPECT_TRUE(isDone);
}

TEST(StartBeside, TakesWorkThatCannotBeCopied) {
  auto result = startBeside([number = std::make_unique<int>(7)] { return *number; });
  EXPECT_EQ(result.get(), 7);
}

}  // namespace
}  // namespace quarn::start_beside_tests
