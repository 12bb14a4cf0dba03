#include <gtest/gtest.h>

#include "QuarnPlatform/text/TextComposition.h"

namespace quarn::text_composition_tests {
namespace {

TEST(TextComposition, EquivalentTextsGetTheSameBytes) {
  EXPECT_EQ(composed("e\u0301"), "\u00E9");
  EXPECT_EQ(composed("\u00E9"), "\u00E9");
  EXPECT_EQ(composed("a\u0323\u0307"), composed("a\u0307\u0323")) << "marks in either order";
  EXPECT_EQ(composed("\u212B"), "\u00C5") << "the sign and the letter";
  EXPECT_EQ(composed("\u1112\u1161\u11AB"), "\uD55C") << "the parts of a syllable";
  EXPECT_EQ(composed("x\u0302\U0001F600"), "x\u0302\U0001F600") << "nothing to compose, nothing lost";
}

TEST(TextComposition, ComposedOrInvalidTextIsReturnedWithoutACopy) {
  for (const std::string_view text : {std::string_view(""), std::string_view("plain"), std::string_view("e\xCC"),
                                      std::string_view("\xFF\xFE"), std::string_view("a\0b", 3)}) {
    std::string storage;
    EXPECT_EQ(composed(text, storage).data(), text.data());
    EXPECT_EQ(composed(text), text);
  }
}

}  // namespace
}  // namespace quarn::text_composition_tests
