#include <random>
#include <string>

#include <gtest/gtest.h>

#include "QuarnBuilders/PlistWriter.h"
#include "QuarnSystem/formats/PlainPropertyLists.h"
#include "QuarnSystem/formats/PropertyList.h"
#include "QuarnSystem/formats/PropertyListGuards.h"

namespace quarn::plain_property_lists_tests {
namespace {

using namespace sample;

/// True if the fast reader takes a list. Whatever it takes must have the library's value.
bool isReadFast(const std::string& bytes) {
  std::optional<PropertyList> plain = readPlainXmlPropertyList(bytes);
  if (!plain) plain = readPlainBinaryPropertyList(bytes);
  if (!plain) return false;
  EXPECT_EQ(plain, parsePropertyListByLibrary(bytes)) << bytes;
  return true;
}

class PlainPropertyList : public testing::TestWithParam<PlistFormat> {
 protected:
  static std::string written(const PlistValue& value) { return plistBytes(value, GetParam()); }
};

INSTANTIATE_TEST_SUITE_P(BothForms, PlainPropertyList, testing::Values(PlistFormat::xml, PlistFormat::binary),
                         [](const auto& form) { return form.param == PlistFormat::xml ? "XML" : "Binary"; });

PlistValue usualList() {
  PlistArray documents;
  for (const char* name : {"Notes", "Studio", "", " Player ", "Sketch\t\n\r", "a \"b\" 'c'"}) {
    documents.emplace_back(PlistDictionary{{"CFBundleTypeName", name}, {"LSHandlerRank", 7}, {"On", true}});
  }
  return PlistDictionary{
      {"CFBundleIdentifier", "com.example.notes"},
      {"CFBundleDocumentTypes", documents},
      {"LSUIElement", false},
      {"Numbers", PlistArray{0, -1, 127, 128, 255, 256, 65'536, std::int64_t{1} << 40, INT64_MIN, INT64_MAX}},
      {"Empty", PlistDictionary{}},
      {"None", PlistArray{}},
      {"CFBundleName", std::string(300, 'n')}};
}

TEST_P(PlainPropertyList, UsualListsAreRead) {
  EXPECT_TRUE(isReadFast(written(usualList())));
  for (const PlistValue& root : {PlistValue("text"), PlistValue(-5), PlistValue(true), PlistValue(PlistArray{"a"})}) {
    EXPECT_TRUE(isReadFast(written(root)));
  }
}

TEST_P(PlainPropertyList, TheRestIsLeftToTheLibrary) {
  for (const PlistValue& root :
       {PlistValue(0.5), PlistValue(PlistDate{.seconds = 7}), PlistValue(PlistData{.bytes = "ab"}),
        PlistValue(PlistDictionary{{"a", 1}, {"b", 2}, {"a", 3}}), PlistValue(PlistDictionary{{"", 1}}),
        PlistValue(PlistArray(10'000, PlistValue(true))), PlistValue(std::string(std::size_t{70} << 10, 'x'))}) {
    EXPECT_FALSE(isReadFast(written(root)));
  }
  PlistValue nested = 1;
  for (int level = 0; level < 16; ++level) nested = PlistArray{nested};
  EXPECT_TRUE(isReadFast(written(nested)));
  EXPECT_FALSE(isReadFast(written(PlistArray{nested})));
}

TEST(PlainXmlPropertyList, OtherNotationsAreLeftToTheLibrary) {
  const std::string whole = xmlPlist(PlistDictionary{{"key", 17}});
  ASSERT_TRUE(isReadFast(whole));
  EXPECT_TRUE(isReadFast(whole + "anything"));
  const auto with = [&](const std::string& part) {
    std::string changed = whole;
    const std::string replaced = "<integer>17</integer>";
    return changed.replace(changed.find(replaced), replaced.size(), part);
  };
  EXPECT_TRUE(isReadFast(with("<string>17</string>")));
  for (const char* part : {"<integer>0x11</integer>",
                           "<integer>017</integer>",
                           "<integer>+17</integer>",
                           "<integer> 17</integer>",
                           "<integer></integer>",
                           "<integer>17.5</integer>",
                           "<integer>18446744073709551615</integer>",
                           "<string>&amp;</string>",
                           "<string/>",
                           "<string><![CDATA[a]]></string>",
                           "<string>a<!-- b --></string>",
                           "<string >a</string>",
                           "<true></true>",
                           "<dict/>",
                           "<!-- a --><true/>",
                           "<real>1</real>",
                           "<string>a</key>",
                           "",
                           "<array><true/></dict>",
                           "<dict><true/></dict>",
                           "<string>a"}) {
    EXPECT_FALSE(isReadFast(with(part))) << part;
  }
  EXPECT_FALSE(isReadFast(with(std::string("<string>\0</string>", 18))));
  EXPECT_FALSE(isReadFast(whole.substr(0, whole.find("</plist>"))));
}

TEST(PlainBinaryPropertyList, ASharedListIsNotMultiplied) {
  // Sixteen arrays, each with the next one twice: 65,536 values from 17 objects.
  constexpr int kArrays = 16;
  std::string bytes = "bplist00";
  std::string table;
  for (char i = 0; i < kArrays; ++i) {
    table += static_cast<char>(bytes.size());
    bytes += {'\xA2', static_cast<char>(i + 1), static_cast<char>(i + 1)};
  }
  table += static_cast<char>(bytes.size());
  bytes += '\x09';
  const char start = static_cast<char>(bytes.size());
  bytes += table + std::string(6, '\0') + "\x01\x01" + std::string(7, '\0') + static_cast<char>(kArrays + 1) +
           std::string(8, '\0') + std::string(7, '\0') + start;
  EXPECT_TRUE(parsePropertyListByLibrary(bytes).has_value());
  EXPECT_FALSE(isReadFast(bytes));
}

// Random changes: whatever the fast reader takes, the guards and the library take with that value.
TEST_P(PlainPropertyList, AgreesWithTheLibraryOnChangedBytes) {
  const std::string whole = written(usualList());
  const std::string marks("<>/&;\"' \t\r\n\0\x01\x08\x09\x10\x13\x1F\x51\x5F\x61\xA1\xD1\xFFkdsa17", 34);
  std::mt19937 random(7);
  const auto below = [&](std::size_t bound) { return random() % bound; };
  std::size_t taken = 0;
  for (int round = 0; round < 5'000; ++round) {
    std::string bytes = whole;
    for (std::size_t change = below(2); change < 2; ++change) {
      const std::size_t place = below(bytes.size());
      switch (below(4)) {
        case 0: bytes[place] = marks[below(marks.size())]; break;
        case 1: bytes[place] = static_cast<char>(below(256)); break;
        case 2: bytes.erase(place, 1 + below(4)); break;
        default: bytes.insert(place, 1, marks[below(marks.size())]);
      }
    }
    taken += isReadFast(bytes) ? 1U : 0U;
  }
  EXPECT_GT(taken, 100U) << "many changes keep a list valid";
  EXPECT_LT(taken, 4'900U);
}

}  // namespace
}  // namespace quarn::plain_property_lists_tests
