#include "QuarnPlatform/walking/ReadAhead.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <system_error>
#include <utility>

#include "QuarnPlatform/base/HelperThread.h"
#include "QuarnPlatform/files/Packages.h"
#include "QuarnPlatform/walking/FolderLister.h"

namespace quarn {
namespace {

constexpr std::size_t kWindow = 16u << 10;  // entries that are listed ahead of the consumer
constexpr std::size_t kFolderWeight = 16;   // what a listed folder takes besides its entries, in entries
constexpr std::size_t kSegment = 512;
constexpr std::size_t kCallsPerListing = 4;
constexpr std::size_t kSegmentsAhead = 64;
// How many folders of the plan are searched for something to claim. What comes later is not urgent.
constexpr std::size_t kPlanDepth = 64;
// Folders that the consumer has left are reused unless they have grown beyond these limits.
constexpr std::size_t kSpares = 256;
constexpr std::size_t kUsualEntries = 32;
constexpr std::size_t kUsualNames = 1024;

std::size_t segmentCount(const FolderListing& listing) {
  return listing.wantsSizes ? (listing.entries.size() + kSegment - 1) / kSegment : 0;
}

std::size_t weight(const FolderListing& listing) { return listing.entries.size() + kFolderWeight; }

std::size_t unclaimedIn(const ReadAhead::Folder& folder) {
  return folder.listing.folders.size() - folder.nextFolder + segmentCount(folder.listing) - folder.nextSegment;
}

bool isUsual(const ReadAhead::Folder& folder) {
  return folder.listing.entries.capacity() <= kUsualEntries && folder.listing.names.capacity() <= kUsualNames &&
         folder.claimed.capacity() <= kUsualEntries;
}

// As new, but keeps its memory.
void clear(ReadAhead::Folder& folder) {
  folder.listing.clear();
  folder.isListed = false;
  folder.isEntered = false;
  folder.nextFolder = 0;
  folder.nextSegment = 0;
  folder.position = 0;
  folder.isLaterSegmentRead.clear();
  folder.claimed.clear();
  folder.firstClaimed = 0;
}

std::size_t endOf(const FolderListing& listing, std::size_t segment) {
  return std::min((segment + 1) * kSegment, listing.entries.size());
}

// The folder could not be opened again, so none of the files can be read.
void loseSegment(FolderListing& listing, std::size_t segment, int error) {
  for (std::size_t i = segment * kSegment; i < endOf(listing, segment); ++i) {
    FolderListing::Entry& entry = listing.entries[i];
    if (entry.item.type() == FileType::regular && !entry.hasSizes()) entry.sizesError = error;
  }
}

void readSegment(const FolderLister& lister, int descriptor, FolderListing& listing, std::size_t segment) {
  lister.readSizes(descriptor, listing, segment * kSegment, endOf(listing, segment));
}

}  // namespace

// Something to read: a folder to list, or the sizes of a segment of one.
struct ReadAhead::Task {
  Folder* folder = nullptr;
  Folder* parent = nullptr;  // of the folder to list; null to read sizes
  std::size_t segment = 0;
};

// What one thread owns. It allocates the next folder and closes the descriptors of finished ones without the lock.
struct ReadAhead::Worker {
  explicit Worker(const WalkOptions& options) : lister(options) {}

  void prepare() {
    finished.reset();
    if (!next) next = std::make_unique<Folder>();
  }

