#include "QuarnCore/storage/ScanRules.h"

#include <utility>

#include "QuarnPlatform/paths/Path.h"

namespace quarn {

ScanRules::ScanRules(const ScanPlan& plan, ExtensionCategories::Dictionary categoryByExtension)
    : categoryByExtension_(std::move(categoryByExtension)) {
  for (const PrefixRule& rule : plan.prefixRules) {
    Rule& place = trie_.valueAt(rule.prefix);
    if (place.category) continue;
    place.category = rule.category;
    place.home = rule.home;
  }
  for (const ScanRoot& root : plan.roots) {
    trie_.valueAt(root.location).isRoot = true;
    for (const std::string& location : root.exclusions) {
      Rule& place = trie_.valueAt(location);
      (root.mode.isFast() ? place.isFastExclusion : place.isEnumerateExclusion) = true;
    }
  }
}

std::optional<StorageCategoryID> ScanRules::longestRule(std::string_view location,
                                                        std::optional<std::size_t> home) const {
  std::optional<StorageCategoryID> longest;
  const auto take = [&](Trie::Node node) {
    const Rule* rule = this->rule(node);
    if (rule != nullptr && rule->category && (!rule->home || rule->home == home)) longest = rule->category;
  };
  Trie::Node node = Trie::kRoot;
  take(node);
  for (const std::string_view name : path::names(location)) {
    node = step(node, name);
    take(node);
  }
  return longest;
}

}  // namespace quarn
