#include "QuarnCore/discovery/StandardLocations.h"

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "QuarnCore/discovery/LibraryFolders.h"
#include "QuarnModels/ArtifactIdentity.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/resources/Localization.h"
#include "QuarnPlatform/text/Text.h"
#include "QuarnPlatform/text/TextComposition.h"

namespace quarn {
namespace {

/// The item to look for in a location.
enum class LookFor : std::uint8_t {
  bundleID,        ///< the item named by the bundle identifier
  bundleIDFolder,  ///< the same, with a URL marked as a folder
  savedState,      ///< the item with the bundle identifier and ".savedState" as name
  propertyLists,   ///< all property lists with the bundle identifier as prefix, in one artifact
  titledAppName,   ///< the item with the app's name, which completes the title
  titledBundleID,  ///< the item with the bundle identifier, which completes the title
};

struct Location {
  LibraryFolder folder;
  LookFor lookFor;
  double confidence;
  std::string_view title;
  std::string_view explanation;
};

// clang-format off
constexpr std::array kUserLocations{
    Location{.folder = library::kCaches, .lookFor = LookFor::bundleIDFolder,
             .confidence = 0.95, .title = "Cache",
             .explanation = "Cache data: rebuilt by the app and usually safe to remove."},
    Location{.folder = library::kLogs, .lookFor = LookFor::bundleID,
             .confidence = 0.9, .title = "Logs",
             .explanation = "Logs: helpful for debugging, usually safe to remove."},
    Location{.folder = library::kPreferences, .lookFor = LookFor::propertyLists,
             .confidence = 0.95, .title = "Preferences",
             .explanation = "App settings: deleting resets behavior."},
    Location{.folder = library::kPreferencesByHost, .lookFor = LookFor::propertyLists,
             .confidence = 0.7, .title = "Preferences (ByHost)",
             .explanation = "Device/host-specific app settings."},
    Location{.folder = library::kSavedStates, .lookFor = LookFor::savedState,
             .confidence = 0.9, .title = "Saved State",
             .explanation = "Window state/restore info: recreated on next launch."},
    Location{.folder = library::kContainers, .lookFor = LookFor::bundleID,
             .confidence = 0.9, .title = "Container",
             .explanation = "Sandbox container: may contain user and app data."},
    Location{.folder = library::kScripts, .lookFor = LookFor::bundleID,
             .confidence = 0.75, .title = "Application Scripts",
             .explanation = "Automation scripts: rarely critical, but app-specific."},
    Location{.folder = library::kHTTPStorages, .lookFor = LookFor::bundleID,
             .confidence = 0.7, .title = "HTTPStorages",
             .explanation = "Web/session cache: rebuilt as needed."},
    Location{.folder = library::kApplicationSupport, .lookFor = LookFor::titledAppName,
             .confidence = 0.7, .title = "Application Support (",
             .explanation = "App data/projects: may contain important content."},
    Location{.folder = library::kApplicationSupport, .lookFor = LookFor::titledBundleID,
             .confidence = 0.8, .title = "Application Support (",
             .explanation = "App data for the bundle ID: may contain important content."},
    Location{.folder = library::kLaunchAgents, .lookFor = LookFor::propertyLists,
             .confidence = 0.6, .title = "LaunchAgents",
             .explanation = "Auto-launch job: starts background processes."},
};
static_assert(kUserLocations.size() == 11);

constexpr std::array kSystemLocations{
    Location{.folder = library::kSystemCaches, .lookFor = LookFor::bundleIDFolder,
             .confidence = 0.55, .title = "System Cache",
             .explanation = "System-wide cache data: usually safe to remove, but can affect multiple users."},
    Location{.folder = library::kSystemLogs, .lookFor = LookFor::bundleID,
             .confidence = 0.55, .title = "System Logs",
             .explanation = "System-wide logs: usually safe to remove."},
    Location{.folder = library::kSystemPreferences, .lookFor = LookFor::propertyLists,
             .confidence = 0.55, .title = "System Preferences",
             .explanation = "System-wide app settings: deleting resets behavior and can affect multiple users."},
    Location{.folder = library::kSystemApplicationSupport, .lookFor = LookFor::titledAppName,
             .confidence = 0.3, .title = "System Application Support (",
             .explanation = "System-wide app data: can be shared by multiple users/apps."},
    Location{.folder = library::kSystemApplicationSupport, .lookFor = LookFor::titledBundleID,
             .confidence = 0.35, .title = "System Application Support (",
             .explanation = "System-wide app data: can be shared by multiple users/apps."},
};
static_assert(kSystemLocations.size() == 5);

struct SharedVendorFolder {
  std::string_view namePart;
  std::string_view bundleIDPrefix;
  std::string_view folder;
  std::string_view title;
  std::string_view explanation;
};
constexpr std::array kSharedVendorFolders{
    SharedVendorFolder{.namePart = "adobe", .bundleIDPrefix = "com.adobe.",
                       .folder = "Library/Application Support/Adobe",
                       .title = "Adobe (Shared)",
                       .explanation = "Shared Adobe folder: contains data for multiple apps; don’t delete automatically."},
    SharedVendorFolder{.namePart = "microsoft", .bundleIDPrefix = "com.microsoft.",
                       .folder = "Library/Application Support/Microsoft",
                       .title = "Microsoft (Shared)",
                       .explanation = "Shared Microsoft folder: contains data for multiple apps; don’t delete automatically."},
};
static_assert(kSharedVendorFolders.size() == 2);
// clang-format on

Artifact makeArtifact(const Location& location, ArtifactScope scope, std::vector<FileURL> urls, std::string title) {
  return identified({.kind = location.folder.kind,
                     .dataClass = location.folder.dataClass,
                     .scope = scope,
                     .urls = std::move(urls),
                     .riskLevel = location.folder.risk,
                     .confidence = location.confidence,
                     .title = std::move(title),
                     .explanation = localized(location.explanation)});
}

// Identifiers and names are untrusted. If one is empty or climbs, a folder that all apps share, or one outside the
// location, would look like the app's own.
bool namesItemInside(std::string_view name) {
  const std::vector<std::string_view> names = path::names(name);
  return !names.empty() && std::none_of(names.begin(), names.end(), [](std::string_view component) {
    return component == "." || component == "..";
  });
}

std::optional<FileURL> existingItem(const FileURL& folder, std::string_view name, const FileManager& files) {
  if (!namesItemInside(name)) return std::nullopt;
  return files.existingURL(folder.appending(name).path());
}

bool isPropertyList(const FileURL& url) { return Text::lowercased(url.pathExtension()) == "plist"; }

/// The property lists in a folder, searched by the beginning of the name.
class PropertyListNames {
 public:
  PropertyListNames(const FileURL& folder, const FileManager& files) {
    for (const DirectoryEntry& entry : files.contentsOrNone(folder, HiddenItems::include)) {
      if (isPropertyList(entry.url)) urls_.push_back(entry.url);
    }
    for (std::uint32_t i = 0; i < urls_.size(); ++i) {
      byName_.emplace_back(composed(Text::validUTF8(urls_[i].lastPathComponent())), i);
    }
    std::sort(byName_.begin(), byName_.end());
  }

