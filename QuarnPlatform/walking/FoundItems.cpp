#include "QuarnPlatform/walking/FoundItems.h"

namespace quarn {
namespace {

constexpr std::size_t kUsualBlockNames = 32u << 10;

}  // namespace

// Compiled apart from `add`, which runs for every item.
[[gnu::cold]] void FoundItems::addBlock() {
  blocks_.push_back(std::make_unique<Block>());
  if (size_ == 0) return;
  blocks_.back()->items.reserve(kBlockItems);
  blocks_.back()->names.reserve(blocks_.front()->names.size());
}

void FoundItems::add(std::string_view name, FileType type, ListedItem::Marks marks,
                     const std::optional<ByteCounts>& sizes) {
  if (size_ == blocks_.size() * kBlockItems) addBlock();
  Block& block = *blocks_.back();
  block.items.emplace_back(block.names.size(), name.size(), type, marks);
  block.names.append(name.data(), name.size() + 1);
  if (sizes) {
    block.sizes.resize(block.items.size() - 1, kNoSizes);
    block.sizes.push_back(*sizes);
  }
  ++size_;
  namesSize_ += name.size() + 1;
}

void FoundItems::clear() {
  size_ = namesSize_ = 0;
  if (blocks_.size() > 1 || (!blocks_.empty() && blocks_.front()->names.capacity() > kUsualBlockNames)) {
    blocks_.clear();
  } else if (!blocks_.empty()) {
    blocks_.front()->items.clear();
    blocks_.front()->names.clear();
    blocks_.front()->sizes.clear();
  }
}

}  // namespace quarn
