#include "QuarnCore/folders/BoundedWalk.h"

namespace quarn {
namespace {

// More readers than processors: with a cold cache they wait for the disk, not for each other.
constexpr unsigned kReadAheadThreads = 7;

}  // namespace

DirectoryEnumerator::Options BoundedWalk::enumeration(const ItemDepth& depth) const {
  return {.hidden = options_.hidden,
          .packages = PackageContents::skip,
          .facts = EnumeratedFacts::sizes,
          .maximumLevel = depth.deepestLevel(options_.maxDepth),
          .readAheadThreads = kReadAheadThreads};
}

}  // namespace quarn