  // Equivalent names have the same composed bytes. A combining mark may follow the prefix, so `Text::hasPrefix`
  // decides.
  [[nodiscard]] std::vector<FileURL> beginningWith(const std::string& prefix) const {
    const std::string key = composed(Text::validUTF8(prefix));
    std::vector<std::uint32_t> found;
    auto at = std::lower_bound(byName_.begin(), byName_.end(), std::pair(key, std::uint32_t{0}));
    for (; at != byName_.end() && at->first.starts_with(key); ++at) {
      if (Text::hasPrefix(urls_[at->second].lastPathComponent(), prefix)) found.push_back(at->second);
    }
    std::sort(found.begin(), found.end());
    std::vector<FileURL> result;
    result.reserve(found.size());
    for (const std::uint32_t index : found) result.push_back(urls_[index]);
    return result;
  }

 private:
  std::vector<FileURL> urls_;
  std::vector<std::pair<std::string, std::uint32_t>> byName_;
};

class LocationScan {
 public:
  LocationScan(const AppEntity& app, const FileManager& files, const PropertyListFinder& propertyLists)
      : app_(app), files_(files), propertyLists_(propertyLists) {}

  std::vector<Artifact> run(std::span<const Location> locations, ArtifactScope scope) const {
    std::vector<Artifact> artifacts;
    if (!app_.bundleIdentifier || !namesItemInside(*app_.bundleIdentifier)) return artifacts;
    for (const Location& location : locations) {
      std::vector<FileURL> urls = itemsAt(location);
      if (!urls.empty()) artifacts.push_back(makeArtifact(location, scope, std::move(urls), title(location)));
    }
    return artifacts;
  }

 private:
  std::vector<FileURL> itemsAt(const Location& location) const {
    const std::string_view path = location.folder.path;
    const FileURL folder = path.starts_with('/') ? FileURL(path) : files_.homeDirectory().appending(path);
    if (location.lookFor == LookFor::propertyLists) return propertyLists_(folder, *app_.bundleIdentifier);
    const std::optional<FileURL> item = existingItem(folder, itemName(location), files_);
    if (!item) return {};
    if (location.lookFor == LookFor::bundleIDFolder) return {FileURL(item->path(), URLKind::directory)};
    return {*item};
  }

