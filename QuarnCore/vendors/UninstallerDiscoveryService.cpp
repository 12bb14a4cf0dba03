#include "QuarnCore/vendors/UninstallerDiscoveryService.h"

#include <algorithm>
#include <array>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "QuarnPlatform/text/Text.h"
#include "QuarnPlatform/walking/DirectoryEnumerator.h"

namespace quarn {
namespace {

constexpr std::array<std::string_view, 6> kNameTokens{"uninstall", "uninstaller", "remove",
                                                      "deinstall", "cleanup",     "cleaner"};
constexpr std::array<std::string_view, 3> kLaunchableExtensions{"app", "pkg", "command"};

constexpr int kMaximumVisitedEntries = 20'000;
constexpr std::size_t kMinimumAppKeyLength = 4;
constexpr double kInsideConfidence = 1.0;
constexpr double kBesideNamedConfidence = 0.8;
constexpr double kBesideConfidence = 0.7;

bool hasUninstallerName(const std::string& key) {
  return std::any_of(kNameTokens.begin(), kNameTokens.end(),
                     [&](std::string_view token) { return Text::contains(key, token); });
}

bool isLaunchable(const FileURL& url, const FileManager& files) {
  const std::string extension = Text::lowercased(url.pathExtension());
  return std::find(kLaunchableExtensions.begin(), kLaunchableExtensions.end(), extension) !=
             kLaunchableExtensions.end() ||
         files.isExecutableFile(url);
}

UninstallerCandidate makeCandidate(const FileURL& url, double confidence) {
  return {.url = url, .name = std::string(url.lastPathComponent()), .confidence = confidence};
}

void addInside(const FileURL& bundle, const FileManager& files, std::vector<UninstallerCandidate>& candidates) {
  DirectoryEnumerator items(files, bundle, {.hidden = HiddenItems::skip, .packages = PackageContents::skip});
  for (int visited = 0; visited < kMaximumVisitedEntries; ++visited) {
    const DirectoryEnumerator::Item* item = items.next();
    if (item == nullptr) return;
    if (!hasUninstallerName(Text::normalizedKey(item->name()))) continue;
    const FileURL url = item->url();
    if (isLaunchable(url, files)) candidates.push_back(makeCandidate(url, kInsideConfidence));
  }
}

/// An item beside an app that has the name of an uninstaller and can be launched.
struct Neighbour {
  FileURL url;
  std::string key;
};
using Neighbours = std::vector<Neighbour>;

Neighbours neighboursIn(const FileURL& folder, const FileManager& files) {
  Neighbours neighbours;
  for (const DirectoryEntry& entry : files.contentsOrNone(folder, HiddenItems::skip)) {
    if (files.cancellation().isCancelled()) break;
    std::string key = Text::normalizedKey(entry.url.lastPathComponent());
    if (hasUninstallerName(key) && isLaunchable(entry.url, files)) neighbours.push_back({entry.url, std::move(key)});
  }
  return neighbours;
}

void addBeside(const AppEntity& app, const Neighbours& neighbours, std::vector<UninstallerCandidate>& candidates) {
  const std::string appKey = Text::normalizedKey(app.name);
  const bool isNameTelling = Text::characterCount(appKey) >= kMinimumAppKeyLength;
  for (const Neighbour& neighbour : neighbours) {
    const bool namesApp = isNameTelling && Text::contains(neighbour.key, appKey);
    candidates.push_back(makeCandidate(neighbour.url, namesApp ? kBesideNamedConfidence : kBesideConfidence));
  }
}

std::vector<UninstallerCandidate> firstOfEachPath(std::vector<UninstallerCandidate> candidates) {
  std::unordered_set<std::string> seen;
  std::erase_if(candidates,
                [&](const UninstallerCandidate& candidate) { return !seen.insert(candidate.url.path()).second; });
  return candidates;
}

std::vector<UninstallerCandidate> find(const AppEntity& app, const Neighbours& neighbours, const FileManager& files) {
  std::vector<UninstallerCandidate> candidates;
  if (files.itemExists(app.bundleURL)) addInside(app.bundleURL, files, candidates);
  addBeside(app, neighbours, candidates);
  candidates = firstOfEachPath(std::move(candidates));
  std::stable_sort(candidates.begin(), candidates.end(),
                   [](const UninstallerCandidate& left, const UninstallerCandidate& right) {
                     if (left.confidence != right.confidence) return left.confidence > right.confidence;
                     return Text::localizedCaseInsensitiveCompare(left.name, right.name) < 0;
                   });
  return candidates;
}

}  // namespace

UninstallerDiscoveryService::UninstallerDiscoveryService(FileManager files) : files_(std::move(files)) {}

std::vector<UninstallerCandidate> UninstallerDiscoveryService::findUninstallers(
    const AppEntity& app, const Cancellation& cancellation) const {
  const FileManager files = files_.cancelledBy(cancellation);
  return find(app, neighboursIn(app.bundleURL.deletingLastPathComponent(), files), files);
}

std::function<std::vector<UninstallerCandidate>(const AppEntity& app)> UninstallerDiscoveryService::forManyApps(
    const Cancellation& cancellation) const {
  const auto known = std::make_shared<std::unordered_map<std::string, Neighbours>>();
  return [files = files_.cancelledBy(cancellation), known](const AppEntity& app) {
    const FileURL folder = app.bundleURL.deletingLastPathComponent();
    auto at = known->find(folder.path());
    if (at == known->end()) at = known->emplace(folder.path(), neighboursIn(folder, files)).first;
    return find(app, at->second, files);
  };
}

}  // namespace quarn
