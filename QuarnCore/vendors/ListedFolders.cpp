#include "QuarnCore/vendors/ListedFolders.h"

#include <utility>

namespace quarn {
namespace {

constexpr std::size_t kMostKeptEntries = 4096;

}  // namespace

const std::vector<DirectoryEntry>& ListedFolders::visibleEntries(const FileURL& folder) {
  const auto known = listed_.find(folder.path());
  if (known != listed_.end()) return known->second;
  std::vector<DirectoryEntry> entries = files_.contentsOrNone(folder, HiddenItems::skip);
  if (entries.size() > kMostKeptEntries) return big_ = std::move(entries);
  return listed_.emplace(folder.path(), std::move(entries)).first->second;
}

}  // namespace quarn
