#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Plain text work on absolute paths; no disk access. Rules are those of Foundation's path functions.
namespace quarn::path {

/// The names between the slashes with "/" itself first for an absolute path: "/a//b/" gives "/", "a", "b"; "/" gives
/// "/".
std::vector<std::string_view> components(std::string_view path);

/// The names between the slashes alone: "/a//b/" gives "a", "b"; "/" gives none.
std::vector<std::string_view> names(std::string_view path);

/// The last name, trailing slashes ignored; "/" for the root.
std::string_view lastComponent(std::string_view path);

/// The text behind the last "." of the last component; empty when there is none, when the dot is the first or last
/// character, when what stands before it is "." or "..", or when the text holds a space or a direction mark (U+061C,
/// U+200E, U+200F, U+202A-202E, U+2066-2069).
std::string_view extension(std::string_view path);

/// The last component without its extension and the dot before it.
std::string_view stem(std::string_view path);

/// The textual parent without a trailing slash; "/" is its own parent.
std::string_view parent(std::string_view path);

/// One "/" at the seam: "/a" + "b", "/a" + "/b" and "/" + "b".
std::string join(std::string_view base, std::string_view component);

/// The path from the root in plain form, by its text alone: "." removed, ".." together with the name before it; nothing
/// is above "/". "a/./b" and "/a/x/../b/" give "/a/b", "" gives "/".
std::string withoutDots(std::string_view path);

/// Whether a path is in plain form: no empty, "." or ".." component, no slash at its end but that of "/".
bool isPlain(std::string_view path);

/// Path containment: `path` equals `folder` or begins with it followed by "/". Both standardised by the caller.
bool isInside(std::string_view path, std::string_view folder);

}  // namespace quarn::path
