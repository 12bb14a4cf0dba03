#include <bit>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "QuarnBuilders/BigEndian.h"
#include "QuarnBuilders/PlistWriter.h"
#include "QuarnSystem/formats/PropertyList.h"
#include "QuarnSystem/formats/PropertyListGuards.h"

namespace quarn::property_list_guard_tests {
namespace {

using sample::bigEndian;
using sample::PlistArray;
using sample::PlistDictionary;

const std::string kTrue = "\x09";

std::string repeated(const std::string& text, std::size_t count) {
  std::string result;
  result.reserve(text.size() * count);
  for (std::size_t i = 0; i < count; ++i) result += text;
  return result;
}

/// A binary list of raw objects; valid except for the fields that a test sets.
struct RawList {
  std::vector<std::string> objects;
  std::size_t offsetWidth = 4;
  std::size_t referenceWidth = 4;
  std::uint64_t top = 0;
  std::string magic = "bplist00";

  [[nodiscard]] std::string bytes() const {
    std::string file = magic;
    std::string table;
    for (const auto& object : objects) {
      table += bigEndian(file.size(), offsetWidth);
      file += object;
    }
    const std::size_t tableOffset = file.size();
    return file + table + trailer(objects.size(), tableOffset);
  }
  [[nodiscard]] std::string trailer(std::uint64_t count, std::uint64_t tableOffset) const {
    return bigEndian(0, 6) + bigEndian(offsetWidth, 1) + bigEndian(referenceWidth, 1) + bigEndian(count, 8) +
           bigEndian(top, 8) + bigEndian(tableOffset, 8);
  }
};

/// True if the list is accepted. Also checks that the guards and the library agree.
bool isRead(const std::string& bytes) {
  const bool isBinary = bytes.starts_with("bplist");
  const bool isSafe = isBinary ? isSafeBinaryPropertyList(bytes) : !safeXmlPropertyList(bytes).empty();
  const bool isRead = PropertyList::parse(bytes).has_value();
  EXPECT_EQ(isRead, isSafe && bytes.size() <= PropertyList::kMaxBytes);
  return isRead;
}
bool isReadRaw(const RawList& list) { return isRead(list.bytes()); }

std::string references(std::initializer_list<std::uint64_t> indexes, std::size_t width = 4) {
  std::string result;
  for (const auto index : indexes) result += bigEndian(index, width);
  return result;
}

/// A marker followed by its count as a four-byte integer.
std::string counted(unsigned type, std::uint64_t count) {
  return bigEndian(type << 4U | 0xFU, 1) + "\x12" + bigEndian(count, 4);
}

std::string nestedXml(std::size_t levels) { return repeated("<array>", levels) + repeated("</array>", levels); }

std::string nestedBinary(std::size_t levels) {
  RawList list;
  for (std::size_t i = 1; i < levels; ++i) list.objects.push_back("\xA1" + bigEndian(i, 4));
  list.objects.emplace_back("\xA0");
  return list.bytes();
}

TEST(PropertyListGuards, NestingIsReadUpToItsBoundAndRefusedBeyond) {
  EXPECT_TRUE(isRead(nestedXml(PropertyList::kMaxDepth)));
  EXPECT_FALSE(isRead(nestedXml(PropertyList::kMaxDepth + 1)));
  EXPECT_TRUE(isRead(nestedBinary(PropertyList::kMaxDepth)));
  EXPECT_FALSE(isRead(nestedBinary(PropertyList::kMaxDepth + 1)));
  EXPECT_FALSE(isRead(nestedXml(500'000)));
  EXPECT_FALSE(isRead(nestedBinary(400'000)));
}

TEST(PropertyListGuards, DictionariesCountAsNestingToo) {
  const auto nested = [](std::size_t levels) {
    return repeated("<dict><key>k</key>", levels) + "<true/>" + repeated("</dict>", levels);
  };
  EXPECT_TRUE(isRead(nested(PropertyList::kMaxDepth)));
  EXPECT_FALSE(isRead(nested(PropertyList::kMaxDepth + 1)));
}

TEST(PropertyListGuards, ADeepPartReachedAgainFromFurtherDownStillCounts) {
  RawList list;
  list.objects = {"\xA2" + references({1, 65}), "\xA1" + references({2})};
  while (list.objects.size() < 64) list.objects.push_back("\xA1" + bigEndian(list.objects.size() + 1, 4));
  list.objects.emplace_back("\xA0");
  for (std::size_t i = 65; i < 129; ++i) list.objects.push_back("\xA1" + bigEndian(i + 1, 4));
  list.objects.push_back("\xA1" + references({1}));
  EXPECT_FALSE(isReadRaw(list)) << "65 levels down, 64 more of the first part follow";
  list.objects.back() = "\xA0";
  EXPECT_TRUE(isReadRaw(list));
}

TEST(PropertyListGuards, AListLargerThanTheBoundIsRefusedUnread) {
  const std::string list = "<true/>";
  EXPECT_TRUE(isRead(list + std::string(PropertyList::kMaxBytes - list.size(), ' ')));
  EXPECT_FALSE(isRead(list + std::string(PropertyList::kMaxBytes - list.size() + 1, ' ')));
}

TEST(PropertyListGuards, SharedPartsThatWouldGrowBeyondTheBoundAreRefused) {
  RawList bomb;
  for (std::uint64_t i = 1; i <= 24; ++i) bomb.objects.push_back("\xA2" + references({i, i}));
  bomb.objects.push_back(kTrue);
  EXPECT_FALSE(isReadRaw(bomb));
  bomb.objects.erase(bomb.objects.begin(), bomb.objects.begin() + 8);
  for (std::uint64_t i = 0; i < 16; ++i) bomb.objects[i] = "\xA2" + references({i + 1, i + 1});
  EXPECT_TRUE(isReadRaw(bomb)) << "131,071 values are well within the bound";
}

TEST(PropertyListGuards, TheNumberOfValuesIsBounded) {
  const auto list = [](std::uint64_t count) {
    return RawList{.objects = {counted(0xA, count) + repeated(references({1}), count), kTrue}};
  };
  EXPECT_TRUE(isReadRaw(list(PropertyList::kMaxValues - 1)));
  EXPECT_FALSE(isReadRaw(list(PropertyList::kMaxValues)));
  const auto xml = [](std::size_t count) { return "<array>" + repeated("<true/>", count) + "</array>"; };
  EXPECT_TRUE(isRead(xml(PropertyList::kMaxValues - 1)));
  EXPECT_FALSE(isRead(xml(PropertyList::kMaxValues)));
}

TEST(PropertyListGuards, ManyContainersOverTheSameBytesAreRefused) {
  RawList list{.objects = {}, .offsetWidth = 4, .referenceWidth = 1};
  std::string bytes = "bplist00" + counted(0xA, 200) + std::string(200, '\1');
  const std::size_t table = bytes.size();
  for (int i = 0; i < 200; ++i) bytes += bigEndian(8, 4);
  EXPECT_FALSE(isRead(bytes + list.trailer(200, table))) << "each container holds itself";
}

TEST(PropertyListGuards, TextSharedTooOftenIsRefused) {
  const auto list = [](unsigned type) {
    const std::string text = counted(type, 1 << 20) + std::string(2 << 20, 'a');
    return RawList{.objects = {counted(0xA, 40) + repeated(references({1}), 40), text}};
  };
  EXPECT_FALSE(isReadRaw(list(0x4)));
  EXPECT_FALSE(isReadRaw(list(0x5)));
  EXPECT_FALSE(isReadRaw(list(0x6)));
}

TEST(PropertyListGuards, AListThatHoldsItselfIsRefused) {
  EXPECT_FALSE(isReadRaw({.objects = {"\xA1" + references({0})}}));
  EXPECT_FALSE(isReadRaw({.objects = {"\xA2" + references({1, 1}), "\xA2" + references({0, 0})}}));
  EXPECT_FALSE(isReadRaw({.objects = {"\xD1" + references({1, 0}), "\121k"}}));
}

TEST(PropertyListGuards, AZeroByteInATextOrKeyRefusesTheList) {
  EXPECT_FALSE(isReadRaw({.objects = {std::string("\123a\0b", 4)}}));
  EXPECT_FALSE(isReadRaw({.objects = {std::string("\142\0a\0\0", 5)}}));
  EXPECT_TRUE(isReadRaw({.objects = {std::string("\142a\0\0a", 5)}})) << "two zero bytes of two characters";
  EXPECT_FALSE(isReadRaw({.objects = {"\xD1" + references({1, 2}), std::string("\122k\0", 3), kTrue}}));
  EXPECT_TRUE(isReadRaw({.objects = {std::string("\102\0\0", 3)}})) << "data may hold what it likes";
  EXPECT_FALSE(isRead(std::string("<string>a\0b</string>", 20)));
  EXPECT_FALSE(isRead(std::string("<dict><key>a\0</key><true/></dict>", 33)));
  EXPECT_FALSE(isRead(std::string("<true/\0>", 8)));
}

TEST(PropertyListGuards, EntitiesForZeroOrInvalidCharactersAreRefused) {
  for (const auto* entity : {"&#0;", "&#x0;", "&#00;", "&#x0000;", "&#x110000;", "&#99999999999999;", "&#;", "&#x;",
                             "&;", "&a;", "&ampx;", "&amp", "&", "&#-1;", "&#x-1;", "&#1a;", "&lt &gt;"}) {
    EXPECT_FALSE(isRead("<string>" + std::string(entity) + "</string>")) << entity;
  }
}

TEST(PropertyListGuards, OtherFormsThanXmlAndBinaryAreRefused) {
  EXPECT_FALSE(isRead(""));
  EXPECT_FALSE(isRead(" \n"));
  EXPECT_FALSE(isRead("garbage"));
  EXPECT_FALSE(isRead("{ a = b; }"));
  EXPECT_FALSE(isRead("{\"a\": 1}"));
  EXPECT_FALSE(isRead(std::string("\xFF\xFE<\0t\0r\0u\0e\0/\0>\0", 16)));
  EXPECT_FALSE(isRead(std::string("\xFE\xFF\0<\0t\0r\0u\0e\0/\0>", 16)));
  for (const auto* magic : {"bplist01", "bplist15", "bplist16", "bplist0"}) {
    EXPECT_FALSE(isReadRaw({.objects = {kTrue}, .magic = magic})) << magic;
  }
}

TEST(PropertyListGuards, EveryReferenceAndOffsetWidthIsRead) {
  for (std::size_t width = 1; width <= 8; ++width) {
    const std::string dictionary = "\xD1" + references({1, 2}, width);
    const auto list = PropertyList::parse(
        RawList{.objects = {dictionary, "\x51k", "\x11\x01\x02"}, .offsetWidth = width, .referenceWidth = width}
            .bytes());
    ASSERT_TRUE(list) << width;
    EXPECT_EQ(list->integer("k"), 258) << width;
  }
}

TEST(PropertyListGuards, WidthsOfZeroOrMoreThanEightBytesAreRefused) {
  EXPECT_FALSE(isReadRaw({.objects = {kTrue}, .offsetWidth = 0}));
  EXPECT_FALSE(isReadRaw({.objects = {kTrue}, .offsetWidth = 9}));
  EXPECT_FALSE(isReadRaw({.objects = {kTrue}, .referenceWidth = 0}));
  EXPECT_FALSE(isReadRaw({.objects = {kTrue}, .referenceWidth = 9}));
  EXPECT_TRUE(isReadRaw({.objects = {kTrue}}));
}

TEST(PropertyListGuards, ATrailerThatPointsOutsideTheFileIsRefused) {
  constexpr auto kHuge = std::numeric_limits<std::uint64_t>::max();
  const RawList sound{.objects = {kTrue}};
  const std::string start = "bplist00" + kTrue + bigEndian(8, 4);
  EXPECT_TRUE(isRead(start + sound.trailer(1, 9)));
  for (const std::uint64_t count : {std::uint64_t{0}, std::uint64_t{2}, std::uint64_t{1} << 62U, kHuge}) {
    EXPECT_FALSE(isRead(start + sound.trailer(count, 9))) << count;
  }
  for (const std::uint64_t offset : {std::uint64_t{0}, std::uint64_t{8}, std::uint64_t{10}, std::uint64_t{13},
                                     std::uint64_t{1} << 32U, kHuge - 3, kHuge}) {
    EXPECT_FALSE(isRead(start + sound.trailer(1, offset))) << offset;
  }
  EXPECT_FALSE(isReadRaw({.objects = {kTrue}, .top = 1}));
  EXPECT_FALSE(isReadRaw({.objects = {kTrue}, .top = kHuge}));
}

TEST(PropertyListGuards, AnObjectOutsideItsPartOfTheFileIsRefused) {
  const RawList widths;
  for (const std::uint64_t offset : {0U, 7U, 9U, 13U, 0xFFFFFFFFU}) {
    EXPECT_FALSE(isRead("bplist00" + kTrue + bigEndian(offset, 4) + widths.trailer(1, 9))) << offset;
  }
}

TEST(PropertyListGuards, AReferenceToNoObjectIsRefused) {
  EXPECT_FALSE(isReadRaw({.objects = {"\xA1" + references({2}), kTrue}}));
  EXPECT_FALSE(isReadRaw({.objects = {"\xA1" + references({0xFFFFFFFF}), kTrue}}));
  EXPECT_FALSE(isReadRaw({.objects = {"\xA1" + references({0xFFFFFFFFFFFFFFFF}, 8), kTrue}, .referenceWidth = 8}));
}

TEST(PropertyListGuards, CountsThatReachBeyondTheObjectsAreRefused) {
  for (const unsigned type : {0x4U, 0x5U, 0x6U, 0xAU, 0xCU, 0xDU}) {
    for (const std::uint64_t count : {std::uint64_t{15}, std::uint64_t{0xFFFFFFFF}}) {
      EXPECT_FALSE(isReadRaw({.objects = {counted(type, count), kTrue}})) << type << " × " << count;
    }
    const std::string start = bigEndian(type << 4U | 0xFU, 1);
    EXPECT_FALSE(isReadRaw({.objects = {start + "\x13" + std::string(8, '\xFF'), kTrue}})) << type << " × -1";
    for (unsigned power = 58; power < 64; ++power) {
      const std::string count = bigEndian(std::uint64_t{1} << power, 8);
      EXPECT_FALSE(isReadRaw({.objects = {start + "\x13" + count, kTrue}})) << type << " × 2^" << power;
    }
    EXPECT_FALSE(isReadRaw({.objects = {start + "\x14" + bigEndian(0, 16), kTrue}}))
        << type << " × a count of 16 bytes";
    EXPECT_FALSE(isReadRaw({.objects = {start + "\121a", kTrue}})) << type << " × a text";
    EXPECT_FALSE(isReadRaw({.objects = {start}})) << type;
  }
}

TEST(PropertyListGuards, UnknownObjectsAreRefused) {
  for (const std::string marker : {"\x01", "\x0F", "\x15", "\x1F", "\x20", "\x24", "\x32", "\x34", "\x70", "\x88",
                                   "\x90", "\xB0", "\xE0", "\xF0"}) {
    EXPECT_FALSE(isReadRaw({.objects = {marker + std::string(40, '\1')}})) << static_cast<int>(marker[0]);
  }
  EXPECT_FALSE(isReadRaw({.objects = {std::string(1, '\0')}})) << "a null";
}

TEST(PropertyListGuards, AKeyThatIsNotTextIsRefused) {
  EXPECT_FALSE(isReadRaw({.objects = {"\xD1" + references({1, 1}), kTrue}}));
  EXPECT_TRUE(isReadRaw({.objects = {"\xD1" + references({1, 1}), "\121k"}}));
}

TEST(PropertyListGuards, ObjectsThatNothingRefersToDoNotMatter) {
  EXPECT_TRUE(isReadRaw({.objects = {kTrue, counted(0xA, 0xFFFFFF), "\xF0"}}));
}

TEST(PropertyListGuards, AReferenceOfAKeyedArchiveIsANull) {
  const auto list = PropertyList::parse(RawList{.objects = {"\xA1" + references({1}), "\x80\x05"}}.bytes());
  EXPECT_EQ(list, PropertyList(PropertyList::Array{PropertyList()}));
}

TEST(PropertyListGuards, ListsThatTheLibraryCannotReadAreRefused) {
  EXPECT_FALSE(isRead("<data/>"));
  EXPECT_FALSE(isRead("<date />"));
  EXPECT_FALSE(isRead("<dict><key/><true/></dict>"));
  EXPECT_FALSE(isReadRaw({.objects = {"\x60"}})) << "an empty text of two-byte characters";
  EXPECT_FALSE(isReadRaw({.objects = {std::string("\x6F\x10\0", 3)}}));
}

TEST(PropertyListGuards, DatesKeepTheirFractions) {
  for (const double seconds : {1.5, -1.5, 700'000'000.25, -700'000'000.25}) {
    const auto list = PropertyList::parse(RawList{
        .objects = {"\xD1" + references({1, 2}), "\121k", "\x33" + bigEndian(std::bit_cast<std::uint64_t>(seconds), 8)}}
                                              .bytes());
    ASSERT_TRUE(list);
    EXPECT_EQ(list->date("k"), PropertyList::Date{seconds});
  }
}

TEST(PropertyListGuards, ASetIsReadAsAnArray) {
  const auto list = PropertyList::parse(RawList{.objects = {"\xC1" + references({1}), kTrue}}.bytes());
  EXPECT_EQ(list, PropertyList(PropertyList::Array{PropertyList(true)}));
}

TEST(PropertyListGuards, AnIntegerOfSixteenBytesIsItsLowHalf) {
  const auto list = PropertyList::parse(RawList{.objects = {"\x14" + bigEndian(7, 16)}}.bytes());
  EXPECT_EQ(list, PropertyList(std::int64_t{7}));
}

std::string dictionaryOf(std::size_t keys) {
  std::string content;
  for (std::size_t i = 0; i < keys; ++i) content += "<key>" + std::to_string(i) + "</key><true/>";
  return "<dict>" + content + "</dict>";
}

TEST(PropertyListGuards, TheKeysOfXmlDictionariesAreBounded) {
  EXPECT_TRUE(isRead(dictionaryOf(5'000)));
  EXPECT_FALSE(isRead(dictionaryOf(5'001)));
  EXPECT_TRUE(isRead("<array>" + repeated(dictionaryOf(500), 100) + "</array>"));
  EXPECT_FALSE(isRead("<array>" + repeated(dictionaryOf(500), 101) + "</array>"));
}

TEST(PropertyListGuards, TheEntitiesOfAnXmlTextAreBounded) {
  EXPECT_TRUE(isRead("<string>" + repeated("&lt;", 30'000) + "</string>"));
  EXPECT_FALSE(isRead("<string>" + repeated("&lt;", 36'000) + "</string>"));
  EXPECT_TRUE(isRead("<array>" + repeated("<string>&lt;&lt;&lt;</string>", 200'000) + "</array>"));
}

TEST(PropertyListGuards, DeclarationsInTheDocumentTypeAreRefused) {
  EXPECT_FALSE(isRead("<!DOCTYPE plist [<!ENTITY a \"aaaa\"><!ENTITY b \"&a;&a;\">]><string>&b;</string>"));
  EXPECT_FALSE(isRead("<!DOCTYPE plist []><true/>"));
  EXPECT_FALSE(isRead("<!DOCTYPE plist SYSTEM \"a><true/>"));
}

TEST(PropertyListGuards, AnEmptyInstructionCannotHideNestingFromTheGuard) {
  const std::string deep = repeated("<array>", 400'000);
  EXPECT_FALSE(isRead("<?>" + deep + "?><true/>"));
  EXPECT_FALSE(isRead("<!-->" + deep + "<true/>"));
  EXPECT_TRUE(isRead("<? ?><true/>"));
  EXPECT_TRUE(isRead("<!---->" + std::string("<true/>")));
}

TEST(PropertyListGuards, AQuoteCannotHideNestingFromTheGuard) {
  const std::string deep = repeated("<array>", 400'000);
  EXPECT_FALSE(isRead("<?a \"?><string><![CDATA[\"?>" + deep + "]]></string>"));
  EXPECT_FALSE(isRead("<!DOCTYPE a \"><string><![CDATA[\">" + deep + "]]></string>"));
  EXPECT_FALSE(isRead("<array a=\"><string><![CDATA[\">" + deep + "]]></string></array>"));
  EXPECT_TRUE(isRead("<?a \"\"?><array a=\"\"><string><![CDATA[\">" + deep + "]]></string></array>"));
}

TEST(PropertyListGuards, MalformedXmlIsRefused) {
  for (const auto* text : {
           "<",
           "<>",
           "</>",
           "<true",
           "<true/",
           "<dict>",
           "<dict><key>",
           "<dict></array>",
           "<array></dict>",
           "</true>",
           "<unknown/>",
           "<plist/>",
           "<plist></plist>",
           "<plist><plist><true/></plist></plist>",
           "<plist><true/><false/></plist>",
           "<plist><true/>",
           "<plist><true/></dict>",
           "<key>a</key>",
           "<dict><true/></dict>",
           "<dict><key>a</key></dict>",
           "<dict><key>a</key><key>b</key></dict>",
           "<dict><key>a</key><true/><false/></dict>",
           "<dict>text</dict>",
           "<array>text</array>",
           "<array><key>a</key></array>",
           "<string>a<b></string>",
           "<string><string>a</string></string>",
           "<string>a</key>",
           "<string>a",
           "<string>a<!-- b</string>",
           "<string>a<![CDATA[b</string>",
           "<string>a</string b>",
           "<array></array b>",
           "<array></array/>",
           "<array/x/>",
           "<array/x/></array>",
           "<array/ />",
           "<true a=\"</true>",
           "<array a=\"<dict>\"></array>",
           "<array a=\"b></array>",
           "<!-- a <true/>",
           "<?a <true/>",
           "<true/ ></true>",
           "<integer/x>1</integer>",
           "</plist>",
       }) {
    EXPECT_FALSE(isRead(text)) << text;
  }
}

TEST(PropertyListGuards, ATruncatedListIsRefusedWhereverItEnds) {
  const PlistDictionary list{{"Label", "com.example.job"}, {"Arguments", PlistArray{"a", 1, true}}, {"\xC3\xA9", -2.5}};
  for (const std::string& whole : {sample::xmlPlist(list), sample::binaryPlist(list)}) {
    ASSERT_TRUE(isRead(whole));
    const std::size_t lastByte = whole.find_last_not_of('\n');
    for (std::size_t length = 0; length < lastByte; ++length) EXPECT_FALSE(isRead(whole.substr(0, length))) << length;
  }
}

TEST(PropertyListGuards, AnyByteMayBeCorrupt) {
  const PlistDictionary list{{"Label", "com.example.job"}, {"Arguments", PlistArray{"a", 1, true}}, {"\xC3\xA9", -2.5}};
  std::size_t readable = 0;
  for (const std::string& whole : {sample::xmlPlist(list), sample::binaryPlist(list)}) {
    for (std::size_t i = 0; i < whole.size(); ++i) {
      for (const char value :
           {'\0', '\x01', '\x10', '"', '&', '/', '<', '>', '\x5F', '\x7F', '\x80', '\xA1', '\xDF', '\xFF'}) {
        std::string damaged = whole;
        damaged[i] = value;
        readable += isRead(damaged) ? 1U : 0U;
      }
    }
  }
  EXPECT_GT(readable, 0U);
}

}  // namespace
}  // namespace quarn::property_list_guard_tests
