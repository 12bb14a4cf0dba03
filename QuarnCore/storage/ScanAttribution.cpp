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
  return rules_.isExcluded(step.node, mode_) ? std::nullopt : std::optional<Step>(step);
}

std::optional<std::uint8_t> WholeAttribution::file(const Step& parent, std::string_view name) const {
  if (rules_.isExcluded(rules_.step(parent.node, name), mode_)) return std::nullopt;
  return parent.bucket;
}

std::optional<Attribution::Step> ItemAttribution::folder(const Step& parent, std::string_view name,
                                                         bool isPackage) const {
  std::optional<Step> step = whole_.folder(parent, name, isPackage);
  if (!step || parent.state == kWhole) return step;
  if (const std::optional<StorageCategoryID> rule = rules_.category(step->node)) step->bucket = bucketOf(*rule);
  const std::optional<StorageCategoryID> dictionary = rules_.dictionaryCategory(name);
  if (dictionary == StorageCategoryID::free) return std::nullopt;
  if (dictionary) step->bucket = bucketOf(*dictionary);
  if (dictionary || isPackage) step->state = kWhole;
  return step;
}

std::optional<std::uint8_t> ItemAttribution::file(const Step& parent, std::string_view name) const {
  const ScanRules::Trie::Node node = rules_.step(parent.node, name);
  if (rules_.isExcluded(node, ScanMode::Kind::enumerate)) return std::nullopt;
  if (parent.state == kWhole) return parent.bucket;
  const std::optional<StorageCategoryID> dictionary = rules_.dictionaryCategory(name);
  if (dictionary == StorageCategoryID::free) return std::nullopt;
  if (dictionary) return bucketOf(*dictionary);
  const std::optional<StorageCategoryID> rule = rules_.category(node);
  return rule ? bucketOf(*rule) : parent.bucket;
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

}  // namespace quarn
