#include <chrono>
#include <random>

#include <gmock/gmock.h>

#include "QuarnCore/vendors/VendorPathResolver.h"

namespace quarn::wildcard_tests {
namespace {

bool matches(std::string_view pattern, std::string_view text) { return VendorPathResolver::matches(pattern, text); }

TEST(Wildcard, WithoutAStarTheTextMustBeEqual) {
  EXPECT_TRUE(matches("Example", "Example"));
  EXPECT_TRUE(matches("", ""));
  EXPECT_FALSE(matches("Example", "Example "));
  EXPECT_FALSE(matches("Example", "Exampl"));
  EXPECT_FALSE(matches("", "a"));
  EXPECT_FALSE(matches("a", ""));
}

TEST(Wildcard, LetterCaseMatters) {
  EXPECT_FALSE(matches("example*", "Example Helper"));
  EXPECT_TRUE(matches("example*", "example Helper"));
}

TEST(Wildcard, CanonicallyEquivalentTextsAreEqual) {
  const std::string composedE = "\u00C9";     // É
  const std::string decomposedE = "E\u0301";  // E and a combining acute accent
  for (const std::string& pattern : {composedE, decomposedE}) {
    for (const std::string& text : {composedE, decomposedE}) {
      EXPECT_TRUE(matches(pattern + "*", text + "a"));
      EXPECT_TRUE(matches("*" + pattern, "a" + text));
      EXPECT_TRUE(matches("*" + pattern + "*", "a" + text + "a"));
      EXPECT_TRUE(matches("a" + pattern, "a" + text));
      EXPECT_FALSE(matches(pattern, text + "a"));
    }
  }
}

TEST(Wildcard, ALetterIsNotFoundInItsAccentedForm) {
  EXPECT_FALSE(matches("Cafe*", "Cafe\u0301"));
  EXPECT_FALSE(matches("Cafe*", "Caf\u00E9"));
  EXPECT_FALSE(matches("*e", "Cafe\u0301"));
  EXPECT_TRUE(matches("Caf*", "Cafe\u0301"));
}

TEST(Wildcard, TextThatIsNotUtf8ComparesByBytes) {
  EXPECT_TRUE(matches("\xFF*", "\xFF\xFE"));
  EXPECT_FALSE(matches("\xFE*", "\xFF"));
  EXPECT_FALSE(matches("\uFFFD*", "\xFF"));
}

TEST(Wildcard, NothingButTheStarIsSpecial) {
  EXPECT_FALSE(matches("a?c", "abc"));
  EXPECT_TRUE(matches("a?c*", "a?cd"));
  EXPECT_FALSE(matches("[ab]*", "a"));
  EXPECT_TRUE(matches("[ab]*", "[ab]c"));
  EXPECT_FALSE(matches("a\\*", "a*"));
  EXPECT_TRUE(matches("a\\*", "a\\b"));
  EXPECT_TRUE(matches("a.*c", "a.bc"));
  EXPECT_FALSE(matches("a.*c", "abc"));
}

TEST(Wildcard, AStarMatchesAnyTextIncludingNone) {
  EXPECT_TRUE(matches("a*b", "ab"));
  EXPECT_TRUE(matches("a*b", "a/ b"));
  EXPECT_TRUE(matches("a**b", "ab"));
  EXPECT_TRUE(matches("*", ""));
  EXPECT_TRUE(matches("*", ".DS_Store"));
  EXPECT_TRUE(matches("***", "anything"));
  EXPECT_TRUE(matches("*b", "b"));
  EXPECT_TRUE(matches("b*", "b"));
}

TEST(Wildcard, PiecesAreAnchoredAtTheEndsThatHaveNoStar) {
  EXPECT_FALSE(matches("a*", "ba"));
  EXPECT_FALSE(matches("*a", "ab"));
  EXPECT_TRUE(matches("*a*", "bab"));
  EXPECT_FALSE(matches("*a*", "bbb"));
  EXPECT_TRUE(matches("com.example.*", "com.example.App"));
  EXPECT_FALSE(matches("com.example.*", "com.example"));
}

TEST(Wildcard, PiecesDoNotOverlap) {
  EXPECT_FALSE(matches("ab*b", "ab"));
  EXPECT_FALSE(matches("a*a", "a"));
  EXPECT_FALSE(matches("*ab*ba*", "aba"));
  EXPECT_TRUE(matches("a*a", "aa"));
}

TEST(Wildcard, TheLastPieceNeedOnlyEndTheText) {
  EXPECT_TRUE(matches("a*b", "abcb"));
  EXPECT_TRUE(matches("*aba", "ababa")) << "found in the text's middle and again, overlapping, at its end";
  EXPECT_FALSE(matches("a*b", "abc"));
}

// The meaning of a pattern, by trying all possibilities.
bool slowlyMatches(std::string_view pattern, std::string_view text) {
  if (pattern.empty()) return text.empty();
  if (pattern.front() != '*') {
    return !text.empty() && text.front() == pattern.front() && slowlyMatches(pattern.substr(1), text.substr(1));
  }
  for (std::size_t skipped = 0; skipped <= text.size(); ++skipped) {
    if (slowlyMatches(pattern.substr(1), text.substr(skipped))) return true;
  }
  return false;
}

std::string randomText(std::mt19937& random, std::string_view letters, std::size_t longest) {
  std::string text(random() % (longest + 1), ' ');
  for (char& letter : text) letter = letters[random() % letters.size()];
  return text;
}

TEST(Wildcard, AgreesWithTryingEverythingOnRandomTexts) {
  std::mt19937 random(7);
  int hits = 0;
  for (int round = 0; round < 200'000; ++round) {
    const std::string pattern = randomText(random, "ab*", 7);
    const std::string text = randomText(random, "ab", 9);
    const bool expected = slowlyMatches(pattern, text);
    ASSERT_EQ(matches(pattern, text), expected) << "\"" << pattern << "\" on \"" << text << "\"";
    hits += expected ? 1 : 0;
  }
  EXPECT_GT(hits, 10'000);
}

TEST(Wildcard, TenThousandStarsCostNoMoreThanTheirLength) {
  const std::string stars(10'000, '*');
  const std::string text(100'000, 'a');
  EXPECT_TRUE(matches(stars, text));
  EXPECT_FALSE(matches(stars + "b", text));
  EXPECT_TRUE(matches(stars + "a", text));
  std::string alternating;
  for (int i = 0; i < 10'000; ++i) alternating += "a*";
  EXPECT_TRUE(matches(alternating, text));
  EXPECT_FALSE(matches(alternating + "b", text));
  EXPECT_FALSE(matches(alternating, text.substr(0, 9'999)));
}

// A search that restarts after every partial match would take hours here.
TEST(Wildcard, LongPatternsThatNearlyMatchEverywhereStayLinear) {
  const std::string text(4'000'000, 'a');
  const std::string nearly(1'000'000, 'a');
  const auto started = std::chrono::steady_clock::now();
  EXPECT_FALSE(matches("*" + nearly + "b*", text));
  EXPECT_FALSE(matches("*b" + nearly + "*", text));
  EXPECT_FALSE(matches("*" + std::string(100, 'a') + "b*", text));
  EXPECT_TRUE(matches("*" + nearly + "*" + nearly + "*" + nearly, text));
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::minutes(1));
}

TEST(FolderLevelWildcard, AStarBeforeTheLastComponentCounts) {
  EXPECT_TRUE(VendorPathResolver::hasFolderLevelWildcard("/Library/*/Example"));
  EXPECT_TRUE(VendorPathResolver::hasFolderLevelWildcard("/Library/Ex*.d/Example.plist"));
  EXPECT_TRUE(VendorPathResolver::hasFolderLevelWildcard("~/Library/*.example/a.b*"));
}

TEST(FolderLevelWildcard, AStarInTheLastComponentCountsWithoutADot) {
  EXPECT_TRUE(VendorPathResolver::hasFolderLevelWildcard("~/Library/Application Support/Example*"));
  EXPECT_TRUE(VendorPathResolver::hasFolderLevelWildcard("~/Library/Application Support/Example*//"));
  EXPECT_TRUE(VendorPathResolver::hasFolderLevelWildcard("*"));
  EXPECT_FALSE(VendorPathResolver::hasFolderLevelWildcard("~/Library/Group Containers/*.example"));
  EXPECT_FALSE(VendorPathResolver::hasFolderLevelWildcard("~/Library/Caches/com.example.*"));
}

TEST(FolderLevelWildcard, WithoutAStarThereIsNone) {
  EXPECT_FALSE(VendorPathResolver::hasFolderLevelWildcard(""));
  EXPECT_FALSE(VendorPathResolver::hasFolderLevelWildcard(" \n"));
  EXPECT_FALSE(VendorPathResolver::hasFolderLevelWildcard("/"));
  EXPECT_FALSE(VendorPathResolver::hasFolderLevelWildcard("/Library/Example"));
}

TEST(FolderLevelWildcard, WhiteSpaceAtBothEndsIsTrimmed) {
  EXPECT_FALSE(VendorPathResolver::hasFolderLevelWildcard("/Library/*.example/\n"));
  EXPECT_FALSE(VendorPathResolver::hasFolderLevelWildcard("/Library/*.example/ \t\u2028"))
      << "what stands behind the last slash is no component";
  EXPECT_TRUE(VendorPathResolver::hasFolderLevelWildcard("/Library/*.example/ x"));
}

}  // namespace
}  // namespace quarn::wildcard_tests
