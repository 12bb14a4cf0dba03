#include <algorithm>
#include <array>
#include <set>
#include <string_view>

#include <gmock/gmock.h>

#include "QuarnCore/vendors/VendorPathResolver.h"
#include "QuarnPlatform/paths/Path.h"
#include "tests/support/MacVolume.h"
#include "tests/support/VendorFacts.h"
#include "tests/support/VendorVolume.h"

// The profiles against public package metadata. What the metadata lists and no profile of the vendor knows stands in a
// table below with its reason; a row that is no longer needed fails.

namespace quarn::vendor_facts_tests {
namespace {

enum class Why {
  knownByParts,    ///< a profile names what lies inside, or a narrower pattern, because the parts differ in class
  anotherProduct,  ///< belongs to a product that no profile of this vendor is about
  helper,          ///< an identifier of a helper, an extension or a container; no app in /Applications has it
  notAPath,        ///< the place depends on the package manager
  systemFolder,    ///< a folder or a file that other programs or the system own
};

struct Exception {
  std::string_view vendor;
  std::string_view pattern;  // "*" stands for any text, "/" too
  Why why;
};

// clang-format off
constexpr auto kUncoveredPaths = std::to_array<Exception>({
    {.vendor = "android-studio", .pattern = "{HOMEBREW_PREFIX}/*", .why = Why::notAPath},
    {.vendor = "android-studio", .pattern = "~/.android", .why = Why::knownByParts},
    {.vendor = "android-studio", .pattern = "~/Library/Android", .why = Why::knownByParts},
    {.vendor = "android-studio", .pattern = "~/Library/Caches/Google/*", .why = Why::knownByParts},
    {.vendor = "avast", .pattern = "*rowser*", .why = Why::anotherProduct},
    {.vendor = "backblaze", .pattern = "*/com.backblaze.*.sfl*", .why = Why::knownByParts},
    {.vendor = "box-drive", .pattern = "~/.Box_*", .why = Why::systemFolder},
    {.vendor = "crossover", .pattern = "~/Library/Application Support/CrossOver", .why = Why::knownByParts},
    {.vendor = "crossover", .pattern = "~/Library/Preferences/com.codeweavers.*", .why = Why::knownByParts},
    {.vendor = "diffusionbee", .pattern = "~/.diffusionbee", .why = Why::knownByParts},
    {.vendor = "discord", .pattern = "~/Library/Application Support/discord*", .why = Why::knownByParts},
    {.vendor = "discord", .pattern = "~/Library/Application%20Support/discord", .why = Why::notAPath},
    {.vendor = "docker-desktop", .pattern = "/usr/local/bin/*.backup", .why = Why::systemFolder},
    {.vendor = "docker-desktop", .pattern = "~/.docker", .why = Why::knownByParts},
    {.vendor = "dropbox", .pattern = "*.com.getdropbox.dropbox.sync", .why = Why::knownByParts},
    {.vendor = "dropbox", .pattern = "*Dash*", .why = Why::anotherProduct},
    {.vendor = "dropbox", .pattern = "*com.dash", .why = Why::anotherProduct},
    {.vendor = "epic-games-launcher", .pattern = "~/Library/Application Support/Epic", .why = Why::knownByParts},
    {.vendor = "google-drive", .pattern = "*group.com.google.drivefs", .why = Why::knownByParts},
    {.vendor = "heroic", .pattern = "~/Library/Application Support/heroic", .why = Why::knownByParts},
    {.vendor = "itch", .pattern = "~/Library/Application Support/itch", .why = Why::knownByParts},
    {.vendor = "jetbrains", .pattern = "~/Library/Application Support/JetBrains/GoLand", .why = Why::notAPath},
    {.vendor = "jetbrains", .pattern = "~/Library/Application Support/JetBrains/Toolbox", .why = Why::knownByParts},
    {.vendor = "jetbrains", .pattern = "~/Library/Caches/com.apple.*", .why = Why::systemFolder},
    {.vendor = "jetbrains", .pattern = "~/Library/Caches/*", .why = Why::knownByParts},
    {.vendor = "malwarebytes", .pattern = "*/Preferences/com.malwarebytes.mbam.frontend.*", .why = Why::knownByParts},
    {.vendor = "megasync", .pattern = "~/.megaCmd", .why = Why::anotherProduct},
    {.vendor = "megasync", .pattern = "*com.company.MEGA*", .why = Why::anotherProduct},
    {.vendor = "megasync", .pattern = "/Applications/MEGA*.app", .why = Why::anotherProduct},
    {.vendor = "megasync", .pattern = "/usr/local/*", .why = Why::anotherProduct},
    {.vendor = "microsoft-onedrive", .pattern = "*/*.O*", .why = Why::knownByParts},
    {.vendor = "microsoft-outlook", .pattern = "*/UBF8T346G9.Office", .why = Why::knownByParts},
    {.vendor = "microsoft-outlook", .pattern = "*", .why = Why::anotherProduct},
    {.vendor = "microsoft-teams", .pattern = "*com.microsoft.teams*", .why = Why::knownByParts},
    {.vendor = "mobile-sync", .pattern = "*iMazing*", .why = Why::anotherProduct},
    {.vendor = "multipass", .pattern = "*/com.canonical.multipass", .why = Why::knownByParts},
    {.vendor = "multipass", .pattern = "{HOMEBREW_PREFIX}/*", .why = Why::notAPath},
    {.vendor = "nextcloud-desktop", .pattern = "*alk*", .why = Why::anotherProduct},
    {.vendor = "nodejs-toolchain", .pattern = "*volta*", .why = Why::anotherProduct},
    {.vendor = "orbstack", .pattern = "~/.orbstack", .why = Why::knownByParts},
    {.vendor = "orbstack", .pattern = "*.dev.orbstack", .why = Why::knownByParts},
    {.vendor = "parallels-desktop", .pattern = "*oolbox*", .why = Why::anotherProduct},
    {.vendor = "parallels-desktop", .pattern = "*com.2X.Client.Mac", .why = Why::anotherProduct},
    {.vendor = "parallels-desktop", .pattern = "*com.parallels.*esktop*", .why = Why::knownByParts},
    {.vendor = "python-toolchain", .pattern = "*{*", .why = Why::notAPath},
    {.vendor = "python-toolchain", .pattern = "*/mini*-envs", .why = Why::notAPath},
    {.vendor = "python-toolchain", .pattern = "~/.conda", .why = Why::knownByParts},
    {.vendor = "python-toolchain", .pattern = "/Applications/REQUIRED.app", .why = Why::notAPath},
    {.vendor = "python-toolchain", .pattern = "/Applications/Spyder *.app", .why = Why::knownByParts},
    {.vendor = "python-toolchain", .pattern = "/Library/spyder-*", .why = Why::anotherProduct},
    {.vendor = "rancher-desktop", .pattern = "~/Library/*", .why = Why::knownByParts},
    {.vendor = "rancher-desktop", .pattern = "/private/var/run/*", .why = Why::systemFolder},
    {.vendor = "safari", .pattern = "*com.apple.SafariTechnologyPreview*", .why = Why::knownByParts},
    {.vendor = "slack", .pattern = "~/Library/*", .why = Why::knownByParts},
    {.vendor = "sophos", .pattern = "/usr/*", .why = Why::systemFolder},
    {.vendor = "steam", .pattern = "~/Library/Application Support/Steam", .why = Why::knownByParts},
    {.vendor = "telegram", .pattern = "*/*.ru.keepcoder.Telegram*", .why = Why::knownByParts},
    {.vendor = "thunderbird", .pattern = "*hunderbird*", .why = Why::knownByParts},
    {.vendor = "time-machine", .pattern = "*TimeMachine*", .why = Why::anotherProduct},
    {.vendor = "time-machine", .pattern = "*timemachineeditor*", .why = Why::anotherProduct},
    {.vendor = "unity", .pattern = "*/Unity*", .why = Why::knownByParts},
    {.vendor = "unreal-engine", .pattern = "~/Library/Application Support/Epic", .why = Why::knownByParts},
    {.vendor = "unreal-engine", .pattern = "*/EpicGamesLauncher", .why = Why::anotherProduct},
    {.vendor = "unreal-engine", .pattern = "*/com.epicgames.*", .why = Why::anotherProduct},
    {.vendor = "utm", .pattern = "*com.utmapp*", .why = Why::knownByParts},
    {.vendor = "vagrant", .pattern = "~/.vagrant.d", .why = Why::knownByParts},
    {.vendor = "vagrant", .pattern = "*Vagrant-Manager*", .why = Why::anotherProduct},
    {.vendor = "virtualbox", .pattern = "/Library/Application Support/VirtualBox", .why = Why::knownByParts},
    {.vendor = "visual-studio-code", .pattern = "~/.vscode", .why = Why::knownByParts},
    {.vendor = "visual-studio-code", .pattern = "~/.vscode-insiders", .why = Why::knownByParts},
    {.vendor = "visual-studio-code", .pattern = "~/Library/Application Support/Code*", .why = Why::knownByParts},
    {.vendor = "visual-studio-code", .pattern = "*", .why = Why::anotherProduct},
    {.vendor = "vmware-fusion", .pattern = "/etc/paths.d/com.vmware.fusion.public", .why = Why::notAPath},
    {.vendor = "vmware-fusion", .pattern = "/Library/Application Support/VMware", .why = Why::knownByParts},
    {.vendor = "vmware-fusion", .pattern = "*", .why = Why::anotherProduct},
    {.vendor = "webex", .pattern = "/Applications/Webex", .why = Why::notAPath},
    {.vendor = "whatsapp", .pattern = "*net.whatsapp*", .why = Why::knownByParts},
    {.vendor = "zoom", .pattern = "~/Desktop/Zoom", .why = Why::systemFolder},
    {.vendor = "zoom", .pattern = "*/CloudDocs/*", .why = Why::systemFolder},
    {.vendor = "zoom", .pattern = "*/PerSiteZoomPreferences.plist", .why = Why::anotherProduct},
    {.vendor = "zoom", .pattern = "*ZoomClient3rd", .why = Why::knownByParts},
    {.vendor = "zoom", .pattern = "*/us.zoom*.sfl*", .why = Why::knownByParts},
});

constexpr auto kUnrecognisedIdentifiers = std::to_array<Exception>({
    {.vendor = "avast", .pattern = "*rowser", .why = Why::anotherProduct},
    {.vendor = "battle-net", .pattern = "net.battle*", .why = Why::helper},
    {.vendor = "box-drive", .pattern = "com.box.*", .why = Why::helper},
    {.vendor = "discord", .pattern = "*.helper*", .why = Why::helper},
    {.vendor = "docker-desktop", .pattern = "group.com.docker", .why = Why::helper},
    {.vendor = "dropbox", .pattern = "io.hypertools.Dropbox-Dash", .why = Why::anotherProduct},
    {.vendor = "dropbox", .pattern = "com.*dropbox.*", .why = Why::helper},
    {.vendor = "google-drive", .pattern = "*.findersync", .why = Why::helper},
    {.vendor = "itch", .pattern = "*.helper", .why = Why::helper},
    {.vendor = "java-toolchain", .pattern = "*openjdk*", .why = Why::helper},
    {.vendor = "jetbrains", .pattern = "jetbrains.*", .why = Why::helper},
    {.vendor = "jetbrains", .pattern = "*.renderer", .why = Why::helper},
    {.vendor = "kubernetes-local", .pattern = "*.helper", .why = Why::helper},
    {.vendor = "megasync", .pattern = "com.company.MEGA", .why = Why::anotherProduct},
    {.vendor = "megasync", .pattern = "*.MEGAShellExtFinder", .why = Why::helper},
    {.vendor = "microsoft-onedrive", .pattern = "com.microsoft.OneDrive*", .why = Why::helper},
    {.vendor = "microsoft-outlook", .pattern = "com.microsoft.*", .why = Why::anotherProduct},
    {.vendor = "microsoft-teams", .pattern = "com.microsoft.autoupdate2", .why = Why::anotherProduct},
    {.vendor = "nextcloud-desktop", .pattern = "com.nextcloud.talk.mac", .why = Why::anotherProduct},
    {.vendor = "nextcloud-desktop", .pattern = "*Ext", .why = Why::helper},
    {.vendor = "nodejs-toolchain", .pattern = "com.volta.net", .why = Why::anotherProduct},
    {.vendor = "opera", .pattern = "com.operasoftware.Installer.*", .why = Why::helper},
    {.vendor = "parallels-desktop", .pattern = "*oolbox*", .why = Why::anotherProduct},
    {.vendor = "parallels-desktop", .pattern = "com.2X.Client.Mac", .why = Why::anotherProduct},
    {.vendor = "parallels-desktop", .pattern = "*.LSSharedFileList", .why = Why::helper},
    {.vendor = "resilio-sync", .pattern = "*.FinderExtension", .why = Why::helper},
    {.vendor = "seafile-client", .pattern = "*.findersync", .why = Why::helper},
    {.vendor = "signal", .pattern = "*.helper", .why = Why::helper},
    {.vendor = "slack", .pattern = "com.tinyspeck.slackmacgap.*", .why = Why::helper},
    {.vendor = "synology-drive", .pattern = "*com.synology.*", .why = Why::helper},
    {.vendor = "telegram", .pattern = "*.TelegramShare", .why = Why::helper},
    {.vendor = "time-machine", .pattern = "co*", .why = Why::anotherProduct},
    {.vendor = "unity", .pattern = "*.helper", .why = Why::helper},
    {.vendor = "unreal-engine", .pattern = "com.epicgames.*", .why = Why::anotherProduct},
    {.vendor = "utm", .pattern = "com.utmapp", .why = Why::helper},
    {.vendor = "vagrant", .pattern = "lanayo.Vagrant-Manager", .why = Why::anotherProduct},
    {.vendor = "visual-studio-code", .pattern = "*.helper", .why = Why::helper},
    {.vendor = "visual-studio-code", .pattern = "com.vscodium*", .why = Why::anotherProduct},
    {.vendor = "vmware-fusion", .pattern = "*.LSSharedFileList", .why = Why::helper},
    {.vendor = "vmware-fusion", .pattern = "com.vmware.*", .why = Why::anotherProduct},
    {.vendor = "webex", .pattern = "*com.*webex*", .why = Why::helper},
    {.vendor = "whatsapp", .pattern = "*net.whatsapp.*", .why = Why::helper},
    {.vendor = "zoom", .pattern = "us.zoom*", .why = Why::helper},
});
// clang-format on

// The rows of a table that were needed.
class Exceptions {
 public:
  template <std::size_t Count>
  explicit Exceptions(const std::array<Exception, Count>& rows) : rows_(rows.begin(), rows.end()), used_(Count) {}

