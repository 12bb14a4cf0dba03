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

// Finds app bundles level by level below all roots at once. A folder that links reach on several ways is thus first met
// on the shortest, where the most of what it holds is within reach, and needs no second visit: links that loop end by
// themselves.
class AppSearch {
 public:
  explicit AppSearch(const FileManager& files) : files_(files) {}

  std::vector<FileURL> bundles() {
    for (const std::string_view root : kSystemRoots) addFolder(FileURL(root));
    addFolder(files_.homeDirectory().appending(kHomeRoot));
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
      // Hidden items count: what an installer hides behind a dot is installed like any other.
      for (const DirectoryEntry& entry : files_.contentsOrNone(folder, HiddenItems::include)) consider(entry);
    }
  }

  // A link stands for the folder it leads to, so that an app has one URL however it is reached. What is no link in a
  // resolved folder is resolved already and costs no look-up.
  void consider(const DirectoryEntry& entry) {
    if (entry.type == FileType::directory) {
      judge(entry.url);
    } else if (entry.type == FileType::symbolicLink) {
      const FileURL target(files_.resolvedPath(entry.url), URLKind::directory);
      // The name that standardising gives it may be a link in turn, as "/tmp" is one to "/private/tmp".
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

std::vector<AppEntity> discover(const FileManager& volume) {
  const FileManager files = volume.forOneOperation();
  const std::vector<FileURL> bundles = AppSearch(files).bundles();
  std::vector<AppEntity> apps =
      collectInParallel<AppEntity>(bundles.size(), [&](std::size_t i) { return appAt(files, bundles[i]); });
  std::sort(apps.begin(), apps.end(), comesBefore);
  return apps;
}

}  // namespace

AppDiscoveryClient AppDiscoveryClient::live(FileManager files) {
  return {.discoverApplications = [files = std::move(files)] { return discover(files); }};
}

}  // namespace quarn
