#include "QuarnCore/vendors/ListedFolders.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/text/TextComposition.h"

namespace quarn {
namespace {

constexpr std::size_t kMostKeptEntries = 4096;
constexpr std::size_t kMostKeptAnswers = 16384;
// Each level of a path is asked for.
constexpr std::ptrdiff_t kMostLevels = 64;
// A listing costs about as much as this many lookups.
constexpr unsigned kLookupsBeforeListing = 3;

bool isUsual(std::string_view path) {
  return path::isPlain(path) && std::count(path.begin(), path.end(), '/') <= kMostLevels;
}

std::vector<ListedFolders::Entry> named(std::vector<DirectoryEntry> items) {
  std::vector<ListedFolders::Entry> entries;
  entries.reserve(items.size());
  for (DirectoryEntry& item : items) {
    std::string name = composed(item.url.lastPathComponent());
    entries.push_back({.item = std::move(item), .name = std::move(name)});
  }
  return entries;
}

}  // namespace

// Lists under the lock, so that two threads do not list the same folder.
ListedFolders::Entries ListedFolders::visibleEntries(const FileURL& folder) {
  const std::lock_guard lock(listings_);
  const auto known = listed_.find(folder.path());
  if (known != listed_.end()) return known->second;
  auto entries = std::make_shared<const std::vector<Entry>>(named(files_.contentsOrNone(folder, HiddenItems::skip)));
  if (entries->size() <= kMostKeptEntries) listed_.emplace(folder.path(), entries);
  return entries;
}

std::optional<FileURL> ListedFolders::existingURL(const std::string& path) {
  if (isBelowMissing(path)) return std::nullopt;
  if (!isUsual(path)) return files_.existingURL(path);
  if (isExcluded(path)) return std::nullopt;
  noteLookup(path);
  return files_.existingURL(path);
}

bool ListedFolders::isBelowMissing(std::string_view path) {
  if (!isUsual(path)) return false;
  std::size_t end = path.find('/', 1);
  if (const std::optional<bool> known = knownToBeBelowMissing(path, end)) return *known;
  for (; end != std::string_view::npos; end = path.find('/', end + 1)) {
    if (isMissing(path.substr(0, end))) return true;
  }
  return false;
}

// Moves `end` past the folders that are known to exist; absent if there are others.
std::optional<bool> ListedFolders::knownToBeBelowMissing(std::string_view path, std::size_t& end) {
  const std::string* const last = lastMissing_.load();
  if (last != nullptr && path.size() > last->size() && path::isInside(path, *last)) return true;
  const std::shared_lock lock(answers_);
  for (; end != std::string_view::npos; end = path.find('/', end + 1)) {
    const auto known = isMissing_.find(path.substr(0, end));
    if (known == isMissing_.end()) return std::nullopt;
    if (!known->second) continue;
    lastMissing_ = &known->first;
    return true;
  }
  return false;
}

// From the top down: most vendors have no data on most volumes, and a missing folder rules out every path below it.
// A folder that cannot be looked up for another reason does not count as missing.
bool ListedFolders::isMissing(std::string_view folder) {
  bool missing = isExcluded(folder);
  if (!missing) {
    const bool isFound = silent_.facts(FileURL(folder), Links::follow).has_value();
    missing = !isFound && (errno == ENOENT || errno == ENOTDIR);
    noteLookup(folder);
  }
  const std::lock_guard lock(answers_);
  if (isMissing_.size() < kMostKeptAnswers) isMissing_.emplace(folder, missing);
  return missing;
}

/// Whether the names in the folder of a path say that the item is missing.
bool ListedFolders::isExcluded(std::string_view path) {
  const std::shared_lock lock(names_);
  const auto asked = asked_.find(path::parent(path));
  return asked != asked_.end() && asked->second.names && asked->second.names->excludes(path::lastComponent(path));
}

// The top folder may hold mount points that appear only when they are looked up.
void ListedFolders::noteLookup(std::string_view path) {
  const std::string_view folder = path::parent(path);
  if (folder == "/") return;
  {
    const std::lock_guard lock(names_);
    auto asked = asked_.find(folder);
    if (asked == asked_.end()) {
      if (asked_.size() >= kMostKeptAnswers) return;
      asked = asked_.emplace(folder, Asked{}).first;
    }
    if (++asked->second.lookups != kLookupsBeforeListing) return;
  }
  std::optional<FolderNames> names = FolderNames::read(FileURL(folder), silent_);
  const std::lock_guard lock(names_);
  asked_.find(folder)->second.names = std::move(names);
}

}  // namespace quarn
