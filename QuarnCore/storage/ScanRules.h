#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

#include "QuarnCore/storage/ExtensionCategories.h"
#include "QuarnCore/storage/ScanRoots.h"
#include "QuarnPlatform/paths/PathTrie.h"

namespace quarn {

/// All rules of a partitioned scan, compiled once: the trie of paths and the dictionary of extensions. Immutable and
/// thread-safe.
class ScanRules {
 public:
  /// The rules for one location.
  struct Rule {
    std::optional<StorageCategoryID> category;  ///< of items at and below it, unless a longer rule applies
    std::optional<std::size_t> home;            ///< see `PrefixRule`
    bool isEnumerateExclusion = false;          ///< roots of mode `enumerate` skip it
    bool isFastExclusion = false;               ///< roots of mode `fast` skip it
    bool isRoot = false;                        ///< walked separately

    /// True if a walk of that mode skips the location.
    [[nodiscard]] bool isExcluded(ScanMode::Kind mode) const {
      return mode == ScanMode::Kind::fast ? isFastExclusion : isEnumerateExclusion;
    }
  };
  using Trie = PathTrie<Rule>;

  ScanRules(const ScanPlan& plan, ExtensionCategories::Dictionary categoryByExtension);

  /// The node of a location; `kNone` if there are no rules at or below it.
  [[nodiscard]] Trie::Node find(std::string_view location) const { return trie_.find(location); }
  /// The node of an item in a folder.
  [[nodiscard]] Trie::Node step(Trie::Node folder, std::string_view name) const { return trie_.step(folder, name); }
  /// True if there are rules for items in the folder at this node.
  [[nodiscard]] bool hasRulesBelow(Trie::Node folder) const { return trie_.hasChildren(folder); }
  /// The rule at this node; null if there is none.
  [[nodiscard]] const Rule* rule(Trie::Node node) const { return trie_.value(node); }
  /// True if this node is walked separately.
  [[nodiscard]] bool isRoot(Trie::Node node) const {
    const Rule* here = rule(node);
    return here != nullptr && here->isRoot;
  }

  /// The category of the longest rule that equals or contains the location of a root, without the rules of another home
  /// folder around that of the root.
  [[nodiscard]] std::optional<StorageCategoryID> longestRule(std::string_view location,
                                                             std::optional<std::size_t> home = std::nullopt) const;
  /// The dictionary's category for the extension of a name.
  [[nodiscard]] std::optional<StorageCategoryID> dictionaryCategory(std::string_view name) const {
    return categoryByExtension_.find(name);
  }

 private:
  Trie trie_;
  ExtensionCategories categoryByExtension_;
};

}  // namespace quarn
