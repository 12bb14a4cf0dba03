#include "QuarnSystem/formats/BillOfMaterials.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "QuarnPlatform/base/Limits.h"
#include "QuarnSystem/formats/ByteReader.h"

namespace quarn {

namespace {

constexpr std::string_view kBillMagic = "BOMStore";
constexpr std::string_view kTreeMagic = "tree";
constexpr std::string_view kPathsVariable = "Paths";
constexpr std::uint32_t kVersion = 1;
constexpr std::uint32_t kMaxVariables = 64;
constexpr std::size_t kMaxTreeLevels = 16;

constexpr std::uint64_t kNodeHeaderBytes = 12;
constexpr std::uint64_t kPairBytes = 8;
constexpr std::uint64_t kMaxPairs = 2 * kMaxBillEntries;  ///< in leaves and branches; enough to detect too many entries
constexpr std::uint64_t kShortestRecord = 4;

using BlockNumber = std::uint32_t;

/// Finds the blocks of the file by number. Reads the table in place.
class BlockStore {
 public:
  static std::optional<BlockStore> open(std::string_view bytes);

  [[nodiscard]] std::uint32_t capacity() const { return capacity_; }
  /// The bytes of a block. Absent for the null block, a number beyond the table, and a block that is not inside the
  /// file.
  [[nodiscard]] std::optional<std::string_view> block(BlockNumber number) const;
  /// The block of the variable with that name.
  [[nodiscard]] std::optional<BlockNumber> variable(std::string_view name) const;

 private:
  explicit BlockStore(std::string_view bytes) : file_(bytes) {}

  ByteReader file_;
  std::uint64_t table_ = 0;
  std::uint32_t capacity_ = 0;
  std::string_view variables_;
};

std::optional<BlockStore> BlockStore::open(std::string_view bytes) {
  BlockStore store(bytes);
  const ByteReader& file = store.file_;
  const auto tableOffset = file.u32(16);
  const auto variablesOffset = file.u32(24);
  const auto variablesLength = file.u32(28);
  if (!bytes.starts_with(kBillMagic) || file.u32(8) != kVersion || !variablesLength) return std::nullopt;
  const auto capacity = file.u32(*tableOffset);
  store.table_ = std::uint64_t{*tableOffset} + 4;
  if (!capacity || !file.slice(store.table_, std::uint64_t{*capacity} * kPairBytes)) return std::nullopt;
  const auto variables = file.slice(*variablesOffset, *variablesLength);
  if (!variables) return std::nullopt;
  store.capacity_ = *capacity;
  store.variables_ = *variables;
  return store;
}

std::optional<std::string_view> BlockStore::block(BlockNumber number) const {
  if (number == 0 || number >= capacity_) return std::nullopt;
  const std::uint64_t entry = table_ + number * kPairBytes;
  return file_.slice(*file_.u32(entry), *file_.u32(entry + 4));
}

std::optional<BlockNumber> BlockStore::variable(std::string_view name) const {
  const ByteReader variables(variables_);
  const std::uint32_t count = std::min(variables.u32(0).value_or(0), kMaxVariables);
  std::uint64_t position = 4;
  for (std::uint32_t i = 0; i < count; ++i) {
    const auto number = variables.u32(position);
    const auto length = variables.u8(position + 4);
    const auto found = variables.slice(position + 5, length.value_or(0));
    if (!length || !found) return std::nullopt;
    if (*found == name) return number;
    position += 5 + *length;
  }
  return std::nullopt;
}

/// A pair in a node. In a leaf: the two blocks of an entry. In a branch: a child and its last key.
struct Pair {
  BlockNumber first = 0;
  BlockNumber second = 0;
};

struct Node {
  bool isLeaf = false;
  BlockNumber next = 0;  ///< the next leaf
  ByteReader pairs{{}};

  [[nodiscard]] std::uint64_t count() const { return pairs.size() / kPairBytes; }
  [[nodiscard]] Pair pair(std::uint64_t i) const {
    return {.first = *pairs.u32(i * kPairBytes), .second = *pairs.u32(i * kPairBytes + 4)};
  }
};

/// Walks the leaves of the tree of paths. A walk reads at most as many pairs as the file can hold, so nodes that
/// share bytes cannot make it long.
class PathsTree {
 public:
  static std::optional<PathsTree> open(const BlockStore& store, std::size_t fileBytes);

  /// The pairs of all leaves from left to right, along the forward links of the leaves. If a writer left the links
  /// empty, the count of entries reveals it.
  [[nodiscard]] std::vector<Pair> pairs() const;

 private:
  PathsTree(const BlockStore& store, std::uint64_t room) : store_(&store), room_(room) {}

  [[nodiscard]] std::optional<Node> node(BlockNumber number) const;
  [[nodiscard]] BlockNumber leftmostLeaf() const;
  [[nodiscard]] std::vector<Pair> pairsAlongLeaves() const;
  [[nodiscard]] std::vector<Pair> pairsBelowBranches() const;

