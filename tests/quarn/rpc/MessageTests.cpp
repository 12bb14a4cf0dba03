#include <gtest/gtest.h>

#include "quarn/rpc/Message.h"

namespace quarn::message_tests {
namespace {

TEST(Message, ValuesAreCountedOutsideStrings) {
  const std::vector<std::pair<std::string_view, std::size_t>> rows{
      {"1", 1},          {R"("a,b[c{d")", 1},
      {R"("a\",b")", 1}, {R"("\\",1)", 2},
      {"[1,2]", 3},      {R"({"a":1,"b":[2,{"c":",,,"}]})", 6},
      {"[[1],[2]]", 5},  {"", 1},
  };
  for (const auto& [line, count] : rows) EXPECT_EQ(mostValuesIn(line), count) << line;
}

TEST(Message, EmptyArraysAndObjectsAreOvercounted) {
  EXPECT_EQ(mostValuesIn("[]"), 2U);
  EXPECT_EQ(mostValuesIn("[{},{}]"), 5U);
}

}  // namespace
}  // namespace quarn::message_tests