  FolderLister lister;
  FolderPointer next;  // for the next claim
  HelperCount::Observations observations;
  std::optional<WalkedFolders::Use> finished;  // of a folder in which nothing is left to do
};

ReadAhead::ReadAhead(FileDescriptor root, const WalkOptions& options, AccessTimes accessTimes)
    : options_(options),
      folders_(accessTimes),
      helperCount_(options.readAheadThreads, HelperCount::furtherCores()),
      root_(std::make_unique<Folder>()),
      worker_(std::make_unique<Worker>(options_)) {
  plan_.earlier = plan_.later = &plan_;
  worker_->prepare();
  root_->use = folders_.addRoot(std::move(root));
  readFolder(*root_, PinnedFolder(*root_->use).descriptor(), *worker_);
  root_->isEntered = true;
  planBefore(*root_, plan_);
  publish(*root_);
  letGoIfDone(*root_, *worker_);
}

ReadAhead::~ReadAhead() {
  {
    const std::lock_guard lock(mutex_);
    isEnding_ = true;
    forHelpers_.notify_all();
  }
  for (std::thread& helper : helpers_) helper.join();
}

ReadAhead::FolderPointer ReadAhead::takeRoot() { return std::move(root_); }

ReadAhead::FolderPointer ReadAhead::child(Folder& parent, std::size_t index) {
  worker_->prepare();
  discarded_.clear();
  Lock lock(mutex_);
  recycleLeft();
  startHelper();
  FolderPointer folder = takeClaimed(parent, index);
  std::optional<Task> task;
  if (!folder) {
    task = claimFolder(parent, *worker_);
    folder = takeClaimed(parent, index);
  }
  try {
    if (task) perform(lock, *task, *worker_);
    while (!folder->isListed) helpOrWait(lock);
  } catch (...) {
    // It is in the plan, and another thread may be reading it.
    if (!lock.owns_lock()) lock.lock();
    leaveOut(std::move(folder));
    throw;
  }
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
  unplanIfClaimed(parent);
  letGoIfDone(parent, *worker_);
}

std::size_t ReadAhead::sizesUpTo(Folder& folder, std::size_t index) {
  const std::size_t count = folder.listing.entries.size();
  const std::size_t segment = index / kSegment;
  if (segmentCount(folder.listing) < 2) return count;
  Lock lock(mutex_);
  folder.position = segment;
  startHelper();
  wakeHelper();
  while (segment != 0 && !folder.isLaterSegmentRead[segment - 1]) {
    if (folder.nextSegment == segment) {
      perform(lock, claimSegment(folder), *worker_);
    } else {
      helpOrWait(lock);
    }
  }
  return std::min((segment + 1) * kSegment, count);
}

void ReadAhead::leave(FolderPointer folder) { left_.push(std::move(folder)); }

void ReadAhead::abandon(FolderPointer folder) {
  const Lock lock(mutex_);
  leaveOut(std::move(folder));
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

ReadAhead::Task ReadAhead::claimFolder(Folder& parent, Worker& worker) {
  FolderPointer& source = spares_.empty() ? worker.next : spares_.back();
  Folder& folder = *parent.claimed.emplace_back(std::move(source));
  if (!spares_.empty()) spares_.pop_back();
  folder.level = parent.level + 1;
  folder.entryInParent = parent.listing.folders[parent.nextFolder++];
  planBefore(folder, parent);
  ++parent.atWork;
  --unclaimed_;
  unplanIfClaimed(parent);
  return {.folder = &folder, .parent = &parent};
}

ReadAhead::Task ReadAhead::claimSegment(Folder& folder) {
  const std::size_t segment = folder.nextSegment++;
  ++folder.atWork;
  --unclaimed_;
  unplanIfClaimed(folder);
  return {.folder = &folder, .parent = nullptr, .segment = segment};
}

// Claims what the consumer meets first: the next folder, or the sizes of the next segment.
std::optional<ReadAhead::Task> ReadAhead::claimIn(Folder& folder, Worker& worker) {
  const FolderListing& listing = folder.listing;
  const bool mayList = folder.nextFolder < listing.folders.size() && ahead_ < kWindow;
  const bool maySize =
      folder.nextSegment < segmentCount(listing) && folder.nextSegment < folder.position + kSegmentsAhead;
  if (maySize && (!mayList || folder.nextSegment * kSegment <= listing.folders[folder.nextFolder])) {
    return claimSegment(folder);
  }
  return mayList ? std::optional(claimFolder(folder, worker)) : std::nullopt;
}

std::optional<ReadAhead::Task> ReadAhead::claimNext(Worker& worker) {
  if (unclaimed_ == 0) return std::nullopt;
  std::size_t looked = 0;
  for (Folder* folder = plan_.later; folder != &plan_ && looked < kPlanDepth; folder = folder->later, ++looked) {
    if (!folder->isListed) continue;
    if (std::optional<Task> task = claimIn(*folder, worker)) return task;
  }
  return std::nullopt;
}

// Releases the lock, reads, and takes the lock again. Afterwards the worker has a folder for the next claim.
void ReadAhead::perform(Lock& lock, const Task& task, Worker& worker) {
  lock.unlock();
  worker.prepare();
  if (helperCount_.mayGrow()) {
    const auto start = HelperCount::begin(worker.observations);
    read(task, worker);
    const std::size_t entries = std::min(task.folder->listing.entries.size(), kSegment);
    helperCount_.note(worker.observations, kCallsPerListing + entries, HelperCount::Clock::now() - start);
  } else {
    read(task, worker);
  }
  lock.lock();
  if (task.parent != nullptr) {
    publish(*task.folder);
  } else {
    task.folder->isLaterSegmentRead[task.segment - 1] = true;
  }
  Folder& needed = task.parent != nullptr ? *task.parent : *task.folder;
  --needed.atWork;
  letGoIfDone(needed, worker);
  if (consumerWaits_) forConsumer_.notify_one();
}

void ReadAhead::read(const Task& task, Worker& worker) {
  if (task.parent != nullptr) return listFolder(task, worker);
  const PinnedFolder folder(*task.folder->use);
  if (folder.descriptor() >= 0) {
    return readSegment(worker.lister, folder.descriptor(), task.folder->listing, task.segment);
  }
  loseSegment(task.folder->listing, task.segment, folder.error());
}

void ReadAhead::listFolder(const Task& task, Worker& worker) {
  Folder& folder = *task.folder;
  const FolderListing& siblings = task.parent->listing;
  const std::string_view name = siblings.name(siblings.entries[folder.entryInParent]);
  OpenedFolder opened = task.parent->use->open(name.data());
  folder.listing.error = opened.error;
  if (!opened.descriptor.isOpen()) return;
  const bool asksForPackage = options_.packages == PackageContents::skip;
  const BundleBit bit = asksForPackage ? bundleBit(opened.descriptor.get()) : BundleBit();
  folder.listing.isPackage = bit.isSet;
  if (bit.isSet) return;
  readFolder(folder, opened.descriptor.get(), worker);
  if (folder.listing.error == 0) folder.listing.error = bit.error;
  if (unclaimedIn(folder) != 0) folder.use = task.parent->use->add(name, std::move(opened.descriptor));
}

void ReadAhead::readFolder(Folder& folder, int descriptor, Worker& worker) {
  worker.lister.list(descriptor, folder.level, folder.isAbandoned, folder.listing);
  const std::size_t segments = segmentCount(folder.listing);
  if (segments == 0) return;
  readSegment(worker.lister, descriptor, folder.listing, 0);
  folder.nextSegment = 1;
  folder.isLaterSegmentRead.resize(segments - 1);
}

void ReadAhead::publish(Folder& folder) {
  folder.isListed = true;
  if (folder.isAbandoned) return;
  if (!folder.isEntered) ahead_ += weight(folder.listing);
  unclaimed_ += unclaimedIn(folder);
  unplanIfClaimed(folder);
  wakeHelper();
}

void ReadAhead::planBefore(Folder& folder, Folder& later) {
  folder.earlier = later.earlier;
  folder.later = &later;
  folder.earlier->later = later.earlier = &folder;
}

void ReadAhead::unplan(Folder& folder) {
  if (folder.later == nullptr) return;
  folder.earlier->later = folder.later;
  folder.later->earlier = folder.earlier;
  folder.earlier = folder.later = nullptr;
}

void ReadAhead::unplanIfClaimed(Folder& folder) {
  if (unclaimedIn(folder) == 0) unplan(folder);
}

void ReadAhead::letGoIfDone(Folder& folder, Worker& worker) {
  if (folder.atWork == 0 && unclaimedIn(folder) == 0) worker.finished = std::exchange(folder.use, std::nullopt);
}

void ReadAhead::dropFinished() {
  FolderList kept;
  while (FolderPointer left = abandoned_.pop()) {
    if (!left->isListed || left->atWork != 0) kept.push(std::move(left));
  }
  abandoned_ = std::move(kept);
}

// Iterative: what was read ahead may be deeper than the stack allows. A folder that some thread still reads is kept
// until a later call finds that thread finished.
void ReadAhead::leaveOut(FolderPointer folder) {
  dropFinished();
  FolderList pending;
  pending.push(std::move(folder));
  while (FolderPointer left = pending.pop()) {
    for (; left->firstClaimed < left->claimed.size(); ++left->firstClaimed) {
      pending.push(std::move(left->claimed[left->firstClaimed]));
    }
    left->isAbandoned = true;
    unplan(*left);
    if (left->isListed) {
      if (!left->isEntered) ahead_ -= weight(left->listing);
      unclaimed_ -= unclaimedIn(*left);
      left->nextFolder = left->listing.folders.size();
      left->nextSegment = segmentCount(left->listing);
    }
    if (!left->isListed || left->atWork != 0) abandoned_.push(std::move(left));
  }
}

// Called when the lock is held anyway. A thread may still read in a folder that the consumer has left, if the consumer
// skipped something in it.
void ReadAhead::recycleLeft() {
  while (FolderPointer folder = left_.pop()) {
    if (folder->atWork != 0) {
      abandoned_.push(std::move(folder));
    } else if (isUsual(*folder) && spares_.size() < kSpares) {
      clear(*folder);
      spares_.push_back(std::move(folder));
    } else {
      discarded_.push(std::move(folder));
    }
  }
}

void ReadAhead::helpOrWait(Lock& lock) {
  if (failure_) std::rethrow_exception(failure_);
  if (const std::optional<Task> task = claimNext(*worker_)) return perform(lock, *task, *worker_);
  consumerWaits_ = true;
  forConsumer_.wait(lock);
  consumerWaits_ = false;
}

// The consumer is about to ask for the last unclaimed thing, so no helper is woken for it. Once the window was full,
// the helpers sleep until it is half empty: waking one for every folder costs more than it gains.
void ReadAhead::wakeHelper() {
  if (waitingHelpers_ > 0 && unclaimed_ > 1 && ahead_ < kWindow / 2) forHelpers_.notify_one();
}

// Starts at most one a call, so a small walk starts few. A system that gives no more threads is not an error: the walk
// takes longer.
void ReadAhead::startHelper() {
  if (helpers_.size() >= helperCount_.wanted() || unclaimed_ < 2) return;
  try {
    helpers_.emplace_back([this] { help(); });
  } catch (const std::system_error&) {
    helperCount_.limit(static_cast<unsigned>(helpers_.size()));
  }
}

// What ends a helper is thrown on the consumer's thread.
void ReadAhead::help() {
  try {
    helpUntilEnd();
  } catch (...) {
    const std::lock_guard lock(mutex_);
    if (!failure_) failure_ = std::current_exception();
    forConsumer_.notify_one();
  }
}

void ReadAhead::helpUntilEnd() {
  becomeHelperThread();
  Worker worker(options_);
  worker.prepare();
  Lock lock(mutex_);
  while (!isEnding_) {
    if (const std::optional<Task> task = claimNext(worker)) {
      wakeHelper();
      perform(lock, *task, worker);
      continue;
    }
    ++waitingHelpers_;
    forHelpers_.wait(lock);
    --waitingHelpers_;
  }
}

}  // namespace quarn
