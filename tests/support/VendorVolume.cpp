#include "tests/support/VendorVolume.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <set>
#include <string_view>

#include "QuarnPlatform/paths/Path.h"
#include "tests/support/ProjectFolder.h"

namespace quarn {
namespace {

// clang-format off
constexpr std::array<std::string_view, 30> kFileEndings{
    "plist", "json", "binarycookies", "sfl1", "bom", "log", "lockfile", "txt", "xml", "yaml", "csv", "ips", "diag", "prefs",
    "crt", "key", "keystore", "pub", "vdf", "properties", "gradle", "jar", "pkg", "command", "conf", "toml", "db", "sqlite", "cfg", "ini"};
// clang-format on

std::string concrete(std::string_view pattern, const MacVolume& volume) {
  std::string path = volume.path(pattern);
  std::replace(path.begin(), path.end(), '*', '1');
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  return path;
}

std::vector<std::string> appBundles(const VendorProfile& profile, const MacVolume& volume) {
  std::vector<std::string> paths;
  for (const VendorProfile::ArtifactDefinition& definition : profile.artifacts) {
    if (definition.kind != ArtifactKind::appBundle) continue;
    for (const std::string& pattern : definition.paths) paths.push_back(concrete(pattern, volume));
  }
  return paths;
}

std::optional<std::string> identifierOf(const VendorProfile::Match& match) {
  if (!match.bundleIDs.empty()) return match.bundleIDs.front();
  if (match.bundleIDPrefixes.empty()) return std::nullopt;
  const std::string& prefix = match.bundleIDPrefixes.front();
  return prefix.ends_with('.') ? prefix + "tool" : prefix;
}

std::vector<std::string> allPaths(const VendorProfile& profile, const MacVolume& volume) {
  std::vector<std::string> paths;
  const auto add = [&](const std::vector<std::string>& patterns) {
    for (const std::string& pattern : patterns) {
      const std::string path = concrete(pattern, volume);
      if (std::find(paths.begin(), paths.end(), path) == paths.end()) paths.push_back(path);
    }
  };
  for (const VendorProfile::ArtifactDefinition& definition : profile.artifacts) add(definition.paths);
  for (const VendorProfile::CarveOut& carveOut : profile.carveOuts) add(carveOut.paths);
  return paths;
}

bool isFile(const std::string& path, const std::vector<std::string>& paths) {
  const bool holdsAnother = std::any_of(paths.begin(), paths.end(), [&](const std::string& other) {
    return other != path && path::isInside(other, path);
  });
  const std::string_view ending = path::extension(path);
  return !holdsAnother && std::find(kFileEndings.begin(), kFileEndings.end(), ending) != kFileEndings.end();
}

void install(MacVolume& volume, const std::string& path, const std::vector<std::string>& paths) {
  if (isFile(path, paths)) {
    volume.text(path, "settings");
  } else {
    volume.text(path + "/content", "content");
  }
}

}  // namespace

VendorProfileRegistry shippedVendorProfiles() {
  return VendorProfileRegistry::loadDefault(ResourceBundle(projectFolder() / "QuarnCore/vendors/resources"));
}

std::optional<AppEntity> vendorApp(const VendorProfile& profile, const MacVolume& volume) {
  const std::optional<std::string> identifier = identifierOf(profile.match);
  if (!identifier && profile.match.nameContains.empty()) return std::nullopt;
  const std::string name = identifier ? profile.displayName : profile.match.nameContains.front();
  const std::vector<std::string> bundles = appBundles(profile, volume);
  const FileURL bundle(bundles.empty() ? "/Applications/" + name + ".app" : bundles.front(), URLKind::directory);
  return AppEntity{
      .name = name, .bundleIdentifier = identifier, .bundleURL = bundle, .id = AppEntity::makeID(identifier, bundle)};
}

std::vector<std::string> installVendor(MacVolume& volume, const VendorProfile& profile) {
  const std::vector<std::string> paths = allPaths(profile, volume);
  const std::vector<std::string> bundles = appBundles(profile, volume);
  for (const std::string& path : paths) {
    if (std::find(bundles.begin(), bundles.end(), path) == bundles.end()) install(volume, path, paths);
  }
  const std::optional<AppEntity> app = vendorApp(profile, volume);
  for (const std::string& bundle : bundles) {
    volume.app(bundle, {.bundleIdentifier = app && app->bundleIdentifier ? *app->bundleIdentifier : "",
                        .name = app ? app->name : ""});
  }
  if (app && bundles.empty()) {
    volume.app(app->bundleURL.path(), {.bundleIdentifier = app->bundleIdentifier.value_or(""), .name = app->name});
  }
  return paths;
}

}  // namespace quarn
