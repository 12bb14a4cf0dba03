#pragma once

#include <cstddef>

#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/walking/DirectoryEnumerator.h"

namespace quarn {

/// How deep a walk's items lie below its root, in components of their standardised paths. That is their level, except
/// where standardising shortens some of the paths ("/private/etc/hosts" below "/" is two deep). Refers to the file
/// manager, which must outlive it.
class ItemDepth {
 public:
  ItemDepth(const FileManager& files, const FileURL& root);

  /// Whether the item lies deeper than `maximum`. Looks at the disk only where the level leaves it open.
  [[nodiscard]] bool exceeds(long maximum, const DirectoryEnumerator::Item& item) const {
    return item.level() + slack_ > maximum && (item.level() - slack_ > maximum || depthOf(item) > maximum);
  }
  /// Level of the deepest folders that a walk has to enter to meet everything that is no deeper than `maximum` and what
  /// lies directly below.
  [[nodiscard]] int deepestLevel(long maximum) const;

 private:
  [[nodiscard]] long depthOf(const DirectoryEnumerator::Item& item) const;

  const FileManager& files_;
  std::size_t rootComponents_;
  int slack_;  // by how much depth and level may differ
};

}  // namespace quarn
