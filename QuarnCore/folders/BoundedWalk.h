#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "QuarnPlatform/base/Cancellation.h"
#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/walking/DirectoryEnumerator.h"
#include "QuarnPlatform/walking/ItemDepth.h"

namespace quarn {

/// Walks the files and packages below several roots, one after another, up to a depth and a number of visited items
/// that all roots share. Skips links and plain folders; yields packages without entering them. Not thread-safe.
class BoundedWalk {
 public:
  struct Options {
    long maxDepth = 0;    ///< direct entries of a root have depth 1
    long maxVisited = 0;  ///< all items count, including links, folders and items that are too deep
    HiddenItems hidden = HiddenItems::skip;
    bool entersOtherRoots = true;  ///< from a root around them; false: their items are yielded once
  };

  /// A file or package. A package has sizes of 0.
  struct Item {
    const DirectoryEnumerator::Item& place;
    bool isPackage;
    ByteCounts sizes;
  };

  BoundedWalk(const FileManager& files, Options options, Cancellation cancellation)
      : files_(files.cancelledBy(std::move(cancellation))), options_(options) {}

  /// Calls `consume(Item)` for each item. Skips missing roots. Stops when cancelled.
  template <class Consume>
  void run(const std::vector<FileURL>& roots, const Consume& consume) {
    const Locations locations = options_.entersOtherRoots ? Locations() : locationsOf(roots);
    for (std::size_t i = 0; i < roots.size(); ++i) {
      if (files_.cancellation().isCancelled()) return;
      if (!files_.itemExists(roots[i])) continue;
      const OtherRoots others = locations.empty() ? OtherRoots() : otherRoots(i, roots[i], locations);
      if (!others.areSame) walkRoot(roots[i], others.inside, consume);
    }
  }

 private:
  /// The real path of each root; absent for a root that is not walked.
  using Locations = std::vector<std::optional<std::string>>;
  struct OtherRoots {
    std::unordered_set<std::string> inside{};  ///< paths, as the walk meets them
    bool areSame = false;                      ///< an earlier root is the same folder
  };

  [[nodiscard]] static bool isOneOf(const std::unordered_set<std::string>& roots,
                                    const DirectoryEnumerator::Item& item) {
    return !roots.empty() && item.isDirectory() && roots.contains(item.url().path());
  }
  [[nodiscard]] Locations locationsOf(const std::vector<FileURL>& roots) const;
  [[nodiscard]] static OtherRoots otherRoots(std::size_t position, const FileURL& root, const Locations& locations);

  template <class Consume>
  void walkRoot(const FileURL& root, const std::unordered_set<std::string>& others, const Consume& consume) {
    const ItemDepth depth(files_, root);
    DirectoryEnumerator items(files_, root, enumeration(depth));
    while (const DirectoryEnumerator::Item* item = items.next()) {
      visited_ = checkedAdd(visited_, 1);
      if (visited_ > options_.maxVisited) return;
      if (depth.exceeds(options_.maxDepth, *item) || isOneOf(others, *item)) {
        items.skipDescendants();
      } else if (item->isPackage()) {
        consume(Item{*item, true, {}});
      } else if (const std::optional<ByteCounts> sizes = item->sizes()) {
        consume(Item{*item, false, *sizes});
      }
    }
  }

  [[nodiscard]] DirectoryEnumerator::Options enumeration(const ItemDepth& depth) const;

  const FileManager files_;
  Options options_;
  std::int64_t visited_ = 0;
};

}  // namespace quarn
