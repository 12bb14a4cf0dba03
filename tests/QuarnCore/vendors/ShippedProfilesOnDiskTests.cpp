#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnPlatform/paths/Path.h"
#include "tests/support/MacVolume.h"
#include "tests/support/VendorVolume.h"

namespace quarn {
namespace {

using ::testing::IsEmpty;

bool isCovered(const std::string& path, const std::vector<Artifact>& artifacts) {
  return std::any_of(artifacts.begin(), artifacts.end(), [&](const Artifact& artifact) {
    return std::any_of(artifact.urls.begin(), artifact.urls.end(),
                       [&](const FileURL& url) { return path::isInside(path, url.path()); });
  });
}

AppEntity anotherVendorsApp() {
  return {.name = "Lumen Notes",
          .bundleIdentifier = "com.lumenworks.notes",
          .bundleURL = FileURL("/Applications/Lumen Notes.app/"),
          .id = "com.lumenworks.notes"};
}

TEST(ShippedProfilesOnDisk, AnAppOfTheVendorFindsEveryFileThatItsProfileNames) {
  const VendorProfileRegistry registry = shippedVendorProfiles();
  ASSERT_GT(registry.profiles().size(), 80U);
  for (const VendorProfile& profile : registry.profiles()) {
    MacVolume volume;
    const std::vector<std::string> paths = installVendor(volume, profile);
    const std::optional<AppEntity> app = vendorApp(profile, volume);
    if (!app) continue;
    ASSERT_TRUE(volume.files().itemExists(app->bundleURL)) << profile.id;
    EXPECT_TRUE(profile.matches(*app)) << profile.id;
    const std::vector<Artifact> found = registry.artifacts(*app, volume.files(), volume.url("~"));
    for (const std::string& path : paths) EXPECT_TRUE(isCovered(path, found)) << profile.id << ": " << path;
  }
}

TEST(ShippedProfilesOnDisk, AProfileFindsItsFilesEvenWhenItRecognisesNoApp) {
  const VendorProfileRegistry registry = shippedVendorProfiles();
  const MacVolume empty;
  for (const VendorProfile& profile : registry.profiles()) {
    if (vendorApp(profile, empty)) continue;
    MacVolume volume;
    const std::vector<std::string> paths = installVendor(volume, profile);
    const std::vector<Artifact> found = profile.makeArtifacts(volume.files(), volume.url("~"));
    for (const std::string& path : paths) EXPECT_TRUE(isCovered(path, found)) << profile.id << ": " << path;
  }
}

TEST(ShippedProfilesOnDisk, AnAppOfAnotherVendorFindsNothing) {
  const VendorProfileRegistry registry = shippedVendorProfiles();
  MacVolume volume;
  for (const VendorProfile& profile : registry.profiles()) {
    EXPECT_FALSE(profile.matches(anotherVendorsApp())) << profile.id;
  }
  for (std::size_t i = 0; i < registry.profiles().size(); i += 10) (void)installVendor(volume, registry.profiles()[i]);
  EXPECT_THAT(registry.artifacts(anotherVendorsApp(), volume.files(), volume.url("~")), IsEmpty());
}

TEST(ShippedProfilesOnDisk, NoProfileTakesAnotherVendorsApp) {
  const MacVolume volume;
  const VendorProfileRegistry registry = shippedVendorProfiles();
  for (const VendorProfile& owner : registry.profiles()) {
    const std::optional<AppEntity> app = vendorApp(owner, volume);
    if (!app) continue;
    for (const VendorProfile& profile : registry.matchingProfiles(*app)) EXPECT_EQ(profile.id, owner.id);
  }
}

}  // namespace
}  // namespace quarn
