#include <random>
#include <set>

#include <gtest/gtest.h>

#include "QuarnPlatform/text/Text.h"
#include "QuarnPlatform/text/TextSet.h"

namespace quarn::text_set_tests {
namespace {

std::set<std::string> found(const TextSet& set, std::string_view text) {
  std::set<std::string> result;
  set.findIn(text, [&](std::uint32_t part) { result.insert(set.parts()[part]); });
  return result;
}

TEST(TextSet, FindsEveryPartThatATextContains) {
  const TextSet set({"he", "she", "his", "hers", "", "zzz"});
  EXPECT_EQ(found(set, "ushers"), (std::set<std::string>{"he", "she", "hers"}));
  EXPECT_EQ(found(set, "nothing"), (std::set<std::string>{}));
}

TEST(TextSet, AnEmptySetFindsNothing) { EXPECT_TRUE(found(TextSet(), "text").empty()); }

TEST(TextSet, EquivalentTextsAreOneAndAMarkAfterOneKeepsThemApart) {
  const TextSet set({"caf\u00e9", "cafe\u0301", "cafe"});
  EXPECT_EQ(found(set, "a cafe\u0301 there"), (std::set<std::string>{"caf\u00e9", "cafe\u0301"}));
  EXPECT_EQ(found(set, "a cafe there"), (std::set<std::string>{"cafe"}));
}

TEST(TextSet, EachPartIsFoundOnce) {
  std::vector<std::string> parts;
  for (std::size_t length = 1; length <= 255; ++length) parts.emplace_back(length, 'a');
  const TextSet set(parts);
  std::vector<int> counts(parts.size());
  set.findIn(std::string(255, 'a') + "b" + std::string(255, 'a'), [&](std::uint32_t part) { ++counts[part]; });
  EXPECT_EQ(counts, std::vector<int>(parts.size(), 1));
}

// Compares with `Text::contains` for each part.
TEST(TextSet, AgreesWithLookingForOnePartAtATime) {
  constexpr std::array kPieces{"a", "b",    "ab", "\u00e9", "e",      "\u0301", "\u212a",
                               "K", "\xff", "\r", "\n",     "\u1100", "\u1161"};
  std::mt19937 random(7);
  const auto text = [&](int most) {
    std::string result;
    for (int i = static_cast<int>(random() % static_cast<unsigned>(most)); i >= 0; --i)
      result += kPieces[random() % kPieces.size()];
    return result;
  };
  for (int round = 0; round < 400; ++round) {
    std::vector<std::string> parts;
    for (int i = 0; i < 8; ++i) parts.push_back(text(3));
    const TextSet set(parts);
    const std::string whole = text(12);
    std::set<std::string> wanted;
    for (const std::string& part : parts) {
      if (Text::contains(whole, part)) wanted.insert(part);
    }
    EXPECT_EQ(found(set, whole), wanted) << round;
  }
}

}  // namespace
}  // namespace quarn::text_set_tests