  const BlockStore* store_;
  std::uint64_t room_;
  BlockNumber root_ = 0;
  std::uint32_t entryCount_ = 0;
};

std::optional<PathsTree> PathsTree::open(const BlockStore& store, std::size_t fileBytes) {
  const auto number = store.variable(kPathsVariable);
  const auto block = number ? store.block(*number) : std::nullopt;
  if (!block || !block->starts_with(kTreeMagic)) return std::nullopt;
  const ByteReader fields(*block);
  const auto root = fields.u32(8);
  const auto entryCount = fields.u32(16);
  if (!entryCount) return std::nullopt;
  PathsTree tree(store, std::min(fileBytes / kPairBytes, kMaxPairs));
  tree.root_ = *root;
  tree.entryCount_ = *entryCount;
  return tree.node(*root) ? std::optional(tree) : std::nullopt;
}

/// Reads a node and its pairs. Some writers pad nodes to a full block, some do not.
std::optional<Node> PathsTree::node(BlockNumber number) const {
  const auto block = store_->block(number);
  if (!block) return std::nullopt;
  const ByteReader fields(*block);
  const auto isLeaf = fields.u16(0);
  const auto count = fields.u16(2);
  const auto next = fields.u32(4);
  const auto pairs = fields.slice(kNodeHeaderBytes, count.value_or(0) * kPairBytes);
  if (!next || !pairs) return std::nullopt;
  return Node{.isLeaf = *isLeaf != 0, .next = *next, .pairs = ByteReader(*pairs)};
}

std::vector<Pair> PathsTree::pairs() const {
  auto along = pairsAlongLeaves();
  if (along.size() >= entryCount_) return along;
  auto below = pairsBelowBranches();
  return below.size() > along.size() ? below : along;
}

void append(const Node& leaf, std::vector<Pair>& pairs) {
  for (std::uint64_t i = 0; i < leaf.count(); ++i) pairs.push_back(leaf.pair(i));
}

/// Returns the null block if the branches do not lead to a leaf.
BlockNumber PathsTree::leftmostLeaf() const {
  BlockNumber number = root_;
  for (std::size_t level = 0; level < kMaxTreeLevels; ++level) {
    const auto current = node(number);
    if (!current) return 0;
    if (current->isLeaf) return number;
    if (current->count() == 0) return 0;
    number = current->pair(0).first;
  }
  return 0;
}

std::vector<Pair> PathsTree::pairsAlongLeaves() const {
  std::vector<Pair> pairs;
  std::vector<bool> seen(store_->capacity());
  BlockNumber number = leftmostLeaf();
  while (number < seen.size() && !seen[number]) {
    seen[number] = true;
    const auto leaf = node(number);
    if (!leaf || !leaf->isLeaf || leaf->count() > room_ - pairs.size()) break;
    append(*leaf, pairs);
    number = leaf->next;
  }
  return pairs;
}

std::vector<Pair> PathsTree::pairsBelowBranches() const {
  std::vector<Pair> pairs;
  std::vector<bool> seen(store_->capacity());
  std::vector<BlockNumber> waiting{root_};
  std::uint64_t read = 0;
  while (!waiting.empty()) {
    const BlockNumber number = waiting.back();
    waiting.pop_back();
    const auto current = number < seen.size() && !seen[number] ? node(number) : std::nullopt;
    if (!current) continue;
    seen[number] = true;
    read += current->count();
    if (read > room_) break;
    if (current->isLeaf) append(*current, pairs);
    for (std::uint64_t i = current->count(); !current->isLeaf && i-- > 0;) waiting.push_back(current->pair(i).first);
  }
  return pairs;
}

constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

/// An entry of the tree while its path is built.
struct Item {
  enum class State : std::uint8_t { waiting, entered, listed, dropped };

  std::uint32_t id = 0;
  std::uint32_t parentId = 0;
  std::string_view name;
  std::optional<BillEntryType> type;
  State state = State::waiting;
  bool hasItems = false;
  std::uint32_t parent = kNone;  ///< index of the parent; kNone if there is none
  std::uint32_t depth = 0;       ///< components of the path
  std::uint64_t pathBytes = 0;

  [[nodiscard]] bool isRoot() const { return parentId == 0 && name == "."; }
};

std::optional<BillEntryType> typeOf(std::string_view record) {
  // clang-format off
  constexpr std::array<BillEntryType, 4> kTypes{{
      BillEntryType::file, BillEntryType::directory, BillEntryType::link, BillEntryType::device,
  }};
  // clang-format on
  const auto number = static_cast<std::uint8_t>(record[0]);
  if (number < 1 || number > kTypes.size()) return std::nullopt;
  return kTypes[number - 1U];
}

bool isName(std::string_view name) {
  return !name.empty() && name != "." && name != ".." && name.find('/') == std::string_view::npos;
}

std::optional<Item> itemOf(const BlockStore& store, Pair pair) {
  const ByteReader info(store.block(pair.first).value_or(std::string_view()));
  const ByteReader key(store.block(pair.second).value_or(std::string_view()));
  const auto id = info.u32(0);
  const auto recordNumber = info.u32(4);
  const auto parentId = key.u32(0);
  const auto name = key.terminatedText(4);
  if (!recordNumber || !name) return std::nullopt;
  const auto record = store.block(*recordNumber);
  if (!record || record->size() < kShortestRecord) return std::nullopt;
  Item item{.id = *id, .parentId = *parentId, .name = *name, .type = typeOf(*record)};
  if (!item.isRoot() && !isName(item.name)) return std::nullopt;
  return item;
}

/// Builds the paths of the items.
class PathBuilder {
 public:
  explicit PathBuilder(std::vector<Item> items) : items_(std::move(items)) {}

