#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "QuarnPlatform/json/PlainJSONCursor.h"

namespace quarn::plain_json_cursor_tests {
namespace {

using Number = PlainJSONCursor::Number;

/// The string that a text consists of; "refused" if the cursor gives up.
std::string stringIn(std::string_view text) {
  PlainJSONCursor cursor(text);
  std::string_view found;
  return cursor.string(found) && cursor.isAtEnd() ? std::string(found) : "refused";
}

std::string nested(std::size_t depth, const std::string& open, const std::string& inner, char close) {
  std::string text;
  for (std::size_t level = 0; level < depth; ++level) text += open;
  return text + inner + std::string(depth, close);
}

TEST(PlainJSONCursor, ReadsARecordWithoutADocument) {
  PlainJSONCursor cursor(R"( { "name" : "x\ty" , "sizes" : [ 1 , -2 , 2.5 ] , "other": {"a": [null, true]} } )");
  std::string name;
  std::vector<JSONValue::Type> types;
  std::vector<std::string> keys;
  EXPECT_TRUE(cursor.object([&](std::string_view key) {
    keys.emplace_back(key);
    if (key == "name") {
      std::string_view text;
      const bool isRead = cursor.string(text);
      name = text;
      return isRead;
    }
    if (key != "sizes") return cursor.skip();
    return cursor.array([&] {
      Number number;
      const bool isRead = cursor.number(number);
      types.push_back(number.type);
      return isRead;
    });
  }));
  EXPECT_TRUE(cursor.isAtEnd());
  EXPECT_EQ(name, "x\ty");
  EXPECT_EQ(keys, (std::vector<std::string>{"name", "sizes", "other"}));
  EXPECT_EQ(types, (std::vector{JSONValue::Type::unsignedInteger, JSONValue::Type::integer, JSONValue::Type::real}));
}

TEST(PlainJSONCursor, AStringIsUnescaped) {
  EXPECT_EQ(stringIn(R"( "" )"), "");
  EXPECT_EQ(stringIn(R"("plain")"), "plain");
  EXPECT_EQ(stringIn(R"("\u00e4")"), "\u00e4");
  EXPECT_EQ(stringIn(R"("one\\two \u20ac\n\uD83D\uDE00 three")"), "one\\two \u20ac\n\U0001F600 three");
  EXPECT_EQ(stringIn("\"\u00e4\u20ac\\\"\u00e4 and so on\""), "\u00e4\u20ac\"\u00e4 and so on");
  for (const char* text : {"", "a", "7", "null", "\"a", "\"\\\"", "\"\\x\"", "\"a\\u12\"", "\"a\\ud800\"",
                           "\"\\n\xFF\"", "\"\xFF\"", "\"\n\"", "\"\\n\n\"", "\"a\" \"b\""}) {
    EXPECT_EQ(stringIn(text), "refused") << text;
  }
}

TEST(PlainJSONCursor, AnotherTypeThanExpectedIsRefused) {
  for (const std::string text : {"null", "true", "7", "\"a\"", "[]", "{}", "", "x"}) {
    Number number;
    std::string_view found;
    EXPECT_EQ(PlainJSONCursor(text).number(number), text == "7") << text;
    EXPECT_EQ(PlainJSONCursor(text).string(found), text == "\"a\"") << text;
    EXPECT_EQ(PlainJSONCursor(text).word("null"), text == "null") << text;
    EXPECT_EQ(PlainJSONCursor(text).array([] { return false; }), text == "[]") << text;
    EXPECT_EQ(PlainJSONCursor(text).object([](std::string_view) { return false; }), text == "{}") << text;
  }
}

TEST(PlainJSONCursor, WhatIsSkippedIsChecked) {
  const auto skips = [](const std::string& text) {
    PlainJSONCursor cursor(text);
    return cursor.skip() && cursor.isAtEnd();
  };
  EXPECT_TRUE(skips(R"([1, -1, 0.5, 1e3, "a\n", {"a": {}, "a": []}, true, false, null])"));
  for (const char* text : {"", "tru", "[1,]", "[1 2]", "{\"a\"}", "{\"a\":1,}", "01", "1.", "1e400", "1e-400",
                           "\"\\x\"", "\"\xFF\"", "18446744073709551616", "NaN", "[1]]"}) {
    EXPECT_FALSE(skips(text)) << text;
  }
}

TEST(PlainJSONCursor, ArraysAndObjectsHaveOneLimitOfDepth) {
  for (const auto& [open, close] : {std::pair{std::string("["), ']'}, std::pair{std::string("{\"a\":"), '}'}}) {
    const std::string deep = nested(512, open, "1", close);
    const std::string deeper = nested(513, open, "1", close);
    EXPECT_TRUE(PlainJSONCursor(deep).skip());
    EXPECT_FALSE(PlainJSONCursor(deeper).skip());
  }
  for (const std::string closed : {"{}", "[]", "{\"a\":1}", "[1]"}) {
    std::string many = "[" + closed;
    for (int i = 0; i < 600; ++i) many += "," + closed;
    many += ']';
    EXPECT_TRUE(PlainJSONCursor(many).skip()) << closed << ": what is closed does not count any more";
  }
  const std::string deepest = nested(511, "[", "1", ']');
  const std::string tooDeep = "[[" + deepest + "]]";
  PlainJSONCursor deep(tooDeep);
  EXPECT_FALSE(deep.array([&] { return deep.skip(); }));
}

}  // namespace
}  // namespace quarn::plain_json_cursor_tests
