#include "quarn/commands/FolderTree.h"

#include <algorithm>
#include <chrono>
#include <span>
#include <unordered_map>
#include <utility>

#include "QuarnPlatform/walking/LinkedNames.h"
#include "QuarnPlatform/walking/TreeSizer.h"
#include "quarn/terminal/TerminalText.h"

namespace quarn {
namespace {

std::optional<Date> dateOf(std::int64_t seconds) {
  return seconds == FolderObserver::kNoTime ? std::nullopt : std::optional(Date(std::chrono::seconds(seconds)));
}

/// The record of a walk, and what its sums count too often.
class WalkedTree {
 public:
  explicit WalkedTree(const RecordedFolders& folders) : folders_(folders) {}

  /// A folder counts a file with several names once; so does each folder above.
  std::int64_t countOnce(std::vector<LinkedName> names) {
    std::int64_t files = 0;
    forEachLinkedFile(names, [&](std::span<const LinkedName> file) {
      if (file.size() < 2) return;
      ++files;
      std::unordered_map<std::size_t, std::int64_t> met;  // folders, and the names in them
      for (const LinkedName& name : file) {
        for (std::size_t at = folders_.positionOf(name.folder);; at = folders_.at(at).parent) {
          if (++met[at] > 1) repeated_[at] += file.front().sizes;
          if (at == 0) break;
        }
      }
    });
    return files;
  }

  [[nodiscard]] TreeEntry entry(std::size_t position) const {
    const RecordedFolders::Record record = folders_.at(position);
    TreeEntry entry{.id = position,
                    .name = std::string(record.name),
                    .size = record.sizes,
                    .files = record.files,
                    .isPackage = record.isPackage,
                    .modified = dateOf(record.newest)};
    if (const auto found = repeated_.find(position); found != repeated_.end()) {
      entry.size.allocatedBytes = std::max<std::int64_t>(entry.size.allocatedBytes - found->second.allocatedBytes, 0);
      entry.size.logicalBytes = std::max<std::int64_t>(entry.size.logicalBytes - found->second.logicalBytes, 0);
    }
    return entry;
  }

  [[nodiscard]] std::vector<TreeEntry> entriesIn(std::size_t folder) const {
    std::vector<TreeEntry> entries;
    const std::size_t end = folder + folders_.at(folder).descendants + 1;
    for (std::size_t child = folder + 1; child < end; child += folders_.at(child).descendants + 1) {
      entries.push_back(entry(child));
    }
    const std::vector<RecordedFolders::LargeFile>& files = folders_.largeFiles();
    auto file = std::lower_bound(files.begin(), files.end(), folder,
                                 [](const RecordedFolders::LargeFile& any, std::size_t at) { return any.folder < at; });
    for (; file != files.end() && file->folder == folder; ++file) {
      entries.push_back(
          {.name = file->name, .size = file->sizes, .files = 1, .isFolder = false, .modified = dateOf(file->modified)});
    }
    return entries;
  }

 private:
  const RecordedFolders& folders_;
  std::unordered_map<std::size_t, SizeInfo> repeated_;  // what the record counts too often, by folder
};

// The functions of a tree share the record.
void readRecord(FolderTree& tree, const std::shared_ptr<const RecordedFolders>& folders,
                const std::shared_ptr<const WalkedTree>& walked) {
  tree.entriesIn = [folders, walked](const TreeEntry& in) { return walked->entriesIn(in.id); };
  tree.find = [folders, walked](const FileURL& url) -> std::optional<TreeEntry> {
    const std::optional<std::size_t> position = folders->find(url.path());
    return position ? std::optional(walked->entry(*position)) : std::nullopt;
  };
}

}  // namespace

FolderTree recordedTree(const std::shared_ptr<const RecordedFolders>& folders) {
  const auto walked = std::make_shared<WalkedTree>(*folders);
  FolderTree tree{.url = FileURL("/")};
  if (folders->size() > 0) tree.root = walked->entry(0);
  readRecord(tree, folders, walked);
  return tree;
}

FolderTree walkedTree(const FileURL& folder, CommandContext& context) {
  const FileManager& files = context.services().files;
  const auto folders = std::make_shared<RecordedFolders>();
  LinkedNames linked;
  const FolderObserver::Folder root = folders->place(folder.path(), files);
  (void)TreeSizer::total(
      files, folder,
      {.cancellation = context.cancellation(),
       .onProgress =
           [&](const TreeSizer::Totals& totals) {
             context.progress("reading " + folder.path() + "  " + context.size(totals[0].allocatedBytes));
           },
       .observer = folders.get(),
       .observedRoot = root,
       .linked = &linked});
  context.endProgress();
  folders->finish();
  const auto walked = std::make_shared<WalkedTree>(*folders);
  FolderTree tree{.url = folder, .linkedFiles = walked->countOnce(linked.take()), .isExact = linked.isWhole()};
  tree.root = walked->entry(folders->positionOf(root));
  readRecord(tree, folders, walked);
  return tree;
}

FolderTree scannedTree(const FileURL& folder, const Scan& scan) {
  const auto entryOf = [](const ScannedFolder& scanned) {
    return TreeEntry{.id = scanned.id,
                     .name = scanned.name,
                     .size = scanned.sizes,
                     .files = scanned.files,
                     .isPackage = scanned.isPackage,
                     .modified = scanned.newest};
  };
  const std::optional<ScannedFolder> root = scan.folder(folder.path());
  if (!root) {
    throw CommandError(ExitCode::notFound, "the scan does not have the folder " + escapedForTerminal(folder.path()));
  }
  FolderTree tree{.root = entryOf(*root), .url = folder};
  tree.entriesIn = [scan, entryOf](const TreeEntry& in) {
    std::vector<TreeEntry> entries;
    const auto id = static_cast<std::uint32_t>(in.id);
    for (const ScannedFolder& child : scan.children(scan.folderWithID(id))) entries.push_back(entryOf(child));
    for (const ScannedFile& file : scan.largeFiles(id, id)) {
      entries.push_back(
          {.name = file.name, .size = file.sizes, .files = 1, .isFolder = false, .modified = file.modified});
    }
    return entries;
  };
  tree.find = [scan, entryOf](const FileURL& url) -> std::optional<TreeEntry> {
    const std::optional<ScannedFolder> found = scan.folder(url.path());
    return found ? std::optional(entryOf(*found)) : std::nullopt;
  };
  return tree;
}

}  // namespace quarn
