#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/QuarnCore/discovery/ArtifactLines.h"
#include "tests/QuarnCore/inspection/Inspector.h"

namespace quarn::inspection_merge_tests {
namespace {

using ::testing::ElementsAre;
using Definition = VendorProfile::ArtifactDefinition;

constexpr std::int64_t kMost = std::numeric_limits<std::int64_t>::max();
const std::string kSource = "\n\nSource: Layer C (Vendor Inspector)";

// The vendor phase reports the app's cache folder and its bundle, like the standard locations, which report "Cache"
// with an explanation and a confidence of 0.95, and "App" without an explanation and a confidence of 1.
class InspectionMerge : public testing::Test {
 protected:
  InspectionMerge() : inspector_(volume_) {
    volume_.app("/Applications/Example.app").folder("~/Library/Caches/com.example.App").folder("~/Library/Zebra");
  }

  std::vector<Artifact> inspectWith(const Definition& definition) {
    inspector_.profiles = {{.id = "example",
                            .displayName = "Example Corp",
                            .match = {.bundleIDs = {"com.example.App"}},
                            .artifacts = {definition, {.title = "Zebra", .paths = {"~/Library/Zebra"}}}}};
    return inspector_.service().inspect(exampleApp(), inspectionOptions(false)).artifacts;
  }

  static Definition ofCache(double confidence, std::optional<std::string> explanation) {
    return {.kind = ArtifactKind::cache,
            .dataClass = ArtifactDataClass::userData,
            .scope = ArtifactScope::user,
            .riskLevel = RiskLevel::danger,
            .confidence = confidence,
            .title = "Vendor's Cache",
            .explanation = std::move(explanation),
            .paths = {"~/Library/Caches/com.example.App"}};
  }

  static Definition ofBundle(double confidence, std::optional<std::string> explanation) {
    return {.kind = ArtifactKind::appBundle,
            .scope = ArtifactScope::system,
            .confidence = confidence,
            .title = "Vendor's App",
            .explanation = std::move(explanation),
            .paths = {"/Applications/Example.app"}};
  }

