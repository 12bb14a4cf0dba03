#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "QuarnCore/discovery/ArtifactScanner.h"
#include "QuarnCore/discovery/LibraryFolders.h"
#include "QuarnModels/ArtifactIdentity.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/resources/Localization.h"
#include "QuarnPlatform/text/Text.h"
#include "QuarnPlatform/walking/DirectoryEnumerator.h"
#include "QuarnPlatform/walking/ItemDepth.h"

namespace quarn {
namespace {

// Shorter names are too generic to search for inside other names.
constexpr std::size_t kMinimumContainedKeyLength = 6;

constexpr std::array kUserRoots{library::kApplicationSupport, library::kCaches, library::kLogs, library::kHTTPStorages};
static_assert(kUserRoots.size() == 4);

constexpr std::array kSystemRoots{library::kSystemApplicationSupport, library::kSystemCaches, library::kSystemLogs};
static_assert(kSystemRoots.size() == 3);

/// A normalised name to search for, with its length computed once.
struct Key {
  explicit Key(std::string normalized)
      : text(std::move(normalized)), isLong(Text::characterCount(text) >= kMinimumContainedKeyLength) {}

  std::string text;
  bool isLong;
};

std::optional<Key> bundleKey(const AppEntity& app) {
  if (!app.bundleIdentifier) return std::nullopt;
  std::string key = Text::normalizedKey(*app.bundleIdentifier);
  return key.empty() ? std::nullopt : std::optional<Key>(std::move(key));
}

/// The walk of all searches: visible items outside packages, up to a depth and a number of results.
class BoundedSearch {
 public:
  BoundedSearch(const FileManager& files, long maxDepth, long maxResults, const Cancellation& cancellation)
      : files_(files.cancelledBy(cancellation)), maxDepth_(maxDepth), maxResults_(maxResults) {}

  /// Calls `consider(item)` for each item below `root` until the limit is reached. Its return value is a result,
  /// unless its path was already found.
  template <class Consider>
  void walk(const FileURL& root, const Consider& consider) {
    if (maxDepth_ < 0 || isFull()) return;
    // Direct children have depth 1 and are included for a limit of 0 too. Folders at the limit are considered but not
    // entered.
    const long deepest = std::max(maxDepth_, 1L);
    const ItemDepth depth(files_, root);
    DirectoryEnumerator items(files_, root,
                              {.hidden = HiddenItems::skip,
                               .packages = PackageContents::skip,
                               .maximumLevel = depth.deepestLevel(deepest - 1),
                               .readAheadThreads = DirectoryEnumerator::kReadAheadOfLongWalks});
    while (const DirectoryEnumerator::Item* item = items.next()) {
      if (isFull()) return;
      if (depth.exceeds(deepest, *item)) {
        items.skipDescendants();
        continue;
      }
      std::optional<Artifact> find = consider(*item);
      if (find && paths_.insert(find->urls.front().path()).second) finds_.push_back(std::move(*find));
    }
  }

  [[nodiscard]] bool isFull() const { return static_cast<long>(finds_.size()) >= maxResults_; }
  std::vector<Artifact> takeFinds() { return std::move(finds_); }

