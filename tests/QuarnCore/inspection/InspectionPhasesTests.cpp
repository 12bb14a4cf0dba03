#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/QuarnCore/discovery/ArtifactLines.h"
#include "tests/QuarnCore/inspection/Inspector.h"

namespace quarn::inspection_phases_tests {
namespace {

using ::testing::ElementsAre;
using Phase = AppInspectionService::Phase;
using Options = AppInspectionService::Options;
using enum AppInspectionService::Phase;

std::vector<Phase> reported(const AppInspectionService& service, const Options& options) {
  std::vector<Phase> phases;
  (void)service.inspect(exampleApp(), options, [&](Phase phase) { phases.push_back(phase); });
  return phases;
}

TEST(InspectionPhase, HasNineCasesInTheOrderInWhichTheyRun) {
  const std::vector<std::pair<Phase, std::string>> cases{{uninstallers, "uninstallers"},
                                                         {entitlements, "entitlements"},
                                                         {artifacts, "artifacts"},
                                                         {documents, "documents"},
                                                         {launchd, "launchd"},
                                                         {receipts, "receipts"},
                                                         {deepInspector, "deepInspector"},
                                                         {kernelExtensions, "kernelExtensions"},
                                                         {finalize, "finalize"}};
  ASSERT_EQ(allCases<Phase>().size(), cases.size());
  for (std::size_t i = 0; i < cases.size(); ++i) {
    EXPECT_EQ(static_cast<std::size_t>(cases[i].first), i);
    EXPECT_EQ(allCases<Phase>()[i], cases[i].first);
    EXPECT_EQ(rawValue(cases[i].first), cases[i].second);
    EXPECT_EQ(fromRawValue<Phase>(cases[i].second), cases[i].first);
  }
  for (const char* other : {"", "Artifacts", "artifact", "artifacts ", "deepinspector", "none"}) {
    EXPECT_EQ(fromRawValue<Phase>(other), std::nullopt) << other;
  }
}

TEST(InspectionPhases, TheShortestSequenceHasFive) {
  EXPECT_THAT(AppInspectionService::phaseSequence(inspectionOptions(false)),
              ElementsAre(uninstallers, entitlements, artifacts, deepInspector, finalize));
}

TEST(InspectionPhases, TheLongestSequenceHasAllNineInCaseOrder) {
  EXPECT_THAT(AppInspectionService::phaseSequence(inspectionOptions(true)),
              ElementsAre(uninstallers, entitlements, artifacts, documents, launchd, receipts, deepInspector,
                          kernelExtensions, finalize));
}

TEST(InspectionPhases, EachFlagAddsItsPhaseInItsPlaceAndNoOther) {
  const auto sequence = [](auto change) {
    Options options = inspectionOptions(false);
    change(options);
    return AppInspectionService::phaseSequence(options);
  };
  EXPECT_THAT(sequence([](Options& options) { options.includeDocumentsHeuristicSearch = true; }),
              ElementsAre(uninstallers, entitlements, artifacts, documents, deepInspector, finalize));
  EXPECT_THAT(sequence([](Options& options) { options.includeLaunchd = true; }),
              ElementsAre(uninstallers, entitlements, artifacts, launchd, deepInspector, finalize));
  EXPECT_THAT(sequence([](Options& options) { options.includeReceipts = true; }),
              ElementsAre(uninstallers, entitlements, artifacts, receipts, deepInspector, finalize));
  EXPECT_THAT(sequence([](Options& options) { options.includeKernelExtensions = true; }),
              ElementsAre(uninstallers, entitlements, artifacts, deepInspector, kernelExtensions, finalize));
  const std::vector<Phase> shortest = AppInspectionService::phaseSequence(inspectionOptions(false));
  EXPECT_EQ(sequence([](Options& options) {
              options.includeHeuristicSearch = options.includeVendorHeuristics = true;
              options.includeSystemArtifacts = options.includeSystemHeuristicSearch = true;
              options.includeGroupContainers = options.computeArtifactSizes = true;
            }),
            shortest);
}

TEST(InspectionPhases, WithEveryFlagEachPhaseIsReportedOnceInCaseOrder) {
  const MacVolume volume;
  EXPECT_THAT(reported(Inspector(volume).service(), inspectionOptions(true)),
              ElementsAre(uninstallers, entitlements, artifacts, documents, launchd, receipts, deepInspector,
                          kernelExtensions, finalize));
}

TEST(InspectionPhases, WithoutFlagsFiveAreReported) {
  const MacVolume volume;
  EXPECT_THAT(reported(Inspector(volume).service(), inspectionOptions(false)),
              ElementsAre(uninstallers, entitlements, artifacts, deepInspector, finalize));
}

TEST(InspectionPhases, TheReportedPhasesEqualTheSequenceForAllOptions) {
  const MacVolume volume;
  const AppInspectionService service = Inspector(volume).service();
  for (unsigned bits = 0; bits < 32; ++bits) {
    Options options = inspectionOptions(false);
    options.includeDocumentsHeuristicSearch = (bits & 1) != 0;
    options.includeLaunchd = (bits & 2) != 0;
    options.includeReceipts = (bits & 4) != 0;
    options.includeKernelExtensions = (bits & 8) != 0;
    options.includeGroupContainers = (bits & 16) != 0;
    std::vector<Phase> expected{uninstallers, entitlements, artifacts};
    if ((bits & 1) != 0) expected.push_back(documents);
    if ((bits & 2) != 0) expected.push_back(launchd);
    if ((bits & 4) != 0) expected.push_back(receipts);
    expected.push_back(deepInspector);
    if ((bits & 8) != 0) expected.push_back(kernelExtensions);
    expected.push_back(finalize);
    EXPECT_EQ(reported(service, options), expected) << bits;
    EXPECT_EQ(AppInspectionService::phaseSequence(options), expected) << bits;
  }
}

TEST(InspectionPhases, APhaseIsReportedJustBeforeItsWork) {
  const MacVolume volume;
  Inspector inspector(volume);
  std::vector<std::string> events;
  inspector.entitlements.readEntitlements = [&](const FileURL& bundle) {
    events.push_back("read " + bundle.path());
    return EntitlementsInfo();
  };
  inspector.launchd.scan = [&] {
    events.emplace_back("scan");
    return std::vector<LaunchdEntry>();
  };
  inspector.receipts.receiptsMatching = [&](const AppEntity& app) {
    events.push_back("receipts of " + app.name);
    return std::vector<ReceiptInfo>();
  };
  inspector.extensions.installedKernelExtensions = [&](bool includeMacOS) {
    events.emplace_back(includeMacOS ? "all extensions" : "extensions");
    return std::vector<KernelExtensionInfo>();
  };
  (void)inspector.service().inspect(exampleApp(), inspectionOptions(true),
                                    [&](Phase phase) { events.emplace_back(rawValue(phase)); });
  EXPECT_THAT(events, ElementsAre("uninstallers", "entitlements", "read /Applications/Example.app", "artifacts",
                                  "documents", "launchd", "scan", "receipts", "receipts of Example", "deepInspector",
                                  "kernelExtensions", "extensions", "finalize"));
}

TEST(InspectionPhases, AllPhasesShareOneReadingOfTheReceipts) {
  MacVolume volume;
  volume.app("/Applications/Example.app").folder("/Library/Extensions/A.kext").folder("/Library/Extensions/B.kext");
  Inspector inspector(volume);
  int readings = 0;
  inspector.receiptsAreRead = [&] { ++readings; };
  (void)inspector.service().inspect(exampleApp(), inspectionOptions(true));
  EXPECT_EQ(readings, 1);
}

TEST(InspectionPhases, ASwitchedOffPhaseDoesNoWork) {
  const MacVolume volume;
  Inspector inspector(volume);
  inspector.entitlements.readEntitlements = [](const FileURL&) -> EntitlementsInfo {
    ADD_FAILURE() << "entitlements were read";
    return {};
  };
  inspector.launchd.scan = []() -> std::vector<LaunchdEntry> {
    ADD_FAILURE() << "jobs were listed";
    return {};
  };
  inspector.receiptsAreRead = [] { ADD_FAILURE() << "receipts were read"; };
  inspector.extensions.installedKernelExtensions = [](bool) -> std::vector<KernelExtensionInfo> {
    ADD_FAILURE() << "extensions were listed";
    return {};
  };
  EXPECT_THAT(titles(inspector.service().inspect(exampleApp(), inspectionOptions(false)).artifacts),
              ElementsAre("App"));
}

}  // namespace
}  // namespace quarn::inspection_phases_tests