  const Exception* find(std::string_view vendor, std::string_view text) {
    for (std::size_t i = 0; i < rows_.size(); ++i) {
      if (rows_[i].vendor != vendor || !VendorPathResolver::matches(rows_[i].pattern, text)) continue;
      used_[i] = true;
      return &rows_[i];
    }
    return nullptr;
  }
  void expectAllUsed() const {
    for (std::size_t i = 0; i < rows_.size(); ++i) {
      EXPECT_TRUE(used_[i]) << rows_[i].vendor << ": nothing needs the exception for " << rows_[i].pattern;
    }
  }

 private:
  std::vector<Exception> rows_;
  std::vector<bool> used_;
};

const VendorProfileRegistry& registry() {
  static const VendorProfileRegistry shipped = shippedVendorProfiles();
  return shipped;
}

std::vector<VendorProfile> profilesOf(const std::string& vendor) {
  std::vector<VendorProfile> found;
  for (const VendorProfile& profile : registry().profiles()) {
    if (profile.id == vendor) found.push_back(profile);
  }
  return found;
}

bool isPath(std::string_view text) {
  return (text.starts_with('/') || text.starts_with("~/")) && text.find_first_of("{}%") == std::string_view::npos;
}

bool isCovered(const std::string& path, const std::vector<Artifact>& artifacts) {
  return std::any_of(artifacts.begin(), artifacts.end(), [&](const Artifact& artifact) {
    return std::any_of(artifact.urls.begin(), artifact.urls.end(),
                       [&](const FileURL& url) { return path::isInside(path, url.path()); });
  });
}

// Whether the profiles name something in the listed folder, or items that the listed pattern would match.
bool isKnownByParts(const std::string& listed, const std::vector<VendorProfile>& profiles) {
  for (const VendorProfile& profile : profiles) {
    for (const std::string& pattern : patternsOf(profile)) {
      if (VendorPathResolver::matches(listed, pattern) || VendorPathResolver::matches(listed + "/*", pattern)) {
        return true;
      }
    }
  }
  return false;
}

TEST(VendorFactsAndProfiles, EveryVendorWithFactsHasAProfile) {
  const std::vector<VendorFacts> all = vendorFacts();
  EXPECT_EQ(all.size(), 91U);
  for (const VendorFacts& facts : all) EXPECT_FALSE(profilesOf(facts.id).empty()) << facts.id;
}

TEST(VendorFactsAndProfiles, EveryListedFileOnDiskIsFoundOrExcepted) {
  Exceptions exceptions(kUncoveredPaths);
  std::size_t covered = 0;
  for (const VendorFacts& facts : vendorFacts()) {
    MacVolume volume;
    const std::vector<VendorProfile> profiles = profilesOf(facts.id);
    std::vector<std::string> listed;
    std::copy_if(facts.paths.begin(), facts.paths.end(), std::back_inserter(listed), isPath);
    (void)installPatterns(volume, listed, "2024.1");
    std::vector<Artifact> found;
    for (const VendorProfile& profile : profiles) {
      const std::vector<Artifact> some = profile.makeArtifacts(volume.files(), volume.url("~"));
      found.insert(found.end(), some.begin(), some.end());
    }
    for (const std::string& text : facts.paths) {
      const std::vector<std::string> paths = concretePaths(volume, {text}, "2024.1");
      if (isPath(text) && isCovered(paths.front(), found)) {
        ++covered;
        continue;
      }
      const Exception* exception = exceptions.find(facts.id, text);
      EXPECT_NE(exception, nullptr) << facts.id << " does not know " << text;
      if (exception == nullptr || exception->why != Why::knownByParts) continue;
      EXPECT_TRUE(isKnownByParts(text, profiles)) << facts.id << " knows no part of " << text;
    }
  }
  exceptions.expectAllUsed();
  EXPECT_GT(covered, 850U);
}

TEST(VendorFactsAndProfiles, EveryListedIdentifierIsRecognisedByOneProfileOrExcepted) {
  Exceptions exceptions(kUnrecognisedIdentifiers);
  for (const VendorFacts& facts : vendorFacts()) {
    for (const std::string& identifier : facts.bundleIDs) {
      if (identifier.ends_with('-')) continue;  // a prefix, not an identifier
      const AppEntity app{.name = "App", .bundleIdentifier = identifier, .bundleURL = FileURL("/Applications/App.app")};
      std::vector<std::string> vendors;
      for (const VendorProfile& profile : registry().matchingProfiles(app)) vendors.push_back(profile.id);
      if (vendors == std::vector{facts.id}) continue;
      EXPECT_LE(vendors.size(), 1U) << identifier;
      EXPECT_NE(exceptions.find(facts.id, identifier), nullptr) << facts.id << " does not recognise " << identifier;
    }
  }
  exceptions.expectAllUsed();
}

}  // namespace
}  // namespace quarn::vendor_facts_tests
