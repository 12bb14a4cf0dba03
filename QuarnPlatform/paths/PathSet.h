#pragma once

#include <string_view>

#include "QuarnPlatform/paths/PathTrie.h"

namespace quarn {

/// Standardised paths that each cover themselves and every path that goes on with "/" behind them. By that rule, which
/// compares texts, "/" covers itself alone. A look-up costs one step a component, however many paths there are.
class PathSet {
 public:
  [[nodiscard]] bool covers(std::string_view path) const {
    return path == "/" ? holdsRoot_ : trie_.longestMatch(path) != nullptr;
  }
  void insert(std::string_view path) {
    if (path == "/") {
      holdsRoot_ = true;
    } else {
      trie_.insert(path, {});
    }
  }
  /// Inserts the path unless it is covered; whether it was inserted.
  bool insertUnlessCovered(std::string_view path) {
    if (covers(path)) return false;
    insert(path);
    return true;
  }

 private:
  struct Member {};
  PathTrie<Member> trie_;
  bool holdsRoot_ = false;
};

}  // namespace quarn
