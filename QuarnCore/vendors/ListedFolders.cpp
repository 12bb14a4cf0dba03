#include "QuarnCore/vendors/ListedFolders.h"

#include <utility>

namespace quarn {
namespace {

constexpr std::size_t kMostKeptEntries = 4096;

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

}  // namespace quarn
