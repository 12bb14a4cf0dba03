#include "quarn/commands/Suggestions.h"

#include <algorithm>
#include <numeric>
#include <utility>

#include "QuarnPlatform/text/Text.h"

namespace quarn {
namespace {

/// Number of edits between two words: insertion, deletion, substitution, or swap of two neighbours.
std::size_t editDistance(std::string_view left, std::string_view right) {
  std::vector<std::size_t> beforeLast;
  std::vector<std::size_t> last(right.size() + 1);
  std::iota(last.begin(), last.end(), 0U);
  for (std::size_t i = 1; i <= left.size(); ++i) {
    std::vector<std::size_t> row{i};
    for (std::size_t j = 1; j <= right.size(); ++j) {
      const std::size_t replaced = last[j - 1] + (left[i - 1] == right[j - 1] ? 0 : 1);
      row.push_back(std::min({replaced, last[j] + 1, row[j - 1] + 1}));
      const bool isExchanged = i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1];
      if (isExchanged) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
    }
    beforeLast = std::exchange(last, std::move(row));
  }
  return last.back();
}

/// The shortest candidate that resembles the word; the first of several.
std::optional<std::string> shortest(std::string_view word, const std::vector<std::string>& candidates,
                                    bool (*resembles)(std::string_view candidate, std::string_view word)) {
  const std::string lowercased = Text::lowercased(word);
  std::optional<std::string> best;
  for (const std::string& candidate : candidates) {
    const bool isShorter = !best || candidate.size() < best->size();
    if (isShorter && resembles(Text::lowercased(candidate), lowercased)) best = candidate;
  }
  return best;
}

std::string_view withoutHyphens(std::string_view word) {
  return word.substr(std::min(word.find_first_not_of('-'), word.size()));
}

bool isTheSame(std::string_view candidate, std::string_view word) { return candidate == word; }

bool begins(std::string_view candidate, std::string_view word) {
  return !withoutHyphens(word).empty() && candidate.starts_with(word);
}

bool hasBetweenHyphens(std::string_view candidate, std::string_view word) {
  const std::string wanted = "-" + std::string(withoutHyphens(word)) + "-";
  return wanted != "--" && (std::string(candidate) + "-").find(wanted) != std::string::npos;
}

}  // namespace

std::optional<std::string> nearest(std::string_view word, const std::vector<std::string>& candidates) {
  std::optional<std::string> best;
  std::size_t bestDistance = std::max<std::size_t>(word.size() / 3, 1) + 1;
  for (const std::string& candidate : candidates) {
    const std::size_t distance = editDistance(word, candidate);
    if (distance >= bestDistance) continue;
    bestDistance = distance;
    best = candidate;
  }
  return best;
}

std::optional<std::string> probablyMeant(std::string_view word, const std::vector<std::string>& candidates) {
  if (auto same = shortest(word, candidates, isTheSame)) return same;
  if (auto near = nearest(word, candidates)) return near;
  if (auto longer = shortest(word, candidates, begins)) return longer;
  return shortest(word, candidates, hasBetweenHyphens);
}

std::string withSuggestion(std::string problem, std::string_view word, const std::vector<std::string>& candidates) {
  if (const std::optional<std::string> meant = probablyMeant(word, candidates))
    problem += "; did you mean " + *meant + "?";
  return problem;
}

}  // namespace quarn
