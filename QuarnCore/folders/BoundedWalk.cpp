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

// A root that is a link is not walked, so no other walk may leave its folder to it.
BoundedWalk::OtherRoots BoundedWalk::otherRoots(std::size_t root, const std::vector<FileURL>& roots) const {
  OtherRoots others;
  const std::optional<std::string> here = files_.realPath(roots[root]);
  if (!here) return others;
  for (std::size_t i = 0; i < roots.size(); ++i) {
    const std::optional<std::string> there = i == root ? std::nullopt : files_.realPath(roots[i]);
    const std::optional<ItemFacts> facts = there ? files_.facts(roots[i], Links::doNotFollow) : std::nullopt;
    if (!facts || facts->type != FileType::directory || !path::isInside(*there, *here)) continue;
    if (*there == *here) {
      others.areSame = others.areSame || i < root;
    } else {
      const std::size_t shared = *here == "/" ? 0 : here->size();
      others.inside.insert((roots[root].path() == "/" ? "" : roots[root].path()) + there->substr(shared));
    }
  }
  return others;
}

}  // namespace quarn
