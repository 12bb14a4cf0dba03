#include "tests/support/VendorVolume.h"

#include <algorithm>
#include <array>
#include <set>
#include <string_view>

#include "QuarnPlatform/paths/Path.h"

namespace quarn {
namespace {

// clang-format off
constexpr std::array<std::string_view, 30> kFileEndings{
    "plist", "json", "binarycookies", "sfl1", "bom", "log", "lockfile", "txt", "xml", "yaml", "csv", "ips", "diag", "prefs",
    "crt", "key", "keystore", "pub", "vdf", "properties", "gradle", "jar", "pkg", "command", "conf", "toml", "db", "sqlite", "cfg", "ini"};
// clang-format on

std::string concrete(std::string_view pattern, const MacVolume& volume, std::string_view star = "1") {
  std::string path = volume.path(pattern);
  for (std::size_t i = path.find('*'); i != std::string::npos; i = path.find('*', i + star.size())) {
    path.replace(i, 1, star);
  }
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

VendorProfileRegistry shippedVendorProfiles() { return VendorProfileRegistry::loadDefault(); }

std::string productOf(const VendorProfile& profile) { return profile.id + " (" + profile.displayName + ")"; }

std::vector<std::string> patternsOf(const VendorProfile& profile) {
  std::vector<std::string> patterns;
  const auto add = [&](const auto& source) {
    patterns.insert(patterns.end(), source.paths.begin(), source.paths.end());
  };
  for (const VendorProfile::ArtifactDefinition& definition : profile.artifacts) add(definition);
  for (const VendorProfile::CarveOut& carveOut : profile.carveOuts) add(carveOut);
  return patterns;
}

std::vector<std::string> appBundleNames(const VendorProfile& profile) {
  std::vector<std::string> names;
  for (const VendorProfile::ArtifactDefinition& definition : profile.artifacts) {
    if (definition.kind != ArtifactKind::appBundle) continue;
    for (const std::string& path : definition.paths) names.emplace_back(path::lastComponent(path));
  }
  return names;
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
  const std::vector<std::string> paths = concretePaths(volume, patternsOf(profile), "1");
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

std::vector<std::string> concretePaths(const MacVolume& volume, const std::vector<std::string>& patterns,
                                       std::string_view star) {
  std::vector<std::string> paths;
  std::set<std::string> seen;
  for (const std::string& pattern : patterns) {
    const std::string path = concrete(pattern, volume, star);
    if (seen.insert(path).second) paths.push_back(path);
  }
  return paths;
}

std::vector<std::string> installPatterns(MacVolume& volume, const std::vector<std::string>& patterns,
                                         std::string_view star) {
  const std::vector<std::string> paths = concretePaths(volume, patterns, star);
  for (const std::string& path : paths) {
    if (isFile(path, paths)) {
      volume.file(path);
    } else {
      volume.folder(path);
    }
  }
  return paths;
}

}  // namespace quarn
