#include <numeric>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "QuarnPlatform/base/Cancellable.h"
#include "QuarnPlatform/base/CancellableSort.h"

namespace quarn::cancellable_tests {
namespace {

TEST(Cancellable, PassesTheCancellationToAFunctionThatTakesOne) {
  const Cancellable<bool(int)> function = [](int, const Cancellation& cancellation) {
    return cancellation.isCancelled();
  };
  const Cancellation cancellation;
  EXPECT_FALSE(function(1, cancellation));
  cancellation.cancel();
  EXPECT_TRUE(function(1, cancellation));
  EXPECT_FALSE(function(1)) << "left out, it is never set";
}

TEST(Cancellable, CallsAFunctionWithoutTheParameterWithoutIt) {
  const Cancellable<std::string(const std::string&, int)> function = [](const auto& text, int times) {
    return text + std::to_string(times);
  };
  EXPECT_EQ(function("a", 2), "a2");
  EXPECT_EQ(function("a", 3, Cancellation()), "a3");
}

TEST(Cancellable, ReportsWhetherItHoldsAFunction) {
  Cancellable<int()> function;
  EXPECT_FALSE(function);
  function = [] { return 7; };
  EXPECT_TRUE(function);
  EXPECT_EQ(function(), 7);
}

std::vector<int> descending(int count) {
  std::vector<int> values(static_cast<std::size_t>(count));
  std::iota(values.rbegin(), values.rend(), 0);
  return values;
}

TEST(SortUnlessCancelled, SortsUnlessCancelled) {
  std::vector<int> values = descending(1000);
  EXPECT_TRUE(sortUnlessCancelled(values.begin(), values.end(), std::less<>(), Cancellation::never()));
  EXPECT_TRUE(std::is_sorted(values.begin(), values.end()));
}

TEST(SortUnlessCancelled, StopsComparingWhenCancelled) {
  std::vector<int> values = descending(1000);
  const Cancellation cancellation;
  int compared = 0;
  const auto less = [&](int left, int right) {
    if (++compared == 100) cancellation.cancel();
    return left < right;
  };
  EXPECT_FALSE(sortUnlessCancelled(values.begin(), values.end(), less, cancellation));
  EXPECT_EQ(compared, 100);
}

}  // namespace
}  // namespace quarn::cancellable_tests
