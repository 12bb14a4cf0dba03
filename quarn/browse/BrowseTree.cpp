#include "quarn/browse/BrowseTree.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <mutex>
#include <new>

namespace quarn {
namespace {

constexpr std::uint32_t kMostFiles = std::numeric_limits<std::uint32_t>::max();

std::uint32_t fileCount(std::int64_t files) {
  return static_cast<std::uint32_t>(std::clamp<std::int64_t>(files, 0, kMostFiles));
}

}  // namespace

BrowseTree::BrowseTree(std::string_view top) : hasTitle_(!top.starts_with('/')) { create(kTop, top, Kind::folder); }

BrowseTree::~BrowseTree() = default;

const char* BrowseTree::keepName(std::string_view name) {
  if (name.empty()) return "";
  if (nameBytesLeft_ < name.size()) {
    nameBytesLeft_ = std::max(kBytesInBlock, name.size());
    names_.push_back(std::make_unique<char[]>(nameBytesLeft_));
    nameBytes_ += nameBytesLeft_;
  }
  // A block is filled from its end, so that one number says where the next name goes.
  nameBytesLeft_ -= name.size();
  char* place = names_.back().get() + nameBytesLeft_;
  std::memcpy(place, name.data(), name.size());
  return place;
}

BrowseTree::Node BrowseTree::create(Node parent, std::string_view name, Kind kind) {
  if (size_ == kNone) throw std::bad_alloc();
  const auto node = static_cast<Node>(size_);
  if (size_ % kNodesInBlock == 0) blocks_.push_back(std::make_unique<Entry[]>(kNodesInBlock));
  name = name.substr(0, std::numeric_limits<std::uint16_t>::max());
  Entry& entry = at(node);
  entry.name = keepName(name);
  entry.nameLength = static_cast<std::uint16_t>(name.size());
  entry.kind = kind;
  entry.parent = parent;
  ++size_;
  if (node == kTop) return node;
  entry.nextSibling = at(parent).firstChild;
  at(parent).firstChild = node;
  return node;
}

FolderObserver::Folder BrowseTree::enter(Folder parent, const FolderFacts& facts) {
  const std::unique_lock lock(mutex_);
  const Node node = create(parent, facts.name, Kind::folder);
  at(node).isPackage = facts.isPackage;
  at(node).isRead = facts.isRead;
  return node;
}

void BrowseTree::leaveOut(Folder parent, const FolderFacts& facts) { (void)enter(parent, facts); }

void BrowseTree::add(Folder /*folder*/, const Counted& /*files*/) {}

BrowseTree::Node BrowseTree::createFile(Node folder, const File& file) {
  const Node node = create(folder, file.name, Kind::file);
  Entry& entry = at(node);
  entry.sizes = file.sizes;
  entry.files = 1;
  entry.newest = file.modified;
  return node;
}

void BrowseTree::keep(Folder folder, const File& file) { keepAll(folder, {&file, 1}); }

void BrowseTree::keepAll(Folder folder, std::span<const File> files) {
  const std::unique_lock lock(mutex_);
  Entry together;
  for (const File& file : files) {
    const Node node = createFile(folder, file);
    if (file.links > 1) {
      countLinked(node, file);
      continue;
    }
    together.sizes += file.sizes;
    together.newest = std::max(together.newest, file.modified);
    ++together.files;
  }
  if (together.files > 0) count(folder, together);
}

bool BrowseTree::countIn(Node folder, const Entry& files) {
  Entry& entry = at(folder);
  entry.sizes += files.sizes;
  entry.newest = std::max(entry.newest, files.newest);
  entry.files += std::min(files.files, kMostFiles - entry.files);
  return folder != kTop;
}

void BrowseTree::count(Node folder, const Entry& files) {
  while (countIn(folder, files)) folder = at(folder).parent;
}

// A folder in which the file counts already was counted with all folders that hold it.
void BrowseTree::countLinked(Node node, const File& file) {
  const auto next = static_cast<std::uint32_t>(linked_.size());
  const auto [found, isNew] = positions_.try_emplace({.device = file.device, .inode = file.inode}, next);
  if (isNew) linked_.push_back({.links = file.links});
  const std::uint32_t position = found->second;
  linked_[position].names.push_back(node);
  at(node).firstChild = position;
  for (Node folder = at(node).parent;; folder = at(folder).parent) {
    if (!counted_.insert(std::uint64_t{position} << 32 | folder).second) return;
    if (!countIn(folder, at(node))) return;
  }
}

BrowseTree::Node BrowseTree::addSummed(const Item& item) {
  const std::unique_lock lock(mutex_);
  const Node node = create(item.parent, item.name, item.kind);
  Entry& entry = at(node);
  entry.sizes = item.sizes;
  entry.files = fileCount(item.files);
  entry.newest = item.newest;
  entry.isPackage = item.isPackage;
  entry.isRead = item.isRead;
  return node;
}

void BrowseTree::sumTop(const Item& sums) {
  const std::unique_lock lock(mutex_);
  Entry& top = at(kTop);
  top.sizes = sums.sizes;
  top.files = fileCount(sums.files);
  top.newest = sums.newest;
}

std::size_t BrowseTree::size() const {
  const std::shared_lock lock(mutex_);
  return size_;
}

std::size_t BrowseTree::bytesInUse() const {
  const std::shared_lock lock(mutex_);
  return blocks_.size() * kNodesInBlock * sizeof(Entry) + nameBytes_;
}

BrowseTree::Item BrowseTree::itemAt(Node node) const {
  const Entry& entry = at(node);
  const bool isLinked = entry.kind == Kind::file && entry.firstChild != kNone;
  return {.node = node,
          .parent = entry.parent,
          .kind = entry.kind,
          .name = {entry.name, entry.nameLength},
          .sizes = entry.sizes,
          .files = entry.files,
          .newest = entry.newest,
          .links = isLinked ? linked_[entry.firstChild].links : 1,
          .isPackage = entry.isPackage,
          .isRead = entry.isRead};
}

BrowseTree::Item BrowseTree::item(Node node) const {
  const std::shared_lock lock(mutex_);
  return itemAt(node);
}

std::vector<BrowseTree::Item> BrowseTree::items(std::span<const Node> nodes) const {
  std::vector<Item> result;
  result.reserve(nodes.size());
  const std::shared_lock lock(mutex_);
  for (const Node node : nodes) result.push_back(itemAt(node));
  return result;
}

// New children are put in front, so the rest of the list stays as it is between two slices.
void BrowseTree::eachChild(Node folder, const std::function<bool(const Item&)>& consume) const {
  std::shared_lock lock(mutex_);
  if (at(folder).kind != Kind::folder) return;
  std::size_t untilPause = kSliceOfChildren;
  for (Node child = at(folder).firstChild; child != kNone; child = at(child).nextSibling) {
    if (!consume(itemAt(child))) return;
    if (--untilPause != 0) continue;
    untilPause = kSliceOfChildren;
    lock.unlock();
    lock.lock();
  }
}

std::string BrowseTree::path(Node node) const {
  std::vector<std::string_view> names;
  {
    const std::shared_lock lock(mutex_);
    for (; node != kTop; node = at(node).parent) names.emplace_back(at(node).name, at(node).nameLength);
    if (!hasTitle_ || names.empty()) names.emplace_back(at(kTop).name, at(kTop).nameLength);
  }
  std::string result(names.back());
  for (auto name = names.rbegin() + 1; name != names.rend(); ++name) {
    if (!result.ends_with('/')) result += '/';
    result += *name;
  }
  return result;
}

bool BrowseTree::contains(Node folder, Node node) const {
  const std::shared_lock lock(mutex_);
  while (node != folder && node != kTop) node = at(node).parent;
  return node == folder;
}

// The outermost marked item that is or contains the node; `kNone` if there is none.
BrowseTree::Node BrowseTree::outermost(Node node, const std::unordered_set<Node>& marked) const {
  Node result = kNone;
  for (;; node = at(node).parent) {
    if (marked.contains(node)) result = node;
    if (node == kTop) return result;
  }
}

BrowseTree::Union BrowseTree::unionOf(std::span<const Node> items) const {
  const std::unordered_set<Node> marked(items.begin(), items.end());
  Union sum;
  const std::shared_lock lock(mutex_);
  for (const Node node : marked) {
    if (outermost(node, marked) != node) continue;
    sum.sizes += at(node).sizes;
    sum.files += at(node).files;
  }
  if (!marked.empty()) countOnce(marked, sum);
  return sum;
}

// A linked file counted once in each outermost item that has a name of it.
void BrowseTree::countOnce(const std::unordered_set<Node>& marked, Union& sum) const {
  std::unordered_set<Node> holders;
  for (const LinkedFile& file : linked_) {
    holders.clear();
    std::uint64_t names = 0;
    for (const Node name : file.names) {
      const Node holder = outermost(name, marked);
      if (holder == kNone) continue;
      holders.insert(holder);
      ++names;
    }
    if (holders.empty()) continue;
    const ByteCounts& sizes = at(file.names.front()).sizes;
    const auto again = static_cast<std::int64_t>(holders.size()) - 1;
    sum.sizes.allocatedBytes -= again * sizes.allocatedBytes;
    sum.sizes.logicalBytes -= again * sizes.logicalBytes;
    sum.files -= again;
    if (names < file.links) sum.heldElsewhere += sizes.allocatedBytes;
  }
}

}  // namespace quarn
