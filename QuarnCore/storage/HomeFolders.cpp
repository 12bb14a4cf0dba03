#include "QuarnCore/storage/HomeFolders.h"

#include <unordered_set>

#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/paths/PrivatePrefix.h"

namespace quarn {

// Walks name what they find by the path that they were given, so a home has several paths.
HomeFolders::HomeFolders(const std::vector<FileURL>& homes, const FileManager& files) {
  std::unordered_set<std::string> known;
  for (const FileURL& home : homes) {
    const std::string location = files.realPath(home).value_or(files.standardizedPath(home));
    if (known.insert(location).second)
      add({home, location}, {files.standardizedPath(location), files.standardizedPath(home)});
  }
}

HomeFolders::HomeFolders(const std::vector<Located>& homes) {
  std::unordered_set<std::string> known;
  for (const Located& home : homes) {
    const std::string shorter = path::withoutPrivatePrefix(home.location).value_or(home.location);
    if (known.insert(home.location).second) add(home, {shorter, home.url.path()});
  }
}

void HomeFolders::add(const Located& home, const std::vector<std::string>& otherPaths) {
  byPath_.insert(home.location, urls_.size());
  for (const std::string& path : otherPaths) byPath_.insert(path, urls_.size());
  urls_.push_back(home.url);
  locations_.push_back(home.location);
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

std::vector<FileURL> outermostOf(const std::vector<FileURL>& folders) {
  std::vector<HomeFolders::Located> located;
  located.reserve(folders.size());
  for (const FileURL& folder : folders) located.push_back({.url = folder, .location = folder.path()});
  return HomeFolders(located).outermost();
}

}  // namespace quarn
