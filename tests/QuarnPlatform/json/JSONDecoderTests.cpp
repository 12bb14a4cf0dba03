#include <array>

#include <gmock/gmock.h>

#include "QuarnPlatform/json/JSONDecoder.h"
#include "tests/support/ParsedJSON.h"

namespace quarn::json_decoder_tests {
namespace {

/// The path and the problem of a decoding error.
template <class Read>
std::string failureOf(std::string_view text, Read read) {
  const JSONDocument document = *JSONDocument::parse(text);
  try {
    read(JSONDecoder(document.root()));
  } catch (const DecodingError& error) {
    EXPECT_TRUE(std::string_view(error.what()).starts_with(error.path()));
    return error.what();
  }
  return "no failure";
}

std::int64_t integerOf(std::string_view text) {
  const JSONDocument document = *JSONDocument::parse(text);
  return JSONDecoder(document.root()).integer();
}

TEST(JSONDecoder, IntegersAreIntegralNumbersInAnyNotation) {
  EXPECT_EQ(integerOf("0"), 0);
  EXPECT_EQ(integerOf("-1"), -1);
  EXPECT_EQ(integerOf("1.0"), 1);
  EXPECT_EQ(integerOf("1e2"), 100);
  EXPECT_EQ(integerOf("9223372036854775807"), INT64_MAX);
  EXPECT_EQ(integerOf("-9223372036854775808"), INT64_MIN);
}

TEST(JSONDecoder, OtherNumbersAndValuesAreNotIntegers) {
  const auto integer = [](const JSONDecoder& value) { return value.integer(); };
  for (const std::string_view text :
       {"1.5", "9223372036854775808", "-9223372036854775809", "1e300", "9.3e18", "true", "\"1\"", "[]", "[1]", "{}"}) {
    EXPECT_EQ(failureOf(text, integer), "not an integer of 64 bits") << text;
  }
  EXPECT_EQ(failureOf("null", integer), "missing");
}

TEST(JSONDecoder, NoTypeConvertsToAnother) {
  EXPECT_EQ(failureOf("1", [](const JSONDecoder& value) { return value.text(); }), "not a string");
  EXPECT_EQ(failureOf("1", [](const JSONDecoder& value) { return value.boolean(); }), "not a boolean");
  EXPECT_EQ(failureOf("\"true\"", [](const JSONDecoder& value) { return value.boolean(); }), "not a boolean");
  EXPECT_EQ(failureOf("\"1\"", [](const JSONDecoder& value) { return value.number(); }), "not a number");
  EXPECT_EQ(failureOf("false", [](const JSONDecoder& value) { return value.number(); }), "not a number");
  EXPECT_EQ(failureOf("{}", [](const JSONDecoder& value) { return value.count(); }), "not an array");
  EXPECT_EQ(failureOf("[]", [](const JSONDecoder& value) { (void)value.member("a"); }), "not an object");
}

TEST(JSONDecoder, AFailureNamesItsPlace) {
  const auto deep = [](const JSONDecoder& value) {
    const JSONDecoder first = value.member("a");
    const JSONDecoder second = first.element(1);
    return second.member("b").element(0).member("c").text();
  };
  EXPECT_EQ(failureOf(R"({"a":[0,{"b":[{"c":1}]}]})", deep), "a[1].b[0].c: not a string");
  EXPECT_EQ(failureOf(R"({"a":[0,{"b":[{}]}]})", deep), "a[1].b[0].c: missing");
  EXPECT_EQ(failureOf(R"({"a":[0,{"b":["x"]}]})", deep), "a[1].b[0]: not an object");
  EXPECT_EQ(failureOf(R"([1])", [](const JSONDecoder& value) { return value.element(0).text(); }), "[0]: not a string");
}

TEST(JSONDecoder, MissingAndNullAreTheSame) {
  const JSONDocument document = *JSONDocument::parse(R"({"a":null,"b":0})");
  const JSONDecoder object(document.root());
  EXPECT_TRUE(object.member("a").isAbsent());
  EXPECT_TRUE(object.member("c").isAbsent());
  EXPECT_FALSE(object.member("b").isAbsent());
}

TEST(JSONDecoder, UnknownMembersCanBeRefused) {
  constexpr std::array<std::string_view, 2> kKnown{"a", "b"};
  const auto refuse = [&](const JSONDecoder& value) { value.refuseUnknownMembers(kKnown); };
  EXPECT_EQ(failureOf(R"({"b":1})", refuse), "no failure");
  EXPECT_EQ(failureOf(R"({"a":1,"c":1})", refuse), "c: unknown");
}

}  // namespace
}  // namespace quarn::json_decoder_tests
