#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace quarn {

/// The name pattern of a marker, compiled once. Ignores case. Only the first "*" is a wildcard; another one is
/// literal. The texts before and after it may overlap in a name. Immutable.
class MarkerPattern {
 public:
  explicit MarkerPattern(std::string_view pattern);

  /// True if a lower-cased name matches.
  [[nodiscard]] bool matches(std::string_view lowercasedName) const;
  /// What the lower-cased names begin with that match; may be empty.
  [[nodiscard]] const std::string& prefix() const { return prefix_; }

 private:
  bool isExact_;
  std::string prefix_;
  std::string suffix_;
};

/// Patterns, by the first byte of the names that match them: a search asks for every name, and nearly all names begin
/// like no pattern. Build it first; then const access is thread-safe.
class MarkerPatterns {
 public:
  void add(MarkerPattern pattern);

  /// True if a lower-cased name matches one.
  [[nodiscard]] bool matches(std::string_view lowercasedName) const;

 private:
  std::array<std::vector<MarkerPattern>, 256> byFirstByte_;
  std::vector<MarkerPattern> withAnyStart_;
};

}  // namespace quarn
