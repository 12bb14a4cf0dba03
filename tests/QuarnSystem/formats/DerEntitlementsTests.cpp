#include <cstdint>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "QuarnBuilders/BigEndian.h"
#include "QuarnBuilders/MachOBuilder.h"
#include "QuarnSystem/formats/DerEntitlements.h"

namespace quarn::der_entitlements_tests {
namespace {

using sample::bigEndian;
using sample::derEntitlements;
using sample::DerForm;
using sample::PlistArray;
using sample::PlistDictionary;

/// An element with a long-form length of four bytes.
std::string element(unsigned tag, const std::string& content) {
  return bigEndian(tag, 1) + "\x84" + bigEndian(content.size(), 4) + content;
}

/// A list with the key "k" and the element as its value, in the current wrapper.
std::string listOf(const std::string& value) {
  const std::string dictionary = element(0xB0, element(0x30, element(0x0C, "k") + value));
  return element(0x70, std::string("\x02\x01\x01", 3) + dictionary);
}

std::optional<PropertyList> valueOf(const std::string& value) {
  const auto list = parseDerEntitlements(listOf(value));
  if (!list || list->value("k") == nullptr) return std::nullopt;
  return *list->value("k");
}

TEST(DerEntitlements, PublishedVectorsAreRead) {
  EXPECT_EQ(parseDerEntitlements(std::string("\x70\x05\x02\x01\x01\xB0\x00", 7)),
            PropertyList(PropertyList::Dictionary{}));
  const auto list =
      parseDerEntitlements(std::string("\x70\x0F\x02\x01\x01\xB0\x0A\x30\x08\x0C\x03key\x01\x01\x00", 17));
  EXPECT_EQ(list, PropertyList(PropertyList::Dictionary{{.key = "key", .value = PropertyList(false)}}));
}

TEST(DerEntitlements, TheTestsOwnWriterWritesThePublishedVectors) {
  EXPECT_EQ(derEntitlements({}), std::string("\x70\x05\x02\x01\x01\xB0\x00", 7));
  EXPECT_EQ(derEntitlements({{"key", false}}),
            std::string("\x70\x0F\x02\x01\x01\xB0\x0A\x30\x08\x0C\x03key\x01\x01\x00", 17));
}

class DerEntitlementForms : public testing::TestWithParam<DerForm> {};

INSTANTIATE_TEST_SUITE_P(BothForms, DerEntitlementForms, testing::Values(DerForm::wrapped, DerForm::bareSet),
                         [](const auto& form) { return form.param == DerForm::wrapped ? "Wrapped" : "BareSet"; });

TEST_P(DerEntitlementForms, EveryTypeIsReadAsWhatItIs) {
  const auto list = parseDerEntitlements(
      derEntitlements({{"flag", true},
                       {"number", -70'000},
                       {"text", "caf\xC3\xA9"},
                       {"texts", PlistArray{"a", "b"}},
                       {"inner", PlistDictionary{{"deep", PlistArray{PlistDictionary{{"key", 1}}}}}},
                       {"long", std::string(70'000, 'x')}},
                      GetParam()));
  ASSERT_TRUE(list);
  EXPECT_EQ(list->boolean("flag"), true);
  EXPECT_EQ(list->integer("number"), -70'000);
  EXPECT_EQ(list->string("text"), "caf\xC3\xA9");
  EXPECT_EQ(list->stringArray("texts"), (std::vector<std::string>{"a", "b"}));
  ASSERT_NE(list->dictionary("inner"), nullptr);
  EXPECT_EQ(list->dictionary("inner")->array("deep")->at(0).integer("key"), 1);
  EXPECT_EQ(list->string("long"), std::string(70'000, 'x'));
}

TEST_P(DerEntitlementForms, IntegersOfEveryLengthKeepTheirSign) {
  for (const std::int64_t number :
       {std::int64_t{0}, std::int64_t{127}, std::int64_t{128}, std::int64_t{-1}, std::int64_t{-128}, std::int64_t{-129},
        std::int64_t{32'767}, std::int64_t{-32'769}, std::numeric_limits<std::int64_t>::max(),
        std::numeric_limits<std::int64_t>::min()}) {
    const auto list = parseDerEntitlements(derEntitlements({{"number", number}}, GetParam()));
    ASSERT_TRUE(list);
    EXPECT_EQ(list->integer("number"), number);
  }
}

TEST_P(DerEntitlementForms, TruncatedAnywhereTheyAreAbsent) {
  const std::string whole =
      derEntitlements({{"flag", true}, {"texts", PlistArray{"a", 1}}, {"long", std::string(300, 'x')}}, GetParam());
  ASSERT_TRUE(parseDerEntitlements(whole));
  for (std::size_t length = 0; length < whole.size(); ++length) {
    EXPECT_EQ(parseDerEntitlements(whole.substr(0, length)), std::nullopt) << length;
  }
}

TEST(DerEntitlements, BytesAfterTheEndAreIgnored) {
  EXPECT_TRUE(parseDerEntitlements(derEntitlements({{"a", 1}}) + std::string(9, '\0')));
}

TEST(DerEntitlements, UnknownTypesAreNull) {
  EXPECT_EQ(valueOf(element(0x04, "octets")), PropertyList());
  EXPECT_EQ(valueOf(element(0x05, "")), PropertyList());
  EXPECT_EQ(valueOf(element(0x01, "")), PropertyList()) << "a boolean of no bytes";
  EXPECT_EQ(valueOf(element(0x01, "ab")), PropertyList()) << "a boolean of two bytes";
  EXPECT_EQ(valueOf(element(0x02, "")), PropertyList()) << "an integer of no bytes";
  EXPECT_EQ(valueOf(element(0x02, "123456789")), PropertyList()) << "an integer of nine bytes";
  EXPECT_EQ(valueOf(element(0x01, "\x01")), PropertyList(true));
}

TEST(DerEntitlements, LengthsThatAreIndefiniteOrTooLongRefuseAll) {
  EXPECT_EQ(valueOf(std::string("\x0C\x80"
                                "ab\0\0",
                                6)),
            std::nullopt);
  EXPECT_EQ(valueOf("\x0C\x84\xFF\xFF\xFF\xFF"), std::nullopt);
  EXPECT_EQ(valueOf("\x0C\x88" + std::string(8, '\xFF')), std::nullopt);
  EXPECT_EQ(valueOf("\x0C\x89" + std::string(9, '\0')), std::nullopt) << "a length of nine bytes";
  EXPECT_EQ(valueOf("\x0C\xFF"), std::nullopt);
  EXPECT_EQ(valueOf("\x0C"), std::nullopt);
  EXPECT_EQ(valueOf("\x0C\x88" + bigEndian(1, 8) + "a"), PropertyList("a"));
}

TEST(DerEntitlements, AnEntryThatIsNotAKeyAndAValueRefusesAll) {
  const auto dictionary = [](const std::string& entry) { return parseDerEntitlements(element(0x31, entry)); };
  const std::string key = element(0x0C, "k");
  const std::string flag = element(0x01, "\x01");
  EXPECT_TRUE(dictionary(element(0x30, key + flag)));
  EXPECT_FALSE(dictionary(element(0x30, key)));
  EXPECT_FALSE(dictionary(element(0x30, key + flag + flag)));
  EXPECT_FALSE(dictionary(element(0x30, flag + flag)));
  EXPECT_FALSE(dictionary(element(0x30, "")));
  EXPECT_FALSE(dictionary(element(0x31, key + flag)));
  EXPECT_FALSE(dictionary(key + flag));
}

TEST(DerEntitlements, OtherBytesAreRefused) {
  const std::string dictionary = element(0xB0, "");
  EXPECT_FALSE(parseDerEntitlements(""));
  EXPECT_FALSE(parseDerEntitlements("<plist/>"));
  EXPECT_FALSE(parseDerEntitlements(element(0x30, "")));
  EXPECT_FALSE(parseDerEntitlements(element(0x70, "")));
  EXPECT_FALSE(parseDerEntitlements(element(0x70, dictionary))) << "no version";
  EXPECT_FALSE(parseDerEntitlements(element(0x70, element(0x02, "\x02") + dictionary))) << "another version";
  EXPECT_FALSE(parseDerEntitlements(element(0x70, element(0x02, "\x01")))) << "no dictionary";
  EXPECT_FALSE(parseDerEntitlements(element(0x70, element(0x02, "\x01") + element(0x30, ""))));
  EXPECT_TRUE(parseDerEntitlements(element(0x70, element(0x02, "\x01") + dictionary)));
}

TEST(DerEntitlements, NestingIsReadUpToItsBoundAndRefusedBeyond) {
  const auto nested = [](std::size_t levels) {
    std::string value;
    for (std::size_t i = 0; i < levels; ++i) value = element(0x30, value);
    return parseDerEntitlements(listOf(value));
  };
  EXPECT_TRUE(nested(PropertyList::kMaxDepth - 1));
  EXPECT_FALSE(nested(PropertyList::kMaxDepth));
  EXPECT_FALSE(nested(2'000));
}

TEST(DerEntitlements, TheNumberOfValuesIsBounded) {
  const auto list = [](std::size_t count) {
    std::string values;
    for (std::size_t i = 0; i < count; ++i) values += std::string("\x05\x00", 2);
    return parseDerEntitlements(listOf(element(0x30, values)));
  };
  EXPECT_TRUE(list(PropertyList::kMaxValues - 2));
  EXPECT_FALSE(list(PropertyList::kMaxValues));
}

TEST(DerEntitlements, AnyByteMayBeCorrupt) {
  const std::string whole =
      derEntitlements({{"flag", true}, {"texts", PlistArray{"a", -1}}, {"long", std::string(130, 'x')}});
  std::size_t readable = 0;
  for (std::size_t i = 0; i < whole.size(); ++i) {
    for (unsigned value = 0; value < 256; ++value) {
      std::string damaged = whole;
      damaged[i] = static_cast<char>(value);
      readable += parseDerEntitlements(damaged) ? 1U : 0U;
    }
  }
  EXPECT_GT(readable, 0U);
}

}  // namespace
}  // namespace quarn::der_entitlements_tests
