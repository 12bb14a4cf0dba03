#include "QuarnCore/storage/ScanRules.h"

#include <algorithm>

#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/text/ASCII.h"
#include "QuarnPlatform/text/Text.h"

namespace quarn {
namespace {

// Lower-casing shortens a text at most to a third of its bytes: the Kelvin sign takes three bytes, "k" one.
constexpr std::size_t kMostShrinking = 3;

constexpr std::uint32_t bitOf(char letter) { return std::uint32_t{1} << (static_cast<unsigned char>(letter) & 31U); }

}  // namespace

ScanRules::ScanRules(const ScanPlan& plan, Dictionary categoryByExtension)
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
  isEmptyExtensionKnown_ = categoryByExtension_.contains("");
  for (const auto& [extension, category] : categoryByExtension_) {
    longestExtension_ = std::max(longestExtension_, extension.size());
    if (!extension.empty() && extension.size() <= kUsualLength) firstLetters_[extension.size()] |= bitOf(extension[0]);
  }
}

bool ScanRules::isExcluded(Trie::Node node, ScanMode::Kind mode) const {
  const Rule* rule = trie_.value(node);
  if (rule == nullptr) return false;
  return mode == ScanMode::Kind::fast ? rule->isFastExclusion : rule->isEnumerateExclusion;
}

std::optional<StorageCategoryID> ScanRules::longestRule(std::string_view location,
                                                        std::optional<std::size_t> home) const {
  std::optional<StorageCategoryID> longest;
  const auto take = [&](Trie::Node node) {
    const Rule* rule = trie_.value(node);
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

std::optional<StorageCategoryID> ScanRules::categoryOf(std::string_view lowercasedExtension) const {
  const auto found = categoryByExtension_.find(lowercasedExtension);
  return found == categoryByExtension_.end() ? std::nullopt : std::optional<StorageCategoryID>(found->second);
}

// Asked for every file. Nearly all names end in a few ASCII letters and digits after a dot, or in more of them than the
// dictionary's extensions have. The others need the rules of `path::extension`.
std::optional<StorageCategoryID> ScanRules::dictionaryCategory(std::string_view name) const {
  std::size_t length = 0;
  while (length < name.size() && length <= longestExtension_ &&
         ascii::isLetterOrDigit(name[name.size() - 1 - length])) {
    ++length;
  }
  if (length > longestExtension_ && !isEmptyExtensionKnown_) return std::nullopt;
  const bool hasDot = length + 2 <= name.size() && name[name.size() - 1 - length] == '.' && name[0] != '.';
  if (hasDot && length > 0 && length <= kUsualLength) {
    std::array<char, kUsualLength> extension{};
    std::transform(name.end() - static_cast<std::ptrdiff_t>(length), name.end(), extension.begin(), ascii::lowercased);
    const bool mayBeKnown = (firstLetters_[length] & bitOf(extension[0])) != 0;
    return mayBeKnown ? categoryOf({extension.data(), length}) : std::nullopt;
  }
  const std::string_view extension = path::extension(name);
  if (extension.size() > longestExtension_ * kMostShrinking) return std::nullopt;
  return categoryOf(Text::lowercased(extension));
}

}  // namespace quarn
