#include "QuarnPlatform/ReadAhead.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <system_error>
#include <utility>

#include "QuarnPlatform/Packages.h"

namespace quarn {
namespace {

constexpr std::size_t kWindow = 32 * 1024;  // entries that are listed ahead of the consumer
constexpr std::size_t kFolderWeight = 16;   // what a listed folder takes besides its entries, in entries
constexpr std::size_t kSegment = 512;
constexpr std::size_t kSegmentsAhead = 64;
// How many folders with open work are looked at for something that may be claimed; what comes later is not urgent.
constexpr std::size_t kPlanDepth = 64;

std::size_t segmentCount(const FolderListing& listing) { return (listing.sizes.size() + kSegment - 1) / kSegment; }

std::size_t weight(const FolderListing& listing) { return listing.entries.size() + kFolderWeight; }

std::size_t unclaimedIn(const ReadAhead::Folder& folder) {
  return folder.listing.folders.size() - folder.nextFolder + segmentCount(folder.listing) - folder.nextSegment;
}

void readSegment(int descriptor, FolderListing& listing, std::size_t segment) {
  const std::size_t end = std::min((segment + 1) * kSegment, listing.sizes.size());
  FolderLister::readSizes(descriptor, listing, segment * kSegment, end);
}

void readSegment(const PinnedFolder& folder, FolderListing& listing, std::size_t segment) {
  if (folder.descriptor() >= 0) readSegment(folder.descriptor(), listing, segment);
}

}  // namespace

struct ReadAhead::Task {
  FolderPointer folder;
  WalkedFolders::Use use;  // to list a folder: of its parent; to read sizes: its own
  std::string name;        // of the folder to list; empty to read sizes
  std::size_t segment = 0;
};

ReadAhead::ReadAhead(FileDescriptor root, const DirectoryEnumerator::Options& options)
    : options_(options),
      folders_(std::move(root)),
      lister_(options_),
      root_(std::make_shared<Folder>(1)),
      wantedHelpers_(options.readAheadThreads) {
  root_->use = folders_.root();
  readFolder(*root_, PinnedFolder(*root_->use).descriptor(), lister_);
  root_->planned = plan_.insert(plan_.end(), root_);
  root_->isEntered = true;
  publish(root_);
}

ReadAhead::~ReadAhead() {
  {
    const std::lock_guard lock(mutex_);
    isEnding_ = true;
    forHelpers_.notify_all();
  }
  for (std::thread& helper : helpers_) helper.join();
}

ReadAhead::FolderPointer ReadAhead::child(Folder& parent, std::size_t index) {
  Lock lock(mutex_);
  startHelper();
  FolderPointer folder = takeClaimed(parent, index);
  if (!folder) {
    Task task = claimFolder(parent);
    folder = takeClaimed(parent, index);
    perform(lock, std::move(task), lister_);
  }
  while (!folder->isListed) helpOrWait(lock);
  folder->isEntered = true;
  ahead_ -= weight(folder->listing);
  wakeHelper();
  return folder;
}

void ReadAhead::skip(Folder& parent, std::size_t index) {
  const Lock lock(mutex_);
  if (FolderPointer folder = takeClaimed(parent, index)) return leaveOut(std::move(folder));
  ++parent.nextFolder;
  --unclaimed_;
  retireIfClaimed(parent);
}

void ReadAhead::abandon(FolderPointer folder) {
  const Lock lock(mutex_);
  leaveOut(std::move(folder));
}

std::size_t ReadAhead::sizesUpTo(const FolderPointer& folder, std::size_t index) {
  const std::size_t count = folder->listing.entries.size();
  if (folder->listing.sizes.empty()) return count;
  const std::size_t segment = index / kSegment;
  Lock lock(mutex_);
  folder->position = segment;
  startHelper();
  wakeHelper();
  while (!folder->isSegmentRead[segment]) {
    if (folder->nextSegment == segment) {
      perform(lock, claimSegment(folder), lister_);
    } else {
      helpOrWait(lock);
    }
  }
  return std::min((segment + 1) * kSegment, count);
}

ReadAhead::FolderPointer ReadAhead::takeClaimed(Folder& parent, std::size_t index) {
  if (parent.firstClaimed == parent.claimed.size()) return nullptr;
  if (parent.claimed[parent.firstClaimed]->entryInParent != index) return nullptr;
  FolderPointer folder = std::move(parent.claimed[parent.firstClaimed++]);
  if (parent.firstClaimed == parent.claimed.size()) {
    parent.claimed.clear();
    parent.firstClaimed = 0;
  }
  return folder;
}

ReadAhead::Task ReadAhead::claimFolder(Folder& parent) {
  const std::uint32_t index = parent.listing.folders[parent.nextFolder++];
  auto folder = std::make_shared<Folder>(parent.level + 1);
  folder->entryInParent = index;
  folder->planned = plan_.insert(*parent.planned, folder);
  parent.claimed.push_back(folder);
  Task task{.folder = std::move(folder),
            .use = parent.use->another(),
            .name = std::string(parent.listing.name(parent.listing.entries[index]))};
  --unclaimed_;
  retireIfClaimed(parent);
  return task;
}

ReadAhead::Task ReadAhead::claimSegment(const FolderPointer& folder) {
  Task task{.folder = folder, .use = folder->use->another(), .name = {}, .segment = folder->nextSegment++};
  --unclaimed_;
  retireIfClaimed(*folder);
  return task;
}

// What the consumer comes to first: the next folder, or the sizes of the next stretch of entries.
std::optional<ReadAhead::Task> ReadAhead::claimIn(const FolderPointer& folder) {
  const FolderListing& listing = folder->listing;
  const bool mayList = folder->nextFolder < listing.folders.size() && ahead_ < kWindow;
  const bool maySize =
      folder->nextSegment < segmentCount(listing) && folder->nextSegment < folder->position + kSegmentsAhead;
  if (maySize && (!mayList || folder->nextSegment * kSegment <= listing.folders[folder->nextFolder])) {
    return claimSegment(folder);
  }
  return mayList ? std::optional(claimFolder(*folder)) : std::nullopt;
}

std::optional<ReadAhead::Task> ReadAhead::claimNext() {
  if (unclaimed_ == 0) return std::nullopt;
  std::size_t looked = 0;
  for (auto at = plan_.begin(); at != plan_.end() && looked < kPlanDepth; ++looked) {
    const FolderPointer folder = *at++;
    if (!folder->isListed) continue;
    if (std::optional<Task> task = claimIn(folder)) return task;
  }
  return std::nullopt;
}

void ReadAhead::perform(Lock& lock, Task task, FolderLister& lister) {
  const bool lists = !task.name.empty();
  lock.unlock();
  if (lists) {
    listFolder(task, lister);
  } else {
    readSegment(PinnedFolder(task.use), task.folder->listing, task.segment);
  }
  lock.lock();
  if (lists) {
    publish(task.folder);
  } else {
    task.folder->isSegmentRead[task.segment] = true;
  }
  if (consumerWaits_) forConsumer_.notify_one();
}

void ReadAhead::listFolder(Task& task, FolderLister& lister) {
  Folder& folder = *task.folder;
  OpenedFolder opened = task.use.open(task.name.c_str());
  folder.listing.error = opened.error;
  if (!opened.descriptor.isOpen()) return;
  if (options_.packages == PackageContents::skip && hasBundleBit(opened.descriptor.get())) {
    folder.listing.isPackage = true;
    return;
  }
  readFolder(folder, opened.descriptor.get(), lister);
  if (unclaimedIn(folder) != 0) folder.use = task.use.add(task.name, std::move(opened.descriptor));
}

void ReadAhead::readFolder(Folder& folder, int descriptor, FolderLister& lister) {
  lister.list(descriptor, folder.level, folder.isAbandoned, folder.listing);
  folder.isSegmentRead.resize(segmentCount(folder.listing));
  if (folder.isSegmentRead.empty()) return;
  readSegment(descriptor, folder.listing, 0);
  folder.isSegmentRead[0] = true;
  folder.nextSegment = 1;
}

void ReadAhead::publish(const FolderPointer& folder) {
  folder->isListed = true;
  if (folder->isAbandoned) return folder->use.reset();
  if (!folder->isEntered) ahead_ += weight(folder->listing);
  unclaimed_ += unclaimedIn(*folder);
  retireIfClaimed(*folder);
  wakeHelper();
}

void ReadAhead::retireIfClaimed(Folder& folder) {
  if (unclaimedIn(folder) != 0) return;
  folder.use.reset();
  if (folder.planned) plan_.erase(*std::exchange(folder.planned, std::nullopt));
}

// In a loop and not by calling itself: what was read ahead may be deeper than a stack reaches.
void ReadAhead::leaveOut(FolderPointer folder) {
  std::vector<FolderPointer> pending{std::move(folder)};
  while (!pending.empty()) {
    const FolderPointer left = std::move(pending.back());
    pending.pop_back();
    left->isAbandoned = true;
    std::move(left->claimed.begin() + static_cast<std::ptrdiff_t>(left->firstClaimed), left->claimed.end(),
              std::back_inserter(pending));
    left->claimed.clear();
    left->firstClaimed = 0;
    if (!left->isListed) {
      plan_.erase(*std::exchange(left->planned, std::nullopt));
      continue;
    }
    if (!left->isEntered) ahead_ -= weight(left->listing);
    unclaimed_ -= unclaimedIn(*left);
    left->nextFolder = left->listing.folders.size();
    left->nextSegment = segmentCount(left->listing);
    retireIfClaimed(*left);
  }
}

void ReadAhead::helpOrWait(Lock& lock) {
  if (std::optional<Task> task = claimNext()) return perform(lock, std::move(*task), lister_);
  consumerWaits_ = true;
  forConsumer_.wait(lock);
  consumerWaits_ = false;
}

// The last thing to claim is left to the consumer, which is about to ask for it. A window that is nearly full is let
// run down a little first: a helper that is woken for every folder costs more than it gives.
void ReadAhead::wakeHelper() {
  if (waitingHelpers_ > 0 && unclaimed_ > 1 && ahead_ < kWindow / 4 * 3) forHelpers_.notify_one();
}

// One at a time, so that a small walk starts none or few. Without helpers a walk only takes longer: a system that gives
// no thread is no error.
void ReadAhead::startHelper() {
  if (helpers_.size() == wantedHelpers_ || unclaimed_ < 2) return;
  try {
    helpers_.emplace_back([this] { help(); });
  } catch (const std::system_error&) {
    wantedHelpers_ = static_cast<unsigned>(helpers_.size());
  }
}

void ReadAhead::help() {
  FolderLister lister(options_);
  Lock lock(mutex_);
  while (!isEnding_) {
    if (std::optional<Task> task = claimNext()) {
      wakeHelper();
      perform(lock, std::move(*task), lister);
      continue;
    }
    ++waitingHelpers_;
    forHelpers_.wait(lock);
    --waitingHelpers_;
  }
}

}  // namespace quarn
