#include "QuarnCore/storage/RecordedFolders.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <iterator>
#include <numeric>
#include <utility>

#include "QuarnPlatform/paths/Path.h"

namespace quarn {
namespace {

constexpr FolderObserver::Folder kRoot = 0;

// The folders in a folder with more of them are found by a binary search, which needs a list.
constexpr std::size_t kFewFolders = 16;

// So many of the kept files, as a fraction, are gathered before small ones are dropped: often enough to bound memory,
// seldom enough to cost little.
constexpr std::size_t kSpareFiles = 2;

std::int64_t largerSize(const RecordedFolders::LargeFile& file) {
  return std::max(file.sizes.allocatedBytes, file.sizes.logicalBytes);
}

}  // namespace

// The memory of the files is taken at once, because a move of it would keep other threads waiting. What is not used
// of it costs nothing.
RecordedFolders::RecordedFolders(std::size_t keptFiles) : mostFiles_(keptFiles) {
  files_.reserve(mostFiles_ + mostFiles_ / kSpareFiles + 1);
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
  LargeFile kept{folder, std::string(file.name), file.sizes, file.modified, file.isHidden};
  const std::lock_guard lock(mutex_);
  if (!wants(file.sizes)) return;
  files_.push_back(std::move(kept));
  if (files_.size() > mostFiles_ + mostFiles_ / kSpareFiles) dropSmallFiles();
}

// Drops the largest file that is one too many, all of its size and all smaller ones: which of equal files stay must not
// depend on the order of the walk.
void RecordedFolders::dropSmallFiles() {
  if (files_.size() <= mostFiles_) return;
  std::vector<std::int64_t> sizes(files_.size());
  std::transform(files_.begin(), files_.end(), sizes.begin(), largerSize);
  const auto firstTooMany = sizes.begin() + static_cast<std::ptrdiff_t>(mostFiles_);
  std::nth_element(sizes.begin(), firstTooMany, sizes.end(), std::greater());
  keptAbove_ = *firstTooMany;
  std::erase_if(files_, [&](const LargeFile& file) { return largerSize(file) <= keptAbove_; });
  refuseUpTo(keptAbove_);
}

void RecordedFolders::finish() {
  addUp();
  number();
  selectFiles();
  moveNodes();
  listBigFolders();
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

// The ends of the lists come first. Filling each list from its end moves them to the starts.
RecordedFolders::Children RecordedFolders::children() const {
  Children children{.starts = std::vector<std::uint32_t>(nodes_.size() + 1), .folders = {}};
  std::vector<std::uint32_t>& starts = children.starts;
  for (Folder folder = kRoot + 1; folder < nodes_.size(); ++folder) ++starts[nodes_[folder].parent];
  std::partial_sum(starts.begin(), starts.end(), starts.begin());
  children.folders.resize(nodes_.size() - 1);
  for (auto folder = static_cast<Folder>(nodes_.size() - 1); folder > kRoot; --folder) {
    children.folders[--starts[nodes_[folder].parent]] = folder;
  }
  return children;
}

void RecordedFolders::number() {
  Children inFolders = children();
  positions_.resize(nodes_.size());
  std::uint32_t position = 0;
  std::vector<Folder> open{kRoot};
  while (!open.empty()) {
    const Folder folder = open.back();
    open.pop_back();
    positions_[folder] = position++;
    const auto first = inFolders.folders.begin() + inFolders.starts[folder];
    const auto last = inFolders.folders.begin() + inFolders.starts[folder + 1];
    std::sort(first, last, [&](Folder left, Folder right) { return nameOf(nodes_[left]) < nameOf(nodes_[right]); });
    // Taken from the end of `open`, so the last name goes in first.
    open.insert(open.end(), std::make_reverse_iterator(last), std::make_reverse_iterator(first));
  }
}

// Moves each node to its position, cycle by cycle.
void RecordedFolders::moveNodes() {
  std::vector<Folder> folders(nodes_.size());  // by position
  for (Folder folder = kRoot; folder < nodes_.size(); ++folder) {
    folders[positions_[folder]] = folder;
    nodes_[folder].parent = positions_[nodes_[folder].parent];
  }
  for (std::uint32_t start = 0; start < folders.size(); ++start) {
    if (folders[start] == start) continue;
    const Node first = nodes_[start];
    std::uint32_t to = start;
    while (folders[to] != start) {
      nodes_[to] = nodes_[folders[to]];
      to = std::exchange(folders[to], to);
    }
    nodes_[to] = first;
    folders[to] = to;
  }
  std::unordered_map<Folder, ByteCounts> hidden;
  for (const auto& [folder, sizes] : hidden_) hidden.emplace(positions_[folder], sizes);
  hidden_ = std::move(hidden);
  placed_ = {};
}

void RecordedFolders::listBigFolders() {
  for (std::uint32_t folder = 0; folder < nodes_.size(); ++folder) {
    const std::uint32_t end = folder + nodes_[folder].descendants + 1;
    if (nodes_[folder].descendants <= kFewFolders) continue;
    const auto begin = static_cast<std::uint32_t>(listed_.size());
    for (std::uint32_t child = folder + 1; child < end; child += nodes_[child].descendants + 1) {
      listed_.push_back(child);
    }
    if (listed_.size() - begin > kFewFolders) {
      bigFolders_.emplace(folder, Range{.begin = begin, .end = static_cast<std::uint32_t>(listed_.size())});
    } else {
      listed_.resize(begin);
    }
  }
}

// Sorts positions, because moving a file costs more than comparing two.
void RecordedFolders::selectFiles() {
  dropSmallFiles();
  struct Place {
    std::uint32_t folder;
    std::uint32_t file;
  };
  std::vector<Place> places(files_.size());
  for (std::uint32_t i = 0; i < files_.size(); ++i) {
    files_[i].folder = positions_[files_[i].folder];
    places[i] = {.folder = files_[i].folder, .file = i};
  }
  std::sort(places.begin(), places.end(), [&](const Place& left, const Place& right) {
    return left.folder != right.folder ? left.folder < right.folder : files_[left.file].name < files_[right.file].name;
  });
  std::vector<LargeFile> sorted;
  sorted.reserve(files_.size());
  for (const Place& place : places) sorted.push_back(std::move(files_[place.file]));
  files_ = std::move(sorted);
}

RecordedFolders::Record RecordedFolders::at(std::size_t position) const {
  const Node& node = nodes_[position];
  const auto hidden = hidden_.find(static_cast<Folder>(position));
  return {.name = nameOf(node),
          .parent = node.parent,
          .descendants = node.descendants,
          .sizes = node.sizes,
          .hiddenSizes = hidden == hidden_.end() ? ByteCounts{} : hidden->second,
          .files = node.files,
          .newest = node.newest,
          .isHidden = node.isHidden,
          .isPackage = node.isPackage,
          .isRead = node.isRead};
}

std::optional<std::uint32_t> RecordedFolders::childOf(std::uint32_t position, std::string_view name) const {
  if (const auto big = bigFolders_.find(position); big != bigFolders_.end()) {
    const auto last = listed_.begin() + big->second.end;
    const auto found =
        std::lower_bound(listed_.begin() + big->second.begin, last, name,
                         [&](std::uint32_t child, std::string_view wanted) { return nameOf(nodes_[child]) < wanted; });
    return found != last && nameOf(nodes_[*found]) == name ? std::optional(*found) : std::nullopt;
  }
  const std::uint32_t end = position + nodes_[position].descendants + 1;
  for (std::uint32_t child = position + 1; child < end; child += nodes_[child].descendants + 1) {
    if (nameOf(nodes_[child]) == name) return child;
  }
  return std::nullopt;
}

std::optional<std::size_t> RecordedFolders::find(std::string_view path) const {
  std::uint32_t position = 0;
  for (const std::string_view name : path::names(path)) {
    const std::optional<std::uint32_t> child = childOf(position, name);
    if (!child) return std::nullopt;
    position = *child;
  }
  return position;
}

}  // namespace quarn
