#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "QuarnPlatform/files/DirectoryReader.h"
#include "QuarnPlatform/walking/KeptListings.h"
#include "QuarnPlatform/walking/TreeSizer.h"
#include "QuarnPlatform/walking/WalkedFolders.h"

namespace quarn {

/// One of the trees of a walk, as its threads share it.
struct SizedTree {
  explicit SizedTree(const TreeSizer::Tree& asked) : tree(asked), needsPackages(asked.attribution->needsPackages()) {}

  /// The path of an item, by its path below the root ("/a/b").
  [[nodiscard]] std::string pathOf(const std::string& pathBelowRoot) const {
    const std::string path = tree.root.path() == "/" ? pathBelowRoot : tree.root.path() + pathBelowRoot;
    return path.empty() ? "/" : path;
  }

  const TreeSizer::Tree& tree;
  const bool needsPackages;
  TreeSizer::TreeTotals
      found{};  ///< guarded by the scheduler's lock; `error` belongs to the thread that reads the root
};

/// The subfolders that one listing found and that nobody has entered yet. One allocation for all of them.
struct SubFolders {
  struct Item {
    std::optional<Attribution::Step> step;
    std::optional<Attribution::Step> asPackage;  ///< differs from `step` where it matters whether this is a package
    bool isHidden = false;
  };

  SizedTree* tree;            ///< the tree that they are in
  WalkedFolders::Use folder;  ///< the folder that holds them
  std::vector<Item> items;
  std::string names;  ///< in the order of `items`, each with a NUL after it
  FolderObserver::Folder observed = 0;
  KeptListings::Place place;  ///< of the folder that holds them
  std::size_t nextItem = 0;
  std::size_t nextName = 0;
};

/// What a thread takes at one time: the root of a tree, a folder to enter, or a part of a big folder's listing.
struct SizingTask {
  SizedTree* tree = nullptr;                   ///< the tree that it is in
  std::shared_ptr<const SubFolders> siblings;  ///< keeps the name and the parent folder; null for a part and a root
  SubFolders::Item item;
  const char* name = nullptr;

  std::shared_ptr<const WalkedFolders::Use> bigFolder;  ///< of the part; null for a root and a folder to enter
  DirectoryReader::Stretch part;
  FolderObserver::Folder observed = 0;  ///< the big folder's
  KeptListings::Place place{};          ///< the big folder's
  unsigned tries = 0;                   ///< that failed for want of a descriptor while no other thread was busy
};

/// What a thread has counted in one tree since it last shared its totals. Belongs to that thread.
struct UnsharedTotals {
  SizedTree* tree = nullptr;
  TreeSizer::Totals totals{};
  unsigned files = 0;
};

}  // namespace quarn
