#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "quarn/browse/BrowseListing.h"
#include "quarn/browse/BrowseTree.h"

namespace quarn {

/// The item at a path; throws if the tree has none.
inline BrowseTree::Node nodeAt(const BrowseTree& tree, std::string_view path,
                               BrowseTree::Node from = BrowseTree::kTop) {
  if (tree.path(from) == path) return from;
  std::optional<BrowseTree::Node> next;
  std::vector<BrowseTree::Node> children;
  tree.eachChild(from, [&](const BrowseTree::Item& item) {
    children.push_back(item.node);
    return true;
  });
  for (const BrowseTree::Node child : children) {
    const std::string childPath = tree.path(child);
    if (path == childPath || path.starts_with(childPath + "/")) next = child;
  }
  if (!next) throw std::out_of_range(std::string(path));
  return nodeAt(tree, path, *next);
}

/// A file of a tree that is made by hand. The times and sizes are given, so that pictures do not depend on a disk.
inline BrowseTree::Node addFile(BrowseTree& tree, BrowseTree::Node folder, std::string_view name, std::int64_t bytes,
                                std::int64_t modified = 0) {
  const std::size_t node = tree.size();
  tree.keep(folder,
            {.name = name, .sizes = {.allocatedBytes = bytes, .logicalBytes = 2 * bytes}, .modified = modified});
  return static_cast<BrowseTree::Node>(node);
}

inline BrowseTree::Node addFolder(BrowseTree& tree, BrowseTree::Node folder, std::string_view name) {
  return tree.enter(folder, {.name = name});
}

/// The names of the items of a listing.
inline std::vector<std::string> namesOf(const BrowseTree& tree, const std::vector<BrowseTree::Node>& items) {
  std::vector<std::string> names;
  for (const BrowseTree::Node item : items) names.emplace_back(tree.item(item).name);
  return names;
}

}  // namespace quarn
