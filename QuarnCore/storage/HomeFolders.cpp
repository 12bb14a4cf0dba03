#include "QuarnCore/storage/HomeFolders.h"

#include <unordered_set>

#include "QuarnPlatform/paths/Path.h"

namespace quarn {

HomeFolders::HomeFolders(const std::vector<FileURL>& homes, const FileManager& files) {
  std::unordered_set<std::string> seen;
  for (const FileURL& home : homes) {
    std::string location = files.realPath(home).value_or(files.standardizedPath(home));
    if (!seen.insert(location).second) continue;
    byPath_.insert(location, urls_.size());
    // Walks name what they find by the path that they were given.
    byPath_.insert(files.standardizedPath(location), urls_.size());
    byPath_.insert(files.standardizedPath(home), urls_.size());
    urls_.push_back(home);
    locations_.push_back(std::move(location));
  }
}

std::optional<std::size_t> HomeFolders::homeOf(std::string_view location) const {
  const std::size_t* found = byPath_.longestMatch(location);
  return found == nullptr ? std::nullopt : std::optional(*found);
}

std::optional<std::size_t> HomeFolders::homeOf(const FileURL& url) const {
  return homeOf(std::string_view(url.path()));
}

std::vector<FileURL> HomeFolders::outermost() const {
  std::vector<FileURL> result;
  for (std::size_t i = 0; i < urls_.size(); ++i) {
    const bool isInside = locations_[i] != "/" && homeOf(path::parent(locations_[i])).has_value();
    if (!isInside) result.push_back(urls_[i]);
  }
  return result;
}

}  // namespace quarn
