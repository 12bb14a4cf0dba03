#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quarn {

/// The candidate that a misspelt word is nearest to; absent when none is near.
std::optional<std::string> nearest(std::string_view word, const std::vector<std::string>& candidates);
/// The candidate that was probably meant: in other letter case, the nearest, the shortest that begins with the word, or
/// that has it between its hyphens ("--macos" means "--include-macos"). Absent when there is none.
std::optional<std::string> probablyMeant(std::string_view word, const std::vector<std::string>& candidates);

/// The problem, and the candidate that was probably meant.
std::string withSuggestion(std::string problem, std::string_view word, const std::vector<std::string>& candidates);
}  // namespace quarn
