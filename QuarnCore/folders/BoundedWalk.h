#pragma once

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/walking/DirectoryEnumerator.h"
#include "QuarnPlatform/walking/ItemDepth.h"

namespace quarn {

/// The files and packages below several roots, one after another, within a depth and within a budget of visited items
/// that all roots share. Links and plain folders are passed over; packages are yielded and not entered. One consumer,
/// one thread.
class BoundedWalk {
 public:
  struct Options {
    long maxDepth = 0;    ///< a root's direct entries have depth 1
    long maxVisited = 0;  ///< every enumerated item counts, links, folders and too deep ones as well
    HiddenItems hidden = HiddenItems::skip;
  };

  /// A file or package with its own sizes; a package has none, and both are zero.
  struct Item {
    const DirectoryEnumerator::Item& place;
    bool isPackage;
    ByteCounts sizes;
  };

  BoundedWalk(const FileManager& files, Options options, Cancellation cancellation)
      : files_(files), options_(options), cancellation_(std::move(cancellation)) {}

  /// Calls `consume(Item)` for each item. A missing root is skipped; cancelling ends the walk.
  template <class Consume>
  void run(const std::vector<FileURL>& roots, const Consume& consume) {
    for (const FileURL& root : roots) {
      if (cancellation_.isCancelled()) return;
      if (files_.itemExists(root)) walkRoot(root, consume);
    }
  }

 private:
  template <class Consume>
  void walkRoot(const FileURL& root, const Consume& consume) {
    const ItemDepth depth(files_, root);
    DirectoryEnumerator items(files_, root, enumeration(depth));
    while (const DirectoryEnumerator::Item* item = items.next()) {
      if (cancellation_.isCancelled()) return;
      visited_ = checkedAdd(visited_, 1);
      if (visited_ > options_.maxVisited) return;
      if (depth.exceeds(options_.maxDepth, *item)) {
        items.skipDescendants();
      } else if (item->isPackage()) {
        consume(Item{*item, true, {}});
      } else if (const std::optional<ByteCounts> sizes = item->sizes()) {
        consume(Item{*item, false, *sizes});
      }
    }
  }

  [[nodiscard]] DirectoryEnumerator::Options enumeration(const ItemDepth& depth) const;

  const FileManager& files_;
  Options options_;
  Cancellation cancellation_;
  std::int64_t visited_ = 0;
};

}  // namespace quarn
