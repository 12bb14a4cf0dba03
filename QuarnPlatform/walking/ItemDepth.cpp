#include "QuarnPlatform/walking/ItemDepth.h"

#include <algorithm>
#include <array>
#include <string>

#include "QuarnPlatform/paths/Path.h"

namespace quarn {
namespace {

// What standardising may take off the front of a path, and the most components that it takes.
constexpr std::array<std::string_view, 2> kDroppedPrefixes{"/private/var/automount", "/var/automount"};
constexpr int kMostDroppedComponents = 3;
constexpr long kDeepestLevel = 1L << 30;

bool mayBeShortenedIn(std::string_view root) {
  return path::isInside(root, "/private") ||
         std::any_of(kDroppedPrefixes.begin(), kDroppedPrefixes.end(), [&](std::string_view prefix) {
           return path::isInside(root, prefix) || path::isInside(prefix, root);
         });
}

}  // namespace

ItemDepth::ItemDepth(const FileManager& files, const FileURL& root) : files_(files) {
  const std::string standardized = files.standardizedPath(root);
  rootComponents_ = path::names(standardized).size();
  slack_ = standardized != root.path() || mayBeShortenedIn(standardized) ? kMostDroppedComponents : 0;
}

bool ItemDepth::exceeds(long maximum, const DirectoryEnumerator::Item& item) const {
  if (item.level() - slack_ > maximum) return true;
  if (item.level() + slack_ <= maximum) return false;
  const std::size_t components = path::names(files_.standardizedPath(item.url())).size();
  return static_cast<long>(components) - static_cast<long>(rootComponents_) > maximum;
}

int ItemDepth::deepestLevel(long maximum) const {
  return static_cast<int>(std::clamp(maximum, 0L, kDeepestLevel) + slack_);
}

}  // namespace quarn
