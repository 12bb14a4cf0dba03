#include "QuarnSystem/UnionSizes.h"

#include <algorithm>
#include <mutex>
#include <set>
#include <span>
#include <unordered_map>
#include <utility>

#include "QuarnPlatform/paths/PathSet.h"
#include "QuarnPlatform/walking/TreeSizer.h"

namespace quarn {
namespace {

// Folders to remember; and names of files in them, so that many folders cannot keep many names each.
constexpr std::size_t kMostRemembered = 100'000;

std::vector<std::string> outermost(std::vector<std::string> paths) {
  // A path sorts after those that contain it.
  std::sort(paths.begin(), paths.end());
  if (!paths.empty() && paths.front() == "/") return {"/"};
  PathSet covered;
  std::erase_if(paths, [&](const std::string& path) { return !covered.insertUnlessCovered(path); });
  return paths;
}

// Only what was added is subtracted, so the differences fit.
void subtract(SizeInfo& size, const SizeInfo& part) {
  size.allocatedBytes -= part.allocatedBytes;
  size.logicalBytes -= part.logicalBytes;
}

}  // namespace

UnionSize unionSize(std::vector<std::string> paths,
                    const std::function<std::optional<SizedItem>(const std::string& path)>& sized) {
  UnionSize sum;
  std::vector<LinkedName> names;
  std::set<std::pair<std::uint64_t, std::uint64_t>> folders;
  for (const std::string& path : outermost(std::move(paths))) {
    const std::optional<SizedItem> item = sized(path);
    if (!item) sum.isExact = false;
    if (!item || (item->inode != 0 && !folders.emplace(item->device, item->inode).second)) continue;
    sum.size += item->size;
    sum.isExact = sum.isExact && item->isExact;
    names.insert(names.end(), item->names.begin(), item->names.end());
  }
  forEachLinkedFile(names, [&](std::span<const LinkedName> file) {
    for (const LinkedName& name : file.subspan(1)) subtract(sum.size, name.sizes);
    if (file.size() > 1) ++sum.linkedFiles;
    if (file.size() >= file.front().links) return;
    ++sum.heldFiles;
    sum.heldBytes = checkedAdd(sum.heldBytes, file.front().sizes.allocatedBytes);
  });
  return sum;
}

/// `mutex` guards `folders` and `keptNames`; it is not held during a walk.
struct UnionSizes::State {
  FileManager files;
  HiddenItems hidden;
  std::mutex mutex;
  std::unordered_map<std::string, SizedItem> folders;  // by standardised path
  std::size_t keptNames = 0;

  State(FileManager volume, HiddenItems hiddenItems) : files(std::move(volume)), hidden(hiddenItems) {}

  std::optional<SizedItem> remembered(const std::string& path) {
    const std::lock_guard lock(mutex);
    const auto found = folders.find(path);
    return found == folders.end() ? std::nullopt : std::optional(found->second);
  }

  void remember(const std::string& path, const SizedItem& item) {
    const std::lock_guard lock(mutex);
    if (folders.size() >= kMostRemembered || keptNames + item.names.size() > LinkedNames::kMostNames) return;
    if (folders.emplace(path, item).second) keptNames += item.names.size();
  }

  // Throws FileError.
  SizedItem item(const FileURL& url, const Cancellation& cancellation) {
    const std::string path = files.standardizedPath(url);
    if (std::optional<SizedItem> known = remembered(path)) return std::move(*known);
    const ItemFacts facts = files.requireFacts(url, Links::doNotFollow);
    SizedItem item;
    if (facts.type == FileType::regular) {
      item.size = facts.sizes;
      if (facts.links > 1) item.names = {{facts.device, facts.inode, facts.links, facts.sizes}};
    }
    if (facts.type != FileType::directory) return item;
    LinkedNames names;
    item.size = TreeSizer::total(files, url, {.hidden = hidden, .cancellation = cancellation, .linked = &names});
    item.device = facts.device;
    item.inode = facts.inode;
    item.names = names.take();
    item.isExact = names.isWhole();
    if (!cancellation.isCancelled()) remember(path, item);
    return item;
  }
};

UnionSizes::UnionSizes(FileManager files, HiddenItems hidden)
    : state_(std::make_shared<State>(std::move(files), hidden)) {}

FileSizeCalculator UnionSizes::calculator() const {
  const FileSizeCalculator live = FileSizeCalculator::live(state_->files);
  const bool includesHidden = state_->hidden == HiddenItems::include;
  return {
      .itemSizeExcluding =
          [state = state_, live, includesHidden](const FileURL& at, const std::vector<FileURL>& excluding,
                                                 bool allowSlow, bool includeHidden, const Cancellation& cancellation) {
            const bool isUsual = excluding.empty() && allowSlow && includeHidden == includesHidden;
            return isUsual ? state->item(at, cancellation).size
                           : live.itemSizeExcluding(at, excluding, allowSlow, includeHidden, cancellation);
          },
      .enumeratingDirectorySize = live.enumeratingDirectorySize,
      .resourceSize = live.resourceSize};
}

UnionSize UnionSizes::of(const std::vector<FileURL>& urls, const Cancellation& cancellation) const {
  std::vector<std::string> paths;
  paths.reserve(urls.size());
  for (const FileURL& url : urls) paths.push_back(state_->files.standardizedPath(url));
  return unionSize(std::move(paths), [&](const std::string& path) -> std::optional<SizedItem> {
    try {
      return state_->item(FileURL(path), cancellation);
    } catch (const FileError&) {
      return SizedItem{};
    }
  });
}

}  // namespace quarn
