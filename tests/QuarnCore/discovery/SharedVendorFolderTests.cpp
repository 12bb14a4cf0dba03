#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/discovery/StandardLocations.h"
#include "tests/QuarnCore/discovery/ArtifactLines.h"
#include "tests/support/MacVolume.h"

namespace quarn::shared_vendor_folder_tests {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::string kAdobe = "Adobe (Shared)";
const std::string kMicrosoft = "Microsoft (Shared)";

AppEntity app(const std::string& name, const std::optional<std::string>& bundleID) {
  return {.name = name, .bundleIdentifier = bundleID, .bundleURL = FileURL("/Applications/X.app"), .id = "x"};
}

class SharedVendorFolders : public testing::Test {
 protected:
  std::vector<std::string> found(const std::string& name, const std::optional<std::string>& bundleID) const {
    return titles(sharedVendorArtifacts(app(name, bundleID), volume_.files()));
  }

  MacVolume volume_;
};

TEST_F(SharedVendorFolders, EachIsFoundAsInTheTableAndAdobeIsFirst) {
  volume_.folder("~/Library/Application Support/Adobe").folder("~/Library/Application Support/Microsoft");
  const auto folder = [](const std::string& vendor) {
    return line(identified({.kind = ArtifactKind::applicationSupport,
                            .dataClass = ArtifactDataClass::shared,
                            .scope = ArtifactScope::user,
                            .urls = {FileURL("/Users/ann/Library/Application Support/" + vendor + "/")},
                            .riskLevel = RiskLevel::danger,
                            .confidence = 0.35,
                            .title = vendor + " (Shared)",
                            .explanation = "Shared " + vendor +
                                           " folder: contains data for multiple apps; don\xE2\x80\x99t delete "
                                           "automatically."}));
  };
  EXPECT_THAT(lines(sharedVendorArtifacts(app("Microsoft Adobe Bridge", std::nullopt), volume_.files())),
              ElementsAre(folder("Adobe"), folder("Microsoft")));
}

TEST_F(SharedVendorFolders, AnAppNamedAfterAdobeHasItOnlyWhenItExists) {
  EXPECT_THAT(found("Adobe Reader", std::nullopt), IsEmpty());
  volume_.folder("/Library/Application Support/Adobe");
  EXPECT_THAT(found("Adobe Reader", std::nullopt), IsEmpty());
  volume_.file("~/Library/Application Support/Adobe");
  EXPECT_THAT(found("Adobe Reader", std::nullopt), ElementsAre(kAdobe));
}

TEST_F(SharedVendorFolders, AnAppBelongsToAVendorByNormalisedNameOrIdentifier) {
  volume_.folder("~/Library/Application Support/Adobe").folder("~/Library/Application Support/Microsoft");
  struct Row {
    std::string name;
    std::optional<std::string> bundleID;
    std::vector<std::string> titles;
  };
  const std::vector<Row> rows{
      {"Micro-Soft Word", std::nullopt, {kMicrosoft}},
      {"My Micro_soft", std::nullopt, {kMicrosoft}},
      {"MÍCROSÖFT", std::nullopt, {kMicrosoft}},
      {"A-dobe", std::nullopt, {kAdobe}},
      {"Ado.be", std::nullopt, {}},
      {"Word", "com.microsoft.Word", {kMicrosoft}},
      {"Word", "COM.Microsoft.Word", {kMicrosoft}},
      {"Word", "com.micro-soft.Word", {kMicrosoft}},
      {"Word", "com.microsoft.", {kMicrosoft}},
      {"Word", "com.microsoft", {}},
      {"Word", "com.microsoftx.Word", {}},
      {"Word", "x.com.microsoft.Word", {}},
      {"Word", "com.adobe.Word", {kAdobe}},
      {"Word", "com.adobes.Word", {}},
      {"Word", "com.example.adobe", {}},
      {"Adobe", "com.microsoft.Word", {kAdobe, kMicrosoft}},
      {"Word", "", {}},
      {"", std::nullopt, {}},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(found(row.name, row.bundleID), row.titles) << row.name << ", " << row.bundleID.value_or("none");
  }
}

}  // namespace
}  // namespace quarn::shared_vendor_folder_tests
