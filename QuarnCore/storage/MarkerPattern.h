#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quarn {

/// The name pattern of a marker rule, prepared once: letter case is ignored, the first "*" alone is a wildcard (a
/// second one is text), and what stands before and behind it may overlap in a name. Immutable.
class MarkerPattern {
 public:
  explicit MarkerPattern(std::string_view pattern);

  /// Whether a name, lower-cased by the caller, matches.
  [[nodiscard]] bool matches(std::string_view lowercasedName) const;
  /// The byte with which every name that matches begins; absent when it may be any.
  [[nodiscard]] std::optional<char> firstByte() const {
    return prefix_.empty() ? std::nullopt : std::optional<char>(prefix_.front());
  }

 private:
  bool isExact_;
  std::string prefix_;
  std::string suffix_;
};

}  // namespace quarn
