#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// The folders that many patterns look into, each listed once: dozens of vendors keep something in the same few. Made
/// for one pass over the patterns, during which the volume is taken to stay as it is. Safe from any thread.
class ListedFolders {
 public:
  using Entries = std::shared_ptr<const std::vector<DirectoryEntry>>;

  explicit ListedFolders(FileManager files) : files_(std::move(files)) {}

  [[nodiscard]] const FileManager& files() const { return files_; }
  /// The folder's visible entries; none when it cannot be listed. Never null.
  [[nodiscard]] Entries visibleEntries(const FileURL& folder);

 private:
  FileManager files_;
  std::mutex mutex_;
  std::unordered_map<std::string, Entries> listed_;  // but for those that are not worth their memory
};

}  // namespace quarn
