#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quarn {

/// What the maker of a URL knows of the item: a URL "known to be a folder" is written with a trailing "/".
enum class URLKind : std::uint8_t { item, directory };

/// A place on a Mac volume: an absolute path as the Mac names it and whether it is known to be a folder. A plain value;
/// it never touches the disk and never normalises: doubled slashes, "." and ".." stay (see
/// `FileManager::standardized`). Paths are bytes, so any file name survives. Two URLs are equal when their paths are,
/// whatever is known of the kind.
class FileURL {
 public:
  /// The root, "/".
  FileURL() = default;

  /// `path` must be absolute; trailing slashes are dropped and mean a folder. "/" is always a folder.
  explicit FileURL(std::string_view path, URLKind kind = URLKind::item);

  /// Reads "file:///a%20b/" or a plain absolute path; absent for anything else (another scheme or host, a relative
  /// path, a bad escape, an embedded NUL).
  static std::optional<FileURL> parse(std::string_view text);

  /// The path without a trailing slash; "/" for the root.
  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] bool hasDirectoryPath() const { return kind_ == URLKind::directory; }
  [[nodiscard]] URLKind kind() const { return kind_; }

  /// "file://" and the path with every byte outside RFC 3986's unreserved set and "/" percent-encoded in upper-case
  /// hex; a folder ends in "/".
  [[nodiscard]] std::string string() const;

  /// See the functions of the same names in `Path.h`.
  [[nodiscard]] std::string_view lastPathComponent() const;
  [[nodiscard]] std::vector<std::string_view> pathComponents() const;
  [[nodiscard]] std::string_view pathExtension() const;

  /// One "/" at the seam; a "/" inside `component` adds levels; nothing is resolved.
  [[nodiscard]] FileURL appending(std::string_view component, URLKind kind = URLKind::item) const;
  /// The textual parent, a folder; the root is its own parent.
  [[nodiscard]] FileURL deletingLastPathComponent() const;

  friend bool operator==(const FileURL& left, const FileURL& right) { return left.path_ == right.path_; }
  friend std::strong_ordering operator<=>(const FileURL& left, const FileURL& right) {
    return left.path_ <=> right.path_;
  }

 private:
  std::string path_ = "/";
  URLKind kind_ = URLKind::directory;
};

}  // namespace quarn

template <>
struct std::hash<quarn::FileURL> {
  std::size_t operator()(const quarn::FileURL& url) const noexcept { return std::hash<std::string>()(url.path()); }
};