  std::string itemName(const Location& location) const {
    switch (location.lookFor) {
      case LookFor::titledAppName: return app_.name;
      case LookFor::savedState: return *app_.bundleIdentifier + ".savedState";
      default: return *app_.bundleIdentifier;
    }
  }

  std::string title(const Location& location) const {
    const bool completed = location.lookFor == LookFor::titledAppName || location.lookFor == LookFor::titledBundleID;
    return std::string(location.title) + (completed ? itemName(location) + ")" : "");
  }

  const AppEntity& app_;
  const FileManager& files_;
  const PropertyListFinder& propertyLists_;
};

}  // namespace

Artifact appBundleArtifact(const AppEntity& app, const FileManager& files) {
  const bool isUsers = files.standardizedPath(app.bundleURL).starts_with(files.standardizedPath(files.homeDirectory()));
  return identified({.kind = ArtifactKind::appBundle,
                     .dataClass = ArtifactDataClass::app,
                     .scope = isUsers ? ArtifactScope::user : ArtifactScope::system,
                     .urls = {app.bundleURL},
                     .riskLevel = RiskLevel::safe,
                     .confidence = 1.0,
                     .title = "App"});
}

PropertyListFinder propertyListFinder(const FileManager& files) {
  return [files](const FileURL& folder, const std::string& bundleID) {
    std::vector<FileURL> found;
    for (DirectoryEntry& entry : files.contentsOrNone(folder, HiddenItems::include)) {
      if (!Text::hasPrefix(entry.url.lastPathComponent(), bundleID)) continue;
      if (isPropertyList(entry.url)) found.push_back(std::move(entry.url));
    }
    return found;
  };
}

PropertyListFinder rememberingPropertyListFinder(const FileManager& files) {
  const auto known = std::make_shared<std::unordered_map<std::string, PropertyListNames>>();
  return [files, known](const FileURL& folder, const std::string& bundleID) {
    auto at = known->find(folder.path());
    if (at == known->end()) at = known->emplace(folder.path(), PropertyListNames(folder, files)).first;
    return at->second.beginningWith(bundleID);
  };
}

std::vector<Artifact> userLocationArtifacts(const AppEntity& app, const FileManager& files,
                                            const PropertyListFinder& propertyLists) {
  return LocationScan(app, files, propertyLists).run(kUserLocations, ArtifactScope::user);
}

std::vector<Artifact> systemLocationArtifacts(const AppEntity& app, const FileManager& files,
                                              const PropertyListFinder& propertyLists) {
  return LocationScan(app, files, propertyLists).run(kSystemLocations, ArtifactScope::system);
}

std::vector<Artifact> groupContainerArtifacts(const EntitlementsInfo& entitlements, const FileManager& files) {
  const FileURL folder = files.homeDirectory().appending("Library/Group Containers");
  std::vector<Artifact> artifacts;
  for (const std::string& group : entitlements.applicationGroups) {
    const std::optional<FileURL> container = existingItem(folder, group, files);
    if (!container) continue;
    artifacts.push_back(identified(
        {.kind = ArtifactKind::groupContainer,
         .dataClass = ArtifactDataClass::shared,
         .scope = ArtifactScope::user,
         .urls = {*container},
         .riskLevel = RiskLevel::danger,
         .confidence = 0.95,
         .title = "Group Container (" + group + ")",
         .explanation = localized("Shared app container: may contain data for multiple apps; review carefully.")}));
  }
  return artifacts;
}

std::vector<Artifact> sharedVendorArtifacts(const AppEntity& app, const FileManager& files) {
  const std::string name = Text::normalizedKey(app.name);
  const std::string bundleID = Text::normalizedKey(app.bundleIdentifier.value_or(""));
  std::vector<Artifact> artifacts;
  for (const SharedVendorFolder& vendor : kSharedVendorFolders) {
    if (!Text::contains(name, vendor.namePart) && !Text::hasPrefix(bundleID, vendor.bundleIDPrefix)) continue;
    const std::optional<FileURL> folder = existingItem(files.homeDirectory(), vendor.folder, files);
    if (!folder) continue;
    artifacts.push_back(identified({.kind = ArtifactKind::applicationSupport,
                                    .dataClass = ArtifactDataClass::shared,
                                    .scope = ArtifactScope::user,
                                    .urls = {*folder},
                                    .riskLevel = RiskLevel::danger,
                                    .confidence = 0.35,
                                    .title = std::string(vendor.title),
                                    .explanation = localized(vendor.explanation)}));
  }
  return artifacts;
}

}  // namespace quarn
