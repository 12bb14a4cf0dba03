#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "QuarnBuilders/PlistWriter.h"
#include "QuarnSystem/formats/PropertyList.h"

namespace quarn::property_list_tests {
namespace {

using sample::PlistArray;
using sample::PlistData;
using sample::PlistDate;
using sample::PlistDictionary;
using sample::PlistFormat;
using sample::xmlPlist;

class PropertyListForms : public testing::TestWithParam<PlistFormat> {
 protected:
  static std::optional<PropertyList> written(const sample::PlistValue& root) {
    return PropertyList::parse(sample::plistBytes(root, GetParam()));
  }
};

INSTANTIATE_TEST_SUITE_P(BothForms, PropertyListForms, testing::Values(PlistFormat::xml, PlistFormat::binary),
                         [](const auto& form) { return form.param == PlistFormat::xml ? "Xml" : "Binary"; });

TEST_P(PropertyListForms, EveryTypeIsReadAsWhatItIs) {
  const auto list = written(PlistDictionary{{"text", "a & b"},
                                            {"yes", true},
                                            {"no", false},
                                            {"number", 42},
                                            {"real", 2.5},
                                            {"data", PlistData{std::string("\0\xFF", 2)}},
                                            {"date", PlistDate{86'400}},
                                            {"array", PlistArray{1, "two"}},
                                            {"inner", PlistDictionary{{"key", "value"}}}});
  ASSERT_TRUE(list);
  EXPECT_EQ(list->string("text"), "a & b");
  EXPECT_EQ(list->boolean("yes"), true);
  EXPECT_EQ(list->boolean("no"), false);
  EXPECT_EQ(list->integer("number"), 42);
  EXPECT_EQ(list->value("real")->content(), PropertyList::Value(2.5));
  EXPECT_EQ(list->value("data")->content(), PropertyList::Value(PropertyList::Data{std::string("\0\xFF", 2)}));
  EXPECT_EQ(list->date("date"), PropertyList::Date{86'400});
  ASSERT_NE(list->array("array"), nullptr);
  EXPECT_EQ(*list->array("array"), (PropertyList::Array{PropertyList(std::int64_t{1}), PropertyList("two")}));
  ASSERT_NE(list->dictionary("inner"), nullptr);
  EXPECT_EQ(list->dictionary("inner")->string("key"), "value");
}

TEST_P(PropertyListForms, IntegersKeepTheirSign) {
  constexpr auto kLowest = std::numeric_limits<std::int64_t>::min();
  constexpr auto kHighest = std::numeric_limits<std::int64_t>::max();
  const auto list =
      written(PlistDictionary{{"minusOne", -1}, {"lowest", kLowest}, {"highest", kHighest}, {"big", 200}});
  ASSERT_TRUE(list);
  EXPECT_EQ(list->integer("minusOne"), -1);
  EXPECT_EQ(list->integer("lowest"), kLowest);
  EXPECT_EQ(list->integer("highest"), kHighest);
  EXPECT_EQ(list->integer("big"), 200);
}

TEST_P(PropertyListForms, DatesBeforeTheEpochAreNegative) {
  const auto list = written(PlistDictionary{{"date", PlistDate{-86'400}}});
  ASSERT_TRUE(list);
  EXPECT_EQ(list->date("date"), PropertyList::Date{-86'400});
}

TEST_P(PropertyListForms, KeysStayInTheOrderOfTheFile) {
  const auto list = written(PlistDictionary{{"b", 1}, {"c", 2}, {"a", 3}});
  ASSERT_TRUE(list);
  std::vector<std::string> keys;
  for (const auto& entry : *list->asDictionary()) keys.push_back(entry.key);
  EXPECT_EQ(keys, (std::vector<std::string>{"b", "c", "a"}));
}

TEST_P(PropertyListForms, OfEqualKeysTheLastCounts) {
  const auto list = written(PlistDictionary{{"a", "first"}, {"b", 1}, {"a", "last"}});
  ASSERT_TRUE(list);
  EXPECT_EQ(list->string("a"), "last");
}

TEST_P(PropertyListForms, TextsOfAllPlanesComeThrough) {
  const std::string text = "\xC3\xA9 \xE6\x97\xA5 \xF0\x9F\x98\x80 \"'<>&";
  const auto list = written(PlistDictionary{{text, text}});
  ASSERT_TRUE(list);
  EXPECT_EQ(list->string(text), text);
}

TEST_P(PropertyListForms, EmptyContainersTextsAndDataAreThere) {
  const auto list = written(PlistDictionary{
      {"", 1}, {"text", ""}, {"data", PlistData{}}, {"array", PlistArray{}}, {"dict", PlistDictionary{}}});
  ASSERT_TRUE(list);
  EXPECT_EQ(list->integer(""), 1);
  EXPECT_EQ(list->string("text"), "");
  EXPECT_EQ(list->value("data")->content(), PropertyList::Value(PropertyList::Data{}));
  EXPECT_EQ(*list->array("array"), PropertyList::Array{});
  EXPECT_EQ(*list->dictionary("dict")->asDictionary(), PropertyList::Dictionary{});
}

TEST_P(PropertyListForms, TheTopMayBeAnyValue) {
  EXPECT_EQ(written("text"), PropertyList("text"));
  EXPECT_EQ(written(true), PropertyList(true));
  EXPECT_EQ(written(PlistArray{}), PropertyList(PropertyList::Array{}));
}

TEST_P(PropertyListForms, AHundredThousandValuesAreRead) {
  PlistArray numbers;
  for (int i = 0; i < 100'000; ++i) numbers.emplace_back(i);
  const auto list = written(numbers);
  ASSERT_TRUE(list);
  ASSERT_EQ(list->asArray()->size(), 100'000U);
  EXPECT_EQ(list->asArray()->back(), PropertyList(std::int64_t{99'999}));
}

PropertyList aDictionary() {
  PropertyList::Array mixed{PropertyList("a"), PropertyList(std::int64_t{1})};
  PropertyList::Array texts{PropertyList("a"), PropertyList("b")};
  return PropertyList(PropertyList::Dictionary{{.key = "text", .value = PropertyList("a")},
                                               {.key = "number", .value = PropertyList(std::int64_t{1})},
                                               {.key = "flag", .value = PropertyList(true)},
                                               {.key = "null", .value = PropertyList()},
                                               {.key = "mixed", .value = PropertyList(std::move(mixed))},
                                               {.key = "texts", .value = PropertyList(std::move(texts))},
                                               {.key = "none", .value = PropertyList(PropertyList::Array{})}});
}

TEST(PropertyListAccess, AValueOfAnotherTypeCountsAsMissing) {
  const PropertyList list = aDictionary();
  EXPECT_EQ(list.string("number"), std::nullopt);
  EXPECT_EQ(list.integer("flag"), std::nullopt);
  EXPECT_EQ(list.integer("text"), std::nullopt);
  EXPECT_EQ(list.boolean("number"), std::nullopt);
  EXPECT_EQ(list.date("number"), std::nullopt);
  EXPECT_EQ(list.array("text"), nullptr);
  EXPECT_EQ(list.dictionary("texts"), nullptr);
  EXPECT_EQ(list.stringArray("text"), std::nullopt);
  EXPECT_EQ(list.string("null"), std::nullopt);
}

TEST(PropertyListAccess, AMissingKeyIsAbsent) {
  const PropertyList list = aDictionary();
  EXPECT_EQ(list.value("other"), nullptr);
  EXPECT_EQ(list.string("other"), std::nullopt);
  EXPECT_EQ(list.integer("other"), std::nullopt);
  EXPECT_EQ(list.array("other"), nullptr);
  EXPECT_EQ(list.dictionary("other"), nullptr);
  EXPECT_EQ(list.stringArray("other"), std::nullopt);
}

TEST(PropertyListAccess, AValueThatIsNoDictionaryHasNoKeys) {
  EXPECT_EQ(PropertyList().value("a"), nullptr);
  EXPECT_EQ(PropertyList("a").string("a"), std::nullopt);
  EXPECT_EQ(PropertyList(PropertyList::Array{PropertyList("a")}).string("a"), std::nullopt);
}

TEST(PropertyListAccess, AStringArrayHoldsStringsOnly) {
  const PropertyList list = aDictionary();
  EXPECT_EQ(list.stringArray("texts"), (std::vector<std::string>{"a", "b"}));
  EXPECT_EQ(list.stringArray("none"), std::vector<std::string>{});
  EXPECT_EQ(list.stringArray("mixed"), std::nullopt);
}

TEST(PropertyListAccess, ListsAreEqualWhenAllBelowThemIs) {
  EXPECT_EQ(aDictionary(), aDictionary());
  EXPECT_NE(aDictionary(), PropertyList());
  EXPECT_NE(PropertyList(true), PropertyList(std::int64_t{1}));
}

TEST(PropertyListXml, HeaderDocumentTypeAndListElementMayBeMissing) {
  EXPECT_EQ(PropertyList::parse("<true/>"), PropertyList(true));
  EXPECT_EQ(PropertyList::parse("<plist><true/></plist>"), PropertyList(true));
  EXPECT_EQ(PropertyList::parse("<?xml version=\"1.0\"?><true/>"), PropertyList(true));
  EXPECT_EQ(PropertyList::parse("<!DOCTYPE plist SYSTEM \"a.dtd\"><plist version=\"1.0\"><true/></plist>"),
            PropertyList(true));
}

TEST(PropertyListXml, AByteOrderMarkAndSpaceMayStandInFront) {
  EXPECT_EQ(PropertyList::parse("\xEF\xBB\xBF" + xmlPlist(true)), PropertyList(true));
  EXPECT_EQ(PropertyList::parse(" \r\n\t<true/>"), PropertyList(true));
}

TEST(PropertyListXml, BytesAfterTheListAreIgnored) {
  EXPECT_EQ(PropertyList::parse("<plist><true/></plist>\n<garbage & more"), PropertyList(true));
  EXPECT_EQ(PropertyList::parse(std::string("<plist><true/></plist>\0\0\0", 25)), PropertyList(true));
  EXPECT_EQ(PropertyList::parse("<dict/><dict/>"), PropertyList(PropertyList::Dictionary{}));
}

TEST(PropertyListXml, EntitiesQuotedSectionsAndCommentsMakeUpText) {
  EXPECT_EQ(PropertyList::parse("<string>&lt;&gt;&amp;&quot;&apos;</string>"), PropertyList("<>&\"'"));
  EXPECT_EQ(PropertyList::parse("<string>&#65;&#x42;&#xe9;&#x65E5;&#x1F600;</string>"),
            PropertyList("AB\xC3\xA9\xE6\x97\xA5\xF0\x9F\x98\x80"));
  EXPECT_EQ(PropertyList::parse("<string>a<![CDATA[<b>&lt;]]>c<!-- d -->e</string>"), PropertyList("a<b>&lt;ce"));
  EXPECT_EQ(PropertyList::parse("<string> a \n</string>"), PropertyList(" a \n"));
}

TEST(PropertyListXml, CommentsAndInstructionsMayStandBetweenElements) {
  const auto list = PropertyList::parse(
      "<!-- a --><?b \"?\"?><plist><!-- <dict> --><dict><?c?><key>k</key><!-- d --><true/></dict><!-- e --></plist>");
  ASSERT_TRUE(list);
  EXPECT_EQ(list->boolean("k"), true);
}

TEST(PropertyListXml, SpaceInTagsAndAttributesAreRead) {
  const auto list = PropertyList::parse("<dict a=\"b\" ><key >k</key ><integer\n>-0x10</integer></dict >");
  ASSERT_TRUE(list);
  EXPECT_EQ(list->integer("k"), -16);
}

TEST(PropertyListXml, BytesThatAreNotUtf8StayAsTheyAre) {
  EXPECT_EQ(PropertyList::parse("<string>\xFF\xC0 \xE9</string>"), PropertyList("\xFF\xC0 \xE9"));
}

TEST(PropertyListXml, AMalformedNumberOrDateIsSomeNumberOrDate) {
  const auto list = PropertyList::parse(
      "<dict><key>n</key><integer>many</integer><key>d</key><date>2001-2147483647-99T00:00:00Z</date></dict>");
  ASSERT_TRUE(list);
  EXPECT_EQ(list->integer("n"), 0);
  EXPECT_NE(list->date("d"), std::nullopt);
}

TEST(PropertyListXml, AnIntegerBeyondTheRangeIsItsLowBits) {
  EXPECT_EQ(PropertyList::parse("<integer>18446744073709551614</integer>"), PropertyList(std::int64_t{-2}));
}

}  // namespace
}  // namespace quarn::property_list_tests
