#include "QuarnPlatform/WalkedFolders.h"

#include <algorithm>
#include <cerrno>
#include <optional>

namespace quarn {

WalkedFolders::Use& WalkedFolders::Use::operator=(Use&& other) noexcept {
  std::swap(folders_, other.folders_);
  std::swap(folder_, other.folder_);
  return *this;
}

WalkedFolders::Use::~Use() {
  if (folders_ == nullptr) return;
  const std::lock_guard lock(folders_->mutex_);
  folders_->release(folder_);
}

WalkedFolders::Use WalkedFolders::Use::another() const {
  const std::lock_guard lock(folders_->mutex_);
  ++folders_->folders_[folder_].uses;
  return {*folders_, folder_};
}

OpenedFolder WalkedFolders::Use::open(const char* name) const {
  const PinnedFolder parent(*this);
  if (parent.descriptor() < 0) return {FileDescriptor(), parent.error()};
  OpenedFolder opened = folders_->opener_.open(parent.descriptor(), name);
  if (opened.error != EMFILE && opened.error != ENFILE) return opened;
  const std::lock_guard lock(folders_->mutex_);
  return folders_->openMakingRoom(parent.descriptor(), name);
}

WalkedFolders::Use WalkedFolders::Use::add(std::string_view name, FileDescriptor folder) const {
  const std::lock_guard lock(folders_->mutex_);
  const std::uint32_t depth = folders_->folders_[folder_].depth + 1;
  const Id id =
      folders_->insert({.descriptor = {}, .name = std::string(name), .parent = folder_, .depth = depth, .uses = 1});
  ++folders_->folders_[folder_].children;
  folders_->keepOpen(id, std::move(folder));
  return {*folders_, id};
}

std::string WalkedFolders::Use::path() const {
  const std::lock_guard lock(folders_->mutex_);
  std::vector<const std::string*> names;
  for (Id at = folder_; at != kRoot; at = folders_->folders_[at].parent) names.push_back(&folders_->folders_[at].name);
  std::string path;
  for (auto name = names.rbegin(); name != names.rend(); ++name) (path += '/') += **name;
  return path;
}

WalkedFolders::WalkedFolders(FileDescriptor root) : opener_(root.get()) {
  folders_.emplace_back();
  folders_[kRoot].descriptor = std::move(root);
  folders_[kRoot].uses = 1;  // never forgotten: everything is reached from it
}

WalkedFolders::Use WalkedFolders::root() {
  const std::lock_guard lock(mutex_);
  ++folders_[kRoot].uses;
  return {*this, kRoot};
}

WalkedFolders::Id WalkedFolders::insert(Folder folder) {
  if (free_.empty()) {
    folders_.push_back(std::move(folder));
    return static_cast<Id>(folders_.size() - 1);
  }
  const Id id = free_.back();
  free_.pop_back();
  folders_[id] = std::move(folder);
  return id;
}

void WalkedFolders::keepOpen(Id folder, FileDescriptor descriptor) {
  if (open_.size() >= kMaximumOpen) closeOne();
  folders_[folder].descriptor = std::move(descriptor);
  open_.push_back(folder);
}

void WalkedFolders::close(Id folder) {
  if (folder == kRoot || !folders_[folder].descriptor.isOpen()) return;
  folders_[folder].descriptor.reset();
  const auto last = std::find(open_.rbegin(), open_.rend(), folder);
  open_.erase(std::next(last).base());
}

// Closes the one whose loss widens the gap between its neighbours least, measured by how far back it lies: ancestors
// stay open ever more sparsely towards the root, so that on its way back up the walk reopens a chain of n folders in
// about n log n steps. Where threads are in different parts of the tree the order is only roughly that of the depth,
// which costs time alone.
bool WalkedFolders::closeOne() {
  struct Loss {
    std::int64_t gap;
    std::int64_t distance;
    bool operator<(const Loss& other) const { return gap * other.distance < other.gap * distance; }
  };
  const auto depth = [&](std::size_t i) { return std::int64_t{folders_[open_[i]].depth}; };
  std::optional<std::size_t> least;
  Loss leastLoss{};
  for (std::size_t i = 0; i < open_.size(); ++i) {
    if (folders_[open_[i]].pins != 0) continue;
    const std::int64_t before = i == 0 ? 0 : depth(i - 1);
    const std::int64_t after = i + 1 == open_.size() ? depth(i) : depth(i + 1);
    const Loss loss{.gap = std::max<std::int64_t>(after - before, 1),
                    .distance = std::max<std::int64_t>(depth(open_.size() - 1) - depth(i), 0) + 1};
    if (!least || loss < leastLoss) {
      least = i;
      leastLoss = loss;
    }
  }
  if (least) close(open_[*least]);
  return least.has_value();
}

void WalkedFolders::release(Id folder) {
  if (--folders_[folder].uses != 0) return;
  close(folder);
  forget(folder);
}

// Up the chain in a loop: folders may lie in each other deeper than a stack reaches.
void WalkedFolders::forget(Id folder) {
  while (folder != kRoot && folders_[folder].uses == 0 && folders_[folder].children == 0) {
    const Id parent = folders_[folder].parent;
    folders_[folder].name = {};
    free_.push_back(folder);
    --folders_[parent].children;
    folder = parent;
  }
}

int WalkedFolders::pin(Id folder) {
  if (!folders_[folder].descriptor.isOpen() && !reopen(folder)) return -1;
  ++folders_[folder].pins;
  return folders_[folder].descriptor.get();
}

OpenedFolder WalkedFolders::openMakingRoom(int parent, const char* name) {
  OpenedFolder opened = opener_.open(parent, name);
  const bool isFull = opened.error == EMFILE || opened.error == ENFILE;
  return isFull && closeOne() ? opener_.open(parent, name) : std::move(opened);
}

// Folders on the way that the walk still needs stay open too: it is on its way back up and comes to them next.
bool WalkedFolders::reopen(Id folder) {
  std::vector<Id> closed;
  Id reached = folder;
  for (; !folders_[reached].descriptor.isOpen(); reached = folders_[reached].parent) closed.push_back(reached);
  ++folders_[reached].pins;
  FileDescriptor passing;
  OpenedFolder opened;
  for (int parent = folders_[reached].descriptor.get(); !closed.empty(); closed.pop_back()) {
    const Id next = closed.back();
    opened = openMakingRoom(parent, folders_[next].name.c_str());
    if (!opened.descriptor.isOpen()) break;
    parent = opened.descriptor.get();
    if (folders_[next].uses == 0) {
      passing = std::move(opened.descriptor);
      continue;
    }
    keepOpen(next, std::move(opened.descriptor));
    --folders_[std::exchange(reached, next)].pins;
    ++folders_[reached].pins;
  }
  --folders_[reached].pins;
  errno = opened.error;
  return closed.empty();
}

PinnedFolder::PinnedFolder(const WalkedFolders::Use& use) : folders_(*use.folders_), folder_(use.folder_) {
  const std::lock_guard lock(folders_.mutex_);
  descriptor_ = folders_.pin(folder_);
  error_ = descriptor_ < 0 ? errno : 0;
}

PinnedFolder::~PinnedFolder() {
  if (descriptor_ < 0) return;
  const std::lock_guard lock(folders_.mutex_);
  --folders_.folders_[folder_].pins;
}

}  // namespace quarn
