#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnPlatform/base/ByteCounts.h"
#include "QuarnPlatform/files/ItemFacts.h"
#include "QuarnPlatform/walking/ListedItem.h"

namespace quarn {

/// The items of one folder in the order in which they are found. They are stored in blocks. A full block neither
/// changes nor moves, so another thread may read it while the listing goes on.
class FoundItems {
 public:
  struct Block {
    std::vector<ListedItem> items;
    std::string names;
    std::vector<ByteCounts> sizes;  ///< of the first items; may be shorter than the items

    [[nodiscard]] const char* name(const ListedItem& item) const { return names.data() + item.nameAt(); }
  };

  /// The value of sizes that were not read.
  static constexpr ByteCounts kNoSizes = {.allocatedBytes = -1, .logicalBytes = 0};

  /// `name` is NUL-terminated.
  void add(std::string_view name, FileType type, ListedItem::Marks marks,
           const std::optional<ByteCounts>& sizes = std::nullopt);
  /// Removes all items. Frees the memory unless it is small.
  void clear();

  [[nodiscard]] std::size_t size() const { return size_; }
  /// The bytes of all names, including the NUL after each.
  [[nodiscard]] std::size_t namesSize() const { return namesSize_; }
  [[nodiscard]] const ListedItem& item(std::size_t index) const { return block(index).items[index % kBlockItems]; }
  [[nodiscard]] std::string_view name(std::size_t index) const { return item(index).nameIn(block(index).names); }
  [[nodiscard]] const ByteCounts& sizes(std::size_t index) const {
    const std::vector<ByteCounts>& sizes = block(index).sizes;
    return index % kBlockItems < sizes.size() ? sizes[index % kBlockItems] : kNoSizes;
  }

  [[nodiscard]] std::size_t fullBlocks() const { return size_ / kBlockItems; }
  [[nodiscard]] Block& fullBlock(std::size_t number) { return *blocks_[number]; }

 private:
  static constexpr std::size_t kBlockItems = 1024;

  void addBlock();
  [[nodiscard]] const Block& block(std::size_t index) const { return *blocks_[index / kBlockItems]; }

  std::vector<std::unique_ptr<Block>> blocks_;
  std::size_t size_ = 0;
  std::size_t namesSize_ = 0;
};

}  // namespace quarn
