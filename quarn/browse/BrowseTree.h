#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <shared_mutex>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "QuarnPlatform/base/ByteCounts.h"
#include "QuarnPlatform/walking/FolderObserver.h"

namespace quarn {

/// The folders and files that the browser shows, with the sums of all folders at any moment. A walk or the reader of a
/// scan fills it while other threads read it. A file with several names counts once in each folder that holds it,
/// however many of the names are below. Links and special files have no size and are not in it.
///
/// Who owns what: this owns all nodes and names. `mutex_` guards them, except the bytes of names, which never move or
/// change. A writer holds it for one item or for the files that it adds together, and takes a step per level; a reader
/// holds it for one item or `kSliceOfChildren` children. No other lock is taken while it is held.
///
/// Memory: 56 bytes and the name per item, allocated in blocks that never move. Each name of a file with several names
/// also costs about 40 bytes per folder that holds it.
class BrowseTree final : public FolderObserver {
 public:
  using Node = Folder;
  static constexpr Node kTop = 0;

  enum class Kind : std::uint8_t {
    folder,
    file,
    rest,  ///< files of a folder that a scan counts and does not hold; has no name
  };
  struct Item {
    Node node = kTop;
    Node parent = kTop;  ///< of the top: the top
    Kind kind = Kind::folder;
    std::string_view name{};  ///< valid as long as the tree
    ByteCounts sizes{};
    std::int64_t files = 0;  ///< regular files in it; 1 for a file
    std::int64_t newest = kNoTime;
    std::uint64_t links = 1;  ///< number of names of a file
    bool isPackage = false;
    bool isRead = true;  ///< false for a folder that was not entered
  };
  /// What marked items hold together.
  struct Union {
    ByteCounts sizes{};
    std::int64_t files = 0;
    /// The part of `sizes` that stays on the disk when all marked items are removed, because the files have other
    /// names.
    std::int64_t heldElsewhere = 0;
    friend bool operator==(const Union&, const Union&) = default;
  };

  /// `top` is the path of the top folder, or a title that does not begin with "/" for a list of roots.
  explicit BrowseTree(std::string_view top);
  ~BrowseTree() override;

  // From the threads that fill it.

  Folder enter(Folder parent, const FolderFacts& facts) override;
  void leaveOut(Folder parent, const FolderFacts& facts) override;
  /// Does nothing, because `keep` receives every file.
  void add(Folder folder, const Counted& files) override;
  void keep(Folder folder, const File& file) override;
  /// Several files of one folder. Takes the lock once, and counts those with one name together.
  void keepAll(Folder folder, std::span<const File> files);
  /// An item with the sums of a scan. They do not count in its parent, whose sums are complete.
  Node addSummed(const Item& item);
  /// Sets the sums of the top.
  void sumTop(const Item& sums);

  // From any thread.

  [[nodiscard]] bool hasTitle() const { return hasTitle_; }
  /// The number of items.
  [[nodiscard]] std::size_t size() const;
  /// The memory of items and names, without that for files with several names.
  [[nodiscard]] std::size_t bytesInUse() const;
  [[nodiscard]] Item item(Node node) const;
  /// Several items at one moment.
  [[nodiscard]] std::vector<Item> items(std::span<const Node> nodes) const;
  /// Calls `consume` for the items directly in a folder, in no order, until it returns false. `consume` must be quick
  /// and must not call the tree.
  void eachChild(Node folder, const std::function<bool(const Item&)>& consume) const;
  /// The path on the Mac; of a tree with a title, that of the top is the title.
  [[nodiscard]] std::string path(Node node) const;
  /// True if `folder` is the node or contains it.
  [[nodiscard]] bool contains(Node folder, Node node) const;
  /// What the items hold together. An item in another one, and a file with several names, count once.
  [[nodiscard]] Union unionOf(std::span<const Node> items) const;

 private:
  static constexpr std::size_t kNodesInBlock = 4096;
  static constexpr std::size_t kBytesInBlock = 64u << 10;
  static constexpr std::size_t kSliceOfChildren = 4096;
  static constexpr Node kNone = 0xFFFFFFFF;

  struct Entry {
    ByteCounts sizes{};
    std::int64_t newest = kNoTime;
    const char* name = nullptr;
    Node parent = kTop;
    Node nextSibling = kNone;
    std::uint32_t firstChild = kNone;  // of a file: its position in `linked_`
    std::uint32_t files = 0;           // more count as the largest number
    std::uint16_t nameLength = 0;
    Kind kind = Kind::folder;
    bool isPackage = false;
    bool isRead = true;
  };
  static_assert(sizeof(Entry) <= 64);
  /// A file with several names.
  struct LinkedFile {
    std::uint64_t links = 0;
    std::vector<Node> names{};  // those that the walk found
  };
  struct Identity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    friend bool operator==(const Identity&, const Identity&) = default;
  };
  struct IdentityHash {
    std::size_t operator()(const Identity& identity) const {
      return static_cast<std::size_t>(identity.inode * 0x9E3779B97F4A7C15 ^ identity.device);
    }
  };

  [[nodiscard]] Entry& at(Node node) { return blocks_[node / kNodesInBlock][node % kNodesInBlock]; }
  [[nodiscard]] const Entry& at(Node node) const { return blocks_[node / kNodesInBlock][node % kNodesInBlock]; }
  [[nodiscard]] Item itemAt(Node node) const;
  [[nodiscard]] const char* keepName(std::string_view name);
  Node create(Node parent, std::string_view name, Kind kind);
  Node createFile(Node folder, const File& file);
  void count(Node folder, const Entry& files);
  bool countIn(Node folder, const Entry& files);
  void countLinked(Node node, const File& file);
  [[nodiscard]] Node outermost(Node node, const std::unordered_set<Node>& marked) const;
  void countOnce(const std::unordered_set<Node>& marked, Union& sum) const;

  const bool hasTitle_;
  mutable std::shared_mutex mutex_;
  std::vector<std::unique_ptr<Entry[]>> blocks_;
  std::size_t size_ = 0;
  std::vector<std::unique_ptr<char[]>> names_;
  std::size_t nameBytes_ = 0;      // in all blocks
  std::size_t nameBytesLeft_ = 0;  // in the last block
  std::vector<LinkedFile> linked_;
  std::unordered_map<Identity, std::uint32_t, IdentityHash> positions_;  // in `linked_`
  std::unordered_set<std::uint64_t> counted_;  // position in `linked_` and folder: the file counts in the folder
};

}  // namespace quarn
