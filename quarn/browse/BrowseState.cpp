#include "quarn/browse/BrowseState.h"

#include <algorithm>
#include <utility>

namespace quarn {
namespace {

using Code = BrowseKey::Code;

constexpr std::size_t kLongestFilter = 256;

const std::vector<BrowseTree::Node> kNoItems;

void appendUTF8(std::string& text, char32_t scalar) {
  const auto byte = [&](char32_t value) { text += static_cast<char>(static_cast<unsigned char>(value)); };
  if (scalar < 0x80) return byte(scalar);
  if (scalar < 0x800) return byte(0xC0 | scalar >> 6), byte(0x80 | (scalar & 0x3F));
  if (scalar < 0x10000)
    return byte(0xE0 | scalar >> 12), byte(0x80 | (scalar >> 6 & 0x3F)), byte(0x80 | (scalar & 0x3F));
  byte(0xF0 | scalar >> 18), byte(0x80 | (scalar >> 12 & 0x3F)), byte(0x80 | (scalar >> 6 & 0x3F));
  byte(0x80 | (scalar & 0x3F));
}

void removeLastCharacter(std::string& text) {
  while (!text.empty() && (static_cast<unsigned char>(text.back()) & 0xC0) == 0x80) text.pop_back();
  if (!text.empty()) text.pop_back();
}

BrowseSort nextSort(BrowseSort sort) {
  constexpr std::size_t kSorts = RawValues<BrowseSort>::kStrings.size();
  return static_cast<BrowseSort>((static_cast<std::size_t>(sort) + 1) % kSorts);
}

// Letters that do the same as another key: "h" is the left arrow.
Code codeOfLetter(char32_t letter) {
  switch (letter) {
    case U'h': return Code::left;
    case U'j': return Code::down;
    case U'k': return Code::up;
    case U'l': return Code::right;
    default: return Code::none;
  }
}

}  // namespace

void BrowseState::press(const BrowseKey& key) {
  if (key.code == Code::none || key.code == Code::resize) return;
  message_.clear();
  if (key.code == Code::interrupt || key.code == Code::closed) {
    outcome_ = BrowseOutcome::interrupted;
  } else if (showsHelp_) {
    showsHelp_ = false;
  } else if (isTyping_ && key.code != Code::up && key.code != Code::down) {
    type(key);
  } else if (key.code == Code::character) {
    const Code code = codeOfLetter(key.character);
    if (code == Code::none || !move(code)) command(key.character);
  } else if (key.code == Code::tab) {
    showsDetails_ = !showsDetails_;
  } else if (key.code == Code::escape) {
    setFilter("");
  } else {
    move(key.code);
  }
}

void BrowseState::type(const BrowseKey& key) {
  std::string filter = request_.filter;
  if (key.code == Code::escape) isTyping_ = false, filter.clear();
  if (key.code == Code::enter) isTyping_ = false;
  if (key.code == Code::backspace) removeLastCharacter(filter);
  if (key.code == Code::character && filter.size() < kLongestFilter) appendUTF8(filter, key.character);
  setFilter(std::move(filter));
}

void BrowseState::command(char32_t character) {
  switch (character) {
    case U'q': outcome_ = BrowseOutcome::quit; break;
    case U'p':
      if (marks_.empty()) return tell("nothing is marked; mark items with the space bar");
      outcome_ = BrowseOutcome::print;
      break;
    case U'w':
      if (marks_.empty()) return tell("nothing is marked; mark items with the space bar");
      wantsWriting_ = true;
      break;
    case U's': request_.sort = nextSort(request_.sort); break;
    case U'a':
      request_.size = request_.size == ShownSize::allocated ? ShownSize::apparent : ShownSize::allocated;
      break;
    case U'/': isTyping_ = true; break;
    case U' ': toggleMark(); break;
    case U'i': showsDetails_ = !showsDetails_; break;
    case U'?': showsHelp_ = true; break;
    default: tell("press ? for the keys"); break;
  }
}

bool BrowseState::move(Code code) {
  const std::size_t last = items().empty() ? 0 : items().size() - 1;
  switch (code) {
    case Code::up: select(selected_ - std::min<std::size_t>(selected_, 1)); break;
    case Code::down: select(std::min(selected_ + 1, last)); break;
    case Code::home: select(0); break;
    case Code::end: select(last); break;
    case Code::pageUp: select(selected_ - std::min(selected_, rows_)); break;
    case Code::pageDown: select(std::min(selected_ + rows_, last)); break;
    case Code::right:
    case Code::enter: enterSelected(); break;
    case Code::left:
    case Code::backspace: leaveFolder(); break;
    default: return false;
  }
  return true;
}

void BrowseState::select(std::size_t item) {
  selected_ = item;
  if (const auto node = selectedItem()) selectedIn_[request_.folder] = *node;
  keepVisible();
}

void BrowseState::enterSelected() {
  const auto node = selectedItem();
  if (!node) return;
  const BrowseTree::Item item = tree_.item(*node);
  if (item.kind == BrowseTree::Kind::rest) return tell("the scan has only the sum of these files");
  if (item.kind == BrowseTree::Kind::file) return tell("a file has nothing in it; i shows its details");
  if (!item.isRead) return tell("this folder could not be read, or is on another disk");
  selectedIn_[request_.folder] = *node;
  show(*node);
}

void BrowseState::leaveFolder() {
  if (request_.folder == BrowseTree::kTop) return tell("this is the top of what was scanned");
  const BrowseTree::Node folder = request_.folder;
  const BrowseTree::Node parent = tree_.item(folder).parent;
  selectedIn_[parent] = folder;
  show(parent);
}

void BrowseState::show(BrowseTree::Node folder) {
  request_.folder = folder;
  request_.filter.clear();
  isTyping_ = false;
  selected_ = top_ = 0;
}

void BrowseState::setFilter(std::string filter) { request_.filter = std::move(filter); }

void BrowseState::toggleMark() {
  const auto node = selectedItem();
  if (!node) return;
  if (tree_.item(*node).kind == BrowseTree::Kind::rest) return tell("the scan has only the sum of these files");
  if (marked_.erase(*node) > 0) {
    std::erase(marks_, *node);
  } else {
    marked_.insert(*node);
    marks_.push_back(*node);
  }
  move(Code::down);
}

bool BrowseState::isCovered(BrowseTree::Node item) const {
  if (marked_.empty()) return false;
  while (item != BrowseTree::kTop) {
    item = tree_.item(item).parent;
    if (marked_.contains(item)) return true;
  }
  return false;
}

bool BrowseState::takeWriteRequest() { return std::exchange(wantsWriting_, false); }

const std::vector<BrowseTree::Node>& BrowseState::items() const {
  return listing_ && listing_->request.folder == request_.folder ? listing_->items : kNoItems;
}

std::optional<BrowseTree::Node> BrowseState::selectedItem() const {
  return selected_ < items().size() ? std::optional(items()[selected_]) : std::nullopt;
}

void BrowseState::setRows(std::size_t rows) {
  rows_ = std::max<std::size_t>(rows, 1);
  keepVisible();
}

// The selection stays on the item that the user chose; without a choice it stays on the first row.
void BrowseState::take(std::shared_ptr<const Listing> listing) {
  if (listing->request.folder != request_.folder) return;
  listing_ = std::move(listing);
  const auto chosen = selectedIn_.find(request_.folder);
  const auto& all = listing_->items;
  const auto found = chosen == selectedIn_.end() ? all.end() : std::find(all.begin(), all.end(), chosen->second);
  selected_ = found == all.end() ? 0 : static_cast<std::size_t>(found - all.begin());
  keepVisible();
}

void BrowseState::keepVisible() {
  const std::size_t count = items().size();
  selected_ = count == 0 ? 0 : std::min(selected_, count - 1);
  top_ = std::min(top_, count > rows_ ? count - rows_ : 0);
  top_ = std::clamp(top_, selected_ + 1 - std::min(rows_, selected_ + 1), selected_);
}

}  // namespace quarn
