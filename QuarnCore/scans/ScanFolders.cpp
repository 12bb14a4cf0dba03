#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "QuarnCore/scans/ScanRows.h"
#include "QuarnCore/scans/ScanState.h"
#include "QuarnPlatform/paths/Path.h"

// The folders and files of a scan.

namespace quarn {

std::optional<ScannedFolder> Scan::folder(std::string_view path) const {
  return reading({}, [&](const Database&) -> std::optional<ScannedFolder> {
    scans::FolderRows& rows = state_->rowsOfFolders();
    ScannedFolder folder = rows.at(0);
    for (const std::string_view name : path::names(path)) {
      std::optional<ScannedFolder> found;
      rows.eachChild(folder, [&](ScannedFolder& child) {
        if (child.name == name) found = std::move(child);
        return !found;
      });
      if (!found) return std::nullopt;
      folder = std::move(*found);
    }
    return folder;
  });
}

ScannedFolder Scan::folderWithID(std::uint32_t id) const {
  return reading({}, [&](const Database&) { return state_->rowsOfFolders().at(id); });
}

std::vector<ScannedFolder> Scan::packages(std::uint32_t first, std::uint32_t last) const {
  return reading({}, [&](const Database&) {
    scans::FolderRows& rows = state_->rowsOfFolders();
    const std::vector<std::uint32_t>& ids = rows.packages();
    std::vector<ScannedFolder> packages;
    for (auto id = std::lower_bound(ids.begin(), ids.end(), first); id != ids.end() && *id <= last; ++id) {
      packages.push_back(rows.at(*id));
    }
    return packages;
  });
}

std::vector<ScannedFolder> Scan::children(const ScannedFolder& folder) const {
  return reading({}, [&](const Database&) {
    std::vector<ScannedFolder> children;
    state_->rowsOfFolders().eachChild(folder, [&](ScannedFolder& child) {
      children.push_back(std::move(child));
      return true;
    });
    return children;
  });
}

void Scan::folders(std::uint32_t first, std::uint32_t last,
                   const std::function<bool(const ScannedFolder&)>& consume) const {
  reading({}, [&](const Database& database) {
    // All folders are checked on the way.
    const bool areAll = first == 0 && last == kLastFolder;
    if (!areAll) (void)state_->rowsOfFolders();
    scans::FolderOrder order;
    Statement statement = database.prepare("SELECT * FROM folders WHERE id BETWEEN ? AND ? ORDER BY id");
    statement.bind(areAll ? std::numeric_limits<std::int64_t>::min() : std::int64_t{first});
    statement.bind(areAll ? std::numeric_limits<std::int64_t>::max() : std::int64_t{last});
    while (statement.step()) {
      scans::RowReader row(statement);
      const ScannedFolder folder = scans::readFolder(row);
      if (areAll) order.add(folder.id, folder.descendants);
      if (!consume(folder)) return;
    }
    if (areAll) order.finish();
  });
}

std::vector<ScannedFile> Scan::largeFiles(std::uint32_t first, std::uint32_t last) const {
  return reading({"large_files"}, [&](const Database& database) {
    if (!state_->fileRows) state_->fileRows.emplace(database);
    return state_->fileRows->of(first, last);
  });
}

SizeInfo Scan::hiddenSizes(std::uint32_t folder) const {
  return reading({"hidden_sizes"}, [&](const Database& database) {
    if (!state_->hiddenRows) state_->hiddenRows.emplace(database);
    return state_->hiddenRows->of(folder);
  });
}

SizeInfo Scan::visibleSizes(const ScannedFolder& folder) const {
  const SizeInfo hidden = hiddenSizes(folder.id);
  return {.allocatedBytes = folder.sizes.allocatedBytes - hidden.allocatedBytes,
          .logicalBytes = folder.sizes.logicalBytes - hidden.logicalBytes};
}

}  // namespace quarn
