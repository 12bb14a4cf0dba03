#pragma once

#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "QuarnPlatform/FileManager.h"

namespace quarn {

/// The folders that many patterns look into, each listed once: dozens of vendors keep something in the same few. Made
/// for one pass over the patterns, during which the volume is taken to stay as it is. Not safe from several threads.
class ListedFolders {
 public:
  explicit ListedFolders(FileManager files) : files_(std::move(files)) {}

  [[nodiscard]] const FileManager& files() const { return files_; }
  /// The folder's visible entries; none when it cannot be listed. Valid until the next call.
  [[nodiscard]] const std::vector<DirectoryEntry>& visibleEntries(const FileURL& folder);

 private:
  FileManager files_;
  std::unordered_map<std::string, std::vector<DirectoryEntry>> listed_;
  std::vector<DirectoryEntry> big_;  // one that is not worth its memory
};

}  // namespace quarn
