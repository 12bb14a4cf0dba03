#include "QuarnPlatform/text/TextSet.h"

#include <algorithm>
#include <utility>

#include "QuarnPlatform/text/Text.h"
#include "QuarnPlatform/text/TextComposition.h"
#include "QuarnPlatform/text/TextScalars.h"

// The automaton of Aho and Corasick over composed texts. Equivalent texts have the same composed bytes, so the
// automaton finds every part for which `Text::contains` can be true. Outside ASCII, combining marks may follow a part,
// so `Text::contains` decides.

namespace quarn {

TextSet::TextSet(std::vector<std::string> parts) : parts_(std::move(parts)), sameText_(parts_.size(), kNone) {
  for (std::uint32_t i = 0; i < parts_.size(); ++i) insert(composed(Text::validUTF8(parts_[i])), i);
  link();
}

void TextSet::insert(std::string_view text, std::uint32_t part) {
  if (text.empty()) return;
  std::uint32_t node = 0;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    std::uint32_t next = child(node, byte);
    if (next == kNone) {
      next = static_cast<std::uint32_t>(nodes_.size());
      nodes_.push_back({.nextSibling = nodes_[node].firstChild, .byte = byte});
      nodes_[node].firstChild = next;
      if (node == 0) rootChildren_[byte] = next;
    }
    node = next;
  }
  sameText_[part] = std::exchange(nodes_[node].output, part);
}

// No node has the root as a child, so 0 means "no child" in its table.
std::uint32_t TextSet::child(std::uint32_t node, unsigned char byte) const {
  if (node == 0) return rootChildren_[byte] == 0 ? kNone : rootChildren_[byte];
  std::uint32_t at = nodes_[node].firstChild;
  while (at != kNone && nodes_[at].byte != byte) at = nodes_[at].nextSibling;
  return at;
}

std::uint32_t TextSet::step(std::uint32_t node, unsigned char byte) const {
  while (true) {
    const std::uint32_t next = child(node, byte);
    if (next != kNone) return next;
    if (node == 0) return 0;
    node = nodes_[node].suffix;
  }
}

// Breadth first: the suffix of a node is on a level above it.
void TextSet::link() {
  std::vector<std::uint32_t> queue{0};
  for (std::size_t i = 0; i < queue.size(); ++i) {
    const std::uint32_t node = queue[i];
    for (std::uint32_t at = nodes_[node].firstChild; at != kNone; at = nodes_[at].nextSibling) {
      const std::uint32_t suffix = node == 0 ? 0 : step(nodes_[node].suffix, nodes_[at].byte);
      nodes_[at].suffix = suffix;
      nodes_[at].shorter = nodes_[suffix].output != kNone ? suffix : nodes_[suffix].shorter;
      queue.push_back(at);
    }
  }
}

void TextSet::findIn(std::string_view text, const std::function<void(std::uint32_t part)>& found) const {
  if (nodes_.size() == 1) return;
  const bool isASCII = unicode::isASCII(text);
  const std::string units = isASCII ? std::string() : composed(Text::validUTF8(text));
  std::vector<std::uint32_t> seen;
  std::uint32_t node = 0;
  for (const char c : isASCII ? text : std::string_view(units)) {
    node = step(node, static_cast<unsigned char>(c));
    std::uint32_t at = nodes_[node].output != kNone ? node : nodes_[node].shorter;
    for (; at != kNone; at = nodes_[at].shorter) {
      // The rest of the chain was seen with it.
      if (std::find(seen.rbegin(), seen.rend(), at) != seen.rend()) break;
      seen.push_back(at);
      for (std::uint32_t part = nodes_[at].output; part != kNone; part = sameText_[part]) {
        const bool isCertain = isASCII && unicode::isASCII(parts_[part]);
        if (isCertain || Text::contains(text, parts_[part])) found(part);
      }
    }
  }
}

}  // namespace quarn
