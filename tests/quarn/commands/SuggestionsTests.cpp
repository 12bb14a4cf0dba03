#include <gtest/gtest.h>

#include "quarn/commands/Suggestions.h"

namespace quarn::suggestions_tests {
namespace {

TEST(Nearest, IsTheCandidateWithTheFewestEdits) {
  const std::vector<std::string> candidates{"bash", "zsh", "fish", "inspect", "storage"};
  const std::vector<std::pair<std::string, std::string>> rows{{"bsah", "bash"},       {"bas", "bash"},
                                                              {"bassh", "bash"},      {"zhs", "zsh"},
                                                              {"inspekt", "inspect"}, {"sotrgae", "storage"}};
  for (const auto& [word, meant] : rows) EXPECT_EQ(nearest(word, candidates), meant) << word;
}

TEST(Nearest, IsAbsentIfNoneIsNear) {
  EXPECT_EQ(nearest("tcsh", {"bash", "fish"}), std::nullopt);
  EXPECT_EQ(nearest("", {"bash"}), std::nullopt);
  EXPECT_EQ(nearest("bash", {}), std::nullopt);
}

TEST(ProbablyMeant, MatchesOtherLetterCasePrefixesAndParts) {
  const std::vector<std::string> candidates{"--output",  "--include-macos", "--no-sizes", "--no-system",
                                            "cacheOnly", "aggressive",      "apps"};
  const std::vector<std::pair<std::string, std::string>> rows{{"APPS", "apps"},
                                                              {"Cacheonly", "cacheOnly"},
                                                              {"--o", "--output"},
                                                              {"--out", "--output"},
                                                              {"--OUT", "--output"},
                                                              {"cache", "cacheOnly"},
                                                              {"a", "apps"},
                                                              {"--macos", "--include-macos"},
                                                              {"--MacOS", "--include-macos"},
                                                              {"-macos", "--include-macos"},
                                                              {"--sizes", "--no-sizes"},
                                                              {"--no", "--no-sizes"}};
  for (const auto& [word, meant] : rows) EXPECT_EQ(probablyMeant(word, candidates), meant) << word;
}

TEST(ProbablyMeant, PrefersOtherLetterCaseThenTheNearestThenTheShortest) {
  EXPECT_EQ(probablyMeant("MODE", {"mOd", "mode"}), "mode");
  EXPECT_EQ(probablyMeant("limi", {"limi-of", "lima"}), "lima");
  EXPECT_EQ(probablyMeant("sto", {"storage-of", "storage", "stories"}), "storage");
  EXPECT_EQ(probablyMeant("macos", {"in-macos", "macos-only"}), "macos-only");
}

TEST(ProbablyMeant, IsAbsentForAnUnrelatedWord) {
  for (const char* word : {"", "-", "--", "os", "--mac-os", "put"}) {
    EXPECT_EQ(probablyMeant(word, {"--include-macos", "--output-to"}), std::nullopt) << word;
  }
}

}  // namespace
}  // namespace quarn::suggestions_tests
