#include <algorithm>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "QuarnPlatform/text/Text.h"
#include "QuarnPlatform/text/TextScalars.h"

namespace quarn::text_tests {
namespace {

const Locale kRoot;

int sign(int order) { return (order > 0) - (order < 0); }

int compared(std::string_view left, std::string_view right, const char* locale = "") {
  return sign(Text::localizedCaseInsensitiveCompare(left, right, Locale(locale)));
}

/// Checks that every earlier text precedes every later one, in both directions.
void expectAscending(const std::vector<std::string>& texts, const char* locale = "") {
  for (std::size_t i = 0; i < texts.size(); ++i) {
    for (std::size_t j = i + 1; j < texts.size(); ++j) {
      EXPECT_EQ(compared(texts[i], texts[j], locale), -1) << texts[i] << " before " << texts[j];
      EXPECT_EQ(compared(texts[j], texts[i], locale), 1) << texts[j] << " after " << texts[i];
    }
  }
}

void expectTie(const std::string& left, const std::string& right, const char* locale = "") {
  EXPECT_EQ(compared(left, right, locale), 0) << left << " and " << right;
  EXPECT_EQ(compared(right, left, locale), 0) << right << " and " << left;
}

TEST(TextLocale, LanguageIsTheFirstPartInSmallLetters) {
  EXPECT_EQ(Locale("de_DE").language(), "de");
  EXPECT_EQ(Locale("zh-Hans-CN").language(), "zh");
  EXPECT_EQ(Locale("EN").language(), "en");
  EXPECT_EQ(Locale("tr.UTF-8").language(), "tr");
  EXPECT_EQ(Locale("de@collation=phonebook").language(), "de");
  EXPECT_EQ(Locale().language(), "");
}

TEST(TextLocale, TheCurrentLocaleIsTheRootUntilItIsSet) {
  EXPECT_EQ(Locale::current(), Locale());
  Locale::setCurrent(Locale("de_DE"));
  const Locale current = Locale::current();
  Locale::setCurrent(kRoot);
  EXPECT_EQ(current.identifier(), "de_DE");
}

TEST(TextComparison, CaseDoesNotMatter) {
  expectTie("abc", "ABC");
  expectTie("\u00E9t\u00E9", "\u00C9T\u00C9");
  expectTie("", "");
  expectAscending({"a", "B", "c"});
}

TEST(TextComparison, NormalisationDoesNotMatter) {
  expectTie("caf\u00E9", "cafe\u0301");
  expectTie("\u212B", "\u00C5");
  expectTie("\uAC01", "\u1100\u1161\u11A8");
}

TEST(TextComparison, LettersThatFoldTogetherAreEqual) {
  expectTie("stra\u00DFe", "STRASSE");
  expectTie("\uFB01n", "fin");
  expectTie("\u03C3", "\u03C2");
  expectTie("\u13A0", "\uAB70");
}

TEST(TextComparison, AccentsMatterAfterLetters) {
  expectAscending({"resume", "r\u00E9sume", "r\u00E9sum\u00E9", "resumed"});
}

TEST(TextComparison, PunctuationPrecedesDigitsAndDigitsPrecedeLetters) {
  expectAscending({" ", "_", "-", ",", ";", ":", "!", "?", ".", "'", "\"", "(", ")",      "@",      "*",
                   "/", "&", "#", "%", "+", "=", "~", "$", "0", "9", "a",  "Z", "\u03B1", "\u0431", "\u4E2D"});
}

TEST(TextComparison, PunctuationIsNotIgnored) {
  expectAscending({"a b", "a-b", "a.b", "ab"});
  expectAscending({"a b", "a-b", "a.b", "ab"}, "th");
}

TEST(TextComparison, DigitsAreNotNumbers) {
  expectAscending({"file10", "file2"});
  expectAscending({"file10", "file2"}, "en_US@colnumeric=yes");
}

TEST(TextComparison, AShorterTextPrecedesALongerOne) {
  expectAscending({"", "App", "App 2", "Apple"});
  expectAscending({"", "\u00C4pp", "\u00C4pp 2", "\u00C4pple"});
}

TEST(TextComparison, EveryLocaleHasItsAlphabet) {
  expectAscending({"\u00F6", "z"}, "de_DE");
  expectAscending({"z", "\u00F6"}, "sv_SE");
  expectAscending({"cz", "d", "hz", "ch", "i"}, "cs");
  expectAscending({"az", "\u00E5", "aab"}, "da");
  expectAscending({"h", "\u0131", "i"}, "tr");
}

TEST(TextComparison, TurkicIsAreTwoLetters) {
  EXPECT_EQ(compared("I", "i", "tr"), -1);
  EXPECT_EQ(compared("I", "i", "az"), -1);
  expectTie("I", "i", "en");
  expectTie("\u0130", "i", "tr");
  expectTie("I", "\u0131", "tr");
  expectTie("ABC", "abc", "tr");
}

TEST(TextComparison, UsesTheCurrentLocaleByDefault) {
  Locale::setCurrent(Locale("sv"));
  const int swedish = Text::localizedCaseInsensitiveCompare("z", "\u00F6");
  Locale::setCurrent(kRoot);
  EXPECT_LT(swedish, 0);
  EXPECT_GT(Text::localizedCaseInsensitiveCompare("z", "\u00F6"), 0);
}

TEST(TextComparison, WithoutACollatorTheBareLettersDecideAndThenTheAccents) {
  const std::string unusable(200, 'x');
  expectAscending({"file10", "file2", "resume", "r\u00E9sum\u00E9", "resumed", "Zoo"}, unusable.c_str());
  expectTie("ABC", "abc", unusable.c_str());
  expectTie("caf\u00E9", "CAFE\u0301", unusable.c_str());
}

TEST(TextComparison, BadBytesCompareAsReplacementCharacters) {
  expectTie("a\xFF", "a\uFFFD");
  expectTie("a\xFF", "A\xFE");
  EXPECT_NE(compared("a\xE2\x82", "a\xFF"), 0);
}

TEST(TextComparison, ControlCharactersDoNotCount) {
  expectTie("a\x01", "a");
  expectTie("a\x01", "A");
  expectTie("a\x01", "A", "en@colcaselevel=yes");
  expectTie("\u00E9\x01", "E\u0301");
  expectTie("q\u0307\u0323\x01", "q\u0323\u0307");
}

TEST(TextComparison, AStableSortKeepsTies) {
  std::vector<std::string> names = {"b", "A", "a", "\u00C4", "a\u0308", "B"};
  std::stable_sort(names.begin(), names.end(), [](const std::string& left, const std::string& right) {
    return Text::localizedCaseInsensitiveCompare(left, right, Locale("de")) < 0;
  });
  EXPECT_EQ(names, (std::vector<std::string>{"A", "a", "\u00C4", "a\u0308", "b", "B"}));
}

TEST(TextComparison, ThreadsWithDifferentLocalesDoNotDisturbEachOther) {
  std::vector<int> wrong(4, 0);
  std::vector<std::thread> threads;
  for (std::size_t number = 0; number < wrong.size(); ++number) {
    threads.emplace_back([&wrong, number] {
      const Locale locale(number % 2 == 0 ? "sv" : "de");
      const int expected = number % 2 == 0 ? -1 : 1;
      for (int round = 0; round < 200; ++round) {
        if (sign(Text::localizedCaseInsensitiveCompare("z", "\u00F6", locale)) != expected) ++wrong[number];
        if (Text::characterCount("e\u0301x") != 2) ++wrong[number];
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, std::vector<int>(4, 0));
}

TEST(TextEquality, IsCanonicalEquivalence) {
  EXPECT_TRUE(Text::equal("\u00E9", "e\u0301"));
  EXPECT_TRUE(Text::equal("\u212B", "\u00C5"));
  EXPECT_TRUE(Text::equal("\u212A", "K"));
  EXPECT_TRUE(Text::equal("\uAC01", "\u1100\u1161\u11A8"));
  EXPECT_TRUE(Text::equal("q\u0307\u0323", "q\u0323\u0307"));
  EXPECT_TRUE(Text::equal("", ""));
}

TEST(TextEquality, CaseAccentsAndCompatibilityCount) {
  EXPECT_FALSE(Text::equal("a", "A"));
  EXPECT_FALSE(Text::equal("e", "\u00E9"));
  EXPECT_FALSE(Text::equal("\uFB01", "fi"));
  EXPECT_FALSE(Text::equal("\u00DF", "ss"));
  EXPECT_FALSE(Text::equal("\u00E9", "\u00E8"));
  EXPECT_FALSE(Text::equal("a", ""));
}

TEST(TextEquality, BadBytesEqualReplacementCharacters) {
  EXPECT_TRUE(Text::equal("a\xFF", "a\uFFFD"));
  EXPECT_TRUE(Text::equal("\xFE", "\xFF"));
  EXPECT_FALSE(Text::equal("\xE2\x82", "\uFFFD"));
}

TEST(TextEquality, ThirtyMarksInARowAreOrdered) {
  std::string above;
  std::string below;
  for (int i = 0; i < 15; ++i) {
    above += "\u0301";
    below += "\u0323";
  }
  EXPECT_TRUE(Text::equal("q" + above + below, "q" + below + above));
}

TEST(TextEquality, AMillionMarksOnOneLetterTakeLinearTime) {
  std::string marks;
  for (int i = 0; i < 500'000; ++i) marks += i % 2 == 0 ? "\u0301" : "\u0323";
  EXPECT_TRUE(Text::equal("e" + marks + "\u00E9", "e" + marks + "e\u0301"));
  EXPECT_FALSE(Text::equal("e" + marks, "f" + marks));
  EXPECT_EQ(Text::characterCount("e" + marks), 1u);
  EXPECT_LT(compared("e" + marks, "f" + marks), 0);
}

TEST(TextPrefix, EndsWhereACharacterEnds) {
  EXPECT_FALSE(Text::hasPrefix("e\u0301x", "e"));
  EXPECT_TRUE(Text::hasPrefix("e\u0301x", "\u00E9"));
  EXPECT_TRUE(Text::hasPrefix("\u00E9x", "e\u0301"));
  EXPECT_FALSE(Text::hasPrefix("\r\n", "\r"));
  EXPECT_FALSE(Text::hasPrefix("\r\n\u00E9", "\r"));
  EXPECT_TRUE(Text::hasPrefix("\r\n", "\r\n"));
  EXPECT_TRUE(Text::hasPrefix("\rx", "\r"));
  EXPECT_TRUE(Text::hasPrefix("\r", "\r"));
  EXPECT_FALSE(Text::hasPrefix("", "ab\r"));
  EXPECT_FALSE(Text::hasPrefix("\U0001F468\u200D\U0001F469", "\U0001F468"));
  EXPECT_FALSE(Text::hasPrefix("\U0001F1FA\U0001F1F8", "\U0001F1FA"));
  EXPECT_TRUE(Text::hasPrefix("\U0001F1FA\U0001F1F8\U0001F1EB\U0001F1F7", "\U0001F1FA\U0001F1F8"));
  EXPECT_FALSE(Text::hasPrefix("\uAC01", "\uAC00"));
}

TEST(TextPrefix, PlainPrefixes) {
  EXPECT_TRUE(Text::hasPrefix("", ""));
  EXPECT_TRUE(Text::hasPrefix("abc", ""));
  EXPECT_TRUE(Text::hasPrefix("\u00E9", ""));
  EXPECT_TRUE(Text::hasPrefix("com.example.App.plist", "com.example.App"));
  EXPECT_TRUE(Text::hasPrefix("abc\u00E9", "abc"));
  EXPECT_TRUE(Text::hasPrefix("\u00E9", "\u00E9"));
  EXPECT_FALSE(Text::hasPrefix("Com.example.App.plist", "com.example.App"));
  EXPECT_FALSE(Text::hasPrefix("", "a"));
  EXPECT_FALSE(Text::hasPrefix("a", "ab"));
  EXPECT_FALSE(Text::hasPrefix("a", "a\u00E9"));
}

TEST(TextContains, AMatchBeforeACombiningMarkDoesNotCount) {
  EXPECT_FALSE(Text::contains("cafe\u0301", "cafe"));
  EXPECT_TRUE(Text::contains("cafe\u0301", "caf\u00E9"));
  EXPECT_TRUE(Text::contains("caf\u00E9", "cafe\u0301"));
  EXPECT_FALSE(Text::contains("x\uFE0F", "x"));
  EXPECT_FALSE(Text::contains("\U0001F44D\U0001F3FD", "\U0001F44D"));
  EXPECT_TRUE(Text::contains("cafe\u0301 cafe", "cafe"));
}

TEST(TextContains, AllOverlappingOccurrencesAreChecked) {
  EXPECT_TRUE(Text::contains("x\u0301x\u0301x", "x\u0301x"));
  EXPECT_FALSE(Text::contains("x\u0301x\u0301x\u0301", "x\u0301x"));
  EXPECT_TRUE(Text::contains("aab\u0301aab", "aab"));
}

TEST(TextContains, TheEmptyTextOccursInNothing) {
  EXPECT_FALSE(Text::contains("abc", ""));
  EXPECT_FALSE(Text::contains("\u00E9", ""));
  EXPECT_FALSE(Text::contains("", ""));
}

TEST(TextContains, CaseCounts) {
  EXPECT_TRUE(Text::contains("my microsoft word", "microsoft"));
  EXPECT_FALSE(Text::contains("my Microsoft word", "microsoft"));
  EXPECT_TRUE(Text::contains("\u00C4 microsoft", "microsoft"));
  EXPECT_FALSE(Text::contains("mail", "gmail"));
  EXPECT_TRUE(Text::contains("\u212A", "K"));
}

TEST(TextContains, TextsMadeToSlowASearchAreSearchedInTime) {
  const std::string run(1 << 20, 'a');
  EXPECT_FALSE(Text::contains(run, run.substr(run.size() / 2) + "b"));
  std::string marked;
  for (int i = 0; i < 100'000; ++i) marked += "x\u0301";
  EXPECT_FALSE(Text::contains(marked, marked.substr(0, marked.size() / 2 - marked.size() / 2 % 3) + "x"));
}

TEST(TextCount, CharactersAreGraphemeClusters) {
  EXPECT_EQ(Text::characterCount(""), 0u);
  EXPECT_EQ(Text::characterCount("abc"), 3u);
  EXPECT_EQ(Text::characterCount("e\u0301"), 1u);
  EXPECT_EQ(Text::characterCount("\u00E9"), 1u);
  EXPECT_EQ(Text::characterCount("\U0001F468\u200D\U0001F469\u200D\U0001F467\u200D\U0001F466"), 1u);
  EXPECT_EQ(Text::characterCount("\U0001F1FA\U0001F1F8\U0001F1EB\U0001F1F7"), 2u);
  EXPECT_EQ(Text::characterCount("\U0001F44D\U0001F3FD"), 1u);
  EXPECT_EQ(Text::characterCount("\uD55C\uAE00"), 2u);
  EXPECT_EQ(Text::characterCount("\u1100\u1161\u11A8"), 1u);
  EXPECT_EQ(Text::characterCount("/Users/ann/\u00C4pfel.txt"), 20u);
}

TEST(TextCount, ACarriageReturnAndALineFeedAreOne) {
  EXPECT_EQ(Text::characterCount("\r\n"), 1u);
  EXPECT_EQ(Text::characterCount("a\r\n\r\nb"), 4u);
  EXPECT_EQ(Text::characterCount("\n\r"), 2u);
  EXPECT_EQ(Text::characterCount("\r\r\n\n"), 3u);
  EXPECT_EQ(Text::characterCount("\u00E9\r\n"), 2u);
}

TEST(TextCount, EachBadByteIsACharacter) {
  EXPECT_EQ(Text::characterCount("a\xFF\xFE"), 3u);
  EXPECT_EQ(Text::characterCount("\xE2\x82"), 2u);
}

struct Bytes {
  const char* what;
  std::string bytes;
  std::string valid;
};

TEST(TextValidUTF8, EveryInvalidByteIsReplacedSeparately) {
  const std::string bad = "\uFFFD";
  const std::vector<Bytes> rows = {
      {"ASCII", "abc", "abc"},
      {"every length", "a\u00E9\u20AC\U0001F600", "a\u00E9\u20AC\U0001F600"},
      {"the last scalar", "\U0010FFFF", "\U0010FFFF"},
      {"an embedded NUL", std::string("a\0\u00E9", 4), std::string("a\0\u00E9", 4)},
      {"a continuation byte alone", "a\x80z", "a" + bad + "z"},
      {"a byte that never occurs", "\xFF\xF8\xC1", bad + bad + bad},
      {"an overlong slash", "\xC0\xAF", bad + bad},
      {"an overlong slash of three", "\xE0\x80\xAF", bad + bad + bad},
      {"an overlong form of four", "\xF0\x80\x80\xAF", bad + bad + bad + bad},
      {"a high surrogate", "\xED\xA0\x80", bad + bad + bad},
      {"a low surrogate", "\xED\xBF\xBF", bad + bad + bad},
      {"above the last scalar", "\xF4\x90\x80\x80", bad + bad + bad + bad},
      {"a sequence cut short at the end", "a\xE2\x82", "a" + bad + bad},
      {"a sequence cut short by a letter", "\xF0\x9F\x98z", bad + bad + bad + "z"},
      {"a sequence cut short by another", "\xE2\x82\u00E9", bad + bad + "\u00E9"},
      {"a replacement character", bad, bad},
  };
  for (const Bytes& row : rows) EXPECT_EQ(Text::validUTF8(row.bytes), row.valid) << row.what;
}

// Ordering marks takes quadratic time in their number, so the text that is handed over holds no long run of them,
// whatever they are written as.
TEST(Text, NoLongRunOfMarksIsHandedOver) {
  for (const char16_t mark : {u'\u0301', u'\u0F73', u'\u0F75', u'\u0F81', u'\u0344'}) {
    std::string text = "a";
    std::string one;
    unicode::appendUTF8(one, mark);
    for (int i = 0; i < 5'000; ++i) text += one;
    const std::u16string units = unicode::toUTF16(text);
    std::size_t run = 0;
    std::size_t longest = 0;
    for (const char16_t unit : units) {
      run = unit == mark ? run + 1 : 0;
      longest = std::max(longest, run);
    }
    EXPECT_LE(longest, 30U) << static_cast<int>(mark);
    EXPECT_TRUE(Text::equal(text, text));
  }
}

}  // namespace
}  // namespace quarn::text_tests
