#include <random>

#include <gmock/gmock.h>

#include "QuarnCore/vendors/VendorArtifactDeduplicator.h"
#include "QuarnPlatform/text/Text.h"
#include "tests/support/MacVolume.h"

namespace quarn::vendor_artifact_deduplicator_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

Artifact artifact(std::string title, const std::vector<std::string>& paths) {
  Artifact result{.kind = ArtifactKind::cache, .title = std::move(title)};
  for (const std::string& path : paths) result.urls.emplace_back(path);
  result.renewID();
  return result;
}

// "title: path path" of each.
std::vector<std::string> deduplicated(const MacVolume& volume, const std::vector<Artifact>& artifacts) {
  std::vector<std::string> lines;
  for (const Artifact& kept : VendorArtifactDeduplicator::deduplicate(artifacts, volume.files())) {
    std::string line = kept.title + ":";
    for (const FileURL& url : kept.urls) line += " " + url.path();
    lines.push_back(std::move(line));
  }
  return lines;
}

TEST(VendorArtifactDeduplicator, NothingStaysNothing) {
  const MacVolume volume;
  EXPECT_THAT(deduplicated(volume, {}), IsEmpty());
}

TEST(VendorArtifactDeduplicator, AFolderClaimsItsContent) {
  const MacVolume volume;
  EXPECT_THAT(deduplicated(volume, {artifact("A", {"/x/a/b"}), artifact("B", {"/x/a"})}), ElementsAre("B: /x/a"));
}

TEST(VendorArtifactDeduplicator, ANameThatOnlyBeginsAlikeIsNotInside) {
  const MacVolume volume;
  EXPECT_THAT(deduplicated(volume, {artifact("A", {"/x/ab"}), artifact("B", {"/x/a"})}),
              ElementsAre("B: /x/a", "A: /x/ab"));
}

TEST(VendorArtifactDeduplicator, TheRootFolderClaimsOnlyItself) {
  const MacVolume volume;
  EXPECT_THAT(deduplicated(volume, {artifact("A", {"/x"}), artifact("B", {"/"}), artifact("C", {"/", "/y"})}),
              ElementsAre("B: /", "C: /y", "A: /x"));
}

TEST(VendorArtifactDeduplicator, OfEqualItemsTheFirstArtifactKeepsThem) {
  const MacVolume volume;
  EXPECT_THAT(deduplicated(volume, {artifact("A", {"/x/a"}), artifact("B", {"/x/a"})}), ElementsAre("A: /x/a"));
}

TEST(VendorArtifactDeduplicator, ResultsAreInOrderOfTheirFirstPathsLengthAndStable) {
  const MacVolume volume;
  EXPECT_THAT(deduplicated(volume, {artifact("A", {"/dddd"}), artifact("B", {"/bb"}), artifact("C", {"/aa"}),
                                    artifact("D", {"/z", "/a/much/longer/path"})}),
              ElementsAre("D: /z /a/much/longer/path", "B: /bb", "C: /aa", "A: /dddd"));
}

TEST(VendorArtifactDeduplicator, LengthIsTheNumberOfCharactersOfTheFirstUrl) {
  const MacVolume volume;
  EXPECT_THAT(deduplicated(volume, {artifact("A", {"/abc"}), artifact("B", {"/e\u0301\u00E9"})}),
              ElementsAre("B: /e\u0301\u00E9", "A: /abc"))
      << "three characters of six bytes come before four of four";
}

TEST(VendorArtifactDeduplicator, AnArtifactWithoutItemsIsDropped) {
  const MacVolume volume;
  EXPECT_THAT(deduplicated(volume, {artifact("A", {}), artifact("B", {"/x"})}), ElementsAre("B: /x"));
}

TEST(VendorArtifactDeduplicator, AnArtifactThatLosesSomeItemsKeepsTheRestUnderANewId) {
  const MacVolume volume;
  Artifact loser = artifact("Loser", {"/long/b", "/x/a/c", "/long/a"});
  loser.dataClass = ArtifactDataClass::userData;
  loser.scope = ArtifactScope::system;
  loser.size = SizeInfo{1, 2};
  loser.riskLevel = RiskLevel::danger;
  loser.confidence = 0.7;
  loser.explanation = "Why.";
  loser.renewID();
  const auto kept = VendorArtifactDeduplicator::deduplicate({loser, artifact("A", {"/x/a"})}, volume.files());
  ASSERT_EQ(kept.size(), 2u);
  Artifact expected = loser;
  expected.urls = {FileURL("/long/b"), FileURL("/long/a")};
  expected.id = Artifact::makeID(ArtifactKind::cache, ArtifactScope::system, expected.urls);
  EXPECT_EQ(kept[1], expected);
  EXPECT_NE(kept[1].id, loser.id);
}

TEST(VendorArtifactDeduplicator, AnArtifactThatKeepsAllItemsKeepsItsId) {
  const MacVolume volume;
  const Artifact alone = artifact("A", {"/x/a", "/x/b"});
  EXPECT_THAT(VendorArtifactDeduplicator::deduplicate({alone}, volume.files()), ElementsAre(alone));
}

