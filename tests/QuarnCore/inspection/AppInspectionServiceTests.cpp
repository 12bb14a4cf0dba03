#include <algorithm>
#include <chrono>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/inspection/AppInspectionService.h"
#include "tests/QuarnCore/discovery/ArtifactLines.h"
#include "tests/QuarnCore/inspection/Inspector.h"

namespace quarn::app_inspection_service_tests {
namespace {

using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using ::testing::Not;
using Options = AppInspectionService::Options;

// The app has an item for every phase; groups, receipt files and extensions come from the clients.
void furnish(MacVolume& volume) {
  volume.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App"})
      .folder("/Applications/Example.app/Contents/Resources/Uninstall Example.pkg")
      .file("~/Library/Caches/com.example.App/a", 8_KiB)
      .folder("~/Library/Logs/com.example.App old")
      .folder("~/Library/Group Containers/group.example")
      .folder("~/Documents/Example Projects")
      .plist("/Library/LaunchDaemons/com.example.App.plist", {{"Label", "com.example.App.daemon"}})
      .file("/opt/example/tool", 4_KiB)
      .folder("~/Library/Vendor/Example")
      .folder("/Library/Extensions/Example.kext");
}

Inspector furnished(const MacVolume& volume) {
  Inspector inspector(volume);
  inspector.entitlements.readEntitlements = [](const FileURL&) { return EntitlementsInfo{{"group.example"}}; };
  inspector.receipts.receiptsMatching = [](const AppEntity&) {
    return std::vector<ReceiptInfo>{
        {.packageIdentifier = "com.example.App.pkg", .files = {FileURL("/opt/example/tool")}}};
  };
  inspector.extensions.installedKernelExtensions = [](bool) {
    return std::vector<KernelExtensionInfo>{
        {.name = "Example", .url = FileURL("/Library/Extensions/Example.kext"), .size = SizeInfo{1, 2}}};
  };
  inspector.profiles = {
      {.id = "example",
       .displayName = "Example Corp",
       .match = {.bundleIDs = {"com.example.App"}},
       .artifacts = {{.confidence = 0.5, .title = "Vendor Data", .paths = {"~/Library/Vendor/Example"}},
                     {.title = "Kext", .paths = {"/nowhere/Extensions/*.kext", "/Library/E*/*.kext"}}}}};
  return inspector;
}

TEST(AppInspectionService, FindsArtifactsInTheOrderOfThePhases) {
  MacVolume volume;
  furnish(volume);
  Options options = inspectionOptions(true);
  options.computeArtifactSizes = false;
  const AppInspection inspection = furnished(volume).service().inspect(exampleApp(), options);
  EXPECT_THAT(titles(inspection.artifacts),
              ElementsAre("App", "Cache", "Group Container (group.example)", "Heuristic: com.example.App old",
                          "Documents: Example Projects", "launchd: com.example.App.daemon",
                          "Receipt: com.example.App.pkg", "Vendor Data", "Kernel Extension: Example"));
}

TEST(AppInspectionService, ThePhasesOrderIsKeptWhenThingsAreSized) {
  MacVolume volume;
  furnish(volume);
  const AppInspection inspection = furnished(volume).service().inspect(exampleApp(), inspectionOptions(true));
  const std::vector<std::string> found = titles(inspection.artifacts);
  ASSERT_EQ(found.size(), 9U);
  EXPECT_THAT(std::vector(found.begin() + 4, found.end()),
              ElementsAre("Documents: Example Projects", "launchd: com.example.App.daemon",
                          "Receipt: com.example.App.pkg", "Vendor Data", "Kernel Extension: Example"));
  for (const Artifact& artifact : inspection.artifacts) EXPECT_TRUE(artifact.size) << artifact.title;
  EXPECT_EQ(inspection.artifacts[6].size, (SizeInfo{4_KiB, 4_KiB}));
  EXPECT_EQ(inspection.artifacts[8].size, (SizeInfo{1, 2})) << "a size that came with a find is kept";
}

TEST(AppInspectionService, HoldsTheAppItsUninstallersAndTheDate) {
  MacVolume volume;
  furnish(volume);
  AppEntity app = exampleApp();
  app.version = "1.2";
  const auto now = [] { return std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()); };
  const Date before = now();
  const AppInspection inspection = Inspector(volume).service().inspect(app, inspectionOptions(false));
  EXPECT_EQ(inspection.app, app);
  ASSERT_EQ(inspection.uninstallers.size(), 1U);
  EXPECT_EQ(inspection.uninstallers[0].name, "Uninstall Example.pkg");
  EXPECT_EQ(inspection.uninstallers, UninstallerDiscoveryService(volume.files()).findUninstallers(app));
  EXPECT_GE(inspection.inspectedAt, before);
  EXPECT_LE(inspection.inspectedAt, now());
}

TEST(AppInspectionService, WithoutProgressTheResultIsTheSame) {
  MacVolume volume;
  furnish(volume);
  const AppInspectionService service = furnished(volume).service();
  const Options options = inspectionOptions(true);
  const AppInspection silent = service.inspect(exampleApp(), options);
  EXPECT_EQ(lines(service.inspect(exampleApp(), options, [](auto) {}).artifacts), lines(silent.artifacts));
  EXPECT_EQ(lines(service.inspect(exampleApp(), options, nullptr).artifacts), lines(silent.artifacts));
  EXPECT_EQ(silent.artifacts.size(), 9U);
}

TEST(AppInspectionService, WithAllOptionsOffOnlyStandardLocationsAndVendorProfilesCount) {
  MacVolume volume;
  furnish(volume);
  EXPECT_THAT(titles(furnished(volume).service().inspect(exampleApp(), inspectionOptions(false)).artifacts),
              ElementsAre("App", "Cache", "Kext", "Vendor Data"));
}

TEST(AppInspectionService, GroupContainersAreFoundOnlyWhenEntitlementsAreRead) {
  MacVolume volume;
  furnish(volume);
  Options options = inspectionOptions(false);
  options.includeGroupContainers = true;
  EXPECT_THAT(titles(furnished(volume).service().inspect(exampleApp(), options).artifacts),
              ElementsAre("App", "Cache", "Group Container (group.example)", "Kext", "Vendor Data"));
}

TEST(AppInspectionService, EachLimitAppliesToItsOwnSearch) {
  MacVolume volume;
  for (const char* name : {"1", "2", "3"}) {
    volume.folder(std::string("~/Library/Logs/com.example.App x") + name + "/com.example.App y")
        .folder(std::string("~/Documents/Example x") + name + "/Example y");
  }
  Options options = inspectionOptions(false);
  options.includeHeuristicSearch = options.includeDocumentsHeuristicSearch = true;
  options.heuristicMaxDepth = 1;
  options.heuristicMaxResults = 2;
  options.documentsHeuristicMaxDepth = 2;
  options.documentsHeuristicMaxResults = 3;
  EXPECT_THAT(titles(Inspector(volume).service().inspect(exampleApp(), options).artifacts),
              ElementsAre("App", "Heuristic: com.example.App x1", "Heuristic: com.example.App x2",
                          "Documents: Example x1", "Documents: Example x1/Example y", "Documents: Example x2"));
}

TEST(AppInspectionService, SystemAndVendorFlagsGoToTheScan) {
  MacVolume volume;
  volume.folder("/Library/Logs/com.example.App")
      .folder("/Library/Caches/com.example.App old")
      .folder("~/Library/Application Support/Adobe");
  AppEntity app = exampleApp();
  app.name = "A-d-o-b-e Example";  // Adobe's by its normalised name alone, which the deep inspector does not look at
  const auto found = [&](auto change) {
    Options options = inspectionOptions(false);
    change(options);
    return titles(Inspector(volume).service().inspect(app, options).artifacts);
  };
  EXPECT_THAT(found([](Options&) {}), ElementsAre("App"));
  EXPECT_THAT(found([](Options& options) { options.includeSystemArtifacts = true; }),
              ElementsAre("App", "System Logs"));
  EXPECT_THAT(found([](Options& options) { options.includeSystemHeuristicSearch = true; }),
              ElementsAre("App", "Heuristic (System): com.example.App", "Heuristic (System): com.example.App old"));
  EXPECT_THAT(found([](Options& options) { options.includeVendorHeuristics = true; }),
              ElementsAre("Adobe (Shared)", "App"));
}

TEST(AppInspectionService, WithoutSizingArtifactsHaveNoSizes) {
  MacVolume volume;
  furnish(volume);
  Options options = inspectionOptions(true);
  options.computeArtifactSizes = false;
  const AppInspection inspection = furnished(volume).service().inspect(exampleApp(), options);
  for (const Artifact& artifact : inspection.artifacts) {
    EXPECT_EQ(artifact.size.has_value(), artifact.kind == ArtifactKind::kernelExtension) << artifact.title;
  }
}

TEST(AppInspectionService, AnArtifactWithMissingItemsHasTheSizeZero) {
  const MacVolume volume;
  Inspector inspector(volume);
  inspector.receipts.receiptsMatching = [](const AppEntity&) {
    return std::vector<ReceiptInfo>{{.packageIdentifier = "p", .files = {FileURL("/gone"), FileURL("/gone too")}},
                                    {.packageIdentifier = "q", .files = {}}};
  };
  Options options = inspectionOptions(false);
  options.includeReceipts = options.computeArtifactSizes = true;
  const AppInspection inspection = inspector.service().inspect(exampleApp(), options);
  ASSERT_EQ(inspection.artifacts.size(), 3U);
  for (const Artifact& artifact : inspection.artifacts) EXPECT_EQ(artifact.size, (SizeInfo{0, 0})) << artifact.title;
}

TEST(AppInspectionService, CanBeRepeated) {
  MacVolume volume;
  furnish(volume);
  const AppInspectionService service = furnished(volume).service();
  const AppInspection first = service.inspect(exampleApp(), inspectionOptions(true));
  const AppInspection second = service.inspect(exampleApp(), inspectionOptions(true));
  EXPECT_EQ(lines(first.artifacts), lines(second.artifacts));
  EXPECT_EQ(first.uninstallers, second.uninstallers);
}

TEST(AppInspectionService, AnEmptyVolumeYieldsOnlyTheBundle) {
  const MacVolume volume;
  const AppInspection inspection = Inspector(volume).service().inspect(exampleApp(), inspectionOptions(true));
  EXPECT_THAT(titles(inspection.artifacts), ElementsAre("App"));
  EXPECT_THAT(inspection.uninstallers, IsEmpty());
}

TEST(ACancelledInspection, ReturnsTheArtifactsOfEarlierPhasesAndReportsNoFurtherPhase) {
  MacVolume volume;
  furnish(volume);
  const Cancellation cancellation;
  std::vector<AppInspectionService::Phase> reported;
  const auto cancelAtLaunchd = [&](AppInspectionService::Phase phase) {
    reported.push_back(phase);
    if (phase == AppInspectionService::Phase::launchd) cancellation.cancel();
  };
  const AppInspectionService service = furnished(volume).service();
  const AppInspection inspection =
      service.inspect(exampleApp(), inspectionOptions(true), cancelAtLaunchd, cancellation);
  EXPECT_EQ(reported.back(), AppInspectionService::Phase::launchd);
  EXPECT_EQ(inspection.uninstallers.size(), 1U);
  EXPECT_THAT(titles(inspection.artifacts), IsSupersetOf({"App", "Documents: Example Projects"}));
  EXPECT_THAT(titles(inspection.artifacts), Not(Contains("Vendor Data")));
}

TEST(ACancelledInspection, LeavesUnsizedArtifactsWithoutASize) {
  MacVolume volume;
  furnish(volume);
  const Cancellation cancellation;
  Inspector inspector = furnished(volume);
  int sized = 0;
  inspector.sizes.itemSizeExcluding = [&](const FileURL&, const std::vector<FileURL>&, bool, bool) {
    if (++sized == 2) cancellation.cancel();
    return SizeInfo{1, 1};
  };
  const AppInspection inspection =
      inspector.service().inspect(exampleApp(), inspectionOptions(true), nullptr, cancellation);
  EXPECT_EQ(sized, 2);
  const auto isSized = [](const Artifact& artifact) { return artifact.size.has_value(); };
  EXPECT_EQ(std::count_if(inspection.artifacts.begin(), inspection.artifacts.end(), isSized), 1)
      << "a sum that was cut short is none";
}

TEST(ACancelledSearch, FindsNothingMore) {
  MacVolume volume;
  furnish(volume);
  volume.folder("~/Library/Logs/Example Logs").folder("/Library/Logs/com.example.App.logs");
  const FileManager files = volume.files();
  const ArtifactScanner scanner(FileSizeCalculator::live(files), files);
  const AppEntity app = exampleApp();
  const auto finds = [&](const Cancellation& cancellation) {
    return std::vector{scanner.userHeuristicSearch(app, 3, 9, cancellation).empty(),
                       scanner.systemHeuristicSearch(app, 3, 9, cancellation).empty(),
                       scanner.documentsHeuristicSearch(app, 3, 9, cancellation).empty(),
                       UninstallerDiscoveryService(files).findUninstallers(app, cancellation).empty()};
  };
  const Cancellation cancellation;
  EXPECT_THAT(finds(cancellation), Each(false));
  cancellation.cancel();
  EXPECT_THAT(finds(cancellation), Each(true));
}

}  // namespace
}  // namespace quarn::app_inspection_service_tests
