#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "QuarnCore/storage/ScanRoots.h"
#include "QuarnPlatform/paths/PathTrie.h"

namespace quarn {

/// All rules of a partitioned scan, compiled once: the trie of paths and the dictionary of extensions. Immutable and
/// thread-safe.
class ScanRules {
 public:
  /// Categories by lower-cased extension.
  using Dictionary = std::map<std::string, StorageCategoryID, std::less<>>;

  /// The rules for one location.
  struct Rule {
    std::optional<StorageCategoryID> category;  ///< of items at and below it, unless a longer rule applies
    std::optional<std::size_t> home;            ///< see `PrefixRule`
    bool isEnumerateExclusion = false;          ///< roots of mode `enumerate` skip it
    bool isFastExclusion = false;               ///< roots of mode `fast` skip it
    bool isRoot = false;                        ///< walked separately
  };
  using Trie = PathTrie<Rule>;

  ScanRules(const ScanPlan& plan, Dictionary categoryByExtension);

  /// The node of a location; `kNone` if there are no rules at or below it.
  [[nodiscard]] Trie::Node find(std::string_view location) const { return trie_.find(location); }
  /// The node of an item in a folder.
  [[nodiscard]] Trie::Node step(Trie::Node folder, std::string_view name) const { return trie_.step(folder, name); }
  /// The category of the rule at this node.
  [[nodiscard]] std::optional<StorageCategoryID> category(Trie::Node node) const {
    const Rule* rule = trie_.value(node);
    return rule == nullptr ? std::nullopt : rule->category;
  }
  /// True if a walk of that mode skips this node.
  [[nodiscard]] bool isExcluded(Trie::Node node, ScanMode::Kind mode) const;

  /// True if this node is walked separately.
  [[nodiscard]] bool isRoot(Trie::Node node) const {
    const Rule* rule = trie_.value(node);
    return rule != nullptr && rule->isRoot;
  }

  /// The category of the longest rule that equals or contains the location of a root, without the rules of another home
  /// folder around that of the root.
  [[nodiscard]] std::optional<StorageCategoryID> longestRule(std::string_view location,
                                                             std::optional<std::size_t> home = std::nullopt) const;
  /// The dictionary's category for the extension of a name.
  [[nodiscard]] std::optional<StorageCategoryID> dictionaryCategory(std::string_view name) const;

 private:
  // Extensions of at most this many ASCII letters and digits are looked up without an allocation.
  static constexpr std::size_t kUsualLength = 15;

  [[nodiscard]] std::optional<StorageCategoryID> categoryOf(std::string_view lowercasedExtension) const;

  Trie trie_;
  Dictionary categoryByExtension_;
  std::size_t longestExtension_ = 0;
  bool isEmptyExtensionKnown_ = false;  // then it is that of all names without an extension
  // By length, the first letters of the usual extensions in the dictionary: bit `letter & 31`.
  std::array<std::uint32_t, kUsualLength + 1> firstLetters_{};
};

}  // namespace quarn
