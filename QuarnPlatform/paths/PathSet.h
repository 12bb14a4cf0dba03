#pragma once

#include <string_view>

#include "QuarnPlatform/paths/PathTrie.h"

namespace quarn {

/// A set of standardised paths. Each covers itself and all paths that continue it with "/". The rule compares text,
/// so "/" covers only itself. A lookup costs one step per component, independent of the number of paths.
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
  /// Inserts the path unless it is covered. Returns true if it was inserted.
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
