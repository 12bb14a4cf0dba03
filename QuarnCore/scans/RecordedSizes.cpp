#include "QuarnCore/scans/RecordedSizes.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/paths/PrivatePrefix.h"

namespace quarn {
namespace {

SizeInfo without(const SizeInfo& size, const SizeInfo& part) {
  return {.allocatedBytes = size.allocatedBytes - part.allocatedBytes,
          .logicalBytes = size.logicalBytes - part.logicalBytes};
}

/// A folder that the record has and that was read.
struct RecordedFolder {
  RecordedFolders::Record record;
  std::string location;  ///< its path without links
};

std::optional<RecordedFolder> readFolder(const RecordedFolders& folders, std::string location) {
  const std::optional<std::size_t> position = folders.find(location);
  if (!position || !folders.at(*position).isRead) return std::nullopt;
  return RecordedFolder{folders.at(*position), std::move(location)};
}

/// The folder in the record; absent for an item that is a link or no folder. The record has no links, so a path that it
/// has leads through none, and costs no system call. Nor does an item in a folder that was read: the record has all
/// folders in it. A spelling that the file system takes for another one is not found here; then the item is read again.
std::optional<RecordedFolder> recordedFolder(const FileURL& at, const RecordedFolders& folders,
                                             const FileManager& files) {
  if (path::isPlain(at.path())) {
    if (auto folder = readFolder(folders, at.path())) return folder;
    if (readFolder(folders, std::string(path::parent(at.path())))) return std::nullopt;
  }
  std::optional<std::string> location = files.realPath(at);
  if (!location) return std::nullopt;
  if (*location != at.path()) {
    const std::optional<ItemFacts> facts = files.facts(at, Links::doNotFollow);
    if (!facts || facts->type != FileType::directory) return std::nullopt;
  }
  return readFolder(folders, std::move(*location));
}

/// Sizes items by the record.
class Sizes {
 public:
  Sizes(std::shared_ptr<const RecordedFolders> folders, FileManager files)
      : folders_(std::move(folders)), files_(std::move(files)) {}

  /// Absent if the record does not have the folder, or if the exclusions are beyond it.
  [[nodiscard]] std::optional<SizeInfo> size(const FileURL& at, const std::vector<FileURL>& excluding,
                                             bool includeHidden) const {
    const std::optional<RecordedFolder> folder = recordedFolder(at, *folders_, files_);
    if (!folder) return std::nullopt;
    const RecordedFolders::Record& record = folder->record;
    if (excluding.empty()) return includeHidden ? record.sizes : without(record.sizes, record.hiddenSizes);
    const std::string root = files_.standardizedPath(at);
    if (!includeHidden || path::mayHoldPrivatePrefix(root)) return std::nullopt;
    return withoutExcluded(record.sizes, root, folder->location, excluding);
  }

 private:
  // A walk meets an excluded item below the root by the names in its path; links on the way lead nowhere.
  [[nodiscard]] SizeInfo withoutExcluded(SizeInfo size, const std::string& root, const std::string& location,
                                         const std::vector<FileURL>& excluding) const {
    std::vector<std::string> excluded;
    for (const FileURL& url : excluding) {
      const std::string path = files_.standardizedPath(url);
      if (path::isInside(root, path) && (path != "/" || root == "/")) return {};
      if (path::isInside(path, root)) excluded.push_back(location + path.substr(root.size()));
    }
    std::sort(excluded.begin(), excluded.end());
    for (const std::string& path : excluded) {
      const bool isCovered = std::any_of(excluded.begin(), excluded.end(), [&](const std::string& other) {
        return &other < &path && path::isInside(path, other);
      });
      if (!isCovered) size = without(size, recordedItem(path));
    }
    return size;
  }

  [[nodiscard]] SizeInfo recordedItem(const std::string& location) const {
    if (const std::optional<std::size_t> folder = folders_->find(location)) return folders_->at(*folder).sizes;
    const bool isInFolder = folders_->find(path::parent(location)).has_value();
    const std::optional<ItemFacts> facts = files_.facts(FileURL(location), Links::doNotFollow);
    return isInFolder && facts ? facts->sizes : SizeInfo{};
  }

  std::shared_ptr<const RecordedFolders> folders_;
  FileManager files_;
};

}  // namespace

FileSizeCalculator recordedSizes(std::shared_ptr<const RecordedFolders> folders, FileManager files) {
  const FileSizeCalculator live = FileSizeCalculator::live(files);
  const Sizes sizes(std::move(folders), std::move(files));
  return {.itemSizeExcluding =
              [sizes, live](const FileURL& at, const std::vector<FileURL>& excluding, bool allowSlow,
                            bool includeHidden, const Cancellation& cancellation) {
                const auto known = allowSlow ? sizes.size(at, excluding, includeHidden) : std::nullopt;
                return known ? *known : live.itemSizeExcluding(at, excluding, allowSlow, includeHidden, cancellation);
              },
          .enumeratingDirectorySize =
              [sizes, live](const FileURL& at, bool includeHidden, const Cancellation& cancellation) {
                const auto known = sizes.size(at, {}, includeHidden);
                return known ? *known : live.enumeratingDirectorySize(at, includeHidden, cancellation);
              },
          .resourceSize = live.resourceSize};
}

NewestChange recordedChanges(std::shared_ptr<const RecordedFolders> folders, FileManager files) {
  return [folders = std::move(folders), files = std::move(files)](const FileURL& url) -> std::optional<Date> {
    if (const std::optional<RecordedFolder> folder = recordedFolder(url, *folders, files)) {
      return Date(std::chrono::seconds(folder->record.newest));
    }
    return newestChange(files, url);
  };
}

}  // namespace quarn
