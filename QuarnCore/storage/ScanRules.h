#pragma once

#include <bitset>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "QuarnCore/storage/ScanRoots.h"
#include "QuarnPlatform/paths/PathTrie.h"

namespace quarn {

/// Everything that decides about an item of a partitioned scan, compiled once: by its place among the rules' paths and
/// by its extension. Immutable; used from any thread.
class ScanRules {
 public:
  /// Category by lower-cased extension.
  using Dictionary = std::map<std::string, StorageCategoryID, std::less<>>;

  /// What the rules say of one location.
  struct Rule {
    std::optional<StorageCategoryID> category;  ///< of items at and below it, unless a longer rule says otherwise
    bool isRoot = false;                        ///< walked by itself, hence left out of the roots around it
    bool isFastExclusion = false;               ///< left out of roots of mode `fast`
  };
  using Trie = PathTrie<Rule>;

  ScanRules(const ScanPlan& plan, Dictionary categoryByExtension);

  /// The place of a location; `kNone` where no rule lies there or below.
  [[nodiscard]] Trie::Node find(std::string_view location) const { return trie_.find(location); }
  /// The place of an item in a folder.
  [[nodiscard]] Trie::Node step(Trie::Node folder, std::string_view name) const { return trie_.step(folder, name); }
  /// The category of the rule exactly there.
  [[nodiscard]] std::optional<StorageCategoryID> category(Trie::Node node) const {
    const Rule* rule = trie_.value(node);
    return rule == nullptr ? std::nullopt : rule->category;
  }
  /// Whether a walk of the mode leaves out what lies there.
  [[nodiscard]] bool isExcluded(Trie::Node node, ScanMode mode) const;

  /// The category of the longest rule that equals or holds the location.
  [[nodiscard]] std::optional<StorageCategoryID> longestRule(std::string_view location) const;
  /// The dictionary's category for a name's extension.
  [[nodiscard]] std::optional<StorageCategoryID> dictionaryCategory(std::string_view name) const;

 private:
  [[nodiscard]] bool mayBeListed(std::string_view extension) const;

  Trie trie_;
  Dictionary categoryByExtension_;
  std::size_t longestExtension_ = 0;
  std::bitset<1024> listedEnds_;  // by the first and the last letter
};

}  // namespace quarn
