#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include "QuarnPlatform/base/Required.h"

namespace quarn::required_tests {
namespace {

struct Choices {
  Required<bool> isFirst;
  Required<long> limit;
  Required<bool> isLast;
};

// Templates, so that a substitution failure is a result.
template <class Record>
concept Whole = requires {
  Record{.isFirst = true, .limit = 3, .isLast = false};
};
template <class Record>
concept WithoutFirst = requires {
  Record{.limit = 3, .isLast = false};
};
template <class Record>
concept WithoutLimit = requires {
  Record{.isFirst = true, .isLast = false};
};
template <class Record>
concept WithoutLast = requires {
  Record{.isFirst = true, .limit = 3};
};

TEST(Required, OmittingAFieldDoesNotCompile) {
  EXPECT_TRUE(Whole<Choices>);
  EXPECT_FALSE(WithoutFirst<Choices>);
  EXPECT_FALSE(WithoutLimit<Choices>);
  EXPECT_FALSE(WithoutLast<Choices>);
  EXPECT_FALSE(std::is_default_constructible_v<Choices>);
}

TEST(Required, IsReadAndChangedLikeItsValue) {
  Choices choices{.isFirst = true, .limit = 3, .isLast = false};
  choices.limit = choices.limit + 1;
  choices.isLast = choices.isFirst && choices.limit == 4;
  const long limit = choices.limit;
  EXPECT_EQ(limit, 4);
  EXPECT_TRUE(choices.isLast);
}

}  // namespace
}  // namespace quarn::required_tests
