#include <random>

#include <gtest/gtest.h>

#include "QuarnCore/storage/ScanRules.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn::scan_rules_tests {
namespace {

using Category = StorageCategoryID;

ScanRules::Dictionary dictionary() {
  return {{"js", Category::development},       {"7z", Category::documents},
          {"photoslibrary", Category::photos}, {"averyveryverylongone", Category::games},
          {"tar-gz", Category::other},         {"\u00E4k", Category::apps},
          {"k", Category::communication}};
}

// The rule in plain words: the extension of the name in lower case, as it is in the dictionary.
std::optional<Category> plainRule(const ScanRules::Dictionary& known, std::string_view name) {
  const auto found = known.find(Text::lowercased(path::extension(name)));
  return found == known.end() ? std::nullopt : std::optional(found->second);
}

TEST(ScanRules, TheDictionaryIgnoresCaseAndNeedsAWholeExtension) {
  const ScanRules rules({}, dictionary());
  EXPECT_EQ(rules.dictionaryCategory("a.js"), Category::development);
  EXPECT_EQ(rules.dictionaryCategory("a.min.JS"), Category::development);
  EXPECT_EQ(rules.dictionaryCategory("a.7Z"), Category::documents);
  EXPECT_EQ(rules.dictionaryCategory("P.photosLibrary"), Category::photos);
  EXPECT_EQ(rules.dictionaryCategory("a.AVeryVeryVeryLongOne"), Category::games);
  EXPECT_EQ(rules.dictionaryCategory("a.\u212A"), Category::communication);  // the Kelvin sign
  for (const char* other : {".js", "..js", "js", "a.js.", "a.j", "a.jsx", "a.js ", "a. js", "photoslibrary"}) {
    EXPECT_EQ(rules.dictionaryCategory(other), std::nullopt) << other;
  }
}

TEST(ScanRules, TheDictionaryAnswersAsThePlainRuleDoesForRandomNames) {
  const std::vector<std::string> parts{
      ".", ".",      "j", "s",       "J",      "7", "z",    "photoslibrary", "averyveryverylongone",
      "-", "tar-gz", " ", "\u00C4K", "\u212A", "k", "\xFF", "\u202E",        "abcdefghijklmnop"};
  std::mt19937 random(7);
  for (const bool isEmptyKnown : {false, true}) {
    ScanRules::Dictionary known = dictionary();
    if (isEmptyKnown) known.emplace("", Category::systemData);
    const ScanRules rules({}, known);
    for (int i = 0; i < 20'000; ++i) {
      std::string name;
      for (std::size_t length = 1 + random() % 6; length > 0; --length) name += parts[random() % parts.size()];
      ASSERT_EQ(rules.dictionaryCategory(name), plainRule(known, name)) << name;
    }
  }
}

}  // namespace
}  // namespace quarn::scan_rules_tests
