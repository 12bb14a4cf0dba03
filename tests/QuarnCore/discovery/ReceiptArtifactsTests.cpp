#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/discovery/ArtifactScanner.h"
#include "tests/QuarnCore/discovery/ArtifactLines.h"
#include "tests/support/MacVolume.h"

namespace quarn::receipt_artifacts_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

ReceiptInfo receipt(const std::string& packageID, int fileCount) {
  ReceiptInfo info{.packageIdentifier = packageID};
  for (int i = 1; i <= fileCount; ++i) info.files.emplace_back("/Applications/X.app/file " + std::to_string(i));
  return info;
}

std::vector<Artifact> artifacts(const std::vector<ReceiptInfo>& receipts) {
  const MacVolume volume;
  return ArtifactScanner(FileSizeCalculator::live(volume.files()), volume.files()).receiptArtifacts(receipts);
}

TEST(ReceiptArtifacts, AReceiptIsACompleteRecord) {
  EXPECT_THAT(lines(artifacts({receipt("com.example.pkg", 1)})),
              ElementsAre(line(identified(
                  {.kind = ArtifactKind::receipt,
                   .dataClass = ArtifactDataClass::configuration,
                   .scope = ArtifactScope::system,
                   .urls = {FileURL("/Applications/X.app/file 1")},
                   .riskLevel = RiskLevel::caution,
                   .confidence = 0.5,
                   .title = "Receipt: com.example.pkg",
                   .explanation = "Installer receipt with 1 files. Examples: /Applications/X.app/file 1"}))));
}

TEST(ReceiptArtifacts, TheExplanationCountsAllFilesAndNamesTheFirstFive) {
  const std::string file = "/Applications/X.app/file ";
  const std::string five = file + "1, " + file + "2, " + file + "3, " + file + "4, " + file + "5";
  const std::vector<std::pair<int, std::string>> rows{
      {0, "Installer receipt with 0 files. Examples: No paths listed."},
      {1, "Installer receipt with 1 files. Examples: " + file + "1"},
      {2, "Installer receipt with 2 files. Examples: " + file + "1, " + file + "2"},
      {5, "Installer receipt with 5 files. Examples: " + five},
      {6, "Installer receipt with 6 files. Examples: " + five},
      {7, "Installer receipt with 7 files. Examples: " + five},
  };
  for (const auto& [count, text] : rows) {
    const std::vector<Artifact> made = artifacts({receipt("p", count)});
    ASSERT_EQ(made.size(), 1U);
    EXPECT_EQ(made[0].explanation, text);
    EXPECT_EQ(made[0].urls.size(), static_cast<std::size_t>(count));
  }
}

TEST(ReceiptArtifacts, PercentSignsInAPathMeanNothing) {
  EXPECT_EQ(artifacts({{.packageIdentifier = "%@", .files = {FileURL("/%@/%ld/%1$@/100%")}}}).front().explanation,
            "Installer receipt with 1 files. Examples: /%@/%ld/%1$@/100%");
}

TEST(ReceiptArtifacts, EachReceiptIsOneArtifactInTheGivenOrder) {
  EXPECT_THAT(titles(artifacts({receipt("b", 1), receipt("a", 2), receipt("b", 1)})),
              ElementsAre("Receipt: b", "Receipt: a", "Receipt: b"));
  EXPECT_THAT(artifacts({}), IsEmpty());
}

TEST(ReceiptArtifacts, ReceiptsWithoutFilesAreTheSameItems) {
  const std::vector<Artifact> made = artifacts({receipt("a", 0), receipt("b", 0)});
  ASSERT_EQ(made.size(), 2U);
  EXPECT_EQ(made[0].id, made[1].id);
}

}  // namespace
}  // namespace quarn::receipt_artifacts_tests
