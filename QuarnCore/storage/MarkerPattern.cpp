#include "QuarnCore/storage/MarkerPattern.h"

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

}  // namespace quarn
