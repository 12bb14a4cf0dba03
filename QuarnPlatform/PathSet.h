#pragma once

#include <string_view>

#include "QuarnPlatform/PathTrie.h"

namespace quarn {

/// Standardised paths that each cover themselves and everything in them. A look-up costs one step a component, however
/// many paths there are.
class PathSet {
 public:
  [[nodiscard]] bool covers(std::string_view path) const { return trie_.longestMatch(path) != nullptr; }
  void insert(std::string_view path) { trie_.insert(path, {}); }
  /// Inserts the path unless it is covered; whether it was inserted.
  bool insertUnlessCovered(std::string_view path) {
    if (covers(path)) return false;
    insert(path);
    return true;
  }

 private:
  struct Member {};
  PathTrie<Member> trie_;
};

}  // namespace quarn
