#pragma once

#include <array>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "quarn/browse/BrowseTree.h"

namespace quarn {

/// Hands what a walk finds to the browser's tree: folders at once, the files of a folder together. So the tree's lock
/// is taken once per folder or per `kFilesTogether` files and not once per file, and the screen rarely waits for it.
///
/// Who owns what: this owns the files that are not in the tree yet, by folder, in a few shares with a lock each. The
/// threads of the walk call it; two of them use the same share only now and then. No share is locked while the tree is
/// called. Memory: up to `kFilesTogether` files with names for each folder that is being read.
class BrowseWalk final : public FolderObserver {
 public:
  static constexpr std::size_t kFilesTogether = 256;

  explicit BrowseWalk(BrowseTree& tree) : tree_(tree) {}

  Folder enter(Folder parent, const FolderFacts& facts) override { return tree_.enter(parent, facts); }
  void leaveOut(Folder parent, const FolderFacts& facts) override { tree_.leaveOut(parent, facts); }
  void keep(Folder folder, const File& file) override;
  /// The walk has read the folder, or a part of it.
  void add(Folder folder, const Counted& files) override;
  /// Hands over what is left, after a walk that an error ended.
  void finish();

 private:
  /// Files whose names are in `names`, one after the other.
  struct Batch {
    std::vector<File> files{};
    std::vector<std::size_t> lengths{};
    std::string names{};
  };
  struct Share {
    std::mutex mutex{};
    std::unordered_map<Folder, Batch> batches{};
  };

  static void append(Batch& batch, const File& file);
  void handOver(Folder folder, Batch batch);
  Share& shareOf(Folder folder) { return shares_[folder % shares_.size()]; }

  BrowseTree& tree_;
  std::array<Share, 16> shares_{};
};

}  // namespace quarn
