#include "QuarnPlatform/walking/ItemDepth.h"

#include <algorithm>
#include <string>

#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/paths/PrivatePrefix.h"

namespace quarn {
namespace {

constexpr long kDeepestLevel = 1L << 30;

}  // namespace

ItemDepth::ItemDepth(const FileManager& files, const FileURL& root) : files_(files) {
  const std::string standardized = files.standardizedPath(root);
  rootComponents_ = path::names(standardized).size();
  slack_ = standardized != root.path() || path::mayHoldPrivatePrefix(standardized) ? path::kMostPrivateComponents : 0;
}

long ItemDepth::depthOf(const DirectoryEnumerator::Item& item) const {
  const std::size_t components = path::names(files_.standardizedPath(item.url())).size();
  return static_cast<long>(components) - static_cast<long>(rootComponents_);
}

int ItemDepth::deepestLevel(long maximum) const {
  return static_cast<int>(std::clamp(maximum, 0L, kDeepestLevel) + slack_);
}

}  // namespace quarn
