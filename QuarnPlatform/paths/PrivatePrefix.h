#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The prefixes that standardising removes from a path. On a Mac "/etc", "/tmp" and "/var" are links into "/private",
/// and Foundation uses the short names: "/private/etc/hosts" becomes "/etc/hosts". The prefixes of the automounter
/// are removed in the same way. These functions only process text; `FileManager::standardizedPath` also checks that
/// the short path exists.
namespace quarn::path {

/// The path without its prefix. Absent if it has none, or if the rest is in a standard root folder of macOS
/// ("/private/usr/x" stays).
std::optional<std::string> withoutPrivatePrefix(std::string_view path);

/// The paths that `withoutPrivatePrefix` may change to `path`; empty if the path is in one of those root folders.
std::vector<std::string> withPrivatePrefixes(std::string_view path);

/// True if standardising may shorten the paths of items in `folder`.
bool mayHoldPrivatePrefix(std::string_view folder);

/// The maximum number of components of a prefix.
inline constexpr int kMostPrivateComponents = 3;

}  // namespace quarn::path
