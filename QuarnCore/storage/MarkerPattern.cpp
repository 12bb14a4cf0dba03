#include "QuarnCore/storage/MarkerPattern.h"

#include <algorithm>
#include <utility>

#include "QuarnPlatform/text/Text.h"

namespace quarn {

MarkerPattern::MarkerPattern(std::string_view pattern) {
  const std::string lowercased = Text::lowercased(pattern);
  const std::size_t star = lowercased.find('*');
  isExact_ = star == std::string::npos;
  prefix_ = lowercased.substr(0, star);
  if (!isExact_) suffix_ = lowercased.substr(star + 1);
}

bool MarkerPattern::matches(std::string_view lowercasedName) const {
  if (isExact_) return lowercasedName == prefix_;
  return lowercasedName.starts_with(prefix_) && lowercasedName.ends_with(suffix_);
}

void MarkerPatterns::add(MarkerPattern pattern) {
  const std::string& prefix = pattern.prefix();
  auto& patterns = prefix.empty() ? withAnyStart_ : byFirstByte_[static_cast<unsigned char>(prefix.front())];
  patterns.push_back(std::move(pattern));
}

bool MarkerPatterns::matches(std::string_view lowercasedName) const {
  const auto isMatch = [&](const MarkerPattern& pattern) { return pattern.matches(lowercasedName); };
  if (std::any_of(withAnyStart_.begin(), withAnyStart_.end(), isMatch)) return true;
  if (lowercasedName.empty()) return false;
  const auto& patterns = byFirstByte_[static_cast<unsigned char>(lowercasedName.front())];
  return std::any_of(patterns.begin(), patterns.end(), isMatch);
}

}  // namespace quarn
