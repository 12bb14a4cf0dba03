#include <algorithm>
#include <array>
#include <map>
#include <set>

#include <gmock/gmock.h>

#include "tests/support/VendorVolume.h"

// Which app is which product: docs/vendor-profiles.md states these rules for authors.

namespace quarn::profile_recognition_tests {
namespace {

using ::testing::IsEmpty;

const VendorProfileRegistry& registry() {
  static const VendorProfileRegistry shipped = shippedVendorProfiles();
  return shipped;
}

// Several identifiers in one profile are one product only when its parts or its successive versions have them.
struct OneProduct {
  std::string_view vendor;
  std::string_view id;  // of a bundle
  std::string_view why;
};
// clang-format off
constexpr auto kOneProduct = std::to_array<OneProduct>({
    {.vendor = "backblaze", .id = "com.backblaze", .why = "older identifier"},
    {.vendor = "backblaze", .id = "com.backblaze.bzbmenu", .why = "its menu"},
    {.vendor = "battle-net", .id = "net.battle.bootstrapper", .why = "its first start"},
    {.vendor = "battle-net", .id = "net.battle.net.app", .why = "older identifier"},
    {.vendor = "battle-net", .id = "net.battnet.battle", .why = "older identifier"},
    {.vendor = "bitdefender", .id = "com.bitdefender.EndpointSecurityforMac", .why = "edition that replaces the other"},
    {.vendor = "bitdefender", .id = "com.bitdefender.com.bitdefender.Adware-Removal-Tool", .why = "another spelling"},
    {.vendor = "box-drive", .id = "com.box.desktop.ui", .why = "its window"},
    {.vendor = "carbon-copy-cloner", .id = "com.bombich.cccuseragent", .why = "its agent"},
    {.vendor = "cisco-secure-client", .id = "com.cisco.anyconnect.gui", .why = "older name"},
    {.vendor = "docker-desktop", .id = "com.docker.helper", .why = "its login helper"},
    {.vendor = "docker-desktop", .id = "com.electron.docker-frontend", .why = "its window"},
    {.vendor = "docker-desktop", .id = "com.electron.dockerdesktop", .why = "its window"},
    {.vendor = "epic-games-launcher", .id = "com.epicgames.CrashReportClient", .why = "its crash reporter"},
    {.vendor = "garageband", .id = "com.apple.garageband", .why = "older version"},
    {.vendor = "gog-galaxy", .id = "com.gog.galaxy.cef.renderer", .why = "its window"},
    {.vendor = "google-drive", .id = "com.google.GoogleDrive", .why = "older identifier"},
    {.vendor = "heroic", .id = "com.electron.heroic", .why = "older identifier"},
    {.vendor = "kaspersky", .id = "com.kaspersky.kav_agent", .why = "its agent"},
    {.vendor = "kaspersky", .id = "com.kaspersky.ksec", .why = "edition that replaces the other"},
    {.vendor = "logic-pro", .id = "com.apple.logic.pro", .why = "older version"},
    {.vendor = "malwarebytes", .id = "com.malwarebytes.mbam", .why = "older identifier"},
    {.vendor = "malwarebytes", .id = "com.malwarebytes.mbam.frontend", .why = "older identifier"},
    {.vendor = "malwarebytes", .id = "com.malwarebytes.mbam.frontend.agent", .why = "its menu"},
    {.vendor = "microsoft-onedrive", .id = "com.microsoft.OneDrive-mac", .why = "the App Store edition, same folders"},
    {.vendor = "microsoft-outlook", .id = "com.microsoft.outlook.profilemanager", .why = "inside its bundle"},
    {.vendor = "minecraft-launcher", .id = "com.mojang.minecraftlauncherupdater", .why = "its updater"},
    {.vendor = "parallels-desktop", .id = "com.parallels.PDInfo", .why = "inside its bundle"},
    {.vendor = "parallels-desktop", .id = "com.parallels.Parallels", .why = "older identifier"},
    {.vendor = "parallels-desktop", .id = "com.parallels.Parallels Desktop", .why = "older identifier"},
    {.vendor = "parallels-desktop", .id = "com.parallels.Parallels Desktop Events", .why = "inside its bundle"},
    {.vendor = "parallels-desktop", .id = "com.parallels.Parallels Desktop Statistics", .why = "inside its bundle"},
    {.vendor = "parallels-desktop", .id = "com.parallels.desktop", .why = "older identifier"},
    {.vendor = "python-toolchain", .id = "com.continuum.python", .why = "its interpreter"},
    {.vendor = "python-toolchain", .id = "org.python.PythonLauncher", .why = "installed together"},
    {.vendor = "python-toolchain", .id = "org.python.python", .why = "installed together"},
    {.vendor = "riot-client", .id = "com.riotgames.LeagueofLegends.LeagueClient", .why = "inside its bundle"},
    {.vendor = "riot-client", .id = "com.riotgames.LeagueofLegends.LeagueClientUx", .why = "inside its bundle"},
    {.vendor = "riot-client", .id = "com.riotgames.LeagueofLegends.LeagueClientUxHelper", .why = "inside its bundle"},
    {.vendor = "riot-client", .id = "com.riotgames.maccontainer", .why = "the bundle around it"},
    {.vendor = "sentinelone", .id = "com.sentinelone.extensions-wrapper", .why = "its extensions"},
    {.vendor = "synology-drive", .id = "com.synology.CloudStationBackupUI", .why = "its window"},
    {.vendor = "synology-drive", .id = "com.synology.CloudStationUI", .why = "its window"},
    {.vendor = "synology-drive", .id = "io.com.synology.CloudStationUI", .why = "its window"},
    {.vendor = "synology-drive", .id = "com.synology.SynologyDrive.CloudStationUI", .why = "its window"},
    {.vendor = "trend-micro", .id = "com.trendmicro.iTIS.UIMgmt", .why = "its menu"},
    {.vendor = "trend-micro", .id = "com.trendmicro.tmsm.MainUI", .why = "edition that replaces the other"},
    {.vendor = "unity", .id = "com.unity.BugReporterV2", .why = "inside its bundle"},
    {.vendor = "unity", .id = "com.unity3d.UnityEditor", .why = "another version, same folders"},
    {.vendor = "unreal-engine", .id = "com.epicgames.UE4Editor", .why = "older version"},
    {.vendor = "utm", .id = "com.utmapp.QEMUHelper", .why = "its emulator"},
    {.vendor = "virtualbox", .id = "org.virtualbox.app.VirtualBoxVM", .why = "its machine window"},
    {.vendor = "vmware-fusion", .id = "com.vmware.fusionApplicationsMenu", .why = "its menu"},
    {.vendor = "vmware-fusion", .id = "com.vmware.fusionApplicationsMenu.helper", .why = "its menu"},
    {.vendor = "vmware-fusion", .id = "com.vmware.fusionDaemon", .why = "its daemon"},
    {.vendor = "vmware-fusion", .id = "com.vmware.fusionStartMenu", .why = "its menu"},
    {.vendor = "webex", .id = "WebEx-PT.webexAppLauncher", .why = "its launcher"},
    {.vendor = "webex", .id = "com.cisco.meetings.shortcut", .why = "its shortcut"},
    {.vendor = "webex", .id = "com.cisco.webexmeetingsapp", .why = "the same client in the browser's package"},
    {.vendor = "webex", .id = "com.cisco.webexmta", .why = "its meeting tools"},
    {.vendor = "whatsapp", .id = "WhatsApp", .why = "older identifier"},
    {.vendor = "whatsapp", .id = "desktop.WhatsApp", .why = "older version"},
    {.vendor = "zoom", .id = "us.zoom.Transcode", .why = "inside its bundle"},
    {.vendor = "zoom", .id = "us.zoom.ZoomAutoUpdater", .why = "its updater"},
    {.vendor = "zoom", .id = "us.zoom.airhost", .why = "inside its bundle"},
    {.vendor = "zoom", .id = "us.zoom.caphost", .why = "inside its bundle"},
});
// clang-format on

TEST(ProfileRecognition, OneProfileIsOneProduct) {
  std::set<std::pair<std::string_view, std::string_view>> needed;
  for (const VendorProfile& profile : registry().profiles()) {
    const std::vector<std::string>& identifiers = profile.match.bundleIDs;
    for (std::size_t i = 1; i < identifiers.size(); ++i) {
      if (identifiers[i].starts_with(identifiers[0] + ".helper")) continue;
      const auto row = std::find_if(kOneProduct.begin(), kOneProduct.end(), [&](const OneProduct& one) {
        return one.vendor == profile.id && one.id == identifiers[i];
      });
      if (row != kOneProduct.end()) needed.emplace(row->vendor, row->id);
      EXPECT_NE(row, kOneProduct.end()) << productOf(profile) << ": a product of its own? " << identifiers[i];
    }
  }
  EXPECT_EQ(needed.size(), kOneProduct.size());
}

TEST(ProfileRecognition, TheEditionsAndProductsOfAVendorAreToldApart) {
  const std::map<std::string, std::string> products{
      {"com.hnc.Discord", "Discord"},
      {"com.hnc.DiscordCanary", "Discord Canary"},
      {"com.microsoft.VSCode", "Visual Studio Code"},
      {"com.microsoft.VSCodeInsiders", "Visual Studio Code Insiders"},
      {"com.microsoft.teams", "Microsoft Teams classic"},
      {"com.microsoft.teams2", "Microsoft Teams"},
      {"com.jetbrains.pycharm", "PyCharm"},
      {"com.jetbrains.pycharm-EAP", "PyCharm"},
      {"com.jetbrains.pycharm.ce", "PyCharm CE"},
      {"com.jetbrains.intellij", "IntelliJ IDEA"},
      {"com.jetbrains.toolbox", "JetBrains Toolbox"},
      {"com.aptakube.Aptakube", "Aptakube"},
      {"io.podmandesktop.PodmanDesktop", "Podman Desktop"},
      {"org.python.IDLE", "Python from python.org"},
      {"org.spyder-ide.Spyder", "Spyder"},
      {"com.continuum.io", "Anaconda"},
      {"org.openjdk.jmc", "JDK Mission Control"},
      {"com.backblaze.BackblazeRestore", "Backblaze Restore"},
      {"com.operasoftware.OperaGX", "Opera GX"},
      {"com.apple.SafariTechnologyPreview", "Safari Technology Preview"},
      {"com.unity3d.unityhub", "Unity Hub"},
      {"com.blizzard.worldofwarcraft", "World of Warcraft"},
      {"com.webex.meetingmanager", "Webex Meetings"},
      {"Cisco-Systems.Spark", "Webex"},
  };
  for (const auto& [identifier, product] : products) {
    const AppEntity app{.name = "App", .bundleIdentifier = identifier, .bundleURL = FileURL("/Applications/App.app")};
    std::vector<std::string> names;
    for (const VendorProfile& profile : registry().matchingProfiles(app)) names.push_back(profile.displayName);
    EXPECT_EQ(names, std::vector{product}) << identifier;
  }
}

// Apps of other makers that happen to be called like a product, or with one of its words.
TEST(ProfileRecognition, AnEverydayNameMatchesNoProfile) {
  std::set<std::string> names{"Office",    "Teams", "Mail",   "Signal", "Steam", "Origin",    "Unity",
                              "Rider",     "Fleet", "Space",  "Aqua",   "Slack", "Discord",   "Docker",
                              "Heroic",    "Lens",  "Box",    "Opera",  "Arc",   "Multipass", "Headlamp",
                              "CrossOver", "Java",  "Python", "Webex",  "Zoom",  "Dropbox",   "Drive"};
  for (const VendorProfile& profile : registry().profiles()) {
    names.insert(profile.match.nameContains.begin(), profile.match.nameContains.end());
  }
  for (const std::string& name : names) {
    for (const std::string& title : {"My " + name, name + "s", name + " Notes", "X" + name}) {
      const AppEntity app{.name = title, .bundleURL = FileURL("/Applications/" + title + ".app")};
      EXPECT_THAT(registry().matchingProfiles(app), IsEmpty()) << title;
    }
    if (name.find(' ') != std::string::npos || name == "diffusionbee") continue;
    const AppEntity app{
        .name = name, .bundleIdentifier = "com.example.x", .bundleURL = FileURL("/Applications/" + name + ".app")};
    EXPECT_THAT(registry().matchingProfiles(app), IsEmpty()) << name;
  }
}

// "diffusionbee" is a coined word, and its app has no known identifier.
TEST(ProfileRecognition, NameFragmentsAreTwoWordsOrCoined) {
  for (const VendorProfile& profile : registry().profiles()) {
    for (const std::string& part : profile.match.nameContains) {
      EXPECT_TRUE(part.find(' ') != std::string::npos || part == "diffusionbee") << productOf(profile) << ": " << part;
    }
    if (profile.match.nameContains.empty()) continue;
    for (const std::string& bundle : appBundleNames(profile)) {
      const std::size_t star = bundle.find('*');
      EXPECT_TRUE(star == std::string::npos || bundle[star - 1] == ' ') << productOf(profile) << ": " << bundle;
    }
  }
}

}  // namespace
}  // namespace quarn::profile_recognition_tests
