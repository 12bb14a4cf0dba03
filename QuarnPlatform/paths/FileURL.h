#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quarn {

/// Whether a URL is known to be a folder. The URL of a known folder ends in "/".
enum class URLKind : std::uint8_t { item, directory };

/// An absolute path on a Mac volume, and whether it is known to be a folder. Never accesses the disk and never
/// normalises: repeated slashes, "." and ".." stay (see `FileManager::standardized`). Paths are bytes, so any file
/// name survives. URLs are equal if their paths are; the kind does not matter.
class FileURL {
 public:
  /// The root, "/".
  FileURL() = default;

  /// `path` must be absolute. Trailing slashes are removed and mark a folder. "/" is always a folder.
  explicit FileURL(std::string_view path, URLKind kind = URLKind::item);

  /// Parses "file:///a%20b/" or a plain absolute path. Absent for anything else: another scheme or host, a relative
  /// path, an invalid escape, an embedded NUL.
  static std::optional<FileURL> parse(std::string_view text);

  /// The path without a trailing slash; "/" for the root.
  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] bool hasDirectoryPath() const { return kind_ == URLKind::directory; }
  [[nodiscard]] URLKind kind() const { return kind_; }

  /// "file://" and the path. Bytes outside the unreserved set of RFC 3986 and "/" are percent-encoded in upper-case
  /// hex. The URL of a known folder ends in "/".
  [[nodiscard]] std::string string() const;

  /// See the functions in `Path.h`.
  [[nodiscard]] std::string_view lastPathComponent() const;
  [[nodiscard]] std::vector<std::string_view> pathComponents() const;
  [[nodiscard]] std::string_view pathExtension() const;

  /// Appends a component after one "/". A "/" in `component` adds levels. Does not resolve anything.
  [[nodiscard]] FileURL appending(std::string_view component, URLKind kind = URLKind::item) const;
  /// The textual parent, which is a folder. The root is its own parent.
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
