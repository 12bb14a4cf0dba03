#include "QuarnSystem/AppDiscoveryClient.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "QuarnPlatform/base/Parallel.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/text/Text.h"
#include "QuarnSystem/BundleInfo.h"

namespace quarn {
namespace {

constexpr std::array<std::string_view, 3> kSystemRoots{"/Applications", "/System/Applications",
                                                       "/System/Library/CoreServices/Applications"};
constexpr std::string_view kHomeRoot = "Applications";
constexpr int kFolderLevelsBelowRoot = 3;

bool isAppName(std::string_view name) { return Text::lowercased(name).ends_with(".app"); }

// Searches all roots level by level. If several links lead to a folder, the search meets it first on the shortest
// way, where the most levels below it are within reach. It needs no second visit, so looping links terminate.
class AppSearch {
 public:
  explicit AppSearch(const FileManager& files) : files_(files) {}

  std::vector<FileURL> bundles(const std::vector<FileURL>& homes) {
    for (const std::string_view root : kSystemRoots) addFolder(FileURL(root));
    for (const FileURL& home : homes) addFolder(home.appending(kHomeRoot));
    for (int level = 0; level <= kFolderLevelsBelowRoot; ++level) visitLevel(level);
    return std::move(bundles_);
  }

 private:
  void addFolder(const FileURL& folder) { add(files_.resolvingSymlinks(folder), pending_); }

  void add(const FileURL& item, std::vector<FileURL>& list) {
    if (seen_.insert(item.path()).second) list.push_back(item);
  }

  void visitLevel(int level) {
    for (const FileURL& folder : std::exchange(pending_, {})) {
      if (level > 0 && files_.isPackage(folder)) continue;
      // Includes hidden items: an app in a hidden folder is installed too.
      for (const DirectoryEntry& entry : files_.contentsOrNone(folder, HiddenItems::include)) consider(entry);
    }
  }

  // A link represents its target, so that an app has one URL whatever the way to it. In a resolved folder, only links
  // need a lookup.
  void consider(const DirectoryEntry& entry) {
    if (entry.type == FileType::directory) {
      judge(entry.url);
    } else if (entry.type == FileType::symbolicLink) {
      const FileURL target(files_.resolvedPath(entry.url), URLKind::directory);
      // The standardised path of the target may again contain a link: "/tmp" is a link to "/private/tmp".
      const std::optional<ItemFacts> facts = files_.facts(target, Links::follow);
      if (facts && facts->type == FileType::directory) judge(target);
    }
  }

  void judge(const FileURL& folder) { add(folder, isAppName(folder.lastPathComponent()) ? bundles_ : pending_); }

  const FileManager& files_;
  std::unordered_set<std::string> seen_;
  std::vector<FileURL> pending_;
  std::vector<FileURL> bundles_;
};

AppEntity appAt(const FileManager& files, const FileURL& bundle) {
  BundleInfo info = readBundleInfo(files, bundle);
  std::optional<std::string>& name = info.displayName ? info.displayName : info.name;
  return AppEntity{.name = name ? std::move(*name) : std::string(path::stem(bundle.path())),
                   .bundleIdentifier = info.identifier,
                   .bundleURL = bundle,
                   .id = AppEntity::makeID(info.identifier, bundle),
                   .version = std::move(info.version)};
}

bool comesBefore(const AppEntity& left, const AppEntity& right) {
  const int order = Text::localizedCaseInsensitiveCompare(left.name, right.name);
  return order != 0 ? order < 0 : left.bundleURL < right.bundleURL;
}

std::vector<AppEntity> discover(const FileManager& volume, const std::vector<FileURL>& homes) {
  const FileManager files = volume.forOneOperation();
  const std::vector<FileURL> bundles = AppSearch(files).bundles(homes);
  std::vector<AppEntity> apps =
      collectInParallel<AppEntity>(bundles.size(), [&](std::size_t i) { return appAt(files, bundles[i]); });
  std::sort(apps.begin(), apps.end(), comesBefore);
  return apps;
}

}  // namespace

AppDiscoveryClient AppDiscoveryClient::live(FileManager files) {
  std::vector<FileURL> homes{files.homeDirectory()};
  return live(std::move(files), std::move(homes));
}

AppDiscoveryClient AppDiscoveryClient::live(FileManager files, std::vector<FileURL> homes) {
  return {
      .discoverApplications = [files = std::move(files), homes = std::move(homes)] { return discover(files, homes); }};
}

}  // namespace quarn
