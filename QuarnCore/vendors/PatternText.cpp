#include "QuarnCore/vendors/PatternText.h"

#include <algorithm>
#include <array>

#include "QuarnPlatform/paths/Path.h"

namespace quarn {
namespace {

// clang-format off
constexpr std::array<std::string_view, 26> kBlanks{
    " ", "\t", "\n", "\v", "\f", "\r", "\xC2\x85", "\xC2\xA0", "\xE1\x9A\x80",
    "\xE2\x80\x80", "\xE2\x80\x81", "\xE2\x80\x82", "\xE2\x80\x83", "\xE2\x80\x84", "\xE2\x80\x85", "\xE2\x80\x86",
    "\xE2\x80\x87", "\xE2\x80\x88", "\xE2\x80\x89", "\xE2\x80\x8A", "\xE2\x80\x8B", "\xE2\x80\xA8", "\xE2\x80\xA9",
    "\xE2\x80\xAF", "\xE2\x81\x9F", "\xE3\x80\x80"};
// clang-format on

}  // namespace

std::optional<std::string> expandedPattern(std::string_view pattern, const FileURL& home) {
  if (pattern == "~") return home.path();
  if (pattern.starts_with("~/")) return path::join(home.path(), pattern.substr(2));
  return pattern.starts_with('/') ? std::optional<std::string>(pattern) : std::nullopt;
}

std::string_view trimmed(std::string_view text) {
  const auto blankBefore = [&] {
    return std::find_if(kBlanks.begin(), kBlanks.end(),
                        [&](std::string_view blank) { return text.starts_with(blank); });
  };
  const auto blankBehind = [&] {
    return std::find_if(kBlanks.begin(), kBlanks.end(), [&](std::string_view blank) { return text.ends_with(blank); });
  };
  for (auto blank = blankBefore(); blank != kBlanks.end(); blank = blankBefore()) text.remove_prefix(blank->size());
  for (auto blank = blankBehind(); blank != kBlanks.end(); blank = blankBehind()) text.remove_suffix(blank->size());
  return text;
}

}  // namespace quarn
