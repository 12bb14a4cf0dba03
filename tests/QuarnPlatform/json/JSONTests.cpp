#include <cmath>
#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "QuarnPlatform/json/PlainJSONReader.h"
#include "tests/support/ParsedJSON.h"

namespace quarn::json_tests {
namespace {

using nlohmann::json;

std::optional<std::int64_t> integerIn(const std::string& text) {
  const std::optional<JSONDocument> document = JSONDocument::parse(text);
  return document ? document->root().integer() : std::nullopt;
}

std::optional<double> numberIn(const std::string& text) {
  const std::optional<JSONDocument> document = JSONDocument::parse(text);
  return document && document->root().isNumber() ? std::optional(document->root().number()) : std::nullopt;
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

TEST(JSONValues, AValueHasOneType) {
  const JSONDocument document = *JSONDocument::parse(R"([null,true,-1,1,1.5,"a",[],{}])");
  const JSONValue root = document.root();
  ASSERT_EQ(root.count(), 8U);
  for (std::size_t i = 0; i < root.count(); ++i) {
    const JSONValue value = root.element(i);
    EXPECT_EQ(static_cast<std::size_t>(value.type()), i) << "the order of the types";
    EXPECT_EQ(value.isNull(), i == 0);
    EXPECT_EQ(value.isBoolean(), i == 1);
    EXPECT_EQ(value.isNumber(), i >= 2 && i <= 4);
    EXPECT_EQ(value.isString(), i == 5);
    EXPECT_EQ(value.isArray(), i == 6);
    EXPECT_EQ(value.isObject(), i == 7);
  }
  EXPECT_TRUE(root.element(1).boolean());
  EXPECT_FALSE(JSONDocument::parse("false")->root().boolean());
  EXPECT_EQ(root.element(5).string(), "a");
}

TEST(JSONValues, MembersAreFoundByTheirExactNameAndTheFirstCounts) {
  const JSONDocument document = *JSONDocument::parse(R"({"a":1,"b":null,"a":2,"":[]})");
  const JSONValue object = document.root();
  ASSERT_TRUE(object.member("a"));
  EXPECT_EQ(object.member("a")->integer(), 1);
  EXPECT_TRUE(object.member("b")->isNull());
  EXPECT_TRUE(object.member("")->isArray());
  EXPECT_FALSE(object.member("A"));
  EXPECT_FALSE(object.member("")->member("a")) << "not an object";
  EXPECT_EQ(object.count(), 4U);
  EXPECT_EQ(object.keyAt(2), "a");
}

TEST(JSONValues, TheirTextIsTheirJSON) {
  for (const char* text :
       {R"({"a":[1,-2,18446744073709551615,true,null,"x\ny\u0001\"\\ä"],"b":{}})", "[]", "0.1", "1.0", "1e+300"}) {
    EXPECT_EQ(JSONDocument::parse(text)->root().text(), text);
  }
}

TEST(JSONValues, ADocumentOutlivesItsCopies) {
  std::optional<JSONDocument> document = JSONDocument::parse(R"(["a long string that is not stored in place"])");
  const JSONDocument copy = *document;
  document.reset();
  EXPECT_EQ(copy.root().element(0).string(), "a long string that is not stored in place");
  EXPECT_GT(copy.memory(), 40U);
}

// ---- the fast reader

/// True if the fast reader takes a text. Whatever it takes must have the library's value.
bool isReadFast(const std::string& text) {
  JSONBuilder builder(text.size());
  if (!readPlainJSON(text, builder)) return false;
  std::string problem;
  const std::optional<JSONDocument> judged = JSONDocument::parseByLibrary(text, problem);
  EXPECT_TRUE(judged.has_value()) << text << ": " << problem;
  if (judged) {
    EXPECT_EQ(JSONDocument(builder.take()).root().text(), judged->root().text()) << text;
  }
  return true;
}

TEST(PlainJSONReader, TakesUsualTexts) {
  for (const char* text : {"null", " [ 1 , -2 , 0.5 , 1e3 , 2E-3 , -0 , 0.0 , 12345678901234567890 ] ",
                           R"({"a" : {"b":[true,false,null]}})", R"("\"\\\/\b\f\n\r\t\u00e9\uD83D\uDE00")",
                           "\"\u00e4\u20ac\U0001F600\"", R"({"a":1,"a":2})", "[[],{},[{}]]"}) {
    EXPECT_TRUE(isReadFast(text)) << text;
  }
}