  std::optional<std::vector<BillEntry>> entries();

 private:
  void linkParents();
  void resolve(std::uint32_t index);
  void settle(Item& item);
  [[nodiscard]] std::string path(const Item& item) const;

  std::vector<Item> items_;
  std::vector<std::uint32_t> chain_;  ///< from an item to its first settled ancestor
};

/// Sorts instead of hashing, because a hostile bill could choose numbers with colliding hashes.
void PathBuilder::linkParents() {
  std::vector<std::uint32_t> byId(items_.size());
  for (std::uint32_t i = 0; i < byId.size(); ++i) byId[i] = i;
  std::stable_sort(byId.begin(), byId.end(), [&](auto left, auto right) { return items_[left].id < items_[right].id; });
  for (std::size_t i = 1; i < byId.size(); ++i) {
    if (items_[byId[i]].id == items_[byId[i - 1]].id) items_[byId[i]].state = Item::State::dropped;
  }
  for (auto& item : items_) {
    if (item.parentId == 0) continue;
    const auto found = std::lower_bound(byId.begin(), byId.end(), item.parentId,
                                        [&](auto index, auto id) { return items_[index].id < id; });
    if (found == byId.end() || items_[*found].id != item.parentId) {
      item.state = Item::State::dropped;
    } else {
      item.parent = *found;
      items_[*found].hasItems = true;
    }
  }
}

/// Climbs to the first ancestor that is settled or was entered on this climb, then settles the items below it.
void PathBuilder::resolve(std::uint32_t index) {
  chain_.clear();
  while (index != kNone && items_[index].state == Item::State::waiting) {
    items_[index].state = Item::State::entered;
    chain_.push_back(index);
    index = items_[index].parent;
  }
  for (; !chain_.empty(); chain_.pop_back()) settle(items_[chain_.back()]);
}

/// If the parent is still only entered, it is on this climb: the items form a cycle.
void PathBuilder::settle(Item& item) {
  item.depth = item.isRoot() ? 0 : 1;
  item.pathBytes = item.isRoot() ? 0 : item.name.size();
  bool isListed = true;
  if (item.parent != kNone) {
    const Item& parent = items_[item.parent];
    isListed = parent.state == Item::State::listed;
    item.depth += parent.depth;
    item.pathBytes += parent.pathBytes + (parent.depth > 0 ? 1 : 0);
  }
  const bool isUsual = item.depth <= kMaxBillDepth && item.pathBytes <= limits::kRecordPathBytes;
  item.state = isListed && isUsual ? Item::State::listed : Item::State::dropped;
}

/// Fills the path from right to left.
std::string PathBuilder::path(const Item& item) const {
  std::string result(item.pathBytes, '/');
  std::size_t end = result.size();
  for (const Item* part = &item;; part = &items_[part->parent]) {
    end -= part->name.size();
    part->name.copy(&result[end], part->name.size());
    if (end == 0) return result;
    --end;
  }
}

std::optional<std::vector<BillEntry>> PathBuilder::entries() {
  linkParents();
  for (std::uint32_t i = 0; i < items_.size(); ++i) resolve(i);
  const auto isListed = [](const Item& item) { return item.state == Item::State::listed && item.depth > 0; };
  std::uint64_t pathBytes = 0;
  for (const auto& item : items_) pathBytes += isListed(item) ? item.pathBytes : 0;
  if (pathBytes > kMaxBillPathBytes) return std::nullopt;
  std::vector<BillEntry> entries;
  entries.reserve(items_.size());
  for (const auto& item : items_) {
    if (!isListed(item)) continue;
    const auto untyped = item.hasItems ? BillEntryType::directory : BillEntryType::file;
    entries.push_back({.path = path(item), .type = item.type.value_or(untyped)});
  }
  return entries;
}

}  // namespace

std::optional<std::vector<BillEntry>> readBillOfMaterials(std::string_view bytes) {
  if (bytes.size() > kMaxBillBytes) return std::nullopt;
  const auto store = BlockStore::open(bytes);
  if (!store) return std::nullopt;
  const auto tree = PathsTree::open(*store, bytes.size());
  if (!tree) return std::nullopt;
  const auto pairs = tree->pairs();
  if (pairs.size() > kMaxBillEntries) return std::nullopt;
  std::vector<Item> items;
  items.reserve(pairs.size());
  for (const auto& pair : pairs) {
    if (auto item = itemOf(*store, pair)) items.push_back(*item);
  }
  return PathBuilder(std::move(items)).entries();
}

}  // namespace quarn
