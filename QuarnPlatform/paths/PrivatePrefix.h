#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What standardising leaves out at the start of a path. On a Mac "/etc", "/tmp" and "/var" are links into "/private",
/// and Foundation writes the short names: "/private/etc/hosts" becomes "/etc/hosts". The automounter's prefixes go the
/// same way. These functions look at texts alone; `FileManager::standardizedPath` also asks whether the short path
/// exists.
namespace quarn::path {

/// The path without its prefix; absent when it has none, or when what is left is in one of the root folders that every
/// Mac has ("/private/usr/x" stays).
std::optional<std::string> withoutPrivatePrefix(std::string_view path);

/// The paths that `withoutPrivatePrefix` may turn into `path`; none for a path in one of those root folders.
std::vector<std::string> withPrivatePrefixes(std::string_view path);

/// Whether standardising may shorten the paths of items in `folder`.
bool mayHoldPrivatePrefix(std::string_view folder);

/// The most components that a prefix has.
inline constexpr int kMostPrivateComponents = 3;

}  // namespace quarn::path
