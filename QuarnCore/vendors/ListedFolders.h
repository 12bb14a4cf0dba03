#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// Caches the folders that many patterns list, because dozens of vendors use the same few folders. Create one for
/// each pass over the patterns; changes on the volume during the pass are not visible. Thread-safe.
class ListedFolders {
 public:
  using Entries = std::shared_ptr<const std::vector<DirectoryEntry>>;

  explicit ListedFolders(FileManager files) : files_(std::move(files)) {}

  [[nodiscard]] const FileManager& files() const { return files_; }
  /// The visible entries of a folder; empty if it cannot be listed. Never null.
  [[nodiscard]] Entries visibleEntries(const FileURL& folder);

 private:
  FileManager files_;
  std::mutex mutex_;
  std::unordered_map<std::string, Entries> listed_;  // without folders that are too large to cache
};

}  // namespace quarn
