#include <random>

#include <gtest/gtest.h>

#include "QuarnCore/storage/ExtensionCategories.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn::extension_categories_tests {
namespace {

using Category = StorageCategoryID;

ExtensionCategories::Dictionary dictionary() {
  return {{"js", Category::development},       {"7z", Category::documents},
          {"photoslibrary", Category::photos}, {"averyveryverylongone", Category::games},
          {"tar-gz", Category::other},         {"\u00E4k", Category::apps},
          {"k", Category::communication},      {"eightlet", Category::documents},
          {"nineletts", Category::apps},       {"x.zip", Category::photos}};
}

// The rule in plain words: the extension of the name in lower case, as it is in the dictionary.
std::optional<Category> plainRule(const ExtensionCategories::Dictionary& known, std::string_view name) {
  const auto found = known.find(Text::lowercased(path::extension(name)));
  return found == known.end() ? std::nullopt : std::optional(found->second);
}

TEST(ExtensionCategories, IgnoreCaseAndNeedAWholeExtension) {
  const ExtensionCategories categories(dictionary());
  EXPECT_EQ(categories.find("a.js"), Category::development);
  EXPECT_EQ(categories.find("a.min.JS"), Category::development);
  EXPECT_EQ(categories.find("a.7Z"), Category::documents);
  EXPECT_EQ(categories.find("P.photosLibrary"), Category::photos);
  EXPECT_EQ(categories.find("a.AVeryVeryVeryLongOne"), Category::games);
  EXPECT_EQ(categories.find("a.eightlet"), Category::documents);
  EXPECT_EQ(categories.find("a.nineletts"), Category::apps);
  EXPECT_EQ(categories.find("a.\u212A"), Category::communication);  // the Kelvin sign
  EXPECT_EQ(categories.find(".hidden.js"), Category::development);
  for (const char* other : {".js", "..js", "js", "a.js.", "a.j", "a.jsx", "a.js ", "a. js", "photoslibrary",
                            "a.xeightlet", "a.x.zip", "a.zip", "", "."}) {
    EXPECT_EQ(categories.find(other), std::nullopt) << other;
  }
}

// Three bytes become one.
TEST(ExtensionCategories, KnowALongerTextThatIsTheLongestExtensionInLowerCase) {
  const ExtensionCategories categories({{"k", Category::apps}});
  EXPECT_EQ(categories.find("a.\u212A"), Category::apps);
}

TEST(ExtensionCategories, AnswerAsThePlainRuleDoesForRandomNames) {
  const std::vector<std::string> parts{
      ".",        ".",         "j",  "s",       "J",      "7", "z",    "photoslibrary", "averyveryverylongone",
      "-",        "tar-gz",    " ",  "\u00C4K", "\u212A", "k", "\xFF", "\u202E",        "abcdefghijklmnop",
      "eightlet", "nineletts", "zip"};
  std::mt19937 random(7);
  for (const bool isEmptyKnown : {false, true}) {
    ExtensionCategories::Dictionary known = dictionary();
    if (isEmptyKnown) known.emplace("", Category::systemData);
    const ExtensionCategories categories(known);
    for (int i = 0; i < 20'000; ++i) {
      std::string name;
      for (std::size_t length = 1 + random() % 6; length > 0; --length) name += parts[random() % parts.size()];
      ASSERT_EQ(categories.find(name), plainRule(known, name)) << name;
    }
  }
}

}  // namespace
}  // namespace quarn::extension_categories_tests
