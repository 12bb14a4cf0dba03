#include "QuarnCore/storage/ScanAttribution.h"

namespace quarn {
namespace {

// The state of a folder that counts as a whole, and of everything below it.
constexpr std::uint32_t kWhole = 1;
// The state of a folder that counts for no category, and of everything below it.
constexpr std::uint32_t kOfNoCategory = 2;

}  // namespace

std::optional<Attribution::Step> WholeAttribution::folder(const Step& parent, std::string_view name,
                                                          bool /*isPackage*/) const {
  Step step = parent;
  step.node = rules_.step(parent.node, name);
  const ScanRules::Rule* rule = rules_.rule(step.node);
  return rule != nullptr && rule->isExcluded(mode_) ? std::nullopt : std::optional<Step>(step);
}

std::optional<std::uint8_t> WholeAttribution::file(const Step& parent, std::string_view name) const {
  const ScanRules::Rule* rule = rules_.rule(rules_.step(parent.node, name));
  return rule != nullptr && rule->isExcluded(mode_) ? std::nullopt : std::optional(parent.bucket);
}

std::optional<std::uint8_t> WholeAttribution::everyFile(const Step& parent) const {
  return rules_.hasRulesBelow(parent.node) ? std::nullopt : std::optional(parent.bucket);
}

std::optional<Attribution::Step> ItemAttribution::folder(const Step& parent, std::string_view name,
                                                         bool isPackage) const {
  std::optional<Step> step = whole_.folder(parent, name, isPackage);
  if (!step || parent.state == kWhole) return step;
  const ScanRules::Rule* rule = rules_.rule(step->node);
  if (rule != nullptr && rule->category) step->bucket = bucketOf(*rule->category);
  const std::optional<StorageCategoryID> dictionary = rules_.dictionaryCategory(name);
  if (dictionary == StorageCategoryID::free) return std::nullopt;
  if (dictionary) step->bucket = bucketOf(*dictionary);
  if (dictionary || isPackage) step->state = kWhole;
  return step;
}

std::optional<std::uint8_t> ItemAttribution::file(const Step& parent, std::string_view name) const {
  const ScanRules::Rule* rule = rules_.rule(rules_.step(parent.node, name));
  if (rule != nullptr && rule->isExcluded(ScanMode::Kind::enumerate)) return std::nullopt;
  if (parent.state == kWhole) return parent.bucket;
  const std::optional<StorageCategoryID> dictionary = rules_.dictionaryCategory(name);
  if (dictionary == StorageCategoryID::free) return std::nullopt;
  if (dictionary) return bucketOf(*dictionary);
  return rule != nullptr && rule->category ? bucketOf(*rule->category) : parent.bucket;
}

std::optional<std::uint8_t> ItemAttribution::everyFile(const Step& parent) const {
  return parent.state == kWhole ? whole_.everyFile(parent) : std::nullopt;
}

Attribution::Step RecordedAttribution::restAt(ScanRules::Trie::Node node) {
  return {.node = node, .state = kOfNoCategory, .bucket = kRest};
}

std::optional<Attribution::Step> RecordedAttribution::folder(const Step& parent, std::string_view name,
                                                             bool isPackage) const {
  const ScanRules::Trie::Node node = rules_.step(parent.node, name);
  if (rules_.isRoot(node)) return std::nullopt;
  if (parent.state != kOfNoCategory) {
    if (const std::optional<Step> step = categories_.folder(parent, name, isPackage)) return step;
  }
  return restAt(node);
}

std::optional<std::uint8_t> RecordedAttribution::file(const Step& parent, std::string_view name) const {
  if (rules_.isRoot(rules_.step(parent.node, name))) return std::nullopt;
  const bool isOfNoCategory = parent.state == kOfNoCategory;
  return isOfNoCategory ? kRest : categories_.file(parent, name).value_or(kRest);
}

std::optional<std::uint8_t> RecordedAttribution::everyFile(const Step& parent) const {
  if (parent.state != kOfNoCategory) return categories_.everyFile(parent);
  return rules_.hasRulesBelow(parent.node) ? std::nullopt : std::optional(kRest);
}

}  // namespace quarn
