#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// The names in one folder, to say which items cannot be in it. Whether names that differ in case or in their form of
/// Unicode mean the same item depends on the file system, so it only judges ASCII and ignores case. Immutable.
class FolderNames {
 public:
  /// Lists a folder, links followed. Absent if the names decide nothing: the folder cannot be read, has a name beyond
  /// ASCII, or has too many names.
  static std::optional<FolderNames> read(const FileURL& folder, const FileManager& files);

  /// True if a lookup of this name in the folder would find nothing.
  [[nodiscard]] bool excludes(std::string_view name) const;

 private:
  explicit FolderNames(std::unordered_set<std::string> lowercased) : lowercased_(std::move(lowercased)) {}

  std::unordered_set<std::string> lowercased_;
};

}  // namespace quarn
