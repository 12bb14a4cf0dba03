#include <array>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>

#include "QuarnCore/storage/ScanAttribution.h"

namespace quarn::scan_attribution_tests {
namespace {

using Category = StorageCategoryID;
using Step = Attribution::Step;

// The folders, their files and their extensions.
constexpr std::array<std::string_view, 6> kNames{"a", "b", "c.pic", "d.gone", "e", "f.doc"};

constexpr int kLevels = 3;  // of the rules, and of the folders

std::string randomPath(std::mt19937& random) {
  std::string path;
  for (auto depth = 1 + random() % kLevels; depth > 0; --depth) (path += '/') += kNames[random() % kNames.size()];
  return path;
}

ScanRules randomRules(std::mt19937& random) {
  ScanPlan plan;
  for (auto count = random() % 4; count > 0; --count) {
    plan.prefixRules.push_back({.prefix = randomPath(random), .category = Category::games});
  }
  for (auto count = random() % 4; count > 0; --count) {
    plan.roots.push_back({.location = randomPath(random),
                          .mode = random() % 2 == 0 ? ScanMode::fast(true) : ScanMode::enumerate(true, true),
                          .exclusions = {randomPath(random)}});
  }
  return {plan, {{"pic", Category::photos}, {"gone", Category::free}}};
}

struct Walked {
  int foldersOfOneTotal = 0;
  int foldersOfSeveral = 0;
};

// Compares the answer for all files of a folder with that for each of them, there and in the folders below.
void walk(const Attribution& attribution, const Step& folder, int levels, Walked& walked) {
  std::vector<std::optional<std::uint8_t>> totals;
  for (const std::string_view name : kNames) totals.push_back(attribution.file(folder, name));
  if (const std::optional<std::uint8_t> every = attribution.everyFile(folder)) {
    EXPECT_THAT(totals, ::testing::Each(every));
    ++walked.foldersOfOneTotal;
  } else {
    ++walked.foldersOfSeveral;
  }
  if (levels == 0) return;
  for (const std::string_view name : kNames) {
    for (const bool isPackage : {false, true}) {
      if (const auto inner = attribution.folder(folder, name, isPackage)) walk(attribution, *inner, levels - 1, walked);
    }
  }
}

TEST(ScanAttribution, TheAnswerForEveryFileIsThatForEachFile) {
  const Step top{.node = ScanRules::Trie::kRoot, .bucket = bucketOf(Category::documents)};
  Walked walked;
  for (unsigned seed = 0; seed < 40; ++seed) {
    std::mt19937 random(seed);
    const ScanRules rules = randomRules(random);
    const ItemAttribution byItem(rules);
    const RecordedAttribution recorded(byItem, rules);
    walk(byItem, top, kLevels, walked);
    for (const ScanMode::Kind mode : {ScanMode::Kind::fast, ScanMode::Kind::enumerate}) {
      walk(WholeAttribution(rules, mode), top, kLevels, walked);
    }
    walk(recorded, top, kLevels, walked);
    walk(recorded, RecordedAttribution::restAt(ScanRules::Trie::kRoot), kLevels, walked);
  }
  EXPECT_GT(walked.foldersOfOneTotal, 1000);
  EXPECT_GT(walked.foldersOfSeveral, 1000);
}

TEST(ScanAttribution, FilesOfAPackageAndOutsideAllRulesCountAlike) {
  ScanPlan plan;
  plan.prefixRules.push_back({.prefix = "/in/Slack", .category = Category::communication});
  const ScanRules rules(plan, {{"pic", Category::photos}});
  const ItemAttribution attribution(rules);
  const Step top{.node = ScanRules::Trie::kRoot, .bucket = bucketOf(Category::documents)};
  const auto every = [&](std::string_view name, bool isPackage) {
    return attribution.everyFile(*attribution.folder(top, name, isPackage));
  };
  EXPECT_EQ(every("App.app", true), bucketOf(Category::documents));
  EXPECT_EQ(every("Photos.pic", false), bucketOf(Category::photos));
  EXPECT_EQ(every("in", true), std::nullopt);
  EXPECT_EQ(every("plain", false), std::nullopt);
  EXPECT_EQ(WholeAttribution(rules, ScanMode::Kind::fast).everyFile(top), std::nullopt);
  EXPECT_EQ(WholeAttribution(rules, ScanMode::Kind::fast).everyFile({.bucket = 7}), 7);
}

}  // namespace
}  // namespace quarn::scan_attribution_tests
