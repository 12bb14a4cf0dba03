#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "QuarnPlatform/files/FileManager.h"
#include "QuarnPlatform/paths/PathTrie.h"

namespace quarn {

/// Several folders of one volume, such as home folders, and which of them has a path. A folder inside another one has
/// its own paths; the outer one has the rest. Immutable and thread-safe.
class HomeFolders {
 public:
  /// No folders.
  HomeFolders() = default;
  /// Leaves out what is the same folder as an earlier one.
  HomeFolders(const std::vector<FileURL>& homes, const FileManager& files);
  /// A folder and its path without links.
  struct Located {
    FileURL url;
    std::string location;
  };
  /// The same without a look at the volume, for folders of a scan.
  explicit HomeFolders(const std::vector<Located>& homes);

  [[nodiscard]] const std::vector<FileURL>& urls() const { return urls_; }
  /// The paths without links, in the same order.
  [[nodiscard]] const std::vector<std::string>& locations() const { return locations_; }
  /// The position of the home folder that has a path without links; absent if none has.
  [[nodiscard]] std::optional<std::size_t> homeOf(std::string_view location) const;
  /// The same for a path that a walk of this volume returns, which may lack "/private".
  [[nodiscard]] std::optional<std::size_t> homeOf(const FileURL& url) const;
  /// True if the path is in the home folder at this position; that at position 0 also has what is in none.
  [[nodiscard]] bool isOf(std::size_t home, std::string_view location) const {
    return homeOf(location).value_or(0) == home;
  }
  /// The home folders that are in no other one.
  [[nodiscard]] std::vector<FileURL> outermost() const;

 private:
  void add(const Located& home, const std::vector<std::string>& otherPaths);

  std::vector<FileURL> urls_;
  std::vector<std::string> locations_;
  PathTrie<std::size_t> byPath_;
};

/// The folders that are in no other one of them, each once. Their paths must be without links, as those of a scan.
std::vector<FileURL> outermostOf(const std::vector<FileURL>& folders);

}  // namespace quarn
