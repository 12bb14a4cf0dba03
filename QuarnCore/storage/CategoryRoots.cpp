#include "QuarnCore/storage/CategoryRoots.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "QuarnCore/storage/MarkerDiscovery.h"
#include "QuarnCore/storage/SteamLibraries.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/paths/PathSet.h"
#include "QuarnPlatform/text/Text.h"
#include "QuarnSystem/UserHomes.h"

namespace quarn {
namespace {

using Category = StorageCategoryID;

// Paths without a leading "/" are relative to the home folder.
// clang-format off
constexpr std::array<std::string_view, 4> kApps{
    "/Applications", "/System/Applications", "/System/Library/CoreServices/Applications", "Applications",
};

constexpr std::string_view kICloudDrive = "Library/Mobile Documents/com~apple~CloudDocs";
constexpr std::string_view kCloudStorage = "Library/CloudStorage";
constexpr std::array<std::string_view, 8> kDocuments{
    "Desktop", "Documents", "Downloads", "Public",
    "Library/Mobile Documents/com~apple~CloudDocs/Downloads", "Library/Mobile Documents/com~apple~CloudDocs/Documents",
    "Library/Mobile Documents/com~apple~CloudDocs/Desktop", kICloudDrive,
};
constexpr std::array<std::string_view, 12> kKnownHomeEntries{
    "Applications", "Desktop", "Documents", "Downloads", "Games", "Library", "Movies", "Music", "Pictures", "Public",
    ".localized", ".DS_Store",
};

constexpr std::array<std::string_view, 5> kPhotos{
    "Pictures", "Movies", "Music", "/Library/Application Support/GarageBand", "/Library/Application Support/Logic",
};

constexpr std::array<std::string_view, 23> kCommunication{
    "Library/Mail",
    "Library/Messages",
    "Library/Application Support/Slack",
    "Library/Application Support/Microsoft/Teams",
    "Library/Application Support/WhatsApp",
    "Library/Application Support/Signal",
    "Library/Application Support/Telegram Desktop",
    "Library/Application Support/Thunderbird",
    "Library/Application Support/Discord",
    "Library/Thunderbird",
    "Library/Containers/com.apple.mail",
    "Library/Containers/com.apple.iChat",
    "Library/Containers/com.tinyspeck.slackmacgap",
    "Library/Containers/com.microsoft.teams",
    "Library/Containers/com.whatsapp.WhatsApp",
    "Library/Containers/WhatsApp",
    "Library/Containers/org.whispersystems.Signal",
    "Library/Containers/ru.keepcoder.Telegram",
    "Library/Containers/org.mozilla.thunderbird",
    "Library/Group Containers/group.com.apple.mail",
    "Library/Group Containers/group.com.apple.messages",
    "Library/Group Containers/group.com.microsoft.teams",
    "Library/Group Containers/group.com.tinyspeck.slackmacgap",
};

constexpr std::array<std::string_view, 29> kDevelopment{
    "Library/Developer",
    "Library/Application Support/Code",
    "Library/Application Support/Code - Insiders",
    "Library/Application Support/JetBrains",
    "Library/Caches/JetBrains",
    "Library/Application Support/Google/AndroidStudio",
    "Library/Caches/Google/AndroidStudio",
    ".vscode/extensions",
    ".vscode-insiders/extensions",
    ".gradle",
    ".m2",
    ".android",
    ".npm",
    ".cargo",
    ".rustup",
    ".pub-cache",
    ".composer",
    ".cocoapods",
    "Library/Caches/org.swift.swiftpm",
    "Library/Caches/CocoaPods",
    "Library/Caches/Homebrew",
    "Library/Caches/org.carthage.CarthageKit",
    "Library/Caches/org.carthage.Carthage",
    "Library/Application Support/Carthage",
    "Library/Containers/com.docker.docker",
    "Library/Application Support/Docker Desktop",
    "/Library/Developer",
    "/usr/local",
    "/opt/homebrew",
};

constexpr std::string_view kTrash = ".Trash";
constexpr std::array<std::string_view, 6> kSystemData{
    "Library", "/Library", "/System", "/private/var", "/usr", "/Users/Shared",
};
constexpr std::array<std::string_view, 2> kNoHiddenData{".DS_Store", ".localized"};

constexpr std::array<Category, 4> kCategoriesInSystemFolders{
    Category::communication, Category::development, Category::photos, Category::games,
};
constexpr std::array<std::string_view, 5> kOthersInSystemFolders{
    kCloudStorage, kICloudDrive, "/System/Applications", "/System/Library/CoreServices/Applications", "/usr/local",
};
// clang-format on

template <class Names>
bool holds(const Names& names, std::string_view name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

void append(std::vector<FileURL>& urls, const std::vector<FileURL>& more) {
  urls.insert(urls.end(), more.begin(), more.end());
}

}  // namespace

CategoryRoots::CategoryRoots(const StorageSignatureRegistry& signatures, const VendorPathHintIndex& vendorHints,
                             FileURL quarantine, const FileManager& files, RootScope scope,
                             std::shared_ptr<CategoryLists> known, std::shared_ptr<KeptListings> kept)
    : signatures_(signatures),
      vendorHints_(vendorHints),
      quarantine_(std::move(quarantine)),
      files_(files),
      scope_(scope),
      known_(known ? std::move(known) : std::make_shared<CategoryLists>()),
      places_(std::make_shared<RealPaths>(files)),
      kept_(std::move(kept)) {}

std::vector<FileURL> CategoryRoots::roots(Category category, bool includeDiscovered) const {
  const auto [place, isNew] = known_->lists.try_emplace({category, includeDiscovered});
  if (isNew) {
    place->second = find(category, includeDiscovered);
    dropQuarantined(place->second);
  }
  return place->second;
}

void CategoryRoots::dropQuarantined(std::vector<FileURL>& roots) const {
  if (!places_->itemExists(quarantine_)) return;
  const std::string quarantine = places_->resolvedPath(quarantine_);
  std::erase_if(roots, [&](const FileURL& root) { return path::isInside(places_->resolvedPath(root), quarantine); });
}

std::vector<FileURL> CategoryRoots::find(Category category, bool includeDiscovered) const {
  switch (category) {
    case Category::apps: return folders(kApps);
    case Category::documents: return documents();
    case Category::photos: return folders(kPhotos);
    case Category::communication: return communication();
    case Category::games: return games(includeDiscovered);
    case Category::development: return development();
    case Category::systemData: return systemData();
    case Category::other: return other();
    case Category::free: return {};
  }
  return {};
}

std::vector<FileURL> CategoryRoots::topItemRoots(Category category, bool includeDiscovered) const {
  std::vector<FileURL> result = roots(category, includeDiscovered);
  if (category == Category::systemData) std::erase(result, inHome(kTrash));
  return result;
}

std::vector<FileURL> CategoryRoots::exclusions(Category category) const {
  std::vector<FileURL> result;
  if (category != Category::systemData) return result;
  for (const Category inside : kCategoriesInSystemFolders) append(result, roots(inside, /*includeDiscovered=*/true));
  append(result, folders(kOthersInSystemFolders));
  return result;
}

bool CategoryRoots::isCloudRoot(const FileURL& root) const {
  const std::string path = files_.standardizedPath(root);
  if (path == files_.standardizedPath(inHome(kICloudDrive))) return true;
  const std::vector<FileURL> providers = cloudStorageFolders();
  return std::any_of(providers.begin(), providers.end(),
                     [&](const FileURL& folder) { return files_.standardizedPath(folder) == path; });
}

std::vector<FileURL> CategoryRoots::documents() const {
  std::vector<FileURL> result = folders(kDocuments);
  append(result, cloudStorageFolders());
  append(result, visibleHomeEntries());
  return eachOnce(withVendorRoots(std::move(result), Category::documents));
}

std::vector<FileURL> CategoryRoots::communication() const {
  return eachOnce(withVendorRoots(folders(kCommunication), Category::communication));
}

std::vector<FileURL> CategoryRoots::games(bool includeDiscovered) const {
  std::vector<FileURL> result{inHome("Games")};
  append(result, steamAppFolders(files_, scope_));
  if (includeDiscovered) {
    append(result, markedFolders(signatures_.markerSignatures(Category::games), files_, scope_, kept_.get()));
  }
  return outermost(withVendorRoots(std::move(result), Category::games));
}

std::vector<FileURL> CategoryRoots::development() const {
  return withVendorRoots(folders(kDevelopment), Category::development);
}

std::vector<FileURL> CategoryRoots::systemData() const {
  std::vector<FileURL> result{inHome(kTrash)};
  append(result, folders(kSystemData));
  if (scope_ == RootScope::volume) append(result, otherUsersHomes());
  return result;
}

std::vector<FileURL> CategoryRoots::other() const {
  const std::vector<FileURL> developers = roots(Category::development, /*includeDiscovered=*/true);
  std::vector<FileURL> result;
  for (DirectoryEntry& entry : files_.contentsOrNone(files_.homeDirectory(), HiddenItems::include)) {
    if (files_.cancellation().isCancelled()) break;
    const std::string_view name = entry.url.lastPathComponent();
    if (!name.starts_with('.') || holds(kNoHiddenData, name) || Text::lowercased(name) == ".trash") continue;
    const bool isDevelopers = std::any_of(developers.begin(), developers.end(),
                                          [&](const FileURL& root) { return root.lastPathComponent() == name; });
    if (!isDevelopers) result.push_back(std::move(entry.url));
  }
  return result;
}

std::vector<FileURL> CategoryRoots::cloudStorageFolders() const {
  std::vector<FileURL> result;
  for (DirectoryEntry& entry : files_.contentsOrNone(inHome(kCloudStorage), HiddenItems::skip)) {
    if (entry.type == FileType::directory) result.push_back(std::move(entry.url));
  }
  return result;
}

std::vector<FileURL> CategoryRoots::visibleHomeEntries() const {
  std::vector<FileURL> result;
  for (DirectoryEntry& entry : files_.contentsOrNone(files_.homeDirectory(), HiddenItems::skip)) {
    if (!holds(kKnownHomeEntries, entry.url.lastPathComponent())) result.push_back(std::move(entry.url));
  }
  return result;
}

std::vector<FileURL> CategoryRoots::otherUsersHomes() const {
  const std::string ownHome = files_.standardizedPath(files_.homeDirectory());
  std::vector<FileURL> result;
  for (DirectoryEntry& entry : files_.contentsOrNone(FileURL("/Users"), HiddenItems::skip)) {
    if (isUserHome(entry) && files_.standardizedPath(entry.url) != ownHome) result.push_back(std::move(entry.url));
  }
  return result;
}

FileURL CategoryRoots::inHome(std::string_view relativePath) const {
  return files_.homeDirectory().appending(relativePath, URLKind::directory);
}

template <class Paths>
std::vector<FileURL> CategoryRoots::folders(const Paths& paths) const {
  std::vector<FileURL> result;
  result.reserve(paths.size());
  for (const std::string_view path : paths) {
    if (scope_ == RootScope::home && path.starts_with('/')) continue;
    result.push_back(path.starts_with('/') ? FileURL(path, URLKind::directory) : inHome(path));
  }
  return result;
}

std::vector<FileURL> CategoryRoots::withVendorRoots(std::vector<FileURL> base, Category category) const {
  std::vector<std::string> paths;
  paths.reserve(base.size());
  for (const FileURL& root : base) paths.push_back(files_.standardizedPath(root));
  for (const FileURL& vendorRoot : vendorHints_.roots(category)) {
    if (files_.cancellation().isCancelled()) break;
    std::string path = files_.standardizedPath(vendorRoot);
    const bool isKnown = std::any_of(paths.begin(), paths.end(), [&](const std::string& known) {
      return path::isInside(path, known) || path::isInside(known, path);
    });
    if (isKnown) continue;
    base.push_back(vendorRoot);
    paths.push_back(std::move(path));
  }
  return base;
}

std::vector<FileURL> CategoryRoots::eachOnce(std::vector<FileURL> urls) const {
  std::unordered_set<std::string> seen;
  std::erase_if(urls, [&](const FileURL& url) {
    return files_.cancellation().isCancelled() || !seen.insert(places_->resolvedPath(url)).second;
  });
  return urls;
}

std::vector<FileURL> CategoryRoots::outermost(const std::vector<FileURL>& urls) const {
  struct Root {
    std::size_t length;
    std::string path;
    FileURL url;
  };
  std::vector<Root> sorted;
  for (const FileURL& url : urls) {
    if (files_.cancellation().isCancelled()) break;
    std::string path = places_->resolvedPath(url);
    sorted.push_back({Text::characterCount(path), std::move(path), url});
  }
  std::stable_sort(sorted.begin(), sorted.end(), [](const Root& left, const Root& right) {
    return left.length != right.length ? left.length < right.length : left.path < right.path;
  });
  PathSet kept;
  std::vector<FileURL> result;
  for (Root& root : sorted) {
    if (kept.insertUnlessCovered(root.path)) result.push_back(std::move(root.url));
  }
  return result;
}

}  // namespace quarn
