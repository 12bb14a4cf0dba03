#include "QuarnCore/storage/ScanRules.h"

#include <algorithm>

#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn {
namespace {

// Lower-casing shortens a text at most to a third of its bytes: the Kelvin sign takes three bytes, "k" one.
constexpr std::size_t kMostShrinking = 3;

}  // namespace

ScanRules::ScanRules(const ScanPlan& plan, Dictionary categoryByExtension)
    : categoryByExtension_(std::move(categoryByExtension)) {
  for (const PrefixRule& rule : plan.prefixRules) {
    Rule& place = trie_.valueAt(rule.prefix);
    if (!place.category) place.category = rule.category;
  }
  for (const ScanRoot& root : plan.roots) {
    trie_.valueAt(root.location).isRoot = true;
    for (const std::string& location : root.exclusions) {
      Rule& place = trie_.valueAt(location);
      (root.mode.isFast() ? place.isFastExclusion : place.isEnumerateExclusion) = true;
    }
  }
  for (const auto& [extension, category] : categoryByExtension_) {
    longestExtension_ = std::max(longestExtension_, extension.size());
  }
}

bool ScanRules::isExcluded(Trie::Node node, ScanMode::Kind mode) const {
  const Rule* rule = trie_.value(node);
  if (rule == nullptr) return false;
  return mode == ScanMode::Kind::fast ? rule->isFastExclusion : rule->isEnumerateExclusion;
}

std::optional<StorageCategoryID> ScanRules::longestRule(std::string_view location) const {
  Trie::Node node = Trie::kRoot;
  std::optional<StorageCategoryID> longest = category(node);
  for (const std::string_view name : path::names(location)) {
    node = step(node, name);
    if (const std::optional<StorageCategoryID> here = category(node)) longest = here;
  }
  return longest;
}

std::optional<StorageCategoryID> ScanRules::dictionaryCategory(std::string_view name) const {
  const std::string_view extension = path::extension(name);
  if (extension.size() > longestExtension_ * kMostShrinking) return std::nullopt;
  const auto found = categoryByExtension_.find(Text::lowercased(extension));
  return found == categoryByExtension_.end() ? std::nullopt : std::optional<StorageCategoryID>(found->second);
}

}  // namespace quarn
