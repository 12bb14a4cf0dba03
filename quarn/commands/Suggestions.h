#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quarn {

/// The candidate with the smallest edit distance, if it is small enough.
std::optional<std::string> nearest(std::string_view word, const std::vector<std::string>& candidates);
/// The candidate that the user probably meant: the same word in other letter case, else the nearest, else the
/// shortest that begins with the word, else the shortest with the word between hyphens ("--macos" means
/// "--include-macos").
std::optional<std::string> probablyMeant(std::string_view word, const std::vector<std::string>& candidates);

/// Appends the suggestion, if any, to the message.
std::string withSuggestion(std::string problem, std::string_view word, const std::vector<std::string>& candidates);
}  // namespace quarn
