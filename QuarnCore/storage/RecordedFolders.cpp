#include "QuarnCore/storage/RecordedFolders.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <numeric>
#include <utility>

#include "QuarnPlatform/paths/Path.h"

namespace quarn {
namespace {

constexpr FolderObserver::Folder kRoot = 0;

std::int64_t largerSize(const RecordedFolders::LargeFile& file) {
  return std::max(file.sizes.allocatedBytes, file.sizes.logicalBytes);
}

}  // namespace

RecordedFolders::RecordedFolders(std::size_t keptFiles) : mostFiles_(keptFiles) {
  create(kRoot, "/");
  placed_.emplace("/", kRoot);
}

std::string_view RecordedFolders::nameOf(const Node& node) const {
  return std::string_view(names_).substr(node.nameStart, node.nameLength);
}

FolderObserver::Folder RecordedFolders::create(Folder parent, std::string_view name) {
  Node node{.parent = parent, .nameStart = static_cast<std::uint32_t>(names_.size())};
  node.nameLength = static_cast<std::uint16_t>(name.size());
  names_ += name;
  nodes_.push_back(node);
  return static_cast<Folder>(nodes_.size() - 1);
}

FolderObserver::Folder RecordedFolders::place(std::string_view path, const FileManager& files) {
  const std::lock_guard lock(mutex_);
  Folder folder = kRoot;
  std::string here;
  for (const std::string_view name : path::names(path)) {
    (here += '/') += name;
    const auto [known, isNew] = placed_.try_emplace(here, 0);
    if (isNew) {
      nodes_[folder].hasPlaced = true;
      known->second = create(folder, name);
      nodes_[known->second].isPackage = files.isPackage(FileURL(here));
      const std::optional<ItemFacts> facts = files.facts(FileURL(here), Links::doNotFollow);
      if (facts) nodes_[known->second].newest = facts->modifiedSeconds;
    }
    folder = known->second;
  }
  return folder;
}

std::optional<FolderObserver::Folder> RecordedFolders::placed(Folder parent, std::string_view name) const {
  if (!nodes_[parent].hasPlaced) return std::nullopt;
  std::string path;
  for (Folder at = parent; at != kRoot; at = nodes_[at].parent) path.insert(0, nameOf(nodes_[at])).insert(0, "/");
  const auto found = placed_.find(path.append("/").append(name));
  return found == placed_.end() ? std::nullopt : std::optional(found->second);
}

FolderObserver::Folder RecordedFolders::enter(Folder parent, const FolderFacts& facts) {
  const std::lock_guard lock(mutex_);
  const std::optional<Folder> known = placed(parent, facts.name);
  const Folder folder = known ? *known : create(parent, facts.name);
  nodes_[folder].isHidden = facts.isHidden;
  nodes_[folder].isPackage = facts.isPackage;
  nodes_[folder].newest = std::max(nodes_[folder].newest, facts.modified);
  return folder;
}

void RecordedFolders::leaveOut(Folder parent, const FolderFacts& facts) {
  const std::lock_guard lock(mutex_);
  if (const std::optional<Folder> folder = placed(parent, facts.name)) nodes_[*folder].isHidden = facts.isHidden;
}

void RecordedFolders::add(Folder folder, const Counted& files) {
  const std::lock_guard lock(mutex_);
  Node& node = nodes_[folder];
  node.isRead = true;
  node.sizes += files.sizes;
  node.files += files.files;
  node.newest = std::max(node.newest, files.newest);
  if (files.ofHidden != ByteCounts{}) hidden_[folder] += files.ofHidden;
}

void RecordedFolders::addFile(std::string_view path, const ByteCounts& sizes, std::int64_t modified) {
  const std::string parent(path::parent(path));
  const File file{.name = path::lastComponent(path),
                  .sizes = sizes,
                  .modified = modified,
                  .isHidden = path::lastComponent(path).starts_with('.')};
  const auto found = placed_.find(parent);
  if (found == placed_.end()) return;
  const Folder folder = found->second;
  add(folder, {.sizes = sizes, .ofHidden = file.isHidden ? sizes : ByteCounts{}, .files = 1, .newest = modified});
  if (wants(sizes)) keep(folder, file);
}

void RecordedFolders::keep(Folder folder, const File& file) {
  const std::lock_guard lock(mutex_);
  if (!wants(file.sizes)) return;
  LargeFile kept{folder, std::string(file.name), file.sizes, file.modified, file.isHidden};
  std::pair place(largerSize(kept), static_cast<std::uint32_t>(files_.size()));
  // One more than asked for, so that `finish` knows the size of a file that is not kept.
  if (files_.size() <= mostFiles_) {
    files_.push_back(std::move(kept));
  } else {
    std::pop_heap(smallest_.begin(), smallest_.end(), std::greater());
    place.second = smallest_.back().second;
    smallest_.pop_back();
    files_[place.second] = std::move(kept);
  }
  smallest_.push_back(place);
  std::push_heap(smallest_.begin(), smallest_.end(), std::greater());
  if (files_.size() > mostFiles_) refuseUpTo(smallest_.front().first);
}

void RecordedFolders::finish() {
  addUp();
  sort();
  selectFiles();
}

void RecordedFolders::addUp() {
  for (Folder folder = static_cast<Folder>(nodes_.size() - 1); folder > kRoot; --folder) {
    const Node& node = nodes_[folder];
    Node& parent = nodes_[node.parent];
    parent.sizes += node.sizes;
    parent.files += node.files;
    parent.newest = std::max(parent.newest, node.newest);
    parent.descendants += node.descendants + 1;
    const auto found = hidden_.find(folder);
    const ByteCounts hidden = node.isHidden ? node.sizes : found == hidden_.end() ? ByteCounts{} : found->second;
    if (hidden != ByteCounts{}) hidden_[node.parent] += hidden;
  }
}

void RecordedFolders::listChildren() {
  firstChild_.assign(nodes_.size() + 1, 0);
  for (Folder folder = kRoot + 1; folder < nodes_.size(); ++folder) ++firstChild_[nodes_[folder].parent + 1];
  std::partial_sum(firstChild_.begin(), firstChild_.end(), firstChild_.begin());
  children_.resize(nodes_.size() - 1);
  std::vector<std::uint32_t> next(firstChild_.begin(), firstChild_.end() - 1);
  for (Folder folder = kRoot + 1; folder < nodes_.size(); ++folder) children_[next[nodes_[folder].parent]++] = folder;
}

void RecordedFolders::sort() {
  listChildren();
  order_.reserve(nodes_.size());
  std::vector<Folder> open{kRoot};
  while (!open.empty()) {
    const Folder folder = open.back();
    open.pop_back();
    nodes_[folder].position = static_cast<std::uint32_t>(order_.size());
    order_.push_back(folder);
    const auto first = children_.begin() + firstChild_[folder];
    const auto last = children_.begin() + firstChild_[folder + 1];
    std::sort(first, last, [&](Folder left, Folder right) { return nameOf(nodes_[left]) < nameOf(nodes_[right]); });
    // Taken from the end of `open`, so the last name goes in first.
    open.insert(open.end(), std::make_reverse_iterator(last), std::make_reverse_iterator(first));
  }
}

void RecordedFolders::selectFiles() {
  if (files_.size() > mostFiles_) {
    keptAbove_ = smallest_.front().first;
    std::erase_if(files_, [&](const LargeFile& file) { return largerSize(file) <= keptAbove_; });
  }
  smallest_ = {};
  for (LargeFile& file : files_) file.folder = nodes_[file.folder].position;
  std::sort(files_.begin(), files_.end(), [](const LargeFile& left, const LargeFile& right) {
    return left.folder != right.folder ? left.folder < right.folder : left.name < right.name;
  });
}

RecordedFolders::Record RecordedFolders::at(std::size_t position) const {
  const Folder folder = order_[position];
  const Node& node = nodes_[folder];
  const auto hidden = hidden_.find(folder);
  return {.name = nameOf(node),
          .parent = nodes_[node.parent].position,
          .descendants = node.descendants,
          .sizes = node.sizes,
          .hiddenSizes = hidden == hidden_.end() ? ByteCounts{} : hidden->second,
          .files = node.files,
          .newest = node.newest,
          .isHidden = node.isHidden,
          .isPackage = node.isPackage,
          .isRead = node.isRead};
}

std::optional<FolderObserver::Folder> RecordedFolders::childOf(Folder folder, std::string_view name) const {
  const auto last = children_.begin() + firstChild_[folder + 1];
  const auto found =
      std::lower_bound(children_.begin() + firstChild_[folder], last, name,
                       [&](Folder child, std::string_view wanted) { return nameOf(nodes_[child]) < wanted; });
  return found != last && nameOf(nodes_[*found]) == name ? std::optional(*found) : std::nullopt;
}

std::optional<std::size_t> RecordedFolders::find(std::string_view path) const {
  Folder folder = kRoot;
  for (const std::string_view name : path::names(path)) {
    const std::optional<Folder> child = childOf(folder, name);
    if (!child) return std::nullopt;
    folder = *child;
  }
  return nodes_[folder].position;
}

}  // namespace quarn
