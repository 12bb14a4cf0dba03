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

/// A folder of the record.
struct RecordedFolder {
  std::size_t position = 0;
  std::string location{};  ///< its path without links
};

/// The folder in the record, if it was read; absent for an item that is a link or no folder. A path that resolves to
/// itself leads through no link, so only other paths need a look at the item.
std::optional<RecordedFolder> recordedFolder(const FileURL& at, const RecordedFolders& folders,
                                             const FileManager& files) {
  std::optional<std::string> location = files.realPath(at);
  if (!location) return std::nullopt;
  if (*location != at.path()) {
    const std::optional<ItemFacts> facts = files.facts(at, Links::doNotFollow);
    if (!facts || facts->type != FileType::directory) return std::nullopt;
  }
  const std::optional<std::size_t> folder = folders.find(*location);
  if (!folder || !folders.at(*folder).isRead) return std::nullopt;
  return RecordedFolder{.position = *folder, .location = std::move(*location)};
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
    const RecordedFolders::Record record = folders_->at(folder->position);
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
    return isInFolder && facts && facts->type == FileType::regular ? facts->sizes : SizeInfo{};
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
      return Date(std::chrono::seconds(folders->at(folder->position).newest));
    }
    return newestChange(files, url);
  };
}

}  // namespace quarn
