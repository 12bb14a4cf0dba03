#include "QuarnCore/folders/BoundedWalk.h"

namespace quarn {

DirectoryEnumerator::Options BoundedWalk::enumeration(const ItemDepth& depth) const {
  return {.hidden = options_.hidden,
          .packages = PackageContents::skip,
          .facts = EnumeratedFacts::sizes,
          .maximumLevel = depth.deepestLevel(options_.maxDepth),
          .readAheadThreads = DirectoryEnumerator::kReadAheadOfLongWalks};
}

}  // namespace quarn