TEST(PlainJSONReader, LeavesTheRestToTheLibrary) {
  for (const std::string text : {"",
                                 " ",
                                 "nul",
                                 "nulll",
                                 "tru",
                                 "[",
                                 "]",
                                 "[1,]",
                                 "[,1]",
                                 "[1 2]",
                                 "{",
                                 "{a:1}",
                                 "{\"a\"}",
                                 "{\"a\":}",
                                 "{\"a\":1,}",
                                 "{\"a\" 1}",
                                 "1 2",
                                 "01",
                                 "-",
                                 "+1",
                                 "1.",
                                 ".5",
                                 "1e",
                                 "1e+",
                                 "0x1",
                                 "NaN",
                                 "\"a",
                                 "\"\\x\"",
                                 "\"\\u12\"",
                                 "\"\\u12g4\"",
                                 "\"\\ud800\"",
                                 "\"\\udc00\"",
                                 "\"\\ud800\\u0041\"",
                                 "\"\x01\"",
                                 "\"\xFF\"",
                                 "\"\xC0\x80\"",
                                 "\"\xED\xA0\x80\"",
                                 "\"\xF5\x80\x80\x80\"",
                                 "\"\xE2\x82\"",
                                 "\xEF\xBB\xBF[]",
                                 "1e400",
                                 "1e-400",
                                 "18446744073709551616",
                                 "-9223372036854775809",
                                 "/**/1",
                                 "'a'"}) {
    EXPECT_FALSE(isReadFast(text)) << text;
  }
  EXPECT_FALSE(isReadFast(std::string("1\0", 2)));
  EXPECT_FALSE(isReadFast(nested(513, '[', ']')));
  EXPECT_TRUE(isReadFast(nested(512, '[', ']')));
}

TEST(PlainJSONReader, AFractionIsTheNearestDouble) {
  std::mt19937_64 random(1);  // NOLINT(cert-msc51-cpp): the same numbers in every run
  for (int round = 0; round < 20'000; ++round) {
    const std::size_t length = 1 + random() % 20;
    std::string digits = std::to_string(random()) + std::to_string(random());
    digits.resize(length + 1);
    const std::size_t point = 1 + random() % length;
    if (digits[0] == '0') digits[0] = '1';
    const std::string whole = random() % 2 == 0 ? "0" : digits.substr(0, point);
    const std::string text = (random() % 2 == 0 ? "-" : "") + whole + "." + digits.substr(point);
    JSONBuilder builder(text.size());
    ASSERT_TRUE(readPlainJSON(text, builder)) << text;
    EXPECT_EQ(JSONDocument(builder.take()).root().number(), std::strtod(text.c_str(), nullptr)) << text;
  }
  EXPECT_TRUE(std::signbit(*numberIn("-0.0")));
  EXPECT_FALSE(std::signbit(*numberIn("0.0")));
}

// It looks at eight bytes at a time.
TEST(PlainJSONReader, FindsTheEndOfSpaceAndOfPlainTextAtEveryPlace) {
  for (std::size_t before = 0; before < 20; ++before) {
    for (std::size_t behind = 0; behind < 10; ++behind) {
      for (const char* white : {"", " ", "\n", "\t", "\r", "\r\n  "}) {
        const std::string space = std::string(before, ' ') + white + std::string(behind, ' ');
        EXPECT_TRUE(isReadFast(space + "[" + space + "1" + space + "]" + space)) << before << ' ' << behind;
      }
      for (const char* other : {"\v", "\x01", "\x80", "!", "\""}) {
        EXPECT_FALSE(isReadFast(std::string(before, ' ') + other + std::string(behind, ' ') + "1")) << before;
      }
      const std::string first(before, '#');
      const std::string rest(behind, '#');
      for (const char* special : {"\\\"", "\\\\", "\u00e4", "\\n", " ", "\x7F", "!", "]"}) {
        EXPECT_TRUE(isReadFast("[\"" + first + special + rest + "\",\"" + rest + "\"]")) << before << special;
      }
      for (const char* wrong : {"\x01", "\x1F", "\xFF", "\n", "\""}) {
        EXPECT_FALSE(isReadFast("[\"" + first + wrong + rest + "\"]")) << before << ' ' << behind;
      }
    }
  }
}

// Random changes of texts with every kind of token: whatever the fast reader takes, the library takes with that value.
TEST(PlainJSONReader, AgreesWithTheLibraryOnChangedTexts) {
  const std::string whole =
      R"({"id":"cache:user:/a b","n":[0,-1,12.5e-3,18446744073709551615],"t":true,"f":false,"z":null,"s":"\u00e4\ud83d\ude00\n)"
      "\u00e4\u20ac\", \"e\":{},\"l\":[[],[{}]]}";
  const std::string marks = "{}[]:,\"\\ntfu019.-+eE \n\x01\x7F\x80\xC3\xE2\xED\xF0\xFF";
  std::mt19937 random(7);
  const auto below = [&](std::size_t bound) { return random() % bound; };
  std::size_t taken = 0;
  for (int round = 0; round < 20'000; ++round) {
    std::string text = whole;
    for (std::size_t change = below(3); change < 3; ++change) {
      const std::size_t place = below(text.size());
      switch (below(3)) {
        case 0: text[place] = marks[below(marks.size())]; break;
        case 1: text.erase(place, 1 + below(4)); break;
        default: text.insert(place, 1, marks[below(marks.size())]);
      }
    }
    taken += isReadFast(text) ? 1U : 0U;
  }
  EXPECT_GT(taken, 500U) << "many changes keep a text valid";
  EXPECT_LT(taken, 19'500U);
}

}  // namespace
}  // namespace quarn::json_tests