TEST(VendorArtifactDeduplicator, ItemsOfOneArtifactDoNotClaimEachOther) {
  const MacVolume volume;
  EXPECT_THAT(deduplicated(volume, {artifact("A", {"/x/a", "/x/a/b", "/x/a"})}), ElementsAre("A: /x/a /x/a/b /x/a"));
}

TEST(VendorArtifactDeduplicator, PathsAreComparedStandardised) {
  MacVolume volume;
  volume.folder("/x/a/b").folder("/private/var/db").link("/var", "private/var");
  EXPECT_THAT(deduplicated(volume, {artifact("A", {"/x/a"}), artifact("B", {"/x//./a/b"})}), ElementsAre("A: /x/a"));
  EXPECT_THAT(deduplicated(volume, {artifact("A", {"/var"}), artifact("B", {"/private/var/db"})}),
              ElementsAre("A: /var"));
  EXPECT_THAT(deduplicated(volume, {artifact("B", {"/x/a/b"}), artifact("A", {"/x/a/b/../../a"})}),
              ElementsAre("B: /x/a/b", "A: /x/a/b/../../a"))
      << "the folder comes too late when its path is written longer";
}

// The rule, implemented literally.
std::vector<Artifact> slowlyDeduplicated(std::vector<Artifact> artifacts) {
  const auto length = [](const Artifact& artifact) {
    return artifact.urls.empty() ? 0 : Text::characterCount(artifact.urls[0].path());
  };
  std::stable_sort(artifacts.begin(), artifacts.end(),
                   [&](const Artifact& left, const Artifact& right) { return length(left) < length(right); });
  std::vector<std::string> claimed;
  std::vector<Artifact> result;
  for (Artifact artifact : artifacts) {
    std::erase_if(artifact.urls, [&](const FileURL& url) {
      return std::any_of(claimed.begin(), claimed.end(), [&](const std::string& path) {
        return url.path() == path || (url.path().starts_with(path) && url.path()[path.size()] == '/');
      });
    });
    if (artifact.urls.empty()) continue;
    artifact.renewID();
    for (const FileURL& url : artifact.urls) claimed.push_back(url.path());
    result.push_back(std::move(artifact));
  }
  return result;
}

std::string randomPath(std::mt19937& random) {
  constexpr std::array<std::string_view, 5> kNames{"a", "b", "ab", "a b", "\u00E9"};
  std::string path;
  for (std::size_t depth = random() % 5; depth > 0; --depth) (path += '/') += kNames[random() % kNames.size()];
  return path.empty() ? "/" : path;
}

TEST(VendorArtifactDeduplicator, AgreesWithTheRuleOnRandomArtifacts) {
  const MacVolume volume;
  std::mt19937 random(11);
  for (int round = 0; round < 1'000; ++round) {
    std::vector<Artifact> artifacts;
    for (std::size_t count = random() % 12; count > 0; --count) {
      std::vector<std::string> paths;
      for (std::size_t items = random() % 4; items > 0; --items) paths.push_back(randomPath(random));
      artifacts.push_back(artifact(std::to_string(count), paths));
    }
    ASSERT_EQ(VendorArtifactDeduplicator::deduplicate(artifacts, volume.files()), slowlyDeduplicated(artifacts));
  }
}

TEST(VendorArtifactDeduplicator, SingleItemsNeverOverlapAndNothingIsLost) {
  const MacVolume volume;
  std::mt19937 random(13);
  for (int round = 0; round < 500; ++round) {
    std::vector<Artifact> artifacts;
    for (int i = 0; i < 30; ++i) artifacts.push_back(artifact("", {randomPath(random)}));
    const auto kept = VendorArtifactDeduplicator::deduplicate(artifacts, volume.files());
    const auto covers = [](const Artifact& outer, const Artifact& inner) {
      const std::string folder = outer.urls[0].path();
      return inner.urls[0].path() == folder || inner.urls[0].path().starts_with(folder + "/");
    };
    for (std::size_t i = 0; i < kept.size(); ++i) {
      for (std::size_t j = 0; j < kept.size(); ++j) ASSERT_TRUE(i == j || !covers(kept[i], kept[j]));
    }
    for (const Artifact& given : artifacts) {
      ASSERT_TRUE(std::any_of(kept.begin(), kept.end(), [&](const Artifact& by) { return covers(by, given); }));
    }
  }
}

// More than sixteen, because std::sort uses insertion sort for shorter lists, which is stable.
TEST(VendorArtifactDeduplicator, FortyEquallyLongPathsKeepTheirOrder) {
  const MacVolume volume;
  std::vector<Artifact> artifacts;
  std::vector<std::string> expected;
  for (int i = 49; i >= 10; --i) {
    artifacts.push_back(artifact("A", {"/x/" + std::to_string(i)}));
    expected.push_back("A: /x/" + std::to_string(i));
  }
  EXPECT_EQ(deduplicated(volume, artifacts), expected);
}

}  // namespace
}  // namespace quarn::vendor_artifact_deduplicator_tests
