#include "QuarnPlatform/paths/PrivatePrefix.h"

#include <algorithm>
#include <array>

#include "QuarnPlatform/paths/Path.h"

namespace quarn::path {
namespace {

// The first matching prefix is removed, so longer prefixes precede shorter ones.
constexpr std::array<std::string_view, 3> kPrefixes{"/private/var/automount", "/var/automount", "/private"};
// clang-format off
constexpr std::array<std::string_view, 12> kRootFolders{
    "/Applications", "/Library", "/System", "/Users", "/Volumes", "/bin",
    "/cores", "/dev", "/opt", "/private", "/sbin", "/usr"};
// clang-format on

bool isInRootFolder(std::string_view path) {
  return std::any_of(kRootFolders.begin(), kRootFolders.end(),
                     [&](std::string_view folder) { return isInside(path, folder); });
}

}  // namespace

std::optional<std::string> withoutPrivatePrefix(std::string_view path) {
  for (const std::string_view prefix : kPrefixes) {
    if (path.size() <= prefix.size() || !isInside(path, prefix)) continue;
    const std::string_view rest = path.substr(prefix.size());
    return isInRootFolder(rest) ? std::nullopt : std::optional<std::string>(rest);
  }
  return std::nullopt;
}

std::vector<std::string> withPrivatePrefixes(std::string_view path) {
  std::vector<std::string> longer;
  if (isInRootFolder(path)) return longer;
  for (const std::string_view prefix : kPrefixes) longer.push_back(join(prefix, path));
  return longer;
}

bool mayHoldPrivatePrefix(std::string_view folder) {
  return std::any_of(kPrefixes.begin(), kPrefixes.end(),
                     [&](std::string_view prefix) { return isInside(folder, prefix) || isInside(prefix, folder); });
}

}  // namespace quarn::path
