#include "QuarnPlatform/walking/WalkedFolders.h"

#include <algorithm>
#include <cerrno>
#include <optional>

#include "QuarnPlatform/base/FileError.h"

namespace quarn {

WalkedFolders::Use& WalkedFolders::Use::operator=(Use&& other) noexcept {
  std::swap(folders_, other.folders_);
  std::swap(folder_, other.folder_);
  return *this;
}

WalkedFolders::Use::~Use() {
  if (folders_ == nullptr) return;
  const FileDescriptor closed = [this] {
    const std::lock_guard lock(folders_->mutex_);
    return folders_->release(*folder_);
  }();
}

WalkedFolders::Use WalkedFolders::Use::duplicate() const {
  const std::lock_guard lock(folders_->mutex_);
  ++folder_->uses;
  return {*folders_, *folder_};
}

OpenedFolder WalkedFolders::Use::open(const char* name) const {
  const PinnedFolder parent(*this);
  if (parent.descriptor() < 0) return {FileDescriptor(), parent.error()};
  OpenedFolder opened = folder_->opener->open(parent.descriptor(), name);
  if (!meansNoDescriptor(opened.error)) return opened;
  const std::lock_guard lock(folders_->mutex_);
  return folders_->openMakingRoom(*folder_->opener, parent.descriptor(), name);
}

WalkedFolders::Use WalkedFolders::Use::add(std::string_view name, FileDescriptor folder) const {
  FileDescriptor closed;
  const std::lock_guard lock(folders_->mutex_);
  Folder& added = folders_->insert(*folder_, name);
  if (folder.isOpen()) closed = folders_->keepOpen(added, std::move(folder));
  return {*folders_, added};
}

std::string WalkedFolders::Use::path() const {
  const std::lock_guard lock(folders_->mutex_);
  std::vector<const std::string*> names;
  for (const Folder* at = folder_; at->parent != nullptr; at = at->parent) names.push_back(&at->name);
  std::string path;
  for (auto name = names.rbegin(); name != names.rend(); ++name) (path += '/') += **name;
  return path;
}

WalkedFolders::Use WalkedFolders::addRoot(FileDescriptor root) {
  const FolderOpener opener(root.get(), accessTimes_);
  const std::lock_guard lock(mutex_);
  Folder& folder = unused();
  folder.opener = &openers_.emplace_back(opener);
  free_ = std::exchange(folder.parent, nullptr);
  folder.name.clear();
  folder.depth = 0;
  folder.uses = 1;
  folder.descriptor = std::move(root);
  folder.pins.fetch_and(~kClosed, std::memory_order_release);
  return {*this, folder};
}

bool WalkedFolders::makeRoom() {
  const FileDescriptor closed = [this] {
    const std::lock_guard lock(mutex_);
    return closeOne();
  }();
  return closed.isOpen();
}

// The first of the forgotten folders, which its caller takes out of the list.
WalkedFolders::Folder& WalkedFolders::unused() {
  if (free_ == nullptr) free_ = &folders_.emplace_back();
  return *free_;
}

WalkedFolders::Folder& WalkedFolders::insert(Folder& parent, std::string_view name) {
  Folder& folder = unused();
  folder.name = name;
  free_ = std::exchange(folder.parent, &parent);
  folder.opener = parent.opener;
  folder.depth = parent.depth + 1;
  folder.uses = 1;
  ++parent.children;
  return folder;
}

FileDescriptor WalkedFolders::keepOpen(Folder& folder, FileDescriptor descriptor) {
  FileDescriptor closed;
  if (open_.size() >= kMaximumOpen) closed = closeOne();
  open_.push_back(&folder);  // first, because it may throw
  folder.descriptor = std::move(descriptor);
  folder.pins.fetch_and(~kClosed, std::memory_order_release);
  return closed;
}

FileDescriptor WalkedFolders::close(Folder& folder) {
  std::uint32_t unpinned = 0;
  if (folder.parent == nullptr || !folder.pins.compare_exchange_strong(unpinned, kClosed, std::memory_order_acquire))
    return {};
  open_.erase(std::prev(std::find(open_.rbegin(), open_.rend(), &folder).base()));
  return std::move(folder.descriptor);
}

// Closes the one whose loss widens the gap between its neighbours least, measured by how far back it lies: ancestors
// stay open ever more sparsely towards the root, so that on its way back up the walk reopens a chain of n folders in
// about n log n steps. Where threads are in different parts of the tree the order is only roughly that of the depth,
// which costs time alone.
FileDescriptor WalkedFolders::closeOne() {
  struct Loss {
    std::int64_t gap;
    std::int64_t distance;
    bool operator<(const Loss& other) const { return gap * other.distance < other.gap * distance; }
  };
  const auto depth = [this](std::size_t i) { return std::int64_t{open_[i]->depth}; };
  Folder* least = nullptr;
  Loss leastLoss{};
  for (std::size_t i = 0; i < open_.size(); ++i) {
    if (open_[i]->pins.load(std::memory_order_relaxed) != 0) continue;
    const std::int64_t before = i == 0 ? 0 : depth(i - 1);
    const std::int64_t after = i + 1 == open_.size() ? depth(i) : depth(i + 1);
    const Loss loss{.gap = std::max<std::int64_t>(after - before, 1),
                    .distance = std::max<std::int64_t>(depth(open_.size() - 1) - depth(i), 0) + 1};
    if (least == nullptr || loss < leastLoss) {
      least = open_[i];
      leastLoss = loss;
    }
  }
  return least != nullptr ? close(*least) : FileDescriptor();
}

FileDescriptor WalkedFolders::release(Folder& folder) {
  if (--folder.uses != 0) return {};
  FileDescriptor closed = close(folder);
  forget(&folder);
  return closed;
}

// Up the chain in a loop: folders may lie in each other deeper than a stack reaches. Allocates nothing: destructors
// call it. Closes a root under the lock, once for each tree.
void WalkedFolders::forget(Folder* folder) {
  while (folder != nullptr && folder->uses == 0 && folder->children == 0) {
    Folder* const forgotten = folder;
    folder = std::exchange(forgotten->parent, free_);
    free_ = forgotten;
    if (folder != nullptr) {
      --folder->children;
    } else {
      forgotten->pins.fetch_or(kClosed, std::memory_order_relaxed);
      forgotten->descriptor.reset();
    }
  }
}

int WalkedFolders::pin(Folder& folder) {
  if ((folder.pins.fetch_add(1, std::memory_order_acquire) & kClosed) == 0) return folder.descriptor.get();
  const std::lock_guard lock(mutex_);
  const bool isClosed = (folder.pins.load(std::memory_order_acquire) & kClosed) != 0;
  if (!isClosed || reopen(folder)) return folder.descriptor.get();
  folder.pins.fetch_sub(1, std::memory_order_release);
  return -1;
}

OpenedFolder WalkedFolders::openMakingRoom(const FolderOpener& opener, int parent, const char* name) {
  OpenedFolder opened = opener.open(parent, name);
  if (!meansNoDescriptor(opened.error)) return opened;
  closeOne().reset();
  return opener.open(parent, name);
}

// Folders on the way that the walk still needs stay open too: it is on its way back up and comes to them next.
bool WalkedFolders::reopen(Folder& folder) {
  std::vector<Folder*> closed;
  Folder* reached = &folder;
  for (; (reached->pins.load(std::memory_order_relaxed) & kClosed) != 0; reached = reached->parent) {
    closed.push_back(reached);
  }
  reached->pins.fetch_add(1, std::memory_order_acquire);
  FileDescriptor passing;
  OpenedFolder opened;
  for (int parent = reached->descriptor.get(); !closed.empty(); closed.pop_back()) {
    Folder* next = closed.back();
    opened = openMakingRoom(*folder.opener, parent, next->name.c_str());
    if (!opened.descriptor.isOpen()) break;
    parent = opened.descriptor.get();
    if (next->uses == 0) {
      passing = std::move(opened.descriptor);
      continue;
    }
    keepOpen(*next, std::move(opened.descriptor)).reset();
    next->pins.fetch_add(1, std::memory_order_relaxed);
    std::exchange(reached, next)->pins.fetch_sub(1, std::memory_order_release);
  }
  reached->pins.fetch_sub(1, std::memory_order_release);
  errno = opened.error;
  return closed.empty();
}

PinnedFolder::PinnedFolder(const WalkedFolders::Use& use) : folder_(*use.folder_) {
  descriptor_ = use.folders_->pin(folder_);
  error_ = descriptor_ < 0 ? errno : 0;
}

PinnedFolder::~PinnedFolder() {
  if (descriptor_ >= 0) folder_.pins.fetch_sub(1, std::memory_order_release);
}

}  // namespace quarn
