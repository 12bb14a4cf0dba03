#include "QuarnCore/vendors/ListedFolders.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include "QuarnPlatform/paths/Path.h"

namespace quarn {
namespace {

constexpr std::size_t kMostKeptEntries = 4096;
constexpr std::size_t kMostKeptAnswers = 16384;
// Each level of a path is asked for.
constexpr std::ptrdiff_t kMostLevels = 64;

}  // namespace

// Lists under the lock, so that two threads do not list the same folder.
ListedFolders::Entries ListedFolders::visibleEntries(const FileURL& folder) {
  const std::lock_guard lock(listings_);
  const auto known = listed_.find(folder.path());
  if (known != listed_.end()) return known->second;
  auto entries = std::make_shared<const std::vector<DirectoryEntry>>(files_.contentsOrNone(folder, HiddenItems::skip));
  if (entries->size() <= kMostKeptEntries) listed_.emplace(folder.path(), entries);
  return entries;
}

std::optional<FileURL> ListedFolders::existingURL(const std::string& path) {
  return isBelowMissing(path) ? std::nullopt : files_.existingURL(path);
}

bool ListedFolders::isBelowMissing(std::string_view path) {
  if (!path::isPlain(path) || std::count(path.begin(), path.end(), '/') > kMostLevels) return false;
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
  const bool isFound = silent_.facts(FileURL(folder), Links::follow).has_value();
  const bool missing = !isFound && (errno == ENOENT || errno == ENOTDIR);
  const std::lock_guard lock(answers_);
  if (isMissing_.size() < kMostKeptAnswers) isMissing_.emplace(folder, missing);
  return missing;
}

}  // namespace quarn
