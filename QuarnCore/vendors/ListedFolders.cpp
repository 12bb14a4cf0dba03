#include "QuarnCore/vendors/ListedFolders.h"

#include <cerrno>
#include <utility>

#include "QuarnPlatform/paths/Path.h"

namespace quarn {
namespace {

constexpr std::size_t kMostKeptEntries = 4096;
constexpr std::size_t kMostKeptAnswers = 16384;
// Each level of a path asks for the one above it.
constexpr std::size_t kMostLevels = 64;

}  // namespace

// Lists under the lock, so that two threads do not list the same folder.
ListedFolders::Entries ListedFolders::visibleEntries(const FileURL& folder) {
  const std::lock_guard lock(mutex_);
  const auto known = listed_.find(folder.path());
  if (known != listed_.end()) return known->second;
  auto entries = std::make_shared<const std::vector<DirectoryEntry>>(files_.contentsOrNone(folder, HiddenItems::skip));
  if (entries->size() <= kMostKeptEntries) listed_.emplace(folder.path(), entries);
  return entries;
}

std::optional<FileURL> ListedFolders::existingURL(const std::string& path) {
  const bool mayAskAbove = path::isPlain(path) && path::names(path).size() <= kMostLevels;
  if (mayAskAbove && isMissing(path::parent(path))) return std::nullopt;
  return files_.existingURL(path);
}

// Asks for the folders above first: on most volumes the data folders of most vendors are missing, so one answer stands
// for many paths. A folder that cannot be looked up for another reason does not count as missing.
bool ListedFolders::isMissing(std::string_view folder) {
  if (folder.size() <= 1) return false;
  std::string path(folder);
  {
    const std::lock_guard lock(mutex_);
    const auto known = isMissing_.find(path);
    if (known != isMissing_.end()) return known->second;
  }
  bool missing = isMissing(path::parent(folder));
  if (!missing) {
    const bool isFound = silent_.facts(FileURL(path), Links::follow).has_value();
    missing = !isFound && (errno == ENOENT || errno == ENOTDIR);
  }
  const std::lock_guard lock(mutex_);
  if (isMissing_.size() < kMostKeptAnswers) isMissing_.emplace(std::move(path), missing);
  return missing;
}

}  // namespace quarn
