#include <vector>

#include <gmock/gmock.h>

#include "QuarnCore/storage/MarkerPattern.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn::marker_pattern_tests {
namespace {

bool matches(std::string_view pattern, std::string_view name) {
  return MarkerPattern(pattern).matches(Text::lowercased(name));
}

TEST(MarkerPattern, WithoutAStarNamesAreEqualInAnyLetterCase) {
  EXPECT_TRUE(matches("Game.CFG", "gAME.cfg"));
  EXPECT_FALSE(matches("game.cfg", "game.cfg2"));
  EXPECT_FALSE(matches("game.cfg", "a game.cfg"));
  EXPECT_TRUE(matches("\u00DCber", "\u00FCBER"));
}

TEST(MarkerPattern, AStarBeforeAnExtensionMatchesEveryNameWithThatEnding) {
  EXPECT_TRUE(matches("*.acf", "manifest.ACF"));
  EXPECT_TRUE(matches("*.acf", ".acf"));
  EXPECT_FALSE(matches("*.acf", "acf"));
}

TEST(MarkerPattern, AStarAfterAWordMatchesEveryNameWithThatPrefix) {
  EXPECT_TRUE(matches("Saves*", "SAVES of ann"));
  EXPECT_TRUE(matches("saves*", "saves"));
  EXPECT_FALSE(matches("saves*", "my saves"));
}

TEST(MarkerPattern, AStarAloneMatchesEveryName) {
  EXPECT_TRUE(matches("*", "anything"));
  EXPECT_TRUE(matches("*", ""));
}

TEST(MarkerPattern, ASecondStarIsText) {
  EXPECT_FALSE(matches("a*b*", "axb"));
  EXPECT_FALSE(matches("a*b*", "axbx"));
  EXPECT_TRUE(matches("a*b*", "axb*"));
  EXPECT_TRUE(matches("**", "x*"));
  EXPECT_FALSE(matches("**", "x"));
}

TEST(MarkerPattern, TheTextsBeforeAndAfterTheStarMayOverlap) {
  EXPECT_TRUE(matches("ab*b", "ab"));
  EXPECT_TRUE(matches("aba*aba", "aba"));
  EXPECT_FALSE(matches("ab*ba", "ab"));
}

TEST(MarkerPattern, AnEmptyPatternMatchesOnlyAnEmptyName) {
  EXPECT_FALSE(matches("", "a"));
  EXPECT_TRUE(matches("", ""));
}

bool matchesOne(const std::vector<const char*>& patterns, std::string_view name) {
  MarkerPatterns all;
  for (const char* pattern : patterns) all.add(MarkerPattern(pattern));
  return all.matches(Text::lowercased(name));
}

TEST(MarkerPatterns, ANameMatchesAnyOfThem) {
  const std::vector<const char*> patterns{"Game.cfg", "*.ACF", "saves*", "\u00DCber", "game.dll"};
  for (const char* name : {"GAME.cfg", "game.dll", "x.acf", "Saves", "\u00FCber", "saves.acf"}) {
    EXPECT_TRUE(matchesOne(patterns, name)) << name;
  }
  for (const char* name : {"game", "acf", "my saves", "uber", ""}) EXPECT_FALSE(matchesOne(patterns, name)) << name;
  EXPECT_FALSE(matchesOne({}, "game"));
  EXPECT_TRUE(matchesOne({""}, ""));
  EXPECT_FALSE(matchesOne({""}, "a"));
  EXPECT_TRUE(matchesOne({"a", "*"}, "b"));
}

}  // namespace
}  // namespace quarn::marker_pattern_tests
