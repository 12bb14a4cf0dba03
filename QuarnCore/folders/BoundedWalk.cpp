#include "QuarnCore/folders/BoundedWalk.h"

#include "QuarnPlatform/paths/Path.h"

namespace quarn {

DirectoryEnumerator::Options BoundedWalk::enumeration(const ItemDepth& depth) const {
  return {.hidden = options_.hidden,
          .packages = PackageContents::skip,
          .facts = EnumeratedFacts::sizes,
          .maximumLevel = depth.deepestLevel(options_.maxDepth),
          .readAheadThreads = DirectoryEnumerator::kReadAheadOfLongWalks};
}

// Roots that are links are not walked. So another walk must not skip the folders that they lead to.
BoundedWalk::Locations BoundedWalk::locationsOf(const std::vector<FileURL>& roots) const {
  Locations locations;
  locations.reserve(roots.size());
  for (const FileURL& root : roots) {
    const std::optional<ItemFacts> facts = files_.facts(root, Links::doNotFollow);
    const bool isFolder = facts && facts->type == FileType::directory;
    locations.push_back(isFolder ? files_.realPath(root) : std::nullopt);
  }
  return locations;
}

BoundedWalk::OtherRoots BoundedWalk::otherRoots(std::size_t position, const FileURL& root, const Locations& locations) {
  OtherRoots others;
  const std::optional<std::string>& here = locations[position];
  if (!here) return others;
  const std::string start = root.path() == "/" ? std::string() : root.path();
  for (std::size_t i = 0; i < locations.size(); ++i) {
    const std::optional<std::string>& there = locations[i];
    if (i == position || !there || !path::isInside(*there, *here)) continue;
    if (*there == *here) {
      others.areSame = others.areSame || i < position;
    } else {
      others.inside.insert(start + there->substr(*here == "/" ? 0 : here->size()));
    }
  }
  return others;
}

}  // namespace quarn
