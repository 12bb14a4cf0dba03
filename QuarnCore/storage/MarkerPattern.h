#pragma once

#include <string>
#include <string_view>

namespace quarn {

/// The name pattern of a marker, compiled once. Ignores case. Only the first "*" is a wildcard; another one is
/// literal. The texts before and after it may overlap in a name. Immutable.
class MarkerPattern {
 public:
  explicit MarkerPattern(std::string_view pattern);

  /// True if a lower-cased name matches.
  [[nodiscard]] bool matches(std::string_view lowercasedName) const;

 private:
  bool isExact_;
  std::string prefix_;
  std::string suffix_;
};

}  // namespace quarn
