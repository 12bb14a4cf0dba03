#include <cerrno>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnCore/inspection/AppsService.h"
#include "tests/support/ItemSizes.h"
#include "tests/support/MacVolume.h"

namespace quarn::apps_service_tests {
namespace {

using ::testing::IsEmpty;

AppEntity appAt(const std::string& path) {
  return {.name = "Example", .bundleIdentifier = std::nullopt, .bundleURL = FileURL(path), .id = path};
}

AppsService liveService(const MacVolume& volume) {
  return {AppDiscoveryClient::live(volume.files()), FileSizeCalculator::live(volume.files())};
}

TEST(AppsService, AppsAreTheClientsListUnchanged) {
  const MacVolume volume;
  const std::vector<AppEntity> apps{appAt("/z"), appAt("/a"), appAt("/z"), appAt("/not an app")};
  const AppsService service({.discoverApplications = [&] { return apps; }}, FileSizeCalculator::live(volume.files()));
  EXPECT_EQ(service.discoverApps(), apps);
}

TEST(AppsService, AVolumeWithoutAppsHasNone) {
  const MacVolume volume;
  EXPECT_THAT(liveService(volume).discoverApps(), IsEmpty());
}

TEST(AppsService, TheAppsOfAVolumeCanBeSized) {
  MacVolume volume;
  volume.app("/Applications/Example.app", {.bundleIdentifier = "com.example.App"})
      .file("/Applications/Example.app/Contents/Resources/data", 1_MiB);
  const AppsService service = liveService(volume);
  const std::vector<AppEntity> apps = service.discoverApps();
  ASSERT_EQ(apps.size(), 1U);
  EXPECT_GE(service.calculateAppSize(apps[0]).logicalBytes, 1_MiB);
}

TEST(AppsService, HiddenFilesInsideTheBundleAreNotCounted) {
  MacVolume volume;
  volume.file("/X.app/seen", 8_KiB).file("/X.app/.hidden", 64_KiB).file("/X.app/.folder/inside", 64_KiB);
  EXPECT_EQ(liveService(volume).calculateAppSize(appAt("/X.app")), (SizeInfo{8_KiB, 8_KiB}));
}

TEST(AppsService, TheBundleIsSizedSlowlyWithoutHiddenItems) {
  int calls = 0;
  const AppsService service(
      {}, sizesBy([&](const FileURL& at, const std::vector<FileURL>& excluding, bool allowSlow, bool includeHidden) {
        ++calls;
        EXPECT_EQ(at.path(), "/X.app");
        EXPECT_TRUE(excluding.empty());
        EXPECT_TRUE(allowSlow);
        EXPECT_FALSE(includeHidden);
        return SizeInfo{1, 2};
      }));
  EXPECT_EQ(service.calculateAppSize(appAt("/X.app")), (SizeInfo{1, 2}));
  EXPECT_EQ(calls, 1);
}

TEST(AppsService, TheErrorOfABundleThatHasDisappearedReachesTheCaller) {
  MacVolume volume;
  volume.app("/Applications/Example.app");
  const AppsService service = liveService(volume);
  const std::vector<AppEntity> apps = service.discoverApps();
  ASSERT_EQ(apps.size(), 1U);
  volume.remove("/Applications/Example.app");
  try {
    (void)service.calculateAppSize(apps[0]);
    FAIL() << "nothing was thrown";
  } catch (const FileError& error) {
    EXPECT_EQ(error.error(), ENOENT);
    EXPECT_EQ(error.path(), "/Applications/Example.app");
  }
}

}  // namespace
}  // namespace quarn::apps_service_tests
