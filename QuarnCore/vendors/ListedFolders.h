#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "QuarnCore/vendors/FolderNames.h"
#include "QuarnPlatform/files/FileManager.h"

namespace quarn {

/// Caches the folders that many patterns list, and the folders that do not exist, because dozens of vendors use the
/// same few folders. A folder in which several items were looked up is listed once; then its names dismiss most of the
/// other items. Create one for each pass over the patterns; changes on the volume during the pass are not visible.
/// Thread-safe.
class ListedFolders {
 public:
  struct Entry {
    DirectoryEntry item;
    std::string name;  ///< composed, as patterns are compared
  };
  using Entries = std::shared_ptr<const std::vector<Entry>>;

  explicit ListedFolders(FileManager files) : files_(std::move(files)), silent_(files_.reportingTo(nullptr)) {}

  [[nodiscard]] const FileManager& files() const { return files_; }
  /// The visible entries of a folder; empty if it cannot be listed. Never null.
  [[nodiscard]] Entries visibleEntries(const FileURL& folder);
  /// `FileManager::existingURL`. Looks nothing up below a folder that is known to be missing.
  [[nodiscard]] std::optional<FileURL> existingURL(const std::string& path);
  /// True if a folder on the way to a path is missing. Looks up each of them once.
  [[nodiscard]] bool isBelowMissing(std::string_view path);

 private:
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
  };

  [[nodiscard]] std::optional<bool> knownToBeBelowMissing(std::string_view path, std::size_t& end);
  [[nodiscard]] bool isMissing(std::string_view folder);
  [[nodiscard]] bool isExcluded(std::string_view path);
  void noteLookup(std::string_view path);

  /// A folder in which items are looked up.
  struct Asked {
    unsigned lookups = 0;
    std::optional<FolderNames> names{};  ///< once it is listed, unless its names decide nothing
  };

  FileManager files_;
  FileManager silent_;  // for questions of our own; what they cannot find out is reported with the item itself
  // No thread holds two of the locks. Threads that only read do not wait for each other: a wait takes longer than the
  // answer.
  std::shared_mutex answers_;                                               // guards isMissing_
  std::unordered_map<std::string, bool, Hash, std::equal_to<>> isMissing_;  // by plain path; nothing is ever removed
  // A key of isMissing_: the folder that dismissed a path last. The next path is often below it too.
  std::atomic<const std::string*> lastMissing_ = nullptr;
  std::shared_mutex names_;                                              // guards asked_
  std::unordered_map<std::string, Asked, Hash, std::equal_to<>> asked_;  // by plain path; nothing is ever removed
  std::mutex listings_;                                                  // guards listed_
  std::unordered_map<std::string, Entries> listed_;                      // without folders that are too large to cache
};

}  // namespace quarn
