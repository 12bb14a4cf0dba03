#include <algorithm>
#include <array>
#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "QuarnPlatform/paths/Path.h"
#include "tests/support/MacVolume.h"
#include "tests/support/VendorFacts.h"
#include "tests/support/VendorVolume.h"

namespace quarn::shipped_profiles_on_disk_tests {
namespace {

using ::testing::IsEmpty;
using Data = ArtifactDataClass;

// Written down from the vendors' documentation, not from the profiles: where a product keeps its data and how precious
// it is. Products without public package metadata come first; VendorFactsTests has the others' files.
struct KnownItem {
  std::string_view vendor;
  std::string_view app;  // its identifier; empty for a product that has no app
  std::string_view path;
  Data data;
};
constexpr auto kKnownItems = std::to_array<KnownItem>({
    {.vendor = "apple-mail", .app = "com.apple.mail", .path = "~/Library/Mail", .data = Data::userData},
    {.vendor = "xcode",
     .app = "com.apple.dt.Xcode",
     .path = "~/Library/Developer/Xcode/DerivedData",
     .data = Data::rebuildable},
    {.vendor = "xcode",
     .app = "com.apple.dt.Xcode",
     .path = "/Library/Developer/CommandLineTools",
     .data = Data::shared},
    {.vendor = "xcode",
     .app = "com.apple.dt.Instruments",
     .path = "~/Library/Preferences/com.apple.dt.Instruments.plist",
     .data = Data::configuration},
    {.vendor = "core-simulator",
     .app = "com.apple.iphonesimulator",
     .path = "~/Library/Developer/CoreSimulator/Devices",
     .data = Data::userData},
    {.vendor = "swiftpm", .app = "", .path = "~/Library/Caches/org.swift.swiftpm", .data = Data::rebuildable},
    {.vendor = "carthage", .app = "", .path = "~/Library/Caches/org.carthage.CarthageKit", .data = Data::rebuildable},
    {.vendor = "homebrew", .app = "", .path = "/opt/homebrew/Cellar", .data = Data::shared},
    {.vendor = "apple-photos",
     .app = "com.apple.Photos",
     .path = "~/Pictures/Photos Library.photoslibrary",
     .data = Data::userData},
    {.vendor = "final-cut-pro",
     .app = "com.apple.FinalCut",
     .path = "~/Movies/Holiday.fcpbundle",
     .data = Data::userData},
    {.vendor = "garageband", .app = "com.apple.garageband10", .path = "~/Music/GarageBand", .data = Data::userData},
    {.vendor = "logic-pro", .app = "com.apple.logic10", .path = "~/Music/Logic", .data = Data::userData},
    {.vendor = "icloud-drive",
     .app = "",
     .path = "~/Library/Mobile Documents/com~apple~CloudDocs",
     .data = Data::userData},
    {.vendor = "pcloud-drive", .app = "com.pcloud.pcloud.macos", .path = "~/.pcloud", .data = Data::userData},
    {.vendor = "archicad",
     .app = "com.graphisoft.archicad-27",
     .path = "~/Library/Preferences/com.graphisoft.archicad-27.plist",
     .data = Data::configuration},
    {.vendor = "vectorworks",
     .app = "net.nemetschek.vectorworks",
     .path = "~/Library/Application Support/Vectorworks",
     .data = Data::userData},
    {.vendor = "automatic1111", .app = "", .path = "~/stable-diffusion-webui/outputs", .data = Data::userData},
    {.vendor = "invokeai",
     .app = "com.invoke.invoke-community-edition",
     .path = "~/invokeai/databases",
     .data = Data::userData},
    {.vendor = "runpod", .app = "", .path = "~/.runpod/ssh", .data = Data::userData},
    {.vendor = "norton-360", .app = "", .path = "/Library/Application Support/Symantec", .data = Data::shared},
    {.vendor = "mcafee", .app = "com.mcafee.console", .path = "/usr/local/McAfee", .data = Data::configuration},
    {.vendor = "trend-micro",
     .app = "com.trendmicro.iTIS.MainUI",
     .path = "/Library/Application Support/TrendMicro",
     .data = Data::configuration},
    {.vendor = "intego", .app = "com.intego.netbarrier", .path = "/Library/Intego", .data = Data::shared},
    {.vendor = "kaspersky",
     .app = "com.kaspersky.kav",
     .path = "/Library/Caches/com.kaspersky.kav",
     .data = Data::rebuildable},
    {.vendor = "sentinelone",
     .app = "com.sentinelone.sentinel-agent",
     .path = "/Library/Sentinel",
     .data = Data::configuration},
    {.vendor = "jamf",
     .app = "com.jamfsoftware.selfservice.mac",
     .path = "~/Library/Caches/com.jamfsoftware.selfservice.mac",
     .data = Data::rebuildable},
    {.vendor = "cisco-secure-client",
     .app = "com.cisco.secureclient.gui",
     .path = "/opt/cisco/secureclient",
     .data = Data::configuration},
    {.vendor = "slack",
     .app = "com.tinyspeck.slackmacgap",
     .path = "~/Library/Application Support/Slack/Local Storage",
     .data = Data::userData},
    {.vendor = "slack",
     .app = "com.tinyspeck.slackmacgap",
     .path = "~/Library/Application Support/Slack/Cache",
     .data = Data::rebuildable},
    {.vendor = "steam",
     .app = "com.valvesoftware.steam",
     .path = "~/Library/Application Support/Steam/steamapps/common",
     .data = Data::userData},
    {.vendor = "steam",
     .app = "com.valvesoftware.steam",
     .path = "~/Library/Application Support/Steam/appcache",
     .data = Data::rebuildable},
    {.vendor = "itch", .app = "io.itch.mac", .path = "~/Library/Application Support/itch/apps", .data = Data::userData},
    {.vendor = "jetbrains",
     .app = "com.jetbrains.pycharm",
     .path = "~/Library/Application Support/JetBrains/PyCharm2024.1",
     .data = Data::userData},
    {.vendor = "jetbrains",
     .app = "com.jetbrains.pycharm",
     .path = "~/Library/Caches/JetBrains/PyCharm2024.1/caches",
     .data = Data::rebuildable},
    {.vendor = "jetbrains",
     .app = "",
     .path = "~/Library/Application Support/JetBrains/consentOptions",
     .data = Data::shared},
    {.vendor = "java-toolchain",
     .app = "",
     .path = "/Library/Java/JavaVirtualMachines/temurin-21.jdk",
     .data = Data::shared},
    {.vendor = "java-toolchain", .app = "", .path = "~/.m2/repository", .data = Data::shared},
    {.vendor = "python-toolchain",
     .app = "org.python.IDLE",
     .path = "/Library/Frameworks/Python.framework",
     .data = Data::shared},
    {.vendor = "python-toolchain", .app = "", .path = "~/.pyenv/versions", .data = Data::shared},
    {.vendor = "python-toolchain", .app = "", .path = "~/Library/Caches/pip", .data = Data::rebuildable},
    {.vendor = "nodejs-toolchain", .app = "", .path = "~/.nvm/versions", .data = Data::shared},
    {.vendor = "kubernetes-local", .app = "", .path = "~/.kube/config", .data = Data::shared},
    {.vendor = "kubernetes-local", .app = "", .path = "~/.minikube/machines", .data = Data::userData},
    {.vendor = "android-studio", .app = "", .path = "~/Library/Android/sdk", .data = Data::shared},
    {.vendor = "docker-desktop",
     .app = "com.docker.docker",
     .path = "~/Library/Containers/com.docker.docker",
     .data = Data::userData},
    {.vendor = "whatsapp",
     .app = "net.whatsapp.WhatsApp",
     .path = "~/Library/Group Containers/group.net.whatsapp.WhatsApp.shared",
     .data = Data::userData},
    {.vendor = "cocoapods", .app = "", .path = "~/.cocoapods/repos", .data = Data::userData},
    {.vendor = "vagrant", .app = "", .path = "~/.vagrant.d/boxes", .data = Data::userData},
    {.vendor = "backblaze",
     .app = "com.backblaze.Backblaze",
     .path = "/Library/Backblaze.bzpkg",
     .data = Data::configuration},
    {.vendor = "megasync",
     .app = "mega.mac",
     .path = "~/Library/Application Support/Mega Limited/MEGAsync",
     .data = Data::configuration},
});

AppEntity appWith(std::string_view identifier) {
  return {.name = "Lumen Notes",
          .bundleIdentifier = std::string(identifier),
          .bundleURL = FileURL("/Applications/Lumen Notes.app/"),
          .id = std::string(identifier)};
}

// What the profiles say of the item: through the app that owns it, or for no app, through the vendor's profiles.
std::vector<Artifact> found(const KnownItem& item, const MacVolume& volume, const VendorProfileRegistry& registry) {
  if (!item.app.empty()) {
    return registry.artifacts(appWith(item.app), volume.files(), volume.url("~"));
  }
  std::vector<Artifact> all;
  for (const VendorProfile& profile : registry.profiles()) {
    if (profile.id != item.vendor) continue;
    const std::vector<Artifact> some = profile.makeArtifacts(volume.files(), volume.url("~"));
    all.insert(all.end(), some.begin(), some.end());
  }
  return all;
}

TEST(ShippedProfilesOnDisk, EveryKnownItemIsFoundWithTheClassThatItsLossDeserves) {
  const VendorProfileRegistry registry = shippedVendorProfiles();
  MacVolume volume;
  for (const KnownItem& item : kKnownItems) (void)installPatterns(volume, {std::string(item.path)}, "");
  for (const KnownItem& item : kKnownItems) {
    const std::string path = volume.path(item.path);
    std::vector<Artifact> naming = found(item, volume, registry);
    std::erase_if(naming, [&](const Artifact& artifact) {
      return std::none_of(artifact.urls.begin(), artifact.urls.end(),
                          [&](const FileURL& url) { return url.path() == path; });
    });
    ASSERT_EQ(naming.size(), 1U) << item.vendor << ": " << item.path;
    EXPECT_EQ(naming.front().dataClass, item.data) << item.vendor << ": " << item.path;
  }
}

TEST(ShippedProfilesOnDisk, EveryVendorWithoutListedFilesHasAKnownItem) {
  for (const VendorFacts& facts : vendorFacts()) {
    const bool isKnown = std::any_of(kKnownItems.begin(), kKnownItems.end(),
                                     [&](const KnownItem& item) { return item.vendor == facts.id; });
    EXPECT_TRUE(isKnown || !facts.paths.empty()) << facts.id;
  }
}

TEST(ShippedProfilesOnDisk, AnAppOfAnotherVendorFindsNothing) {
  const VendorProfileRegistry registry = shippedVendorProfiles();
  const AppEntity app = appWith("com.lumenworks.notes");
  MacVolume volume;
  for (const VendorProfile& profile : registry.profiles()) {
    EXPECT_FALSE(profile.matches(app)) << productOf(profile);
  }
  for (std::size_t i = 0; i < registry.profiles().size(); i += 10) (void)installVendor(volume, registry.profiles()[i]);
  EXPECT_THAT(registry.artifacts(app, volume.files(), volume.url("~")), IsEmpty());
}

TEST(ShippedProfilesOnDisk, NoProfileTakesAnotherVendorsApp) {
  const MacVolume volume;
  const VendorProfileRegistry registry = shippedVendorProfiles();
  for (const VendorProfile& owner : registry.profiles()) {
    const std::optional<AppEntity> app = vendorApp(owner, volume);
    if (!app) continue;
    const std::vector<VendorProfile> matching = registry.matchingProfiles(*app);
    ASSERT_EQ(matching.size(), 1U) << productOf(owner);
    EXPECT_EQ(matching.front(), owner) << productOf(owner);
  }
}

}  // namespace
}  // namespace quarn::shipped_profiles_on_disk_tests
