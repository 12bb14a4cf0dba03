#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "QuarnPlatform/json/JSON.h"
#include "QuarnPlatform/json/JSONLibrary.h"

namespace quarn {
namespace {

using nlohmann::json;
using Strings = std::vector<std::string>;

std::optional<std::int64_t> integerIn(const std::string& text) {
  const std::optional<json> value = parseJSON(text);
  return value ? JSON::integer(*value) : std::nullopt;
}

std::optional<double> numberIn(const std::string& text) {
  const std::optional<json> value = parseJSON(text);
  return value ? JSON::number(*value) : std::nullopt;
}

std::string nested(std::size_t depth, char open, char close) {
  return std::string(depth, open) + std::string(depth, close);
}

TEST(JSONParsing, EveryKindOfValueCanBeTheRoot) {
  EXPECT_EQ(parseJSON("null"), json());
  EXPECT_EQ(parseJSON("true"), json(true));
  EXPECT_EQ(parseJSON("-12"), json(-12));
  EXPECT_EQ(parseJSON("\"a\""), json("a"));
  EXPECT_EQ(parseJSON(" \t\r\n[1,[],{}] \t\r\n"), json({1, json::array(), json::object()}));
  EXPECT_EQ(parseJSON(R"({"a":{"b":[true,null]},"c":""})")->dump(), R"({"a":{"b":[true,null]},"c":""})");
}

TEST(JSONParsing, TextThatIsNotJSONIsRefused) {
  const std::vector<std::string> texts = {
      "",          " ",       "[1,]",  "{\"a\":1,}", "[,]",      "[1,,2]", "[1 2]",     "{\"a\" 1}", "{\"a\":}",
      "{a:1}",     "{'a':1}", "{1:1}", "// c\n1",    "/* c */1", "1 // c", "# c\n1",    "[1",        "{\"a\":1",
      "]",         "1 2",     "{} x",  "tru",        "True",     "nul",    "undefined", "NaN",       "Infinity",
      "-Infinity", "+1",      ".5",    "1.",         "1.e2",     "1e",     "1e+",       "-",         "--1",
      "01",        "-01",     "0x10",  "1_000",      "\v1",      "\f1",    "\u00A01",   "\u20281"};
  for (const std::string& text : texts) EXPECT_FALSE(parseJSON(text).has_value()) << text;
}

TEST(JSONParsing, StringsAreWellFormed) {
  EXPECT_EQ(parseJSON(R"("\"\\\/\b\f\n\r\t\u00e9\uD83D\uDE00")"), json("\"\\/\b\f\n\r\t\u00E9\U0001F600"));
  EXPECT_EQ(parseJSON(R"("\u0000")"), json(std::string(1, '\0')));
  EXPECT_EQ(parseJSON("\"\x7F\""), json("\x7F"));
  const std::vector<std::string> texts = {"\"",          "\"a",          "'a'",
                                          "\"\n\"",      "\"\t\"",       "\"\x01\"",
                                          "\"\\x\"",     "\"\\u12\"",    "\"\\uD800\"",
                                          "\"\\uDC00\"", "\"\\uD800x\"", "\"\\uD800\\u0041\"",
                                          "\"\xFF\"",    "\"\xC0\x80\"", "\"\xED\xA0\x80\"",
                                          "\"\xE2\x82\""};
  for (const std::string& text : texts) EXPECT_FALSE(parseJSON(text).has_value()) << text;
}

TEST(JSONParsing, TextAfterANulIsRefused) {
  EXPECT_FALSE(parseJSON(std::string("{}\0", 3)).has_value());
  EXPECT_FALSE(parseJSON(std::string("{}\0garbage", 10)).has_value());
  EXPECT_FALSE(parseJSON(std::string("\0{}", 3)).has_value());
}

TEST(JSONParsing, AByteOrderMarkIsSkippedAtTheStartOnly) {
  EXPECT_EQ(parseJSON("\xEF\xBB\xBF{}"), json::object());
  EXPECT_FALSE(parseJSON("\xEF\xBB{}").has_value());
  EXPECT_FALSE(parseJSON("\xEF\xBB\xBF\xEF\xBB\xBF{}").has_value());
  EXPECT_FALSE(parseJSON("{}\xEF\xBB\xBF").has_value());
  EXPECT_FALSE(parseJSON("\xEF\xBB\xBF").has_value());
}

TEST(JSONParsing, OtherEncodingsAreRefused) {
  EXPECT_FALSE(parseJSON(std::string("\xFF\xFE[\0]\0", 6)).has_value());
  EXPECT_FALSE(parseJSON(std::string("[\0]\0", 4)).has_value());
}

TEST(JSONParsing, FiveHundredAndTwelveLevelsAreEnough) {
  EXPECT_TRUE(parseJSON(nested(512, '[', ']')).has_value());
  EXPECT_FALSE(parseJSON(nested(513, '[', ']')).has_value());
  std::string objects;
  for (int level = 0; level < 511; ++level) objects += "{\"a\":";
  EXPECT_TRUE(parseJSON(objects + "[1]" + std::string(511, '}')).has_value());
  EXPECT_FALSE(parseJSON(objects + "[{}]" + std::string(511, '}')).has_value());
  EXPECT_FALSE(parseJSON(std::string(1 << 20, '[')).has_value());
}

TEST(JSONParsing, TheFirstOfEqualKeysWins) {
  EXPECT_EQ(parseJSON(R"({"a":1,"a":2})"), json({{"a", 1}}));
  EXPECT_EQ(parseJSON(R"({"a":{"b":1},"a":{"b":2,"c":3}})")->dump(), R"({"a":{"b":1}})");
  EXPECT_EQ(parseJSON(R"({"a":null,"a":2,"A":3})")->dump(), R"({"A":3,"a":null})");
  EXPECT_FALSE(parseJSON(R"({"a":1,"a":})").has_value());
}

TEST(JSONParsing, NumbersOutsideADoublesRangeAreRefused) {
  EXPECT_FALSE(parseJSON("1e400").has_value());
  EXPECT_FALSE(parseJSON("[-1e309]").has_value());
  EXPECT_FALSE(parseJSON("1e-400").has_value());
  EXPECT_FALSE(parseJSON("-0.00001e-330").has_value());
  EXPECT_EQ(numberIn("5e-324"), std::numeric_limits<double>::denorm_min());
  EXPECT_EQ(numberIn("0e-10"), 0.0);
  EXPECT_EQ(numberIn("0.0e999"), 0.0);
  EXPECT_EQ(numberIn("-0.000"), 0.0);
}

TEST(JSONParsing, ProblemsNamePositionAndReason) {
  std::string problem;
  EXPECT_FALSE(parseJSON("{\n  \"a\": 1,\n}", &problem).has_value());
  EXPECT_NE(problem.find("line 3, column 1"), std::string::npos) << problem;
  EXPECT_EQ(problem.find("exception"), std::string::npos) << problem;
  EXPECT_FALSE(parseJSON(nested(600, '[', ']'), &problem).has_value());
  EXPECT_EQ(problem, "nested deeper than 512 levels");
  EXPECT_FALSE(parseJSON("[1e-400]", &problem).has_value());
  EXPECT_EQ(problem, "number too small: 1e-400");
  EXPECT_FALSE(parseJSON(std::string("[\0]", 3), &problem).has_value());
  EXPECT_EQ(problem, "holds a NUL byte");
}

TEST(JSONValues, AnIntegralNumberIsAnIntegerInAnyNotation) {
  EXPECT_EQ(integerIn("1"), 1);
  EXPECT_EQ(integerIn("1.0"), 1);
  EXPECT_EQ(integerIn("1e2"), 100);
  EXPECT_EQ(integerIn("10e-1"), 1);
  EXPECT_EQ(integerIn("-0"), 0);
  EXPECT_EQ(integerIn("-0.0"), 0);
  EXPECT_EQ(integerIn("1.0000000000000001"), 1);
  EXPECT_EQ(integerIn("-7"), -7);
}

TEST(JSONValues, IntegersHaveSixtyFourSignedBits) {
  EXPECT_EQ(integerIn("9223372036854775807"), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(integerIn("-9223372036854775808"), std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(integerIn("9223372036854774784.0"), 9223372036854774784);
  EXPECT_EQ(integerIn("-9223372036854774784.0"), -9223372036854774784);
  for (const char* text : {"9223372036854775808", "9223372036854775808.0", "18446744073709551615",
                           "18446744073709551616", "-9223372036854775809", "-9223372036854775808.0", "1e19", "1e300"}) {
    EXPECT_EQ(integerIn(text), std::nullopt) << text;
  }
}

TEST(JSONValues, NothingElseIsAnInteger) {
  for (const char* text : {"1.5", "-0.5", "1e-1", "true", "false", "\"1\"", "null", "[]", "[1]", "{}"}) {
    EXPECT_EQ(integerIn(text), std::nullopt) << text;
  }
}

TEST(JSONValues, OnlyNumbersAreNumbers) {
  EXPECT_EQ(numberIn("7"), 7.0);
  EXPECT_EQ(numberIn("-7"), -7.0);
  EXPECT_EQ(numberIn("0.95"), 0.95);
  EXPECT_EQ(numberIn("18446744073709551616"), 18446744073709551616.0);
  for (const char* text : {"true", "\"1\"", "null", "[]", "{}"}) EXPECT_EQ(numberIn(text), std::nullopt) << text;
}

TEST(JSONValues, OnlyBooleansAreBooleans) {
  EXPECT_EQ(JSON::boolean(json(true)), true);
  EXPECT_EQ(JSON::boolean(json(false)), false);
  for (const json& value : {json(1), json(0), json("true"), json(), json::array()}) {
    EXPECT_EQ(JSON::boolean(value), std::nullopt) << value;
  }
}

TEST(JSONValues, OnlyStringsAreStrings) {
  EXPECT_EQ(JSON::string(json("")), "");
  EXPECT_EQ(JSON::string(json("a")), "a");
  for (const json& value : {json(1), json(true), json(), json::array()}) {
    EXPECT_EQ(JSON::string(value), std::nullopt) << value;
  }
}

TEST(JSONValues, AStringArrayHoldsOnlyStrings) {
  EXPECT_EQ(JSON::stringArray(json::array()), Strings{});
  EXPECT_EQ(JSON::stringArray(json::array({"a", "b"})), (Strings{"a", "b"}));
  EXPECT_EQ(JSON::stringArray(json::array({"a", 1})), std::nullopt);
  EXPECT_EQ(JSON::stringArray(json::array({json()})), std::nullopt);
  EXPECT_EQ(JSON::stringArray(json("a")), std::nullopt);
  EXPECT_EQ(JSON::stringArray(json::object()), std::nullopt);
}

TEST(JSONValues, MembersAreFoundByTheirExactName) {
  const json object = {{"a", 1}, {"b", nullptr}};
  ASSERT_NE(JSON::member(object, "a"), nullptr);
  EXPECT_EQ(*JSON::member(object, "a"), json(1));
  EXPECT_NE(JSON::member(object, "b"), nullptr);
  EXPECT_EQ(JSON::member(object, "A"), nullptr);
  EXPECT_EQ(JSON::member(json::array({1}), "a"), nullptr);
  EXPECT_EQ(JSON::member(json(), "a"), nullptr);
}

}  // namespace
}  // namespace quarn
