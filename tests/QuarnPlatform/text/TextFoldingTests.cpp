#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "QuarnPlatform/text/Text.h"

namespace quarn::text_folding_tests {
namespace {

const Locale kRoot;
const Locale kEnglish("en_US");
const Locale kTurkish("tr_TR");
const Locale kAzerbaijani("az-Latn-AZ");

struct Row {
  const char* input;
  const char* folded;
};

/// Invisible characters, marks and look-alikes are escaped, so that the table looks the same in every editor.
void expectFolded(const std::vector<Row>& rows, const Locale& locale = kRoot) {
  for (const Row& row : rows) EXPECT_EQ(Text::folded(row.input, locale), row.folded) << row.input;
}

void expectUnchanged(const std::vector<const char*>& texts) {
  for (const char* text : texts) EXPECT_EQ(Text::folded(text, kRoot), text) << text;
}

/// Encodes UTF-8 independently of the code under test.
std::string utf8(char32_t scalar) {
  const auto byte = [scalar](int shift, unsigned mark) {
    const auto bits = static_cast<std::uint32_t>(scalar) >> shift;
    return static_cast<char>(mark | (mark == 0x80 ? bits & 0x3F : bits));
  };
  if (scalar < 0x800) return {byte(6, 0xC0), byte(0, 0x80)};
  if (scalar < 0x10000) return {byte(12, 0xE0), byte(6, 0x80), byte(0, 0x80)};
  return {byte(18, 0xF0), byte(12, 0x80), byte(6, 0x80), byte(0, 0x80)};
}

TEST(TextFolding, MarksAreRemovedFromLatinLetters) {
  expectFolded({{"Caf\u00E9", "cafe"},
                {"CAF\u00C9", "cafe"},
                {"cafe\u0301", "cafe"},
                {"\u00C5NGSTR\u00D6M", "angstrom"},
                {"\u212B", "a"},
                {"\u1EAC", "a"},
                {"\u1EC7", "e"},
                {"\u01A1", "o"},
                {"\u01AF", "u"}});
}

TEST(TextFolding, SharpSFoldsToTwoLetters) {
  expectFolded({{"\u00DF", "ss"}, {"\u1E9E", "ss"}, {"SS", "ss"}, {"Stra\u00DFe", "strasse"}});
}

TEST(TextFolding, LigaturesFoldToTheirLetters) {
  expectFolded({{"\uFB01", "fi"}, {"\uFB00", "ff"}, {"\uFB03", "ffi"}, {"\uFB05", "st"}});
}

TEST(TextFolding, LettersWithAStrokeAreSeparateLetters) {
  expectFolded({{"\u00F8", "\u00F8"},
                {"\u00D8", "\u00F8"},
                {"\u0111", "\u0111"},
                {"\u0110", "\u0111"},
                {"\u0142", "\u0142"},
                {"\u0141", "\u0142"},
                {"\u0141\u00F3d\u017A", "\u0142odz"},
                {"\u0110\u1EB7ng", "\u0111ang"}});
}

TEST(TextFolding, JoinedVowelsStayJoined) {
  expectFolded({{"\u00E6", "\u00E6"}, {"\u00C6", "\u00E6"}, {"\u01FD", "\u00E6"}, {"\u0153", "\u0153"}});
}

TEST(TextFolding, FullFoldingsKeepTheirLettersButNoMarks) {
  expectFolded({{"\u0149", "\u02BCn"}, {"\u01F0", "j"}, {"\u1E9A", "a\u02BE"}});
}

TEST(TextFolding, SignsThatAreLettersFoldToThem) {
  expectFolded(
      {{"\u212A", "k"}, {"\u2126", "\u03C9"}, {"\u00B5", "\u03BC"}, {"\u03C2", "\u03C3"}, {"\u03D0", "\u03B2"}});
}

TEST(TextFolding, DottedAndDotlessIOutsideTurkey) {
  for (const Locale& locale : {kRoot, kEnglish, Locale("de_DE"), Locale("nl"), Locale("lt"), Locale("el")}) {
    expectFolded({{"\u0130", "i"}, {"I\u0307", "i"}, {"I", "i"}, {"ISPARTA", "isparta"}}, locale);
  }
}

TEST(TextFolding, DotlessIStaysInEveryLocale) {
  for (const Locale& locale : {kRoot, kEnglish, kTurkish}) expectFolded({{"\u0131", "\u0131"}}, locale);
}

TEST(TextFolding, MarksAreRemovedFromGreekLetters) {
  expectFolded({{"\u0386", "\u03B1"},
                {"\u03CE", "\u03C9"},
                {"\u0390", "\u03B9"},
                {"\u1FB3", "\u03B1"},
                {"\u1FBC", "\u03B1"},
                {"\u03B1\u0345", "\u03B1"}});
}

TEST(TextFolding, AnIotaSubscriptAloneIsAnIota) { expectFolded({{"\u0345", "\u03B9"}}); }

TEST(TextFolding, MarksAreRemovedFromCyrillicLetters) {
  expectFolded(
      {{"\u0419", "\u0438"}, {"\u0401", "\u0435"}, {"\u0407", "\u0456"}, {"\u040E", "\u0443"}, {"\u0490", "\u0491"}});
}

TEST(TextFolding, SignsLoseTheirStrokeLikeLetters) {
  expectFolded({{"\u2260", "="}, {"\u226E", "<"}, {"\u037E", ";"}});
}

TEST(TextFolding, CompatibilityCharactersStay) {
  expectUnchanged({"\u00BD", "\u00B2", "\u2460", "\u2116", "\u2122", "\u00AA"});
}

TEST(TextFolding, FullWidthLettersChangeOnlyTheirCase) { expectFolded({{"\uFF21\uFF50\uFF50", "\uFF41\uFF50\uFF50"}}); }

TEST(TextFolding, KanaAreUntouchedAndStayDistinct) {
  expectUnchanged({"\uFF76\uFF9E", "\u30AC", "\u304C", "\u304B\u3099"});
}

TEST(TextFolding, HangulIsUntouched) { expectUnchanged({"\uD55C\uAE00", "\uAC01", "\u1100\u1161\u11A8"}); }

TEST(TextFolding, OtherScriptsLoseOneLeadingLatinMark) {
  expectFolded({{"\uAC01\u0301", "\uAC01"},
                {"\u1100\u1161\u11A8\u0301", "\u1100\u1161\u11A8"},
                {"\u4E2D\u0301", "\u4E2D"},
                {"\u4E2D\u0301\u0302", "\u4E2D\u0302"}});
}

TEST(TextFolding, HebrewArabicAndIndicMarksStay) {
  expectUnchanged({"\u05DE\u05B8\u05DC", "\u0645\u064F", "\u0623", "\u0958"});
}

TEST(TextFolding, EmojiAreUntouched) {
  expectUnchanged({"\U0001F468\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466", "\U0001F44D\U0001F3FD", "\u2764\uFE0F",
                   "\U0001F1FA\U0001F1F8"});
}

TEST(TextFolding, ScalarsThatExtendALatinCharacterAreDropped) {
  expectFolded({{"1\uFE0F\u20E3", "1"},
                {"a\uFE0F", "a"},
                {"x\u20DD", "x"},
                {"a\u0489", "a"},
                {"e\u200Cx", "ex"},
                {"a\u09BE", "a"},
                {"a\u302E", "a"},
                {"a\uFF9E", "a"},
                {"a\U0001F3FB", "a"},
                {"a\U000E0020\U000E007F", "a"}});
}

TEST(TextFolding, JoinersAndSoftHyphensStay) { expectUnchanged({"e\u200Dx", "e\u00ADx"}); }

TEST(TextFolding, AMarkWithoutALetterStays) {
  expectFolded({{"\u0301", "\u0301"}, {"\u0301a", "\u0301a"}, {"\u0301\u0302", "\u0301"}});
}

TEST(TextFolding, SpacingAccentsStay) { expectUnchanged({"\u00AF", "\u00A8", "\u00B4", "`", "\u02C7"}); }

TEST(TextFolding, TheLimitIsBetweenTheTwoHalvesOfCyrillicSupplement) {
  expectFolded({{"\u050E\u0301\u0302", "\u050F"}, {"\u0510\u0301\u0302", "\u0511\u0302"}});
}

TEST(TextFolding, KeptMarksAreInCanonicalOrder) {
  // Dagesh (class 21) precedes qamats (class 18) on the keyboard and follows it in canonical order.
  expectFolded({{"\u05DE\u05BC\u05B8", "\u05DE\u05B8\u05BC"},
                {"\u05DE\u05B8\u05BC", "\u05DE\u05B8\u05BC"},
                // Marks of equal classes keep their order: U+0301 is removed, U+0302 and U+0300 stay in place.
                {"\u4E2D\u0301\u0302\u0300", "\u4E2D\u0302\u0300"},
                // Marks are not sorted across a mark of class zero (a variation selector).
                {"\u05DE\u05BC\uFE0F\u05B8", "\u05DE\u05BC\uFE0F\u05B8"}});
}

TEST(TextFolding, CherokeeFoldsToSmallLetters) {
  expectFolded({{"\u13A0", "\uAB70"},
                {"\u13EF", "\uABBF"},
                {"\u13F0", "\u13F8"},
                {"\u13F5", "\u13FD"},
                {"\uAB70", "\uAB70"},
                {"\uABBF", "\uABBF"},
                {"\u13F8", "\u13F8"},
                {"\u13FD", "\u13FD"}});
}

TEST(TextFolding, CyrillicLetterVariantsStay) {
  expectUnchanged({"\u1C80", "\u1C81", "\u1C82", "\u1C83", "\u1C84", "\u1C85", "\u1C86", "\u1C87", "\u1C88"});
}

TEST(TextFolding, NeighboursOfTheExceptionsFoldAsUsual) {
  expectFolded({{"\u1C90", "\u10D0"}, {"\u139F", "\u139F"}, {"\uA640", "\uA641"}, {"\U00010400", "\U00010428"}});
}

TEST(TextFolding, TurkicCapitalIHasNoDot) {
  for (const Locale& locale : {kTurkish, kAzerbaijani, Locale("tr"), Locale("az")}) {
    expectFolded({{"I", "\u0131"},
                  {"I\u0307", "i"},
                  {"\u0130", "\u0131"},
                  {"ISPARTA", "\u0131sparta"},
                  {"i", "i"},
                  {"ABC xyz", "abc xyz"},
                  {"\u00CD", "\u0131"},
                  {"I\u0301", "\u0131"},
                  {"I\u0307\u0301x", "ix"}},
                 locale);
  }
}

TEST(TextFolding, FoldingUsesTheCurrentLocaleByDefault) {
  Locale::setCurrent(kTurkish);
  const std::string current = Text::folded("I");
  const std::string key = Text::normalizedKey("I-I");
  Locale::setCurrent(kRoot);
  EXPECT_EQ(current, "\u0131");
  EXPECT_EQ(key, "\u0131\u0131");
  EXPECT_EQ(Text::folded("I"), "i");
}

TEST(TextFolding, AsciiFoldsToSmallLetters) {
  std::string all;
  for (char byte = 1; byte < 127; ++byte) all.push_back(byte);
  std::string small = all;
  for (char& byte : small) {
    if (byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte + 32);
  }
  EXPECT_EQ(Text::folded(all, kRoot), small);
  EXPECT_EQ(Text::folded(all + "\u00E9", kRoot), small + "e");
  EXPECT_EQ(Text::folded("", kRoot), "");
}

TEST(TextFolding, BadBytesFoldToOneReplacementCharacterEach) {
  expectFolded({{"A\xFF\xFE"
                 "B",
                 "a\uFFFD\uFFFDb"},
                {"\xC3"
                 "A",
                 "\uFFFDa"},
                {"\xC0\x80", "\uFFFD\uFFFD"}});
}

TEST(TextFolding, AMillionMarksOnOneLetterTakeLinearTime) {
  std::string text = "\u05DE";
  for (int i = 0; i < 500'000; ++i) text += i % 2 == 0 ? "\u05BC" : "\u05B8";
  EXPECT_EQ(Text::folded(text, kRoot).size(), text.size());
}

TEST(TextLowercase, AsciiAndOtherLettersBecomeSmall) {
  EXPECT_EQ(Text::lowercased("COM.Example.App"), "com.example.app");
  EXPECT_EQ(Text::lowercased("\u00C9\u00D8\u0416\U00010400"), "\u00E9\u00F8\u0436\U00010428");
  EXPECT_EQ(Text::lowercased(""), "");
}

TEST(TextLowercase, SigmaIsNeverFinal) {
  EXPECT_EQ(Text::lowercased("\u039F\u0394\u039F\u03A3"), "\u03BF\u03B4\u03BF\u03C3");
}

TEST(TextLowercase, CapitalIWithDotBecomesTwoScalars) { EXPECT_EQ(Text::lowercased("\u0130"), "i\u0307"); }

TEST(TextLowercase, SharpSKeepsItsShape) {
  EXPECT_EQ(Text::lowercased("\u1E9E"), "\u00DF");
  EXPECT_EQ(Text::lowercased("\u00DF"), "\u00DF");
}

TEST(TextLowercase, NothingIsNormalisedOrStripped) {
  EXPECT_EQ(Text::lowercased("E\u0301\u00C9"), "e\u0301\u00E9");
  EXPECT_EQ(Text::lowercased("\uFB01\u00B5"), "\uFB01\u00B5");
}

TEST(TextLowercase, TheLocaleDoesNotMatter) {
  Locale::setCurrent(kTurkish);
  const std::string lower = Text::lowercased("I\u00C9");
  Locale::setCurrent(kRoot);
  EXPECT_EQ(lower, "i\u00E9");
}

TEST(TextLowercase, BadBytesBecomeReplacementCharacters) {
  EXPECT_EQ(Text::lowercased("A\xFF"
                             "B\xE2\x82"),
            "a\uFFFDb\uFFFD\uFFFD");
}

TEST(TextNormalizedKey, SpacesHyphensAndUnderscoresAreRemoved) {
  EXPECT_EQ(Text::normalizedKey("My_App-Data"), "myappdata");
  EXPECT_EQ(Text::normalizedKey("My App D"), "myappd");
  EXPECT_EQ(Text::normalizedKey("Micro-Soft Word"), "microsoftword");
  EXPECT_EQ(Text::normalizedKey("Caf\u00E9 \u00C5ngstr\u00F6m-X"), "cafeangstromx");
  EXPECT_EQ(Text::normalizedKey(" -_"), "");
}

TEST(TextNormalizedKey, FoldedTextIsLowerCase) {
  for (const Locale& locale : {kRoot, kTurkish}) {
    for (char32_t scalar = 0x80; scalar < 0x20000; ++scalar) {
      if (scalar >= 0xD800 && scalar < 0xE000) continue;
      const std::string folded = Text::folded(utf8(scalar), locale);
      ASSERT_EQ(Text::lowercased(folded), folded) << std::hex << static_cast<std::uint32_t>(scalar);
    }
  }
}

TEST(TextNormalizedKey, DotsAndOtherDashesStay) {
  EXPECT_EQ(Text::normalizedKey("com.Example.App"), "com.example.app");
  EXPECT_EQ(Text::normalizedKey("a\u2013b\u00A0c\t+"), "a\u2013b\u00A0c\t+");
}

}  // namespace
}  // namespace quarn::text_folding_tests
