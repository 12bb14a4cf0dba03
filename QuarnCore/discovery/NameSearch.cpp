#include "QuarnCore/discovery/NameSearch.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "QuarnCore/discovery/LibraryFolders.h"
#include "QuarnModels/ArtifactIdentity.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/resources/Localization.h"
#include "QuarnPlatform/text/Text.h"
#include "QuarnPlatform/walking/ItemDepth.h"

namespace quarn {
namespace {

// Shorter names are too generic to search for inside other names.
constexpr std::size_t kMinimumContainedKeyLength = 6;

constexpr std::array kUserRoots{library::kApplicationSupport, library::kCaches, library::kLogs, library::kHTTPStorages};
static_assert(kUserRoots.size() == 4);

constexpr std::array kSystemRoots{library::kSystemApplicationSupport, library::kSystemCaches, library::kSystemLogs};
static_assert(kSystemRoots.size() == 3);

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

std::string bundleKeyOf(const AppEntity& app) {
  return app.bundleIdentifier ? Text::normalizedKey(*app.bundleIdentifier) : std::string();
}

// The confidence depends on the key that the name contains.
double userConfidence(const std::string& itemKey, bool holdsBundleKey, const std::string& nameKey) {
  if (holdsBundleKey) return 0.55;
  return Text::equal(itemKey, nameKey) ? 0.45 : 0.35;
}

}  // namespace

NameSearch::NameSearch(Where where, const std::vector<AppEntity>& apps, const FileManager& files, Limits limits,
                       const Cancellation& cancellation)
    : files_(files.cancelledBy(cancellation)), where_(where), limits_(limits), isForOneApp_(apps.size() == 1) {
  if (limits.maxDepth < 0 || limits.maxResults < 1) return;
  for (const AppEntity& app : apps) addKeys(app);
  if (keys_.empty()) return;
  std::vector<std::string> texts;
  texts.reserve(keys_.size());
  for (const Key& key : keys_) texts.push_back(key.text);
  texts_ = TextSet(std::move(texts));
  if (where == Where::documents) {
    const FileURL documents = files_.homeDirectory().appending("Documents");
    documentsPath_ = files_.standardizedPath(documents);
    walk(documents, 0);
  } else if (where == Where::userLibrary) {
    for (std::size_t i = 0; i < kUserRoots.size(); ++i) {
      walk(files_.homeDirectory().appending(kUserRoots[i].path), static_cast<std::uint8_t>(i));
    }
  } else {
    for (std::size_t i = 0; i < kSystemRoots.size(); ++i) {
      walk(FileURL(kSystemRoots[i].path), static_cast<std::uint8_t>(i));
    }
  }
}

void NameSearch::addKeys(const AppEntity& app) {
  std::string name = Text::normalizedKey(app.name);
  if (where_ == Where::documents && name.empty()) return;
  addKey(bundleKeyOf(app));
  const bool isSought = where_ == Where::documents ||
                        (where_ == Where::userLibrary && Text::characterCount(name) >= kMinimumContainedKeyLength);
  if (isSought) addKey(std::move(name));
}

void NameSearch::addKey(std::string text) {
  if (text.empty()) return;
  const auto [place, isNew] = keyByText_.try_emplace(text, static_cast<std::uint32_t>(keys_.size()));
  if (!isNew) return;
  const bool isLong = Text::characterCount(text) >= kMinimumContainedKeyLength;
  keys_.push_back({.text = std::move(text), .isLong = isLong, .items = {}});
}

void NameSearch::walk(const FileURL& folder, std::uint8_t root) {
  if (isFull()) return;
  // Direct children have depth 1 and are included for a limit of 0 too. Folders at the limit are considered but not
  // entered.
  const long deepest = std::max(limits_.maxDepth, 1L);
  const ItemDepth depth(files_, folder);
  DirectoryEnumerator items(files_, folder,
                            {.hidden = HiddenItems::skip,
                             .packages = PackageContents::skip,
                             .maximumLevel = depth.deepestLevel(deepest - 1),
                             .readAheadThreads = DirectoryEnumerator::kReadAheadOfLongWalks});
  while (const DirectoryEnumerator::Item* item = items.next()) {
    if (isFull()) return;
    if (depth.exceeds(deepest, *item)) {
      items.skipDescendants();
    } else {
      consider(*item, root);
    }
  }
}

void NameSearch::consider(const DirectoryEnumerator::Item& item, std::uint8_t root) {
  if (where_ == Where::documents && !item.isDirectory()) return;
  const std::string itemKey = Text::normalizedKey(item.name());
  bool isKept = false;
  texts_.findIn(itemKey, [&](std::uint32_t part) {
    Key& key = keys_[part];
    if (static_cast<long>(key.items.size()) >= limits_.maxResults || !isWanted(key, itemKey)) return;
    if (!isKept) items_.push_back({.url = item.url(), .root = root});
    isKept = true;
    key.items.push_back(static_cast<std::uint32_t>(items_.size() - 1));
  });
  if (isKept && where_ == Where::documents) items_.back().url = files_.resolvingSymlinks(items_.back().url);
}

// In Documents, a short key must equal the whole name. In the Library, an identifier of any length may be contained.
bool NameSearch::isWanted(const Key& key, const std::string& itemKey) const {
  return where_ != Where::documents || key.isLong || Text::equal(key.text, itemKey);
}

bool NameSearch::isFull() const { return isForOneApp_ && static_cast<long>(items_.size()) >= limits_.maxResults; }

const NameSearch::Key* NameSearch::key(const std::string& text) const {
  const auto found = keyByText_.find(text);
  return found == keyByText_.end() ? nullptr : &keys_[found->second];
}

std::vector<std::uint32_t> NameSearch::itemsOf(const Key* bundle, const Key* name) const {
  std::vector<std::uint32_t> items;
  if (bundle != nullptr) items = bundle->items;
  if (name != nullptr && name != bundle) {
    const auto middle = static_cast<std::ptrdiff_t>(items.size());
    items.insert(items.end(), name->items.begin(), name->items.end());
    std::inplace_merge(items.begin(), items.begin() + middle, items.end());
    items.erase(std::unique(items.begin(), items.end()), items.end());
  }
  return items;
}

Artifact NameSearch::makeArtifact(const Item& item, const Key* bundle, const Key* name) const {
  const std::string itemKey = Text::normalizedKey(item.url.lastPathComponent());
  if (where_ == Where::documents) {
    const auto equals = [&](const Key* key) { return key != nullptr && Text::equal(key->text, itemKey); };
    return makeDocumentsFind(item.url, equals(bundle) || equals(name), documentsPath_);
  }
  if (where_ == Where::systemLibrary) {
    constexpr double kConfidence = 0.35;
    return makeFind(kSystemRoots[item.root], ArtifactScope::system, kConfidence, "Heuristic (System): ",
                    "Heuristic match (System): name/path matches the bundle ID. Review before deleting.", item.url);
  }
  const bool holdsBundleKey = bundle != nullptr && Text::contains(itemKey, bundle->text);
  const double confidence = userConfidence(itemKey, holdsBundleKey, name != nullptr ? name->text : std::string());
  return makeFind(kUserRoots[item.root], ArtifactScope::user, confidence,
                  "Heuristic: ", "Heuristic match: name/path looks related to the app. Review before deleting.",
                  item.url);
}

std::vector<Artifact> NameSearch::finds(const AppEntity& app) const {
  const std::string nameKey = Text::normalizedKey(app.name);
  if (where_ == Where::documents && nameKey.empty()) return {};
  const Key* bundle = key(bundleKeyOf(app));
  const Key* name = where_ == Where::systemLibrary ? nullptr : key(nameKey);
  if (name != nullptr && where_ == Where::userLibrary && !name->isLong) name = nullptr;
  std::vector<Artifact> finds;
  std::unordered_set<std::string> paths;
  for (const std::uint32_t at : itemsOf(bundle, name)) {
    if (static_cast<long>(finds.size()) >= limits_.maxResults) break;
    const Item& item = items_[at];
    if (paths.insert(item.url.path()).second) finds.push_back(makeArtifact(item, bundle, name));
  }
  return finds;
}

}  // namespace quarn
