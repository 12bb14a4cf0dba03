#include <gtest/gtest.h>

#include "quarn/terminal/CountText.h"

namespace quarn::count_text_tests {
namespace {

TEST(CountText, OneIsSingular) {
  EXPECT_EQ(countText(0, "artifact"), "0 artifacts");
  EXPECT_EQ(countText(1, "artifact"), "1 artifact");
  EXPECT_EQ(countText(2, "artifact"), "2 artifacts");
  EXPECT_EQ(countText(21, "item"), "21 items");
}

}  // namespace
}  // namespace quarn::count_text_tests