  MacVolume volume_;
  Inspector inspector_;
};

TEST_F(InspectionMerge, HigherConfidenceWinsWithAllItsFieldsInTheFirstPlace) {
  const std::vector<Artifact> found = inspectWith(ofCache(0.96, std::nullopt));
  ASSERT_THAT(titles(found), ElementsAre("App", "Vendor's Cache", "Zebra"));
  EXPECT_EQ(found[1].dataClass, ArtifactDataClass::userData);
  EXPECT_EQ(found[1].riskLevel, RiskLevel::danger);
  EXPECT_EQ(found[1].confidence, 0.96);
  EXPECT_EQ(found[1].explanation, std::nullopt);
}

TEST_F(InspectionMerge, LowerConfidenceLosesEvenWithAnExplanation) {
  EXPECT_THAT(titles(inspectWith(ofCache(0.94, "Explained."))), ElementsAre("App", "Cache", "Zebra"));
  EXPECT_THAT(titles(inspectWith(ofBundle(0.99, "Explained."))), ElementsAre("App", "Cache", "Zebra"));
}

TEST_F(InspectionMerge, AtEqualConfidenceAnExplanationBeatsNone) {
  const std::vector<Artifact> found = inspectWith(ofBundle(1.0, "Explained."));
  ASSERT_THAT(titles(found), ElementsAre("Vendor's App", "Cache", "Zebra"));
  EXPECT_EQ(found[0].explanation, "Explained." + kSource);
}

TEST_F(InspectionMerge, AtEqualConfidenceAnEmptyExplanationCountsAsOne) {
  EXPECT_THAT(titles(inspectWith(ofBundle(1.0, ""))), ElementsAre("Vendor's App", "Cache", "Zebra"));
}

TEST_F(InspectionMerge, AtEqualConfidenceTheFirstStaysWhenItIsExplained) {
  EXPECT_THAT(titles(inspectWith(ofCache(0.95, std::nullopt))), ElementsAre("App", "Cache", "Zebra"));
}

TEST_F(InspectionMerge, AtEqualConfidenceTheFirstStaysWhenBothAreExplained) {
  EXPECT_THAT(titles(inspectWith(ofCache(0.95, "Explained."))), ElementsAre("App", "Cache", "Zebra"));
}

TEST_F(InspectionMerge, AtEqualConfidenceTheFirstStaysWhenNeitherIsExplained) {
  EXPECT_THAT(titles(inspectWith(ofBundle(1.0, std::nullopt))), ElementsAre("App", "Cache", "Zebra"));
}

TEST_F(InspectionMerge, AnotherKindOrScopeIsAnotherArtifact) {
  Definition logs = ofCache(0.99, std::nullopt);
  logs.kind = ArtifactKind::logs;
  Definition systems = ofCache(0.99, std::nullopt);
  systems.scope = ArtifactScope::system;
  for (const Definition& definition : {logs, systems}) {
    EXPECT_THAT(titles(inspectWith(definition)),
                testing::UnorderedElementsAre("App", "Cache", "Vendor's Cache", "Zebra"));
  }
}

TEST_F(InspectionMerge, OfSeveralTheBestIsKeptInThePlaceOfTheFirst) {
  const FileURL plist("/Users/ann/Library/LaunchAgents/com.example.App.plist");
  volume_.plist("~/Library/LaunchAgents/com.example.App.plist", {{"Label", "com.example.App"}});
  inspector_.launchd.scan = [plist] {
    return std::vector<LaunchdEntry>{{.label = "com.example.App first", .url = plist},
                                     {.label = "com.example.App second", .url = plist}};
  };
  AppInspectionService::Options options = inspectionOptions(false);
  options.includeLaunchd = true;
  const std::vector<Artifact> found = inspector_.service().inspect(exampleApp(), options).artifacts;
  ASSERT_THAT(titles(found), ElementsAre("App", "Cache", "launchd: com.example.App first"));
  EXPECT_EQ(found[2].confidence, 0.65) << "the job outweighs the standard place, which came first with 0.6";
}

TEST_F(InspectionMerge, ReceiptsWithoutFilesAreOneArtifact) {
  inspector_.receipts.receiptsMatching = [](const AppEntity&) {
    return std::vector<ReceiptInfo>{{.packageIdentifier = "first"}, {.packageIdentifier = "second"}};
  };
  AppInspectionService::Options options = inspectionOptions(false);
  options.includeReceipts = true;
  EXPECT_THAT(titles(inspector_.service().inspect(exampleApp(), options).artifacts),
              ElementsAre("App", "Cache", "Receipt: first"));
}

TEST_F(InspectionMerge, TheWinnersSizeIsTheOneThatIsKept) {
  inspector_.extensions.installedKernelExtensions = [](bool) {
    return std::vector<KernelExtensionInfo>{
        {.name = "Same", .url = FileURL("/Users/ann/Library/Zebra"), .size = SizeInfo{5, 6}},
        {.name = "Same again", .url = FileURL("/Users/ann/Library/Zebra"), .size = SizeInfo{7, 8}}};
  };
  inspector_.receipts.packageIDs = [](const std::string&) { return std::vector<std::string>{"com.example.App"}; };
  AppInspectionService::Options options = inspectionOptions(false);
  options.includeKernelExtensions = options.computeArtifactSizes = true;
  const std::vector<Artifact> found = inspector_.service().inspect(exampleApp(), options).artifacts;
  ASSERT_EQ(found.back().title, "Kernel Extension: Same");
  EXPECT_EQ(found.back().size, (SizeInfo{5, 6}));
}

TEST(InspectionSizing, SizesThatOverflowAreAnError) {
  MacVolume volume;
  volume.file("/a").file("/b");
  Inspector inspector(volume);
  inspector.receipts.receiptsMatching = [](const AppEntity&) {
    return std::vector<ReceiptInfo>{{.packageIdentifier = "p", .files = {FileURL("/a"), FileURL("/b")}}};
  };
  AppInspectionService::Options options = inspectionOptions(false);
  options.includeReceipts = options.computeArtifactSizes = true;
  for (const SizeInfo& size : {SizeInfo{kMost, 0}, SizeInfo{0, kMost}}) {
    inspector.sizes.itemSizeExcluding = [size](const FileURL&, const std::vector<FileURL>&, bool, bool) {
      return size;
    };
    EXPECT_THROW((void)inspector.service().inspect(exampleApp(), options), SizeOverflow);
  }
}

// The scan sorts by size, which it knows only if sizes are computed.
TEST_F(InspectionMerge, TheScanSizesAndSortsOnRequest) {
  volume_.file("~/Library/Caches/com.example.App/a", 4_KiB).file("~/Library/Logs/com.example.App", 64_KiB);
  AppInspectionService::Options options = inspectionOptions(false);
  EXPECT_THAT(titles(inspector_.service().inspect(exampleApp(), options).artifacts),
              ElementsAre("App", "Cache", "Logs"));
  options.computeArtifactSizes = true;
  EXPECT_THAT(titles(inspector_.service().inspect(exampleApp(), options).artifacts),
              ElementsAre("Logs", "App", "Cache"));
}

}  // namespace
}  // namespace quarn::inspection_merge_tests
