#pragma once

#include <string>
#include <string_view>
#include <vector>

/// Text operations on absolute paths, without disk access. They follow the rules of Foundation's path functions.
namespace quarn::path {

/// The components of an absolute path, with "/" as the first one: "/a//b/" gives "/", "a", "b"; "/" gives "/".
std::vector<std::string_view> components(std::string_view path);

/// The names between the slashes: "/a//b/" gives "a", "b"; "/" gives none.
std::vector<std::string_view> names(std::string_view path);

/// The last name; ignores trailing slashes. "/" for the root.
std::string_view lastComponent(std::string_view path);

/// The text after the last "." of the last component. Empty if there is no dot, if the dot is the first or last
/// character, if the text before it is "." or "..", or if the text contains a space or a direction mark (U+061C,
/// U+200E, U+200F, U+202A-202E, U+2066-2069).
std::string_view extension(std::string_view path);

/// The last component without its extension and the dot.
std::string_view stem(std::string_view path);

/// The textual parent without a trailing slash; "/" is its own parent.
std::string_view parent(std::string_view path);

/// Joins with exactly one "/": "/a" + "b", "/a" + "/b", "/" + "b".
std::string join(std::string_view base, std::string_view component);

/// Makes a path absolute and plain, as text only: removes "." and resolves ".." against the previous name; nothing is
/// above "/". "a/./b" and "/a/x/../b/" give "/a/b", "" gives "/".
std::string withoutDots(std::string_view path);

/// True if a path has no empty, "." or ".." component and no trailing slash (except "/" itself).
bool isPlain(std::string_view path);

/// True if `path` equals `folder` or begins with `folder` followed by "/". Both must be standardised.
bool isInside(std::string_view path, std::string_view folder);

}  // namespace quarn::path