 private:
  const FileManager files_;
  long maxDepth_;
  long maxResults_;
  std::vector<Artifact> finds_;
  std::unordered_set<std::string> paths_;
};

Artifact makeFind(const LibraryFolder& root, ArtifactScope scope, double confidence, std::string_view titlePrefix,
                  std::string_view explanation, const FileURL& url) {
  return identified({.kind = root.kind,
                     .dataClass = root.dataClass,
                     .scope = scope,
                     .urls = {url},
                     .riskLevel = root.risk,
                     .confidence = confidence,
                     .title = std::string(titlePrefix) + std::string(url.lastPathComponent()),
                     .explanation = localized(explanation)});
}

// The confidence depends on the key that the name contains; absent if it contains none.
std::optional<double> userConfidence(const std::string& itemKey, const std::optional<Key>& bundle, const Key& name) {
  if (bundle && Text::contains(itemKey, bundle->text)) return 0.55;
  if (!name.isLong) return std::nullopt;
  if (Text::equal(itemKey, name.text)) return 0.45;
  if (Text::contains(itemKey, name.text)) return 0.35;
  return std::nullopt;
}

std::vector<Key> documentsKeys(const AppEntity& app) {
  std::vector<Key> keys;
  if (std::string name = Text::normalizedKey(app.name); !name.empty()) keys.emplace_back(std::move(name));
  if (std::optional<Key> bundle = bundleKey(app)) keys.push_back(std::move(*bundle));
  return keys;
}

bool matches(const Key& key, const std::string& itemKey) {
  return Text::equal(itemKey, key.text) || (key.isLong && Text::contains(itemKey, key.text));
}

std::string relativePath(const std::string& folder, const std::string& documents) {
  if (folder.size() > documents.size() && path::isInside(folder, documents)) return folder.substr(documents.size() + 1);
  return std::string(path::lastComponent(folder));
}

Artifact makeDocumentsFind(const FileURL& folder, bool isExact, const std::string& documents) {
  return identified({.kind = ArtifactKind::unknown,
                     .dataClass = ArtifactDataClass::userData,
                     .scope = ArtifactScope::user,
                     .urls = {folder},
                     .riskLevel = RiskLevel::danger,
                     .confidence = isExact ? 0.55 : 0.4,
                     .title = localizedText("Documents: %@", relativePath(folder.path(), documents)),
                     .explanation = localized(
                         "Possible game saves/config in Documents. Not selected automatically; review carefully.")});
}

}  // namespace

std::vector<Artifact> ArtifactScanner::userHeuristicSearch(const AppEntity& app, long maxDepth, long maxResults,
                                                           const Cancellation& cancellation) const {
  const std::optional<Key> bundle = bundleKey(app);
  const Key name(Text::normalizedKey(app.name));
  if (!bundle && !name.isLong) return {};
  BoundedSearch search(files_, maxDepth, maxResults, cancellation);
  for (const LibraryFolder& root : kUserRoots) {
    search.walk(
        files_.homeDirectory().appending(root.path),
        [&](const DirectoryEnumerator::Item& item) -> std::optional<Artifact> {
          const std::optional<double> confidence = userConfidence(Text::normalizedKey(item.name()), bundle, name);
          if (!confidence) return std::nullopt;
          return makeFind(root, ArtifactScope::user, *confidence,
                          "Heuristic: ", "Heuristic match: name/path looks related to the app. Review before deleting.",
                          item.url());
        });
  }
  return search.takeFinds();
}

std::vector<Artifact> ArtifactScanner::systemHeuristicSearch(const AppEntity& app, long maxDepth, long maxResults,
                                                             const Cancellation& cancellation) const {
  constexpr double kConfidence = 0.35;
  const std::optional<Key> bundle = bundleKey(app);
  if (!bundle) return {};
  BoundedSearch search(files_, maxDepth, maxResults, cancellation);
  for (const LibraryFolder& root : kSystemRoots) {
    search.walk(FileURL(root.path), [&](const DirectoryEnumerator::Item& item) -> std::optional<Artifact> {
      if (!Text::contains(Text::normalizedKey(item.name()), bundle->text)) return std::nullopt;
      return makeFind(root, ArtifactScope::system, kConfidence, "Heuristic (System): ",
                      "Heuristic match (System): name/path matches the bundle ID. Review before deleting.", item.url());
    });
  }
  return search.takeFinds();
}

std::vector<Artifact> ArtifactScanner::documentsHeuristicSearch(const AppEntity& app, long maxDepth, long maxResults,
                                                                const Cancellation& cancellation) const {
  const FileURL documents = files_.homeDirectory().appending("Documents");
  const std::string documentsPath = files_.standardizedPath(documents);
  if (Text::normalizedKey(app.name).empty()) return {};
  const std::vector<Key> keys = documentsKeys(app);
  BoundedSearch search(files_, maxDepth, maxResults, cancellation);
  search.walk(documents, [&](const DirectoryEnumerator::Item& item) -> std::optional<Artifact> {
    if (!item.isDirectory()) return std::nullopt;
    const std::string itemKey = Text::normalizedKey(item.name());
    if (std::none_of(keys.begin(), keys.end(), [&](const Key& key) { return matches(key, itemKey); })) {
      return std::nullopt;
    }
    const bool isExact =
        std::any_of(keys.begin(), keys.end(), [&](const Key& key) { return Text::equal(key.text, itemKey); });
    return makeDocumentsFind(files_.resolvingSymlinks(item.url()), isExact, documentsPath);
  });
  return search.takeFinds();
}

}  // namespace quarn
