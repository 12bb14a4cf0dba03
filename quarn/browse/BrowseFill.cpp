#include "quarn/browse/BrowseFill.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "QuarnCore/storage/HomeFolders.h"
#include "QuarnPlatform/base/FileError.h"
#include "QuarnPlatform/paths/Path.h"
#include "QuarnPlatform/walking/TreeSizer.h"
#include "quarn/browse/BrowseWalk.h"

namespace quarn {
namespace {

using Node = BrowseTree::Node;
using Kind = BrowseTree::Kind;

// The roots without links on the way, ascending, each in no other.
std::vector<std::string> outermostRoots(const std::vector<FileURL>& roots, const FileManager& files) {
  std::vector<std::string> paths;
  for (const FileURL& root : roots) {
    if (auto path = files.realPath(root)) paths.push_back(std::move(*path));
  }
  std::sort(paths.begin(), paths.end());
  std::vector<std::string> outermost;
  for (std::string& path : paths) {
    const bool isInside = std::any_of(outermost.begin(), outermost.end(),
                                      [&](const std::string& outer) { return path::isInside(path, outer); });
    if (!isInside) outermost.push_back(std::move(path));
  }
  return outermost;
}

void fillRoot(BrowseTree& tree, const FileManager& files, const std::string& path, const Cancellation& cancellation) {
  const FileURL url(path);
  const std::optional<ItemFacts> facts = files.facts(url, Links::doNotFollow);
  if (!facts) return;
  if (facts->type == FileType::regular) {
    return tree.keep(BrowseTree::kTop, {.name = path,
                                        .sizes = facts->sizes,
                                        .modified = facts->modifiedSeconds,
                                        .device = facts->device,
                                        .inode = facts->inode});
  }
  if (facts->type != FileType::directory) return;
  const Node node = tree.enter(BrowseTree::kTop, {.name = path});
  BrowseWalk walk(tree);
  try {
    (void)TreeSizer::total(files, FileURL(path, URLKind::directory),
                           {.cancellation = cancellation, .observer = &walk, .observedRoot = node});
  } catch (const FileError&) {
    // The walk has put it into the read report.
  }
  walk.finish();
}

/// Adds a folder of a scan, with what is below it.
class ScanFolderFill {
 public:
  ScanFolderFill(BrowseTree& tree, const Scan& scan, const ScannedFolder& folder, const Cancellation& cancellation)
      : tree_(tree), scan_(scan), folder_(folder), cancellation_(cancellation) {}

  /// `node` is the folder's own, with its sums.
  void run(Node node) {
    note(node, folder_);
    const auto last = static_cast<std::uint32_t>(std::min<std::uint64_t>(
        std::uint64_t{folder_.id} + folder_.descendants, std::numeric_limits<std::uint32_t>::max()));
    if (folder_.descendants > 0) {
      scan_.folders(folder_.id + 1, last, [&](const ScannedFolder& below) {
        addFolder(below);
        return !cancellation_.isCancelled();
      });
    }
    if (cancellation_.isCancelled()) return;
    for (const ScannedFile& file : scan_.largeFiles(folder_.id, last)) addFile(file);
    for (const Rest& rest : rests_) addRest(rest);
  }

 private:
  /// What a folder holds besides the items that the scan has.
  struct Rest {
    Node node;
    SizeInfo sizes;
    std::int64_t files;
  };

  void note(Node node, const ScannedFolder& folder) {
    rests_.push_back({.node = node, .sizes = folder.sizes, .files = folder.files});
  }
  // Null for a folder that was not read yet, which only a damaged scan names.
  Rest* restOf(std::uint32_t folder) {
    const std::size_t position = std::size_t{folder} - folder_.id;
    return folder >= folder_.id && position < rests_.size() ? &rests_[position] : nullptr;
  }
  static void subtract(Rest& rest, const SizeInfo& sizes, std::int64_t files) {
    const auto less = [](std::int64_t& value, std::int64_t part) { value = part < value ? value - part : 0; };
    less(rest.sizes.allocatedBytes, sizes.allocatedBytes);
    less(rest.sizes.logicalBytes, sizes.logicalBytes);
    less(rest.files, files);
  }

  void addFolder(const ScannedFolder& folder) {
    Rest* parent = restOf(folder.parent);
    const bool isNext = folder.id == folder_.id + rests_.size();
    if (parent == nullptr || !isNext) throw ScanError(ScanError::Problem::damaged, scan_.file());
    subtract(*parent, folder.sizes, folder.files);
    note(tree_.addSummed({.parent = parent->node,
                          .name = folder.name,
                          .sizes = folder.sizes,
                          .files = folder.files,
                          .newest = secondsOf(folder.newest),
                          .isPackage = folder.isPackage,
                          .isRead = folder.isRead}),
         folder);
  }

  void addFile(const ScannedFile& file) {
    Rest* parent = restOf(file.folder);
    if (parent == nullptr) return;
    subtract(*parent, file.sizes, 1);
    tree_.addSummed({.parent = parent->node,
                     .kind = Kind::file,
                     .name = file.name,
                     .sizes = file.sizes,
                     .files = 1,
                     .newest = secondsOf(file.modified)});
  }

  void addRest(const Rest& rest) {
    if (rest.files == 0) return;
    tree_.addSummed({.parent = rest.node, .kind = Kind::rest, .sizes = rest.sizes, .files = rest.files});
  }

  static std::int64_t secondsOf(const std::optional<Date>& date) {
    return date ? date->time_since_epoch().count() : FolderObserver::kNoTime;
  }

  BrowseTree& tree_;
  const Scan& scan_;
  const ScannedFolder& folder_;
  const Cancellation& cancellation_;
  std::vector<Rest> rests_;  // by the id of the folder, from `folder_` on
};

BrowseTree::Item sumsOf(const ScannedFolder& folder) {
  return {.sizes = folder.sizes,
          .files = folder.files,
          .newest = folder.newest ? folder.newest->time_since_epoch().count() : FolderObserver::kNoTime};
}

}  // namespace

void fillFromFolder(BrowseTree& tree, const FileManager& files, const FileURL& folder,
                    const Cancellation& cancellation) {
  (void)TreeSizer::total(files, folder, {.cancellation = cancellation, .observer = &tree});
}

void fillFromRoots(BrowseTree& tree, const FileManager& files, const std::vector<FileURL>& roots,
                   const Cancellation& cancellation) {
  for (const std::string& path : outermostRoots(roots, files)) {
    if (!cancellation.isCancelled()) fillRoot(tree, files, path, cancellation);
  }
}

void fillFromScan(BrowseTree& tree, const Scan& scan, const ScannedFolder& folder, const Cancellation& cancellation) {
  tree.sumTop(sumsOf(folder));
  ScanFolderFill(tree, scan, folder, cancellation).run(BrowseTree::kTop);
}

void fillFromScan(BrowseTree& tree, const Scan& scan, const std::vector<FileURL>& folders,
                  const Cancellation& cancellation) {
  BrowseTree::Item sum;
  for (const FileURL& url : outermostOf(folders)) {
    const std::optional<ScannedFolder> folder = scan.folder(url.path());
    if (!folder || cancellation.isCancelled()) continue;
    BrowseTree::Item item = sumsOf(*folder);
    item.name = url.path();
    sum.sizes += item.sizes;
    sum.files += item.files;
    sum.newest = std::max(sum.newest, item.newest);
    tree.sumTop(sum);
    ScanFolderFill(tree, scan, *folder, cancellation).run(tree.addSummed(item));
  }
}

}  // namespace quarn
