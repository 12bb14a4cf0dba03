#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "QuarnPlatform/paths/Path.h"

namespace quarn {

/// Maps paths to values. A walk steps through it component by component, so an item costs one step, independent of
/// the number of rules. Build it first; then const access is thread-safe.
template <class T>
class PathTrie {
 public:
  /// A node of the trie. `kNone` means that there are no rules at or below this path.
  using Node = std::uint32_t;
  static constexpr Node kNone = 0;
  static constexpr Node kRoot = 1;

  /// Sets the value at a standardised absolute path. Keeps an existing value: the first rule for a path wins.
  void insert(std::string_view path, T value) {
    std::optional<T>& place = makePlace(path);
    if (!place) place = std::move(value);
  }

  /// The value at a path; default-constructed if there is none. For values that combine several rules.
  T& valueAt(std::string_view path) {
    std::optional<T>& place = makePlace(path);
    return place ? *place : place.emplace();
  }

  /// True if there are rules below `node`, besides the one at it.
  [[nodiscard]] bool hasChildren(Node node) const { return node != kNone && !nodes_[node].children.empty(); }

  /// The child `name` of `node`; `kNone` if there are no rules at or below it.
  [[nodiscard]] Node step(Node node, std::string_view name) const {
    if (!hasChildren(node)) return kNone;
    const auto& children = nodes_[node].children;
    const auto found = children.find(name);
    return found == children.end() ? kNone : found->second;
  }

  /// The node of a standardised absolute path.
  [[nodiscard]] Node find(std::string_view path) const {
    Node node = kRoot;
    for (std::string_view name : path::names(path)) {
      node = step(node, name);
      if (node == kNone) break;
    }
    return node;
  }

  /// The value at `node`, or null.
  [[nodiscard]] const T* value(Node node) const {
    if (node == kNone) return nullptr;
    const auto& value = nodes_[node].value;
    return value ? &*value : nullptr;
  }

  /// The value of the longest rule that equals `path` or contains it, or null.
  [[nodiscard]] const T* longestMatch(std::string_view path) const {
    Node node = kRoot;
    const T* best = value(node);
    for (std::string_view name : path::names(path)) {
      node = step(node, name);
      if (node == kNone) break;
      if (const T* here = value(node)) best = here;
    }
    return best;
  }

 private:
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
  };
  struct Entry {
    std::unordered_map<std::string, Node, Hash, std::equal_to<>> children;
    std::optional<T> value;
  };

  std::optional<T>& makePlace(std::string_view path) {
    Node node = kRoot;
    for (std::string_view name : path::names(path)) node = makeChild(node, name);
    return nodes_[node].value;
  }

  Node makeChild(Node node, std::string_view name) {
    const auto found = nodes_[node].children.find(name);
    if (found != nodes_[node].children.end()) return found->second;
    const Node child = static_cast<Node>(nodes_.size());
    nodes_.emplace_back();
    nodes_[node].children.emplace(std::string(name), child);
    return child;
  }

  std::vector<Entry> nodes_ = std::vector<Entry>(2);
};

}  // namespace quarn
